#pragma once

#include "views/style/Style.h"

#include <QKeySequence>
#include <QToolButton>

namespace Larkhaven {

/// A flat button with a symbol in the text colour, and a tooltip that is its accessible name as well; behind
/// it stands, in the tooltip alone, the chord that does the same.
class FlatButton : public QToolButton {
    Q_OBJECT

public:
    FlatButton(Symbol symbol, const QString& help, QWidget* parent = nullptr);
    FlatButton(Symbol symbol, const QString& help, const QKeySequence& chord, QWidget* parent = nullptr);

    void setHelp(const QString& help, const QKeySequence& chord = {});

    void setSymbol(Symbol symbol);

private:
    void applyStyle();

    Symbol m_symbol;
};

} // namespace Larkhaven
