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

void FlatButton::applyStyle()
{
    const Style& style = Style::shared();
    const int icon = style.scaled(static_cast<double>(Style::largeIcon) / Style::standardTextSize * 0.9);
    setIcon(style.icon(m_symbol, style.colors().text));
    setIconSize({icon, icon});
    setMinimumSize(style.scaled(2.4), style.scaled(2.4));
}

} // namespace Larkhaven
