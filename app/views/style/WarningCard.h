#pragma once

#include "views/style/Roles.h"
#include "views/style/Symbols.h"

#include <QFrame>

#include <optional>

class QBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace Larkhaven {

/// A rounded card in the warning colours, which stands above what it is about: a symbol, texts below each
/// other, and a button for what can be done. The button goes below the texts where they would have too little
/// room beside it.
class WarningCard : public QFrame {
    Q_OBJECT

public:
    WarningCard(Symbol symbol, const QString& button, QWidget* parent = nullptr);

    /// Adds a text, which is shown as it stands: no part of it is formatting.
    QLabel* addText(const QString& text, std::optional<Role> role = std::nullopt);
    QPushButton& button() const { return *m_button; }

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void clicked();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QPushButton* m_button;
    QBoxLayout* m_layout;
    QVBoxLayout* m_texts;
};

} // namespace Larkhaven
