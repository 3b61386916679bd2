#pragma once

#include "model/AppModel.h"
#include "views/style/WarningCard.h"

class QLabel;

namespace Larkhaven {

/// Stands above the table while the selected account needs to sign in again.
class SignInBanner : public WarningCard {
    Q_OBJECT

public:
    explicit SignInBanner(AppModel& model, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The window for setting up an account is asked for.
    void setupRequested();

private:
    void update();
    void signIn();

    AppModel& m_model;
    QLabel* m_text;
};

} // namespace Larkhaven
