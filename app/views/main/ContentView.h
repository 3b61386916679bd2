#pragma once

#include "model/AppModel.h"
#include "views/reader/ReaderView.h"
#include "views/settings/SettingsView.h"

#include <QMainWindow>
#include <QPointer>

class QSplitter;
class QStackedWidget;

namespace Larkhaven {

class ComposeWindows;
class IMAPSetupView;
class MailToolbar;
class MessageTableView;
class SidebarPane;
class SourceWindows;
class SidebarView;
class WelcomeView;

/// The main window: the sidebar beside the listing or the open message; the welcome view while there are no
/// accounts. It turns the model's fields into what is on screen, alerts among it.
class ContentView : public QMainWindow {
    Q_OBJECT

public:
    static constexpr QSize defaultSize{1180, 720};
    static constexpr QSize smallestSize{720, 480};

    explicit ContentView(AppModel& model, ReaderView::Desktop desktop = ReaderView::systemDesktop(),
                         QWidget* parent = nullptr);
    ~ContentView() override;

    SidebarView& sidebar() const;
    MessageTableView& listing() const { return *m_listing; }
    /// The reader, made on the first use: its engine takes its time.
    ReaderView& reader();
    /// Opens the window that sets up an account, or raises it.
    void openSetup();
    /// Closes the window without a question: the user has answered it.
    void quit();
    /// Opens the settings on the pane, or on the one that they had last; there is one window of them.
    void openSettings(std::optional<SettingsView::Pane> pane);
    ComposeWindows& composeWindows() const { return *m_compose; }
    SourceWindows& sourceWindows() const { return *m_sources; }

Q_SIGNALS:
    /// The window has closed, and nothing that was written is lost by the end of the program.
    void quitApproved();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void makeMenu();
    void showSource();
    void toggleSidebar();
    /// Moves the focus to the next pane, or the one before.
    void stepPane(int direction);
    void keepLayout();
    void fitSidebar();
    void followAccounts();
    void leaveKeyboardTo(QWidget& widget);
    void followPath();
    /// Has the engine started for the message that is likely to be opened next.
    void prepareReader();
    void updateTitle();

    AppModel& m_model;
    ReaderView::Desktop m_desktop;
    QStackedWidget* m_root;
    WelcomeView* m_welcome;
    QWidget* m_mail;
    MailToolbar* m_toolbar;
    QSplitter* m_split;
    SidebarPane* m_sidebar;
    QStackedWidget* m_detail;
    MessageTableView* m_listing;
    ReaderView* m_reader = nullptr;
    std::unique_ptr<IMAPSetupView> m_setup;   ///< made on the first use
    std::unique_ptr<SettingsView> m_settings; ///< likewise
    ComposeWindows* m_compose;
    SourceWindows* m_sources;
    bool m_isQuitting = false; ///< the user has been asked
    qsizetype m_accountCount = 0;
    bool m_hasAppeared = false;
};

} // namespace Larkhaven
