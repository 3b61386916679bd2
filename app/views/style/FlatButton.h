#pragma once

#include "views/style/Style.h"

#include <QKeySequence>
#include <QToolButton>

namespace Larkhaven {

/// A flat button with a symbol, and a tooltip that is its accessible name as well; behind
/// it stands, in the tooltip alone, the chord that does the same.
class FlatButton : public QToolButton {
    Q_OBJECT

public:
    enum class Look {
        flat,    ///< the symbol in the text colour on nothing
        primary, ///< on the accent: what the window is for
        small,   ///< flat, and fit to stand within another control
    };

    FlatButton(Symbol symbol, const QString& help, QWidget* parent = nullptr);
    FlatButton(Symbol symbol, const QString& help, const QKeySequence& chord, QWidget* parent = nullptr);

    void setHelp(const QString& help, const QKeySequence& chord = {});

    void setSymbol(Symbol symbol);
    void setLook(Look look);

protected:
    bool event(QEvent* event) override;
    /// Return presses it as Space does: the ring promises as much.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void measure();

    Symbol m_symbol;
    Look m_look = Look::flat;
};

} // namespace Larkhaven
