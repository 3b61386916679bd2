#include "views/main/MailCommands.h"

#include "views/list/MessageActions.h"
#include "views/main/EditCommands.h"
#include "views/setup/AddAccountItems.h"
#include "views/style/DisplayText.h"
#include "views/style/PlainAlert.h"

#include <QActionGroup>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QList<QKeySequence> chords(std::initializer_list<const char*> texts)
{
    QList<QKeySequence> sequences;
    for (const char* const text : texts)
        sequences.append(QKeySequence(QString::fromLatin1(text)));
    return sequences;
}

} // namespace

MailCommands::MailCommands(AppModel& model, QMenuBar& bar, Window window)
    : QObject(&bar)
    , m_model(model)
    , m_window(std::move(window))
{
    addFile(bar);
    addEdit(bar);
    addView(bar);
    addMailbox(bar);
    addMessage(bar);
    addHelp(bar);
    connect(&model, &AppModel::sortOrderChanged, this, &MailCommands::followSorting);
    for (const auto signal :
         {&AppModel::accountsChanged, &AppModel::sidebarSelectionChanged, &AppModel::labelsChanged})
        connect(&model, signal, this, &MailCommands::followMailbox);
    for (const auto signal :
         {&AppModel::messagesChanged, &AppModel::pagingChanged, &AppModel::accountsChanged})
        connect(&model, signal, this, &MailCommands::followPaging);
    followSorting();
    followMailbox();
    followPaging();
}

QAction* MailCommands::add(QMenu& menu, const char* name, const QString& title,
                           const QList<QKeySequence>& shortcuts, const std::function<void()>& perform)
{
    QAction* const action = menu.addAction(title, this, perform);
    action->setObjectName(QLatin1StringView(name));
    action->setShortcuts(shortcuts);
    return action;
}

void MailCommands::addFile(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("&File"));
    m_newMessage =
        add(menu, "newMessage", tr("New Message"), chords({"Ctrl+N"}), [this] { m_model.newMessage({}); });
    menu.addSeparator();
    add(menu, "quit", tr("Quit"), chords({"Ctrl+Q"}), m_window.quit);
}

void MailCommands::addEdit(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("&Edit"));
    // What is typed is undone by its field; with the focus elsewhere the last move is.
    m_editing["undo"_L1] = add(menu, "undo", tr("Undo"), chords({"Ctrl+Z"}), [this] {
        if (!EditCommands::perform("undo"))
            m_model.start(m_model.undo());
    });
    const auto addEditing = [&](const char* command, const QString& title, const QList<QKeySequence>& keys) {
        m_editing[QLatin1StringView(command)] =
            add(menu, command, title, keys, [command] { EditCommands::perform(command); });
    };
    addEditing("redo", tr("Redo"), chords({"Ctrl+Shift+Z"}));
    menu.addSeparator();
    addEditing("cut", tr("Cut"), chords({"Ctrl+X"}));
    addEditing("copy", tr("Copy"), chords({"Ctrl+C"}));
    addEditing("paste", tr("Paste"), chords({"Ctrl+V"}));
    addEditing("selectAll", tr("Select All"), chords({"Ctrl+A"}));
    menu.addSeparator();
    m_find = add(menu, "find", tr("Find…"), chords({"Ctrl+F"}), m_window.find);
    menu.addSeparator();
    add(menu, "settings", tr("Settings…"), chords({"Ctrl+,"}), m_window.openSettings);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* focused) {
        if (focused && !qobject_cast<QMenuBar*>(focused))
            m_focused = focused;
    });
    connect(&menu, &QMenu::aboutToShow, this, &MailCommands::followEditing);
    // While the menu is closed, chords reach whatever the keyboard is in by then.
    connect(&menu, &QMenu::aboutToHide, this, [this] {
        for (QAction* const action : std::as_const(m_editing))
            action->setEnabled(true);
    });
}

void MailCommands::followEditing()
{
    for (auto item = m_editing.cbegin(); item != m_editing.cend(); ++item)
        item.value()->setEnabled(EditCommands::isPossible(m_focused, item.key().toLatin1().constData()));
    const bool isOfText = EditCommands::knows(m_focused, "undo");
    if (!isOfText)
        m_editing["undo"_L1]->setEnabled(m_model.undoOffer().has_value());
}

void MailCommands::addView(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("&View"));
    addSorting(menu);
    QAction* const preview = add(menu, "showPreview", tr("Show Preview Text"), {}, [this] {
        UserDefaults& defaults = m_model.defaults();
        defaults.set(DefaultsKey::showPreview, !defaults.boolean(DefaultsKey::showPreview));
    });
    preview->setCheckable(true);
    const auto followPreview = [this, preview] {
        preview->setChecked(m_model.defaults().boolean(DefaultsKey::showPreview));
    };
    connect(&m_model.defaults(), &UserDefaults::changed, preview, followPreview);
    followPreview();
    menu.addSeparator();
    add(menu, "textBigger", tr("Make Text Bigger"), chords({"Ctrl++", "Ctrl+="}),
        [this] { m_window.stepTextSize(+1); });
    add(menu, "textSmaller", tr("Make Text Smaller"), chords({"Ctrl+-"}),
        [this] { m_window.stepTextSize(-1); });
    add(menu, "textActualSize", tr("Actual Size"), chords({"Ctrl+0"}), m_window.resetTextSize);
    menu.addSeparator();
    QMenu* const columns = menu.addMenu(tr("Columns"));
    columns->setObjectName("columns"_L1);
    connect(columns, &QMenu::aboutToShow, this, [this, columns] {
        columns->clear();
        m_window.fillColumns(*columns);
    });
    QAction* const sidebar = m_toggleSidebar =
        add(menu, "toggleSidebar", tr("Show Sidebar"), chords({"F9"}), m_window.toggleSidebar);
    sidebar->setCheckable(true);
    sidebar->setChecked(true);
    connect(&menu, &QMenu::aboutToShow, this,
            [this, sidebar] { sidebar->setChecked(m_window.isSidebarShown()); });
}

void MailCommands::addSorting(QMenu& menu)
{
    QMenu& sorting = *menu.addMenu(tr("Sort By"));
    sorting.setObjectName("sortBy"_L1);
    const auto present = [this] { return m_model.sortOrder().value(0); };
    // What is sorted is the page, not the mailbox.
    sorting.addAction(tr("Sort This Page By"))->setEnabled(false);
    auto* const fields = new QActionGroup(this);
    for (const SortField field : allSortFields) {
        QAction* const action = sorting.addAction(title(field), this, [this, present, field] {
            m_model.setSortOrder({SortComparator{field, present().order}});
        });
        action->setObjectName(u"sortBy-"_s + storedText(field));
        action->setCheckable(true);
        m_fields.append(fields->addAction(action));
    }
    sorting.addSeparator();
    sorting.addAction(tr("Order"))->setEnabled(false);
    auto* const orders = new QActionGroup(this);
    for (const auto& [order, name, text] :
         {std::tuple(Qt::AscendingOrder, "ascending", tr("Ascending")),
          std::tuple(Qt::DescendingOrder, "descending", tr("Descending"))}) {
        QAction* const action = sorting.addAction(text, this, [this, present, order = order] {
            m_model.setSortOrder({SortComparator{present().field, order}});
        });
        action->setObjectName(QLatin1StringView(name));
        action->setCheckable(true);
        m_orders.append(orders->addAction(action));
    }
}

void MailCommands::followSorting()
{
    const SortComparator present = m_model.sortOrder().value(0);
    const auto field = std::ranges::find(allSortFields, present.field) - allSortFields.begin();
    m_fields[field]->setChecked(true);
    m_orders[present.order == Qt::AscendingOrder ? 0 : 1]->setChecked(true);
}

void MailCommands::addMailbox(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("&Mailbox"));
    m_refresh = add(menu, "getAllNewMail", tr("Get All New Mail"), chords({"Ctrl+Shift+N"}),
                    [this] { m_model.start(m_model.refresh()); });
    menu.addSeparator();
    addPaging(menu);
    menu.addSeparator();
    addGoTo(menu);
    menu.addSeparator();
    addLabels(menu);
    menu.addSeparator();
    QMenu* const accounts = menu.addMenu(tr("Add Account"));
    accounts->setObjectName("addAccount"_L1);
    AddAccountItems::fill(*accounts, m_model, m_window.openSetup);
    add(menu, "accounts", tr("Accounts…"), {}, m_window.openAccounts);
}

void MailCommands::addPaging(QMenu& menu)
{
    const auto addPage = [&](const char* name, const QString& title, const QList<QKeySequence>& keys,
                             Task<> (AppModel::*turn)()) {
        m_paging.append(
            add(menu, name, title, keys, [this, turn] { m_model.start(std::invoke(turn, m_model)); }));
    };
    // Desktops change workspaces with Ctrl+Alt and the arrow keys.
    addPage("newestMessages", tr("Newest Messages"), chords({"Ctrl+Alt+Home", "Ctrl+Alt+Up"}),
            &AppModel::firstPage);
    addPage("newerMessages", tr("Newer Messages"), chords({"Ctrl+Alt+["}), &AppModel::previousPage);
    addPage("olderMessages", tr("Older Messages"), chords({"Ctrl+Alt+]"}), &AppModel::nextPage);
    addPage("oldestMessages", tr("Oldest Messages"), chords({"Ctrl+Alt+End", "Ctrl+Alt+Down"}),
            &AppModel::lastPage);
}

void MailCommands::followPaging()
{
    const bool hasRows = !m_model.messages().isEmpty();
    const std::array isOn{hasRows, hasRows && m_model.pageIndex() > 0, hasRows && m_model.hasNextPage(),
                          hasRows};
    for (size_t index = 0; index < isOn.size(); ++index)
        m_paging[static_cast<qsizetype>(index)]->setEnabled(isOn[index]);
    m_newMessage->setEnabled(!m_model.accounts().isEmpty());
    for (QAction* const action : {m_refresh, m_find, m_toggleSidebar})
        action->setEnabled(!m_model.accounts().isEmpty());
}

void MailCommands::addGoTo(QMenu& menu)
{
    QMenu& targets = *menu.addMenu(tr("Go To"));
    targets.setObjectName("goTo"_L1);
    int number = 0;
    for (const Mailbox role : allMailboxes) {
        const QString chord = u"Ctrl+%1"_s.arg(++number);
        QAction* const action = targets.addAction(
            QString(), this, [this, role] { m_model.selectMailbox(MailboxRef::system(role)); });
        action->setObjectName(u"goTo%1"_s.arg(number));
        action->setShortcut(QKeySequence(chord));
        m_roles.append(action);
    }
}

void MailCommands::addLabels(QMenu& menu)
{
    const auto selected = [this]() -> const MailLabel* {
        return m_model.sidebarSelection() ? m_model.sidebarSelection()->ref.label() : nullptr;
    };
    m_newLabel = add(menu, "newLabel", QString(), {}, [this] { m_model.beginCreateLabel(); });
    m_renameLabel = add(menu, "renameLabel", QString(), {}, [this, selected] {
        if (const MailLabel* const label = selected())
            m_model.beginRenameLabel(*label, m_model.sidebarSelection()->accountID);
    });
    m_deleteLabel = add(menu, "deleteLabel", QString(), {}, [this, selected] {
        if (const MailLabel* const label = selected())
            m_model.beginDeleteLabel(*label, m_model.sidebarSelection()->accountID);
    });
}

void MailCommands::followMailbox()
{
    const std::optional<Account> account = m_model.selectedAccount();
    const bool hasAccount = !m_model.accounts().isEmpty();
    const ProviderKind provider = account ? account->provider : ProviderKind::google;
    for (size_t index = 0; index < allMailboxes.size(); ++index) {
        QAction* const action = m_roles[static_cast<qsizetype>(index)];
        action->setText(DisplayText::menuItem(name(allMailboxes[index], provider)));
        action->setEnabled(hasAccount);
    }
    constexpr qsizetype longestName = 60;
    const QString noun = m_model.labelNoun();
    const MailLabel* const label =
        m_model.sidebarSelection() ? m_model.sidebarSelection()->ref.label() : nullptr;
    const QString shown = label ? DisplayText::bounded(label->name(), longestName) : QString();
    m_newLabel->setText(DisplayText::menuItem(tr("New %1…").arg(noun)));
    m_newLabel->setEnabled(account.has_value());
    m_renameLabel->setText(
        DisplayText::menuItem(label ? tr("Rename “%1”…").arg(shown) : tr("Rename %1…").arg(noun)));
    m_deleteLabel->setText(
        DisplayText::menuItem(label ? tr("Delete “%1”…").arg(shown) : tr("Delete %1…").arg(noun)));
    m_renameLabel->setEnabled(label);
    m_deleteLabel->setEnabled(label);
}

void MailCommands::addMessage(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("Me&ssage"));
    menu.setObjectName("messageMenuOfBar"_L1);
    new MessageActions(
        m_model, menu, MessageActions::Place::menuBar, [this] { return m_model.actedOn(); }, m_window.choose,
        m_window.showSource);
}

void MailCommands::addHelp(QMenuBar& bar)
{
    QMenu& menu = *bar.addMenu(tr("&Help"));
    add(menu, "about", tr("About Larkhaven"), {}, [bar = &bar] {
        auto* const box = makePlainAlert(
            tr("Larkhaven %1").arg(QApplication::applicationVersion()).trimmed(),
            tr("A mail client that trusts no message. Free software under the GNU General Public License, "
               "version 3 or later."),
            QMessageBox::Ok, bar->window());
        box->setObjectName("about"_L1);
        box->setWindowTitle(tr("About Larkhaven"));
        setAlertSymbol(*box, Symbol::envelope);
        setAlertIcon(*box, QApplication::windowIcon());
        box->open();
    });
}

} // namespace Larkhaven
