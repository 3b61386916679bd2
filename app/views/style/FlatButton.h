#pragma once

#include "views/style/Style.h"

#include <QToolButton>

namespace Larkhaven {

/// A flat button with a symbol in the text colour, and a tooltip that is its accessible name as well.
class FlatButton : public QToolButton {
    Q_OBJECT

public:
    FlatButton(Symbol symbol, const QString& help, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol);

private:
    void applyStyle();

    Symbol m_symbol;
};

} // namespace Larkhaven
