#pragma once

#include "views/style/Symbols.h"

#include <QLabel>

namespace Larkhaven {

/// A symbol beside a text, in the colour of the texts around it, that grows with them.
class SymbolLabel : public QLabel {
    Q_OBJECT

public:
    /// `size` in pixels at 100% and the standard text size.
    SymbolLabel(Symbol symbol, int size, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Symbol m_symbol;
    int m_size;
};

} // namespace Larkhaven
