#include "views/style/FlatButton.h"

#include "views/style/ToolTips.h"

#include <QHelpEvent>
#include <QKeyEvent>

namespace Larkhaven {

FlatButton::FlatButton(Symbol symbol, const QString& help, QWidget* parent)
    : FlatButton(symbol, help, QKeySequence(), parent)
{}

FlatButton::FlatButton(Symbol symbol, const QString& help, const QKeySequence& chord, QWidget* parent)
    : QToolButton(parent)
    , m_symbol(symbol)
{
    setProperty("flat", true);
    setAutoRaise(true);
    setHelp(help, chord);
    setFocusPolicy(Qt::TabFocus);
    Style::shared().follow(this, [this] { measure(); });
    setSymbol(symbol);
}

void FlatButton::setHelp(const QString& help, const QKeySequence& chord)
{
    setAccessibleName(help);
    setToolTip(chord.isEmpty() ? help : tr("%1 (%2)").arg(help, chord.toString(QKeySequence::NativeText)));
}

void FlatButton::setSymbol(Symbol symbol)
{
    m_symbol = symbol;
    setIcon(Symbols::icon(symbol, m_look == Look::primary ? Tone::onAccent : Tone::text));
}

void FlatButton::setLook(Look look)
{
    m_look = look;
    setProperty("primary", look == Look::primary);
    setProperty("small", look == Look::small);
    setSymbol(m_symbol);
    measure();
}

bool FlatButton::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || toolTip().isEmpty())
        return QToolButton::event(event);
    ToolTips::show(*this, static_cast<const QHelpEvent&>(*event));
    return true;
}

void FlatButton::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter)
        return QToolButton::keyPressEvent(event);
    // Held down, it would press again whatever it has led to.
    if (event->isAutoRepeat())
        return;
    if (menu())
        showMenu();
    else
        click();
}

void FlatButton::measure()
{
    const Style& style = Style::shared();
    const bool isSmall = m_look == Look::small;
    const double iconSize = isSmall ? Style::smallIcon * 0.9 : Style::largeIcon * 0.9;
    const int icon = style.scaled(iconSize / Style::standardTextSize);
    setIconSize({icon, icon});
    const int least = style.scaled(isSmall ? 1.8 : 2.4);
    setMinimumSize(least, least);
}

} // namespace Larkhaven
