#pragma once

#include "views/style/WarningCard.h"

class QBoxLayout;
class QLabel;
class QPushButton;

namespace Larkhaven {

/// One line with a warning symbol, and a button for what can be done about it.
class NoticeBanner : public WarningCard {
    Q_OBJECT

public:
    NoticeBanner(const QString& text, const QString& button, QWidget* parent = nullptr);

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void clicked();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void applyStyle();

    QLabel* m_symbol;
    QLabel* m_text;
    QPushButton* m_button;
    QBoxLayout* m_layout;
};

} // namespace Larkhaven
