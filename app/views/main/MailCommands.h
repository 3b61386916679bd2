#pragma once

#include "model/AppModel.h"

#include <QObject>

class QAction;
class QActionGroup;
class QMenu;
class QMenuBar;

namespace Larkhaven {

/// The menu bar of the main window. Each item calls an operation of the model, or asks the window for what
/// is the window's; what has no effect at the moment is turned off.
///
/// Chords are those of the desktops of Linux. Where these keep one for themselves, a second one stands beside
/// it, which is the one that the menu shows.
class MailCommands : public QObject {
    Q_OBJECT

public:
    /// What the window does itself.
    struct Window {
        AppModel::SavePanel choose;
        std::function<void(const MessageSummary&)> showSource;
        std::function<void()> openSetup;
        std::function<void()> openSettings; ///< on its first pane
        std::function<void()> openAccounts; ///< on the pane of the accounts
        std::function<void()> toggleSidebar;
        std::function<bool()> isSidebarShown;
        std::function<void(QMenu&)> fillColumns; ///< the columns of the table that can be shown and hidden
        std::function<void()> find;
        std::function<void()> quit;
        std::function<void(int)> stepTextSize; ///< by +1 or -1
        std::function<void()> resetTextSize;
    };

    MailCommands(AppModel& model, QMenuBar& bar, Window window);

private:
    QAction* add(QMenu& menu, const char* name, const QString& title, const QList<QKeySequence>& chords,
                 const std::function<void()>& perform);
    void addFile(QMenuBar& bar);
    void addEdit(QMenuBar& bar);
    void followEditing();
    void addView(QMenuBar& bar);
    void addSorting(QMenu& menu);
    void addMailbox(QMenuBar& bar);
    void addPaging(QMenu& menu);
    void addGoTo(QMenu& menu);
    void addLabels(QMenu& menu);
    void addMessage(QMenuBar& bar);
    void addHelp(QMenuBar& bar);
    void followSorting();
    void followMailbox();
    void followPaging();

    AppModel& m_model;
    Window m_window;
    QList<QAction*> m_fields;
    QList<QAction*> m_orders;
    QList<QAction*> m_roles;
    QList<QAction*> m_paging;
    QPointer<QWidget> m_focused;        ///< before the menu took the keyboard
    QHash<QString, QAction*> m_editing; ///< by command
    QAction* m_newMessage = nullptr;
    QAction* m_find = nullptr;
    QAction* m_toggleSidebar = nullptr;
    QAction* m_refresh = nullptr;
    QAction* m_newLabel = nullptr;
    QAction* m_renameLabel = nullptr;
    QAction* m_deleteLabel = nullptr;
};

} // namespace Larkhaven
