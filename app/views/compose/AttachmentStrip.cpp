#include "views/compose/AttachmentStrip.h"

#include "domain/FileName.h"
#include "format/MessageComposer.h"
#include "safety/AttachedFile.h"
#include "views/compose/ComposeFiles.h"
#include "views/style/AttachmentChip.h"
#include "views/style/DisplayText.h"
#include "views/style/FlatButton.h"
#include "views/style/FlowLayout.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// An untrusted sender may attach a thousand files; the others follow in later turns of the event loop.
constexpr qsizetype shownAtOnce = 50;

} // namespace

AttachmentStrip::AttachmentStrip(QWidget* parent)
    : QWidget(parent)
    , m_chips(new QWidget)
    , m_scroll(new QScrollArea)
    , m_total(new QLabel)
{
    setObjectName("attachmentStrip"_L1);
    m_total->setObjectName("attachmentTotal"_L1);
    m_total->setTextFormat(Qt::PlainText);
    setRole(*m_total, Role::caption);
    m_turn.setSingleShot(true);
    m_turn.setInterval(0);
    connect(&m_turn, &QTimer::timeout, this, &AttachmentStrip::showMore);
    new FlowLayout(Style::smallPadding, m_chips);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(Style::padding, Style::smallPadding + 1, Style::padding, Style::smallPadding);
    layout->setSpacing(Style::grid);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidget(m_chips);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_chips->setAutoFillBackground(false);
    layout->addWidget(m_scroll);
    layout->addWidget(m_total);
    Style::shared().follow(this, [this] { fit(); });
    setAttachments({});
}

QWidget* AttachmentStrip::makeItem(const OutgoingAttachment& attachment)
{
    auto* const item = new QWidget;
    const QString name = FileName::shown(attachment.filename);
    const AttachedFile::Kind kind = AttachedFile::kindOf(name, attachment.mimeType, attachment.data);
    auto* const chip = new AttachmentChip(name, kind.type, attachment.data.size());
    chip->setHelp(name, kind.warning);
    chip->setFocusPolicy(Qt::NoFocus);
    chip->setCursor(Qt::ArrowCursor);
    chip->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* const remove = new FlatButton(Symbol::xmarkCircleFill, tr("Remove Attachment"));
    remove->setObjectName("removeAttachment"_L1);
    remove->setLook(FlatButton::Look::small);
    remove->setAccessibleName(tr("Remove %1").arg(DisplayText::bounded(name)));
    connect(remove, &QToolButton::clicked, this, [this, id = attachment.id] { this->remove(id); });
    const auto makeRoom = [chip, remove] { chip->setTrailingRoom(remove->minimumWidth() - Style::grid); };
    connect(&Style::shared(), &Style::changed, chip, makeRoom);
    makeRoom();
    // The cross stands within its chip.
    auto* const layout = new QGridLayout(item);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(chip, 0, 0);
    layout->addWidget(remove, 0, 0, Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

void AttachmentStrip::setAttachments(const QList<OutgoingAttachment>& attachments)
{
    m_attachments = attachments;
    while (QLayoutItem* const item = m_chips->layout()->takeAt(0)) {
        // A button that was clicked may still be at work.
        item->widget()->hide();
        item->widget()->deleteLater();
        delete item;
    }
    m_shown = 0;
    showMore();
    const qint64 limit = MessageComposer::maxAttachmentBytes;
    m_total->setText(tr("%1 of %2").arg(ComposeFiles::size(total()), ComposeFiles::size(limit)));
    m_total->setVisible(total() > limit / 2);
    setVisible(!attachments.isEmpty());
    Q_EMIT attachmentsChanged();
}

void AttachmentStrip::showMore()
{
    const qsizetype end = std::min(m_shown + shownAtOnce, m_attachments.size());
    for (; m_shown < end; ++m_shown)
        m_chips->layout()->addWidget(makeItem(m_attachments[m_shown]));
    fit();
    if (m_shown < m_attachments.size())
        m_turn.start();
}

qint64 AttachmentStrip::total() const
{
    qint64 total = 0;
    for (const OutgoingAttachment& attachment : m_attachments)
        total += attachment.data.size();
    return total;
}

void AttachmentStrip::remove(const QUuid& id)
{
    QList<OutgoingAttachment> kept = m_attachments;
    kept.removeIf([&id](const OutgoingAttachment& attachment) { return attachment.id == id; });
    setAttachments(kept);
}

void AttachmentStrip::takeFocus(Qt::FocusReason reason)
{
    for (int index = 0; index < m_chips->layout()->count(); ++index) {
        if (auto* const button = m_chips->layout()->itemAt(index)->widget()->findChild<FlatButton*>()) {
            button->setFocus(reason);
            return;
        }
    }
}

void AttachmentStrip::fit()
{
    const int line = Style::shared().scaled(2.4);
    // More would leave too little room for the text.
    const int most = std::clamp(window()->height() / 4, line, 2 * line + Style::smallPadding);
    const int wanted = m_chips->layout()->heightForWidth(width() - 2 * Style::padding);
    m_scroll->setFixedHeight(std::clamp(wanted, line, most));
}

void AttachmentStrip::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fit();
}

void AttachmentStrip::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, 0, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
