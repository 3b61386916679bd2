#pragma once

#include <QFrame>

class QPushButton;

namespace Larkhaven {

/// A rounded card in the warning colours, which stands above what it is about.
class WarningCard : public QFrame {
    Q_OBJECT

public:
    using QFrame::QFrame;

protected:
    void paintEvent(QPaintEvent* event) override;

    /// Gives the colours of the card to what stands on it.
    void applyColors(const QList<QWidget*>& texts, QPushButton& button);
};

} // namespace Larkhaven
