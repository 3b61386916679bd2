#include "views/list/MessageActions.h"

#include "views/style/DisplayText.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

bool isShown(const AppModel& model, Mailbox role)
{
    return model.sidebarSelection() && model.sidebarSelection()->ref == MailboxRef::system(role);
}

QAction* named(QAction* action, const char* name)
{
    action->setObjectName(QLatin1StringView(name));
    return action;
}

} // namespace

MessageActions::MessageActions(AppModel& model, QMenu& menu, Place place, Items items,
                               AppModel::SavePanel choose, ShowSource showSource)
    : QObject(&menu)
    , m_model(model)
    , m_menu(menu)
    , m_place(place)
    , m_items(std::move(items))
    , m_choose(std::move(choose))
    , m_showSource(std::move(showSource))
{
    addOpening();
    addLine();
    addWriting();
    addLine();
    addFlags();
    addLine();
    addMoves();
    addLine();
    addSender();
    if (m_place == Place::contextMenu)
        return;
    for (const auto signal :
         {&AppModel::messagesChanged, &AppModel::selectionChanged, &AppModel::pathChanged,
          &AppModel::openMessageChanged, &AppModel::sidebarSelectionChanged, &AppModel::accountsChanged})
        connect(&m_model, signal, this, &MessageActions::update);
    update();
}

void MessageActions::open(AppModel& model, const MessageSummary& row)
{
    if (isShown(model, Mailbox::drafts))
        model.start(model.editDraft(row), row.accountID);
    else
        model.open(row);
}

bool MessageActions::isIn(Mailbox role) const
{
    return isShown(m_model, role);
}

ProviderKind MessageActions::provider(const Rows& rows) const
{
    std::optional<Account> account = m_model.selectedAccount();
    if (!rows.isEmpty()) {
        const auto owner = std::ranges::find(m_model.accounts(), rows.first().accountID, &Account::id);
        if (owner != m_model.accounts().end())
            account = *owner;
    }
    return account ? account->provider : ProviderKind::imap;
}

bool MessageActions::begin(const Follow& follow)
{
    if (m_place == Place::contextMenu && !follow(m_items()).isOn)
        return false;
    if (std::exchange(m_isLineWanted, false) && !m_menu.isEmpty())
        m_menu.addSeparator();
    return true;
}

void MessageActions::add(const char* name, Follow follow, Perform perform, const QList<QKeySequence>& chords)
{
    if (!begin(follow))
        return;
    QAction* const action = named(m_menu.addAction(follow(m_items()).title), name);
    if (m_place == Place::menuBar)
        action->setShortcuts(chords);
    connect(action, &QAction::triggered, this, [this, follow, perform] {
        const Rows rows = m_items();
        if (follow(rows).isOn)
            perform(rows);
    });
    m_actions.append({action, std::move(follow)});
}

void MessageActions::addMenu(const char* name, Follow follow,
                             void (MessageActions::*fill)(QMenu& menu, const Rows& rows))
{
    if (!begin(follow))
        return;
    QMenu* const menu = m_menu.addMenu(follow(m_items()).title);
    menu->setObjectName(QLatin1StringView(name));
    const auto refill = [this, menu, fill] {
        menu->clear();
        (this->*fill)(*menu, m_items());
    };
    if (m_place == Place::menuBar)
        connect(menu, &QMenu::aboutToShow, this, refill);
    else
        refill();
    m_actions.append({menu->menuAction(), std::move(follow)});
}

void MessageActions::update()
{
    const Rows rows = m_items();
    for (const Item& item : std::as_const(m_actions)) {
        const State state = item.follow(rows);
        item.action->setText(state.title);
        item.action->setEnabled(state.isOn);
    }
}

void MessageActions::addOpening()
{
    add(
        "open",
        [this](const Rows& rows) {
            return State{rows.size() == 1, isIn(Mailbox::drafts) ? tr("Edit Draft") : tr("Open")};
        },
        [this](const Rows& rows) { open(m_model, rows.first()); }, {QKeySequence(u"Ctrl+O"_s)});
}

void MessageActions::addWriting()
{
    const auto addAnswer = [this](const char* name, const QString& title, const QString& chord,
                                  Task<> (*answer)(AppModel&, const MessageSummary&)) {
        add(
            name,
            [title](const Rows& rows) {
                return State{rows.size() == 1, title};
            },
            [this, answer](const Rows& rows) {
                m_model.start(answer(m_model, rows.first()), rows.first().accountID);
            },
            {QKeySequence(chord)});
    };
    addAnswer("reply", tr("Reply"), u"Ctrl+R"_s,
              [](AppModel& model, const MessageSummary& row) { return model.reply(row, false); });
    addAnswer("replyAll", tr("Reply All"), u"Ctrl+Shift+R"_s,
              [](AppModel& model, const MessageSummary& row) { return model.reply(row, true); });
    addAnswer("forward", tr("Forward"), u"Ctrl+Shift+F"_s,
              [](AppModel& model, const MessageSummary& row) { return model.forward(row); });
}

void MessageActions::addFlags()
{
    add(
        "toggleRead",
        [](const Rows& rows) {
            const bool isAnyUnread = rows.isEmpty() || !std::ranges::all_of(rows, &MessageSummary::isRead);
            return State{!rows.isEmpty(), isAnyUnread ? tr("Mark as Read") : tr("Mark as Unread")};
        },
        [this](const Rows& rows) { m_model.toggleRead(rows); }, {QKeySequence(u"Ctrl+Shift+U"_s)});
    add(
        "toggleStarred",
        [](const Rows& rows) {
            const bool isAnyPlain = rows.isEmpty() || !std::ranges::all_of(rows, &MessageSummary::isStarred);
            return State{!rows.isEmpty(), isAnyPlain ? tr("Add Star") : tr("Remove Star")};
        },
        [this](const Rows& rows) { m_model.toggleStarred(rows); }, {QKeySequence(u"Ctrl+Shift+L"_s)});
}

void MessageActions::addMoves()
{
    const auto titled = [](const QString& title) {
        return [title](const Rows& rows) { return State{!rows.isEmpty(), title}; };
    };
    add("archive", titled(tr("Archive")), [this](const Rows& rows) { m_model.archive(rows); },
        {QKeySequence(u"Ctrl+Alt+A"_s)});
    addMenu("moveTo", titled(tr("Move To")), &MessageActions::fillMoves);
    addMenu(
        "labelAs",
        [this](const Rows& rows) {
            return State{!rows.isEmpty() && provider(rows) == ProviderKind::google, tr("Label As")};
        },
        &MessageActions::fillLabels);
    add(
        isIn(Mailbox::spam) && m_place == Place::contextMenu ? "notSpam" : "reportSpam",
        [this](const Rows& rows) {
            const QString title = isIn(Mailbox::spam)                      ? tr("Not Spam")
                                  : provider(rows) == ProviderKind::google ? tr("Report Spam")
                                                                           : tr("Mark as Junk");
            return State{!rows.isEmpty(), title};
        },
        [this](const Rows& rows) {
            if (isIn(Mailbox::spam))
                m_model.moveToInbox(rows);
            else
                m_model.reportSpam(rows);
        },
        {QKeySequence(u"Ctrl+Shift+J"_s)});
    add("delete", titled(tr("Delete")), [this](const Rows& rows) { m_model.trash(rows); },
        {QKeySequence(u"Ctrl+Delete"_s), QKeySequence(u"Ctrl+Backspace"_s)});
}

QList<MailLabel> MessageActions::shownLabels(const Rows& rows) const
{
    const QList<MailLabel> labels = m_model.labels(rows.first().accountID);
    return labels.first(std::min(labels.size(), mostLabels));
}

void MessageActions::fillMoves(QMenu& menu, const Rows& rows)
{
    if (rows.isEmpty())
        return;
    const auto addTarget = [&](const MailboxRef& target, const QString& title) {
        connect(menu.addAction(DisplayText::menuItem(title)), &QAction::triggered, &m_model,
                [&model = m_model, rows, target] { model.move(rows, target); });
    };
    for (const Mailbox role : moveTargets)
        addTarget(MailboxRef::system(role), name(role, provider(rows)));
    const QList<MailLabel> labels = shownLabels(rows);
    if (!labels.isEmpty())
        menu.addSeparator();
    for (const MailLabel& label : labels)
        addTarget(MailboxRef::label(label), DisplayText::bounded(label.path, longestTitle));
}

void MessageActions::fillLabels(QMenu& menu, const Rows& rows)
{
    if (rows.isEmpty())
        return;
    const QList<MailLabel> labels = shownLabels(rows);
    for (const MailLabel& label : labels) {
        const bool isOnAll = std::ranges::all_of(
            rows, [&label](const MessageSummary& row) { return row.labelIDs.contains(label.id); });
        QAction* const toggle =
            menu.addAction(DisplayText::menuItem(DisplayText::bounded(label.path, longestTitle)));
        toggle->setCheckable(true);
        toggle->setChecked(isOnAll);
        connect(toggle, &QAction::triggered, &m_model,
                [&model = m_model, rows, label, isOnAll] { model.setLabel(rows, label, !isOnAll); });
    }
    if (!labels.isEmpty())
        menu.addSeparator();
    connect(named(menu.addAction(tr("New Label…")), "newLabel"), &QAction::triggered, &m_model,
            [&model = m_model, rows] { model.beginCreateLabel(std::nullopt, std::nullopt, rows); });
}

void MessageActions::addSender()
{
    const auto hasSender = [](const Rows& rows) {
        return rows.size() == 1 && !rows.first().realSender().addresses.isEmpty();
    };
    add(
        "fromSender",
        [hasSender](const Rows& rows) {
            return State{hasSender(rows), tr("Show Messages from Sender")};
        },
        [this](const Rows& rows) { m_model.search(rows.first()); }, {});
    add(
        "copySender",
        [hasSender](const Rows& rows) {
            return State{hasSender(rows), tr("Copy Sender Address")};
        },
        [](const Rows& rows) {
            QGuiApplication::clipboard()->setText(rows.first().realSender().addresses.first().address);
        },
        {});
    add(
        "saveAs",
        [](const Rows& rows) {
            return State{rows.size() == 1, tr("Save As…")};
        },
        [this](const Rows& rows) {
            m_model.start(m_model.saveMessage(rows.first(), m_choose), rows.first().accountID);
        },
        {QKeySequence(u"Ctrl+Shift+S"_s)});
    add(
        "showSource",
        [](const Rows& rows) {
            return State{rows.size() == 1, tr("Show Source")};
        },
        [this](const Rows& rows) { m_showSource(rows.first()); }, {QKeySequence(u"Ctrl+U"_s)});
}

} // namespace Larkhaven
