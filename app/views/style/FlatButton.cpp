#include "views/style/FlatButton.h"

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
    connect(&Style::shared(), &Style::changed, this, &FlatButton::applyStyle);
    applyStyle();
}

void FlatButton::setHelp(const QString& help, const QKeySequence& chord)
{
    setAccessibleName(help);
    setToolTip(chord.isEmpty() ? help : tr("%1 (%2)").arg(help, chord.toString(QKeySequence::NativeText)));
}

void FlatButton::setSymbol(Symbol symbol)
{
    m_symbol = symbol;
    applyStyle();
}

void FlatButton::setLook(Look look)
{
    m_look = look;
    setProperty("primary", look == Look::primary);
    setProperty("small", look == Look::small);
    applyStyle();
}

void FlatButton::applyStyle()
{
    const Style& style = Style::shared();
    const bool isSmall = m_look == Look::small;
    const double iconSize = isSmall ? Style::smallIcon * 0.9 : Style::largeIcon * 0.9;
    const int icon = style.scaled(iconSize / Style::standardTextSize);
    const Style::Colors& colors = style.colors();
    // What is disabled stands on a tint of the accent, where the colour for the accent isn't seen.
    const QIcon symbol = m_look == Look::primary ? style.icon(m_symbol, colors.onAccent, colors.text)
                                                 : style.icon(m_symbol, colors.text);
    setIcon(symbol);
    setIconSize({icon, icon});
    const int least = style.scaled(isSmall ? 1.8 : 2.4);
    setMinimumSize(least, least);
}

} // namespace Larkhaven
