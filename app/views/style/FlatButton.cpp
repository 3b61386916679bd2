#include "views/style/FlatButton.h"

namespace Larkhaven {

FlatButton::FlatButton(Symbol symbol, const QString& help, QWidget* parent)
    : QToolButton(parent)
    , m_symbol(symbol)
{
    setProperty("flat", true);
    setAutoRaise(true);
    setToolTip(help);
    setAccessibleName(help);
    setFocusPolicy(Qt::TabFocus);
    connect(&Style::shared(), &Style::changed, this, &FlatButton::applyStyle);
    applyStyle();
}

void FlatButton::setSymbol(Symbol symbol)
{
    m_symbol = symbol;
    applyStyle();
}

void FlatButton::applyStyle()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize * 0.9);
    setIcon(style.icon(m_symbol, style.colors().text));
    setIconSize({icon, icon});
    setMinimumSize(style.scaled(2.4), style.scaled(2.4));
}

} // namespace Larkhaven
