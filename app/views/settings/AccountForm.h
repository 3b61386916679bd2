#pragma once

#include "model/AppModel.h"
#include "views/settings/SettingsForm.h"

#include <utility>

class QLabel;
class QLineEdit;
class QPushButton;

namespace Larkhaven {

/// What is known of one account, and what can be done about it.
class AccountForm : public SettingsForm {
    Q_OBJECT

public:
    explicit AccountForm(AppModel& model, QWidget* parent = nullptr);

    /// Shows the account, as long as it is there.
    void setAccount(const QUuid& accountID);

Q_SIGNALS:
    void setupRequested();

private:
    /// A value that can be read, selected and copied.
    struct Row {
        QLabel* label;
        QLineEdit* value;
    };

    Row addValue(const QString& label, QLatin1StringView name);
    static void show(const Row& row, const QString& text, bool isShown = true);
    void follow();
    void showServers(const Account& account);
    void signInAgain();

    AppModel& m_model;
    QUuid m_accountID;
    QLineEdit* m_nickname;
    Row m_email;
    Row m_name;
    Row m_provider;
    Row m_status;
    Row m_credentials;
    Row m_incoming;
    Row m_outgoing;
    QPushButton* m_signIn;
    QPushButton* m_edit;
};

} // namespace Larkhaven
