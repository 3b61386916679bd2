#include "views/compose/ComposeRow.h"

#include "views/style/Style.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Of the ring around what has the keyboard.
constexpr int ringWidth = 2;

} // namespace

ComposeRow::ComposeRow(const QString& label, QWidget* field, QWidget* parent)
    : QWidget(parent)
    , m_label(new QLabel(label))
    , m_field(field)
    , m_layout(new QHBoxLayout(this))
{
    m_label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_label->setBuddy(field);
    QString name = label;
    field->setAccessibleName(name.remove(u':'));
    makeFrameless(*field);
    m_layout->setSpacing(Style::smallPadding);
    m_layout->addWidget(m_label);
    m_layout->addWidget(field, 1);
    setFocusProxy(field);
    field->installEventFilter(this);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, &ComposeRow::applyStyle);
    applyStyle();
}

bool ComposeRow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut))
        update();
    return QWidget::eventFilter(watched, event);
}

void ComposeRow::makeFrameless(QWidget& field)
{
    field.setStyleSheet(u"QLineEdit { border: none; background: transparent; padding: 0; }"_s);
}

void ComposeRow::applyStyle()
{
    const Style& style = Style::shared();
    constexpr double labelColumn = 64.0;
    m_label->setFont(style.font(Style::Type::body));
    m_label->setFixedWidth(style.scaled(labelColumn / Style::standardTextSize));
    m_field->setFont(style.font(Style::Type::body));
    QPalette palette = m_label->palette();
    palette.setColor(QPalette::WindowText, style.colors().secondary);
    m_label->setPalette(palette);
    m_layout->setContentsMargins(Style::smallPadding, 0, Style::largePadding, 1);
    setFixedHeight(style.scaled(2.6));
    update();
}

void ComposeRow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const Style::Colors& colors = Style::shared().colors();
    painter.fillRect(QRect(Style::largePadding, height() - 1, width() - Style::largePadding, 1),
                     colors.hairline);
    // A field without a frame has its ring under it.
    if (m_field->hasFocus())
        painter.fillRect(
            QRect(Style::largePadding, height() - ringWidth, width() - 2 * Style::largePadding, ringWidth),
            colors.accent);
}

} // namespace Larkhaven
