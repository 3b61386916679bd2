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
    /// A button that can be pressed while no sign-in is under way.
    QPushButton* addButton(const QString& text, QLatin1StringView name);

    AppModel& m_model;
    QLabel* m_title;
    QLabel* m_text;
};

} // namespace Larkhaven
