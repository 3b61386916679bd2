#pragma once

#include "views/style/Style.h"

#include <QToolButton>

namespace Larkhaven {

/// A flat button with a symbol, and a tooltip that is its accessible name as well.
class FlatButton : public QToolButton {
    Q_OBJECT

public:
    enum class Look {
        flat,    ///< the symbol in the text colour on nothing
        primary, ///< on the accent: what the window is for
        small,   ///< flat, and fit to stand within another control
    };

    FlatButton(Symbol symbol, const QString& help, QWidget* parent = nullptr);

    void setSymbol(Symbol symbol);
    void setLook(Look look);

private:
    void applyStyle();

    Symbol m_symbol;
    Look m_look = Look::flat;
};

} // namespace Larkhaven
