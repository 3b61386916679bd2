#include "views/reader/AttachmentsRow.h"

#include "domain/FileName.h"
#include "views/style/AttachmentChip.h"
#include "views/style/FlowLayout.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::StringLiterals;

namespace Larkhaven {

AttachmentsRow::AttachmentsRow(QWidget* parent)
    : QWidget(parent)
    , m_label(new QLabel(tr("Attachments:")))
    , m_chips(new QWidget)
{
    setObjectName("attachmentsRow"_L1);
    new FlowLayout(Style::smallPadding, m_chips);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::largePadding, 0, Style::largePadding, Style::padding);
    layout->setSpacing(Style::padding);
    layout->addWidget(m_label, 0, Qt::AlignTop);
    layout->addWidget(m_chips, 1);
    setRole(*m_label, Role::secondary);
    Style::shared().follow(this,
                           [this] { m_label->setContentsMargins(0, Style::shared().scaled(0.4), 0, 0); });
    setFiles({});
}

QList<AttachmentsRow::File> AttachmentsRow::judged(const QList<MailAttachment>& attachments)
{
    QList<File> files;
    for (const MailAttachment& attachment : attachments) {
        const QString name = FileName::shown(attachment.filename);
        files.append({attachment, name, AttachedFile::kindOf(name, attachment.mimeType, attachment.data)});
    }
    return files;
}

void AttachmentsRow::setFiles(const QList<File>& files)
{
    while (QLayoutItem* const item = m_chips->layout()->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const File& file : files) {
        auto* const chip = new AttachmentChip(file.name, file.kind.type, file.attachment.data.size());
        chip->setHelp(tr("Save %1").arg(file.name), file.kind.warning);
        connect(chip, &QAbstractButton::clicked, this,
                [this, attachment = file.attachment] { Q_EMIT saveRequested(attachment); });
        m_chips->layout()->addWidget(chip);
    }
    setVisible(!files.isEmpty());
}

} // namespace Larkhaven
