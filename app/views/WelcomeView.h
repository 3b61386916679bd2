#pragma once

#include <QWidget>

class QLabel;

namespace Larkhaven {

/// What the window shows while there are no accounts.
class WelcomeView : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(QWidget* parent = nullptr);

private:
    void applyStyle();

    QLabel* m_title;
    QLabel* m_text;
};

} // namespace Larkhaven
