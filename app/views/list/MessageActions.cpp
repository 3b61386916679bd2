#include "views/list/MessageActions.h"

#include "views/style/DisplayText.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>

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

ProviderKind MessageActions::provider() const
{
    const auto account = std::ranges::find(m_model.accounts(), m_items.first().accountID, &Account::id);
    return account == m_model.accounts().end() ? ProviderKind::imap : account->provider;
}

void MessageActions::fill(QMenu& menu) const
{
    if (m_items.isEmpty())
        return;
    if (isSingle()) {
        addOpening(menu);
        menu.addSeparator();
        addWriting(menu);
        menu.addSeparator();
    }
    addFlags(menu);
    menu.addSeparator();
    addMoves(menu);
    if (isSingle()) {
        menu.addSeparator();
        addSender(menu);
    }
}

void MessageActions::add(QMenu& menu, const char* name, const QString& title, Action action) const
{
    QObject::connect(named(menu.addAction(DisplayText::menuItem(title)), name), &QAction::triggered, &m_model,
                     [&model = m_model, items = m_items, action] { (model.*action)(items); });
}

void MessageActions::addOpening(QMenu& menu) const
{
    const QString title = isIn(Mailbox::drafts) ? QMenu::tr("Edit Draft") : QMenu::tr("Open");
    QObject::connect(named(menu.addAction(DisplayText::menuItem(title)), "open"), &QAction::triggered,
                     &m_model, [&model = m_model, row = m_items.first()] { open(model, row); });
}

void MessageActions::addWriting(QMenu& menu) const
{
    const auto addAnswer = [&](const char* name, const QString& title, const auto& flow) {
        QObject::connect(named(menu.addAction(DisplayText::menuItem(title)), name), &QAction::triggered,
                         &m_model, [&model = m_model, row = m_items.first(), flow] {
                             model.start(flow(model, row), row.accountID);
                         });
    };
    addAnswer("reply", QMenu::tr("Reply"),
              [](AppModel& model, const MessageSummary& row) { return model.reply(row, false); });
    addAnswer("replyAll", QMenu::tr("Reply All"),
              [](AppModel& model, const MessageSummary& row) { return model.reply(row, true); });
    addAnswer("forward", QMenu::tr("Forward"),
              [](AppModel& model, const MessageSummary& row) { return model.forward(row); });
}

void MessageActions::addFlags(QMenu& menu) const
{
    const bool isAnyUnread = !std::ranges::all_of(m_items, &MessageSummary::isRead);
    const bool isAnyUnstarred = !std::ranges::all_of(m_items, &MessageSummary::isStarred);
    add(menu, "toggleRead", isAnyUnread ? QMenu::tr("Mark as Read") : QMenu::tr("Mark as Unread"),
        &AppModel::toggleRead);
    add(menu, "toggleStarred", isAnyUnstarred ? QMenu::tr("Add Star") : QMenu::tr("Remove Star"),
        &AppModel::toggleStarred);
}

void MessageActions::addMoves(QMenu& menu) const
{
    add(menu, "archive", QMenu::tr("Archive"), &AppModel::archive);
    addMoveMenu(menu);
    if (provider() == ProviderKind::google)
        addLabelMenu(menu);
    if (isIn(Mailbox::spam))
        add(menu, "notSpam", QMenu::tr("Not Spam"), &AppModel::moveToInbox);
    else
        add(menu, "reportSpam",
            provider() == ProviderKind::google ? QMenu::tr("Report Spam") : QMenu::tr("Mark as Junk"),
            &AppModel::reportSpam);
    add(menu, "delete", QMenu::tr("Delete"), &AppModel::trash);
}

void MessageActions::addMoveMenu(QMenu& menu) const
{
    QMenu* const targets = menu.addMenu(QMenu::tr("Move To"));
    targets->setObjectName("moveTo"_L1);
    const auto addTarget = [&](const MailboxRef& target, const QString& title) {
        QObject::connect(targets->addAction(DisplayText::menuItem(title)), &QAction::triggered, &m_model,
                         [&model = m_model, items = m_items, target] { model.move(items, target); });
    };
    for (const Mailbox role : moveTargets)
        addTarget(MailboxRef::system(role), name(role, provider()));
    const QList<MailLabel> labels = m_model.labels(m_items.first().accountID);
    if (!labels.isEmpty())
        targets->addSeparator();
    for (const MailLabel& label : labels)
        addTarget(MailboxRef::label(label), label.path);
}

void MessageActions::addLabelMenu(QMenu& menu) const
{
    QMenu* const marks = menu.addMenu(QMenu::tr("Label As"));
    marks->setObjectName("labelAs"_L1);
    const QList<MailLabel> labels = m_model.labels(m_items.first().accountID);
    for (const MailLabel& label : labels) {
        const bool isOnAll = std::ranges::all_of(
            m_items, [&label](const MessageSummary& row) { return row.labelIDs.contains(label.id); });
        QAction* const toggle = marks->addAction(DisplayText::menuItem(label.path));
        toggle->setCheckable(true);
        toggle->setChecked(isOnAll);
        QObject::connect(
            toggle, &QAction::triggered, &m_model,
            [&model = m_model, items = m_items, label, isOnAll] { model.setLabel(items, label, !isOnAll); });
    }
    if (!labels.isEmpty())
        marks->addSeparator();
    QObject::connect(
        named(marks->addAction(QMenu::tr("New Label…")), "newLabel"), &QAction::triggered, &m_model,
        [&model = m_model, items = m_items] { model.beginCreateLabel(std::nullopt, std::nullopt, items); });
}

void MessageActions::addSender(QMenu& menu) const
{
    const MessageSummary& row = m_items.first();
    if (row.from) {
        QObject::connect(named(menu.addAction(QMenu::tr("Show Messages from Sender")), "fromSender"),
                         &QAction::triggered, &m_model, [&model = m_model, row] { model.search(row); });
        QObject::connect(named(menu.addAction(QMenu::tr("Copy Sender Address")), "copySender"),
                         &QAction::triggered, &m_model,
                         [address = row.from->address] { QGuiApplication::clipboard()->setText(address); });
    }
    QAction* const source = named(menu.addAction(QMenu::tr("Show Source")), "showSource");
    source->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_U));
    QObject::connect(source, &QAction::triggered, &m_model,
                     [row, showSource = m_showSource] { showSource(row); });
    QObject::connect(named(menu.addAction(QMenu::tr("Save As…")), "saveAs"), &QAction::triggered, &m_model,
                     [&model = m_model, row, choose = m_choose] {
                         model.start(model.saveMessage(row, choose), row.accountID);
                     });
}

} // namespace Larkhaven
