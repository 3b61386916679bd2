#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

#include <optional>
#include <stop_token>

class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QMessageBox;
class QPushButton;
class QSpinBox;
class QToolButton;

namespace Larkhaven {

/// The form through which an IMAP account is added, or repaired where it can't sign in; a window of its own.
/// The one place where a password is typed: it lives in its field until the model has taken it.
class IMAPSetupView : public QWidget {
    Q_OBJECT

public:
    explicit IMAPSetupView(AppModel& model, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// The fields of one of the two servers.
    struct ServerFields {
        QLineEdit* host;
        QSpinBox* port;
        QComboBox* security;
    };

    ServerFields addServer(QFormLayout& form, const QString& title, const char* name);
    void makeLayout();
    void fillFromAccount();
    void prefill();
    void showSettings(const ServerSettings& settings);
    ServerSettings settings() const;
    void noteServerEdit();
    void setServersShown(bool isShown);
    void updateButton();
    void setError(const std::optional<QString>& text);
    void signIn();
    Task<> save();
    void leave();
    void applyStyle();
    void alignLabels();

    AppModel& m_model;
    QLabel* m_title;
    QLineEdit* m_name;
    QLineEdit* m_email;
    QLineEdit* m_password;
    QLabel* m_hint;
    QToolButton* m_disclosure;
    QWidget* m_servers;
    QLineEdit* m_username;
    ServerFields m_imap;
    ServerFields m_smtp;
    QWidget* m_progress;
    QPushButton* m_cancel;
    QPushButton* m_signIn;
    QPointer<QMessageBox> m_alert;
    std::stop_source m_attempt{std::nostopstate};
    bool m_serversEdited = false; ///< presets leave the fields alone
    bool m_isShowingSettings = false;
    std::optional<QUuid> m_loadedID; ///< the account that the form was last filled from
};

} // namespace Larkhaven
