#pragma once

#include "model/AppModel.h"

#include <QPointer>
#include <QWidget>

#include <optional>
#include <stop_token>

class QFormLayout;
class QLabel;
class QLineEdit;
class QMessageBox;
class QPushButton;
class QScrollArea;

namespace Larkhaven {

class DisclosureButton;
class ServerFields;

/// The form through which an IMAP account is added, or repaired where it can't sign in; a window of its own.
/// The one place where a password is typed: it lives in its field until the model has taken it. It is as
/// large as what it shows, or as the screen, where its fields scroll above its buttons.
class IMAPSetupView : public QWidget {
    Q_OBJECT

public:
    explicit IMAPSetupView(AppModel& model, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    using AskedServer = std::optional<ConnectionTrial::Server>;
    /// What an attempt to sign in is made with, and how far it has come.
    struct Asked {
        QString email;
        ServerSettings settings;
        AskedServer server;
    };

    void makeLayout();
    QWidget* makeFields();
    QWidget* makeFoot();
    void makeConnections();
    void fitToScreen();
    void keepFocusInSight(QWidget* focused);
    void fillFromAccount();
    void prefill();
    void showSettings(const ServerSettings& settings);
    ServerSettings settings() const;
    void noteServerEdit();
    void updateButton();
    void showProgress(AskedServer server);
    /// Shows what went wrong, where, and the field in which it can be mended.
    void showFailure(const std::exception_ptr& failure, const Asked& asked);
    QString nameOf(const Asked& asked) const;
    void signIn();
    void takeReturn();
    Task<> save();
    void closeAlert();
    void leave();
    void measure();
    /// Gives the width of their column.
    int alignLabels();

    AppModel& m_model;
    QLabel* m_title;
    QLineEdit* m_name;
    QLineEdit* m_email;
    QLineEdit* m_password;
    QLabel* m_hint;
    QScrollArea* m_scroll;
    DisclosureButton* m_disclosure;
    QWidget* m_servers;
    QLineEdit* m_username;
    ServerFields* m_imap = nullptr;
    ServerFields* m_smtp = nullptr;
    QWidget* m_foot = nullptr;
    QWidget* m_progress;
    QLabel* m_progressText;
    QPushButton* m_cancel;
    QPushButton* m_signIn;
    QPointer<QMessageBox> m_alert;
    std::stop_source m_attempt{std::nostopstate};
    bool m_serversEdited = false; ///< presets leave the fields alone
    bool m_isShowingSettings = false;
    std::optional<QUuid> m_loadedID; ///< the account that the form was last filled from
    QString m_loadedName;            ///< of its user, as it is stored
    /// Goes first: what follows the keyboard looks at the members above, and a window that ends loses it.
    QObject m_focusWatch;
};

} // namespace Larkhaven
