#include "views/reader/AttachmentsRow.h"

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
    setAttachments({});
}

void AttachmentsRow::setAttachments(const QList<MailAttachment>& attachments)
{
    while (QLayoutItem* const item = m_chips->layout()->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const MailAttachment& attachment : attachments) {
        auto* const chip =
            new AttachmentChip(attachment.filename, attachment.mimeType, attachment.data.size());
        connect(chip, &QAbstractButton::clicked, this,
                [this, attachment] { Q_EMIT saveRequested(attachment); });
        m_chips->layout()->addWidget(chip);
    }
    setVisible(!attachments.isEmpty());
}

} // namespace Larkhaven
