#pragma once

#include "model/AppModel.h"

#include <QWidget>

class QLabel;
class QPushButton;

namespace Larkhaven {

/// What the window shows while there are no accounts.
class WelcomeView : public QWidget {
    Q_OBJECT

public:
    explicit WelcomeView(AppModel& model, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The window for setting up an account is asked for.
    void setupRequested();

private:
    void applyStyle();

    QLabel* m_title;
    QLabel* m_text;
    QPushButton* m_imap;
};

} // namespace Larkhaven
