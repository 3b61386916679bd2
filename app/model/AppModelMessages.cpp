#include "domain/Text.h"
#include "format/MIMEParser.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>

using namespace Qt::StringLiterals;

// What the user does to messages and labels.

namespace Larkhaven {

namespace {

QSet<QString> idsOf(const QList<MessageSummary>& rows)
{
    QSet<QString> ids;
    for (const MessageSummary& row : rows)
        ids.insert(row.id);
    return ids;
}

/// A file that can't be written.
class SaveError : public LocalizedError {
public:
    explicit SaveError(QString text)
        : m_text(std::move(text))
    {}
    QString localizedText() const override { return m_text; }

private:
    QString m_text;
};

void writeFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    // A file that is replaced would pass on what it may do.
    const bool isReady =
        file.open(QIODevice::WriteOnly) && file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    if (!isReady || file.write(bytes) != bytes.size() || !file.commit())
        throw SaveError(file.errorString());
}

/// What a label is called once the other one has been renamed; nothing where that isn't the label itself or
/// one above it.
std::optional<MailLabel> afterRenaming(const MailLabel& label, const MailLabel& old, const MailLabel& renamed)
{
    if (label.id == old.id)
        return renamed;
    if (!label.path.startsWith(old.path + u'/'))
        return std::nullopt;
    // Where names are identifiers, the nested one's begins with that of the outer one.
    const QString id = label.id.startsWith(old.id) ? renamed.id + label.id.sliced(old.id.size()) : label.id;
    return MailLabel{id, renamed.path + label.path.sliced(old.path.size())};
}

} // namespace

// --- Optimistic changes

void AppModel::change(QList<MessageSummary> rows, const Edit& edit, const Request& request)
{
    const Session source = rows.isEmpty() ? Session() : session(rows.first().accountID);
    if (!source)
        return;
    const QSet<QString> ids = idsOf(rows);
    const quint64 number = m_listing.lay({source.accountID, ids, edit, std::nullopt});
    // Away from the page an opened message keeps what the user did, also where the service refuses it.
    bool isOpenOneChanged = false;
    for (const QString& id : ids) {
        const auto opened = m_opened.find(id);
        if (opened == m_opened.end() || opened->accountID != source.accountID)
            continue;
        edit(*opened);
        isOpenOneChanged |= !m_path.isEmpty() && m_path.last() == id;
    }
    publish();
    if (isOpenOneChanged)
        Q_EMIT openMessageChanged();
    start(tellChange(source, ids.values(), request, number));
}

void AppModel::followOpened()
{
    for (MessageSummary& opened : m_opened) {
        const auto row = std::ranges::find(m_messages, opened.id, &MessageSummary::id);
        if (row != m_messages.end() && row->accountID == opened.accountID)
            opened = *row;
    }
}

Task<> AppModel::tellChange(Session session, QList<QString> ids, Request request, quint64 change)
{
    const QPointer<AppModel> self(this);
    const Outcome<void> answer = co_await settled(request(*session.provider, ids));
    if (!self)
        co_return;
    if (answer.failure) {
        m_listing.refuse(change);
        publish();
        reportTo(session, answer.failure);
        co_return;
    }
    m_listing.accept(change);
    co_await loadCounts(session.accountID);
}

void AppModel::removeRows(QList<MessageSummary> rows, const QString& done, const Request& request)
{
    const Session source = rows.isEmpty() ? Session() : session(rows.first().accountID);
    if (!source)
        return;
    const QSet<QString> ids = idsOf(rows);
    // With labels a message can be in several mailboxes under one id, and leaves this one.
    std::optional<MailboxRef> from;
    if (source->supportsLabels() && m_sidebarSelection)
        from = m_sidebarSelection->ref;
    const Removal removal{m_listing.number(), m_listing.pageIndex(),
                          QSet<QString>(m_selection).intersect(ids)};
    m_successor.clear();
    Q_EMIT removing(ids);
    const quint64 number = m_listing.lay({source.accountID, ids, {}, from});
    m_removals.insert(number, removal);
    m_lastRemoval = number;
    setUndoOffer(std::nullopt);
    publish();
    if (m_selection.isEmpty() && !removal.selected.isEmpty() && !m_successor.isEmpty()) {
        m_successors.insert(m_successor);
        selectRows({m_successor});
    }
    if (!m_path.isEmpty() && ids.contains(m_path.last()))
        setPath({});
    start(tellRemoval(source, ids.values(), done, request, number));
}

Task<> AppModel::tellRemoval(Session session, QList<QString> ids, QString done, Request request,
                             quint64 change)
{
    const QPointer<AppModel> self(this);
    const Outcome<void> answer = co_await settled(request(*session.provider, ids));
    if (!self)
        co_return;
    const Removal removal = m_removals.take(change);
    if (answer.failure) {
        m_listing.refuse(change);
        publish();
        restoreSelection(removal.selected);
        reportTo(session, answer.failure);
        // The service may have acted on some of them.
        co_await m_refreshes->request();
        co_return;
    }
    m_listing.accept(change);
    const bool isOnScreen = m_listing.number() == removal.listing && m_listing.pageIndex() == removal.page;
    if (isOnScreen)
        start(m_pageReloads->request());
    if (m_accounts.isCurrent(session))
        start(offerUndo(session, ids, done, change));
    co_await loadCounts(session.accountID);
}

Task<> AppModel::offerUndo(Session session, QList<QString> ids, QString done, quint64 change)
{
    const QPointer<AppModel> self(this);
    const Outcome<bool> answer = co_await settled(session->canPutBack(ids));
    // Whoever undoes means the newest of what was done.
    const bool isOffered =
        self && !answer.failure && *answer.value && m_accounts.isCurrent(session) && m_lastRemoval == change;
    if (isOffered)
        setUndoOffer(UndoOffer{session.accountID, done, ids, change});
}

void AppModel::forgetUndo(const QUuid& accountID)
{
    if (m_undo && m_undo->accountID == accountID)
        setUndoOffer(std::nullopt);
}

void AppModel::setUndoOffer(const std::optional<UndoOffer>& offer)
{
    assign(m_undo, offer, &AppModel::undoOfferChanged);
    if (offer)
        m_undoTimer.start();
    else
        m_undoTimer.stop();
}

Task<> AppModel::undo()
{
    const QPointer<AppModel> self(this);
    const std::optional<UndoOffer> offer = m_undo;
    const Session source = offer ? session(offer->accountID) : Session();
    setUndoOffer(std::nullopt);
    if (!source)
        co_return;
    const Outcome<void> answer = co_await settled(source->putBack(offer->ids));
    if (!self)
        co_return;
    if (answer.failure)
        reportTo(source, answer.failure);
    if (!m_accounts.isCurrent(source))
        co_return;
    m_listing.forgetPages();
    start(m_pageReloads->request());
    co_await loadCounts(source.accountID);
}

Task<> AppModel::reloadPage()
{
    const QPointer<AppModel> self(this);
    co_await load(wantedPage(), true, Asked::byNobody);
    // Nobody is left on a page that has ceased to exist.
    if (self && m_messages.isEmpty() && m_listing.showsOwnRows() && m_paging.index >= 1)
        co_await load(m_paging.index - 1, true, Asked::byNobody);
}

void AppModel::restoreSelection(const QSet<QString>& ids)
{
    // What the user has selected since is what the next command acts on, and nothing else.
    const QSet<QString> own = QSet<QString>(m_selection).subtract(m_successors);
    if (!m_restoredSelection.contains(own))
        return;
    m_restoredSelection = QSet<QString>(own).unite(ids);
    selectRows(m_restoredSelection);
}

// --- Actions

namespace {

using Rows = QList<MessageSummary>;

/// Sets a flag of a row, and the request that tells the service.
auto setting(bool MessageSummary::*flag, bool value)
{
    return [flag, value](MessageSummary& row) { row.*flag = value; };
}

auto requestRead(bool value)
{
    return
        [value](MailProvider& source, QList<QString> ids) { return source.setRead(value, std::move(ids)); };
}

} // namespace

void AppModel::open(const MessageSummary& row)
{
    m_opened.insert(row.id, row);
    setPath({row.id});
    setSelection({row.id});
    if (!row.isRead)
        change({row}, setting(&MessageSummary::isRead, true), requestRead(true));
}

void AppModel::toggleRead(const Rows& rows)
{
    const bool isRead = std::ranges::any_of(rows, std::logical_not(), &MessageSummary::isRead);
    change(rows, setting(&MessageSummary::isRead, isRead), requestRead(isRead));
}

void AppModel::toggleStarred(const Rows& rows)
{
    const bool isStarred = std::ranges::any_of(rows, std::logical_not(), &MessageSummary::isStarred);
    change(rows, setting(&MessageSummary::isStarred, isStarred),
           [isStarred](MailProvider& source, QList<QString> ids) {
               return source.setStarred(isStarred, std::move(ids));
           });
}

void AppModel::archive(const Rows& rows)
{
    removeRows(rows, tr("Archived."),
               [](MailProvider& source, QList<QString> ids) { return source.archive(std::move(ids)); });
}

void AppModel::trash(const Rows& rows)
{
    removeRows(rows, tr("Deleted."),
               [](MailProvider& source, QList<QString> ids) { return source.trash(std::move(ids)); });
}

void AppModel::moveToInbox(const Rows& rows)
{
    removeRows(rows, tr("Moved to Inbox."),
               [](MailProvider& source, QList<QString> ids) { return source.moveToInbox(std::move(ids)); });
}

void AppModel::reportSpam(const Rows& rows)
{
    removeRows(rows, tr("Marked as junk."),
               [](MailProvider& source, QList<QString> ids) { return source.markSpam(std::move(ids)); });
}

void AppModel::move(const Rows& rows, const MailboxRef& target)
{
    const std::optional<Account> account =
        rows.isEmpty() ? std::nullopt : m_accounts.find(rows.first().accountID);
    const QString name = account ? target.name(account->provider) : QString();
    removeRows(rows, tr("Moved to %1.").arg(name), [target](MailProvider& source, QList<QString> ids) {
        return source.move(std::move(ids), target);
    });
}

void AppModel::setLabel(const Rows& rows, const MailLabel& label, bool applied)
{
    const auto mark = [id = label.id, applied](MessageSummary& row) {
        if (!applied)
            row.labelIDs.removeAll(id);
        else if (!row.labelIDs.contains(id))
            row.labelIDs.append(id);
    };
    change(rows, mark, [label, applied](MailProvider& source, QList<QString> ids) {
        return source.setLabel(label, applied, std::move(ids));
    });
}

Task<> AppModel::saveMessage(MessageSummary row, SavePanel choose)
{
    const Session source = session(row.accountID);
    return source ? reporting(saveFetched(source, row, std::move(choose)), source) : nothing();
}

Task<> AppModel::saveFetched(Session session, MessageSummary row, SavePanel choose)
{
    const QPointer<AppModel> self(this);
    constexpr qsizetype longestName = 80;
    const QByteArray raw = co_await session->fetchRaw(row.id);
    if (!self)
        co_return;
    const QString name = MIMEParser::safeFilename(row.subject.isEmpty() ? tr("Message") : row.subject);
    const QString path = choose(Text::prefix(name, longestName) + u".eml"_s);
    if (path.isEmpty())
        co_return;
    const auto work = [path, raw] { writeFile(path, raw); };
    co_await runOnWorker(work);
}

// --- Labels

QByteArray AppModel::mailbox(const QUuid& accountID) const
{
    const std::optional<Account> account = m_accounts.find(accountID);
    return account ? account->mailboxIdentity() : QByteArray();
}

void AppModel::beginCreateLabel(const std::optional<QUuid>& accountID, const std::optional<MailLabel>& parent,
                                const Rows& applyTo)
{
    const std::optional<Account> selected = selectedAccount();
    std::optional<QUuid> owner = accountID;
    if (!owner && !applyTo.isEmpty())
        owner = applyTo.first().accountID;
    if (!owner && selected)
        owner = selected->id;
    if (!owner)
        return;
    const LabelEdit edit{QUuid::createUuid(), *owner, LabelEdit::Create{parent, applyTo}, mailbox(*owner)};
    assign(m_labelEdit, std::optional(edit), &AppModel::labelEditChanged);
}

void AppModel::beginRenameLabel(const MailLabel& label, const QUuid& accountID)
{
    const LabelEdit edit{QUuid::createUuid(), accountID, LabelEdit::Rename{label}, mailbox(accountID)};
    assign(m_labelEdit, std::optional(edit), &AppModel::labelEditChanged);
}

void AppModel::beginDeleteLabel(const MailLabel& label, const QUuid& accountID)
{
    const LabelDeletion deletion{QUuid::createUuid(), accountID, label, mailbox(accountID)};
    assign(m_labelDeletion, std::optional(deletion), &AppModel::labelDeletionChanged);
}

Task<> AppModel::applyLabelEdit(LabelEdit edit, QString name)
{
    clearLabelEdit();
    // The account may have got another mailbox while the dialog was up.
    const bool isSame = edit.mailbox.isEmpty() || edit.mailbox == mailbox(edit.accountID);
    const Session source = isSame ? session(edit.accountID) : Session();
    const QString trimmed = Text::trimmedSpaceAndLineEnds(name).toString();
    return source ? reporting(changeLabel(source, edit, trimmed), source) : nothing();
}

Task<> AppModel::changeLabel(Session session, LabelEdit edit, QString name)
{
    if (const auto* const rename = std::get_if<LabelEdit::Rename>(&edit.kind))
        return renameLabel(std::move(session), rename->label, std::move(name));
    return createLabel(std::move(session), std::get<LabelEdit::Create>(edit.kind), std::move(name));
}

Task<> AppModel::renameLabel(Session session, MailLabel label, QString name)
{
    const QPointer<AppModel> self(this);
    const qsizetype slash = label.path.lastIndexOf(u'/');
    const QString path = label.path.first(slash + 1) + name;
    const Outcome<MailLabel> outcome = co_await settled(session->renameLabel(label, path));
    if (!self || !m_accounts.isCurrent(session))
        co_return;
    if (outcome.failure)
        rethrowOfLabels(session.accountID, outcome.failure);
    const MailLabel renamed = *outcome.value;
    const bool isShown = m_sidebarSelection && m_sidebarSelection->accountID == session.accountID;
    const MailLabel* const shown = isShown ? m_sidebarSelection->ref.label() : nullptr;
    const std::optional<MailLabel> moved = shown ? afterRenaming(*shown, label, renamed) : std::nullopt;
    if (moved)
        showInstead({session.accountID, MailboxRef::label(*moved)});
    co_await loadLabels(session.accountID);
}

void AppModel::rethrowOfLabels(const QUuid& accountID, const std::exception_ptr& failure)
{
    // A label above the new one, or some of those below, may have changed all the same. One alert is enough.
    spawn(loadLabels(accountID), dropFailure);
    std::rethrow_exception(failure);
}

Task<> AppModel::createLabel(Session session, LabelEdit::Create create, QString name)
{
    const QPointer<AppModel> self(this);
    const QString path = create.parent ? create.parent->path + u'/' + name : name;
    const Outcome<MailLabel> outcome = co_await settled(session->createLabel(path));
    if (!self || !m_accounts.isCurrent(session))
        co_return;
    if (outcome.failure)
        rethrowOfLabels(session.accountID, outcome.failure);
    const MailLabel created = *outcome.value;
    co_await loadLabels(session.accountID);
    if (self && !create.applyTo.isEmpty())
        setLabel(create.applyTo, created, true);
}

Task<> AppModel::confirmLabelDeletion(LabelDeletion deletion)
{
    clearLabelDeletion();
    const bool isSame = deletion.mailbox.isEmpty() || deletion.mailbox == mailbox(deletion.accountID);
    const Session source = isSame ? session(deletion.accountID) : Session();
    return source ? reporting(deleteLabel(source, deletion.label), source) : nothing();
}

Task<> AppModel::deleteLabel(Session session, MailLabel label)
{
    const QPointer<AppModel> self(this);
    co_await session->deleteLabel(label);
    if (!self || !m_accounts.isCurrent(session))
        co_return;
    if (m_sidebarSelection == SidebarItem{session.accountID, MailboxRef::label(label)})
        show(SidebarItem{session.accountID, MailboxRef::system(Mailbox::inbox)}, Asked::byNobody);
    co_await loadLabels(session.accountID);
}

void AppModel::followLabels(const QUuid& accountID, const QList<MailLabel>& before)
{
    const bool isShown = m_sidebarSelection && m_sidebarSelection->accountID == accountID;
    const MailLabel* const shown = isShown ? m_sidebarSelection->ref.label() : nullptr;
    // What an earlier run had on screen may have gone meanwhile.
    const bool isFirstList = m_isMailboxRestored && m_sidebar.hasLabels(accountID);
    if (!shown || (!isFirstList && !before.contains(*shown)))
        return;
    m_isMailboxRestored = false;
    const QList<MailLabel> now = labels(accountID);
    const auto same = std::ranges::find(now, shown->id, &MailLabel::id);
    if (same == now.end())
        show(SidebarItem{accountID, MailboxRef::system(Mailbox::inbox)}, Asked::byNobody);
    else if (*same != *shown)
        showInstead({accountID, MailboxRef::label(*same)});
}

} // namespace Larkhaven
