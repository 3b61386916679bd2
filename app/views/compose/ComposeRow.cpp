#include "views/compose/ComposeRow.h"

#include "views/style/Roles.h"
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
    setRole(*m_label, Role::secondary);
    setRole(*field, Role::row);
    m_layout->setSpacing(Style::smallPadding);
    m_layout->addWidget(m_label);
    m_layout->addWidget(field, 1);
    setFocusProxy(field);
    field->installEventFilter(this);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    Style::shared().follow(this, [this] { measure(); });
}

bool ComposeRow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field && (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut))
        update();
    return QWidget::eventFilter(watched, event);
}

void ComposeRow::measure()
{
    const Style& style = Style::shared();
    constexpr double labelColumn = 64.0;
    m_label->setFixedWidth(style.scaled(labelColumn / Style::standardTextSize));
    m_layout->setContentsMargins(Style::smallPadding, 0, Style::largePadding, 1);
    setFixedHeight(style.scaled(2.6));
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
