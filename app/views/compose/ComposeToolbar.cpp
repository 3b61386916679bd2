#include "views/compose/ComposeToolbar.h"

#include "views/style/FlatButton.h"
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
    , m_format(new QWidget)
    , m_plain(makeSegment(tr("Plain Text")))
    , m_rich(makeSegment(tr("Rich Text")))
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
    m_plain->setObjectName("plainText"_L1);
    m_rich->setObjectName("richText"_L1);
    m_bcc->setObjectName("showBcc"_L1);
    m_bcc->setText(tr("Bcc"));
    m_bcc->setAccessibleName(tr("Bcc"));
    m_bcc->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_bcc->setCheckable(true);
    m_progressText->setObjectName("progressText"_L1);
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);

    connect(m_send, &QToolButton::clicked, this, &ComposeToolbar::sendRequested);
    connect(m_attach, &QToolButton::clicked, this, &ComposeToolbar::attachRequested);
    connect(m_save, &QToolButton::clicked, this, &ComposeToolbar::saveRequested);
    connect(m_plain, &QToolButton::clicked, this, [this] { Q_EMIT richTextRequested(false); });
    connect(m_rich, &QToolButton::clicked, this, [this] { Q_EMIT richTextRequested(true); });
    connect(m_bcc, &QToolButton::clicked, this, &ComposeToolbar::bccRequested);

    layOut();
    connect(&Style::shared(), &Style::changed, this, &ComposeToolbar::applyStyle);
    applyStyle();
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
    auto* const segments = new QHBoxLayout(m_format);
    segments->setContentsMargins(1, 1, 1, 1);
    segments->setSpacing(0);
    segments->addWidget(m_plain);
    segments->addWidget(m_rich);
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

QToolButton* ComposeToolbar::makeSegment(const QString& text)
{
    auto* const segment = new QToolButton;
    segment->setText(text);
    segment->setCheckable(true);
    segment->setToolTip(tr("Rich text is sent as HTML with a plain-text copy"));
    segment->setFocusPolicy(Qt::TabFocus);
    return segment;
}

void ComposeToolbar::setRichText(bool richText)
{
    m_plain->setChecked(!richText);
    m_rich->setChecked(richText);
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

void ComposeToolbar::applyStyle()
{
    const Style& style = Style::shared();
    const Style::Colors& colors = style.colors();
    const QFont body = style.font(Style::Type::body);
    for (QToolButton* const button :
         {static_cast<QToolButton*>(m_send), static_cast<QToolButton*>(m_attach),
          static_cast<QToolButton*>(m_save), static_cast<QToolButton*>(m_bcc), m_plain, m_rich})
        button->setFont(body);
    m_progressText->setFont(style.font(Style::Type::caption));
    QPalette palette = m_progressText->palette();
    palette.setColor(QPalette::WindowText, colors.secondary);
    m_progressText->setPalette(palette);
    m_progress->setFixedSize(style.scaled(6), Style::grid);
    m_progress->setStyleSheet(u"QProgressBar { border: none; border-radius: 2px; background: %1; }"
                              "QProgressBar::chunk { border-radius: 2px; background: %2; }"_s.arg(
                                  colors.selected.name(QColor::HexArgb), colors.accent.name()));
    m_format->setStyleSheet(
        u"QWidget#format { border: 1px solid %1; border-radius: 6px; background: %2; }"
        "QToolButton { border: 2px solid transparent; border-radius: 5px; padding: 2px 9px; color: %3; }"
        "QToolButton:hover { background: %4; }"
        "QToolButton:checked { background: %5; color: %6; }"
        "QToolButton:disabled { color: %7; }"
        "QToolButton:checked:disabled { background: %8; color: %7; }"
        "QToolButton:focus { border-color: %5; }"
        "QToolButton:checked:focus { border-color: %3; }"_s.arg(
            colors.hairline.name(QColor::HexArgb), colors.surface.name(), colors.text.name(),
            colors.hover.name(QColor::HexArgb), colors.accent.name(), colors.onAccent.name(),
            this->palette().color(QPalette::Disabled, QPalette::ButtonText).name(QColor::HexArgb),
            colors.selected.name(QColor::HexArgb)));
    m_format->setAttribute(Qt::WA_StyledBackground);
}

void ComposeToolbar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(QRect(0, height() - 1, width(), 1), Style::shared().colors().hairline);
}

} // namespace Larkhaven
