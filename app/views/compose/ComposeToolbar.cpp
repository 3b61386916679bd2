#include "views/compose/ComposeToolbar.h"

#include "views/style/FlatButton.h"
#include "views/style/Roles.h"
#include "views/style/SegmentedPicker.h"
#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QKeySequence sendChord(Qt::CTRL | Qt::SHIFT | Qt::Key_D);
const QKeySequence attachChord(Qt::CTRL | Qt::SHIFT | Qt::Key_A);
const QKeySequence saveChord(Qt::CTRL | Qt::Key_S);

QString shown(const QKeySequence& chord)
{
    return chord.toString(QKeySequence::NativeText);
}

} // namespace

ComposeToolbar::ComposeToolbar(QWidget* parent)
    : QWidget(parent)
    , m_send(new FlatButton(Symbol::paperplane, tr("Send (%1)").arg(shown(sendChord))))
    , m_attach(new FlatButton(Symbol::paperclip, tr("Attach Files (%1)").arg(shown(attachChord))))
    , m_save(new FlatButton(Symbol::doc, tr("Save Draft (%1)").arg(shown(saveChord))))
    , m_format(new SegmentedPicker({{tr("Plain Text"), false}, {tr("Rich Text"), true}}))
    , m_bcc(new FlatButton(Symbol::envelope, tr("Show Bcc field")))
    , m_progressText(new QLabel)
    , m_progress(new QProgressBar)
{
    makeCommand(*m_send, "send"_L1, tr("Send"), sendChord);
    makeCommand(*m_attach, "attach"_L1, tr("Attach"), attachChord);
    makeCommand(*m_save, "saveDraft"_L1, tr("Save Draft"), saveChord);
    m_send->setLook(FlatButton::Look::primary);
    m_format->setObjectName("format"_L1);
    m_format->setAccessibleName(tr("Format"));
    m_format->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    m_format->button(false)->setObjectName("plainText"_L1);
    m_format->button(true)->setObjectName("richText"_L1);
    for (const bool isRich : {false, true})
        m_format->button(isRich)->setToolTip(tr("Rich text is sent as HTML with a plain-text copy"));
    m_bcc->setObjectName("showBcc"_L1);
    m_bcc->setText(tr("Bcc"));
    m_bcc->setAccessibleName(tr("Bcc"));
    m_bcc->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_bcc->setCheckable(true);
    m_progressText->setObjectName("progressText"_L1);
    setRole(*m_progressText, Role::caption);
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);

    connect(m_send, &QToolButton::clicked, this, &ComposeToolbar::sendRequested);
    connect(m_attach, &QToolButton::clicked, this, &ComposeToolbar::attachRequested);
    connect(m_save, &QToolButton::clicked, this, &ComposeToolbar::saveRequested);
    connect(m_format, &SegmentedPicker::chosen, this,
            [this](const QVariant& isRich) { Q_EMIT richTextRequested(isRich.toBool()); });
    connect(m_bcc, &QToolButton::clicked, this, &ComposeToolbar::bccRequested);

    layOut();
    Style::shared().follow(this,
                           [this] { m_progress->setFixedSize(Style::shared().scaled(6), Style::grid); });
    setProgress({});
    setRichText(false);
}

void ComposeToolbar::makeCommand(FlatButton& button, QLatin1StringView name, const QString& text,
                                 const QKeySequence& chord)
{
    button.setObjectName(name);
    button.setText(text);
    button.setAccessibleName(text);
    button.setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button.setShortcut(chord);
}

void ComposeToolbar::layOut()
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(Style::padding, 6, Style::padding, 7);
    layout->setSpacing(Style::grid);
    layout->addWidget(m_send);
    layout->addSpacing(Style::smallPadding);
    layout->addWidget(m_attach);
    layout->addWidget(m_save);
    layout->addStretch();
    layout->addWidget(m_progressText);
    layout->addWidget(m_progress);
    layout->addSpacing(Style::smallPadding);
    layout->addWidget(m_format);
    layout->addSpacing(Style::smallPadding);
    layout->addWidget(m_bcc);
}

void ComposeToolbar::setRichText(bool richText)
{
    m_format->setValue(richText);
}

void ComposeToolbar::setShowsBcc(bool isShown)
{
    m_bcc->setChecked(isShown);
}

void ComposeToolbar::setProgress(const QString& text)
{
    m_progressText->setText(text);
    m_progressText->setVisible(!text.isEmpty() && !m_isCompact);
    m_progress->setVisible(!text.isEmpty());
    m_progress->setToolTip(text);
    m_progress->setAccessibleName(text);
}

QSize ComposeToolbar::minimumSizeHint() const
{
    return {1, QWidget::minimumSizeHint().height()};
}

void ComposeToolbar::setCompact(bool isCompact)
{
    if (m_isCompact == isCompact)
        return;
    m_isCompact = isCompact;
    const auto look = isCompact ? Qt::ToolButtonIconOnly : Qt::ToolButtonTextBesideIcon;
    m_send->setToolButtonStyle(look);
    m_attach->setToolButtonStyle(look);
    m_save->setToolButtonStyle(look);
    setProgress(m_progressText->text());
}

void ComposeToolbar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    // Words give way to icons where they have no room.
    const int words = fontMetrics().horizontalAdvance(m_send->text() + m_attach->text() + m_save->text());
    const int progress = m_progress->width() + fontMetrics().horizontalAdvance(tr("Attaching…"));
    const int commands =
        3 * m_send->iconSize().width() + m_format->sizeHint().width() + m_bcc->sizeHint().width();
    setCompact(width() < words + progress + commands + 8 * Style::largePadding);
}

void ComposeToolbar::setCommandsEnabled(bool isEnabled)
{
    for (QWidget* const command : std::initializer_list<QWidget*>{m_send, m_attach, m_save, m_format, m_bcc})
        command->setEnabled(isEnabled);
}

void ComposeToolbar::takeFocus(Qt::FocusReason reason)
{
    m_send->setFocus(reason);
}

void ComposeToolbar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
