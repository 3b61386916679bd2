#include "domain/Text.h"
#include "format/MIMEParser.h"
#include "model/AppModel.h"
#include "platform/Tasks.h"

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
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw SaveError(file.errorString());
}

} // namespace

// --- Optimistic changes

AppModel::KeptRows AppModel::keepRows() const
{
    return {m_listing, m_pageIndex, m_messages};
}

void AppModel::restoreRows(const KeptRows& kept)
{
    // The rows of one mailbox never appear in another.
    if (kept.listing != m_listing)
        return;
    if (const auto page = m_pageCache.find(kept.page); page != m_pageCache.end())
        page->messages = kept.rows;
    if (kept.page == m_pageIndex)
        assign(m_messages, kept.rows, &AppModel::messagesChanged);
}

quint64 AppModel::beginChange(const QUuid& accountID, const QSet<QString>& ids, const Change& change)
{
    m_pendingChanges.append({++m_lastChange, accountID, ids, change});
    return m_lastChange;
}

void AppModel::endChange(quint64 number)
{
    m_pendingChanges.removeIf([number](const PendingChange& pending) { return pending.number == number; });
}

void AppModel::applyPendingChanges(QList<MessageSummary>& rows) const
{
    for (const PendingChange& pending : m_pendingChanges) {
        const auto isMeant = [&pending](const MessageSummary& row) {
            return pending.accountID == row.accountID && pending.ids.contains(row.id);
        };
        if (!pending.change) {
            rows.removeIf(isMeant);
            continue;
        }
        for (MessageSummary& row : rows) {
            if (isMeant(row))
                pending.change(row);
        }
    }
}

void AppModel::change(QList<MessageSummary> rows, const Change& change, const Request& request)
{
    if (rows.isEmpty() || !provider(rows.first().accountID))
        return;
    const KeptRows kept = keepRows();
    const QSet<QString> ids = idsOf(rows);
    QList<MessageSummary> changed = m_messages;
    for (MessageSummary& row : changed) {
        if (ids.contains(row.id))
            change(row);
    }
    for (const QString& id : ids) {
        const auto opened = m_opened.find(id);
        if (opened != m_opened.end() && opened->accountID == rows.first().accountID)
            change(*opened);
    }
    if (const auto page = m_pageCache.find(m_pageIndex); page != m_pageCache.end())
        page->messages = changed;
    assign(m_messages, changed, &AppModel::messagesChanged);
    start(tellChange(rows.first().accountID, ids.values(), request, kept,
                     beginChange(rows.first().accountID, ids, change)));
}

Task<AppModel::Answer> AppModel::tell(QUuid accountID, QList<QString> ids, Request request, quint64 pending)
{
    const QPointer<AppModel> self(this);
    const std::shared_ptr<MailProvider> source = provider(accountID);
    std::exception_ptr failure;
    try {
        co_await request(*source, ids);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self)
        endChange(pending);
    co_return Answer{failure};
}

Task<> AppModel::tellChange(QUuid accountID, QList<QString> ids, Request request, KeptRows kept,
                            quint64 pending)
{
    const QPointer<AppModel> self(this);
    const Answer answer = co_await tell(accountID, ids, request, pending);
    if (!self)
        co_return;
    if (!answer.failure) {
        co_await loadCounts(accountID);
        co_return;
    }
    restoreRows(kept);
    report(answer.failure, accountID);
}

void AppModel::removeRows(QList<MessageSummary> rows, const Request& request)
{
    if (rows.isEmpty() || !provider(rows.first().accountID))
        return;
    const KeptRows kept = keepRows();
    const QSet<QString> ids = idsOf(rows);
    QList<MessageSummary> left = m_messages;
    left.removeIf([&ids](const MessageSummary& row) { return ids.contains(row.id); });
    // With rows gone, every other page has shifted.
    MessagePage page = m_pageCache.value(m_pageIndex);
    page.messages = left;
    m_pageCache = {{m_pageIndex, page}};
    const std::optional<qint64> total =
        m_total ? std::optional(std::max(*m_total - rows.size(), qint64{0})) : std::nullopt;
    setPaging(m_pageIndex, m_hasNextPage, total);
    assign(m_messages, left, &AppModel::messagesChanged);
    setSelection(QSet<QString>(m_selection).subtract(ids));
    if (!m_path.isEmpty() && ids.contains(m_path.last()))
        setPath({});
    start(tellRemoval(rows.first().accountID, ids.values(), request, kept,
                      beginChange(rows.first().accountID, ids, {})));
}

Task<> AppModel::tellRemoval(QUuid accountID, QList<QString> ids, Request request, KeptRows kept,
                             quint64 pending)
{
    const QPointer<AppModel> self(this);
    const Answer answer = co_await tell(accountID, ids, request, pending);
    if (!self)
        co_return;
    if (answer.failure) {
        restoreRows(kept);
        report(answer.failure, accountID);
        // The service may have acted on some of them.
        co_await refresh();
        co_return;
    }
    co_await loadCounts(accountID);
    if (!self || m_listing != kept.listing || m_pageIndex != kept.page)
        co_return;
    co_await load(m_pageIndex, true);
    // Nobody is left on a page that has ceased to exist.
    if (self && m_messages.isEmpty() && m_pageIndex >= 1)
        co_await load(m_pageIndex - 1, true);
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
    // What is on screen already stays, and so does its text.
    if (m_path != QList{row.id})
        setOpenParsed(std::nullopt);
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
    removeRows(rows, [](MailProvider& source, QList<QString> ids) { return source.archive(std::move(ids)); });
}

void AppModel::trash(const Rows& rows)
{
    removeRows(rows, [](MailProvider& source, QList<QString> ids) { return source.trash(std::move(ids)); });
}

void AppModel::moveToInbox(const Rows& rows)
{
    removeRows(rows,
               [](MailProvider& source, QList<QString> ids) { return source.moveToInbox(std::move(ids)); });
}

void AppModel::reportSpam(const Rows& rows)
{
    removeRows(rows,
               [](MailProvider& source, QList<QString> ids) { return source.markSpam(std::move(ids)); });
}

void AppModel::move(const Rows& rows, const MailboxRef& target)
{
    removeRows(rows, [target](MailProvider& source, QList<QString> ids) {
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
    const QPointer<AppModel> self(this);
    const std::shared_ptr<MailProvider> source = provider(row.accountID);
    if (!source)
        co_return;
    constexpr qsizetype longestName = 80;
    std::exception_ptr failure;
    try {
        const QByteArray raw = co_await source->fetchRaw(row.id);
        if (!self)
            co_return;
        const QString name = MIMEParser::safeFilename(row.subject.isEmpty() ? tr("Message") : row.subject);
        const QString path = choose(Text::prefix(name, longestName) + u".eml"_s);
        if (path.isEmpty())
            co_return;
        const auto work = [path, raw] { writeFile(path, raw); };
        co_await runOnWorker(work);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && failure)
        report(failure, row.accountID);
}

// --- Labels

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
    const LabelEdit edit{QUuid::createUuid(), *owner, LabelEdit::Create{parent, applyTo}};
    assign(m_labelEdit, std::optional(edit), &AppModel::labelEditChanged);
}

void AppModel::beginRenameLabel(const MailLabel& label, const QUuid& accountID)
{
    const LabelEdit edit{QUuid::createUuid(), accountID, LabelEdit::Rename{label}};
    assign(m_labelEdit, std::optional(edit), &AppModel::labelEditChanged);
}

void AppModel::beginDeleteLabel(const MailLabel& label, const QUuid& accountID)
{
    const LabelDeletion deletion{QUuid::createUuid(), accountID, label};
    assign(m_labelDeletion, std::optional(deletion), &AppModel::labelDeletionChanged);
}

Task<> AppModel::applyLabelEdit(LabelEdit edit, QString name)
{
    const QPointer<AppModel> self(this);
    clearLabelEdit();
    const QString trimmed = Text::trimmedSpaceAndLineEnds(name).toString();
    if (!provider(edit.accountID))
        co_return;
    std::exception_ptr failure;
    try {
        if (const auto* const rename = std::get_if<LabelEdit::Rename>(&edit.kind))
            co_await renameLabel(edit, rename->label, trimmed);
        else
            co_await createLabel(edit, std::get<LabelEdit::Create>(edit.kind), trimmed);
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && failure)
        report(failure, edit.accountID);
}

Task<> AppModel::renameLabel(LabelEdit edit, MailLabel label, QString name)
{
    const QPointer<AppModel> self(this);
    const qsizetype slash = label.path.lastIndexOf(u'/');
    const QString path = label.path.first(slash + 1) + name;
    const std::shared_ptr<MailProvider> source = provider(edit.accountID);
    const MailLabel renamed = co_await source->renameLabel(label, path);
    if (!self)
        co_return;
    co_await loadLabels(edit.accountID);
    if (!self || m_sidebarSelection != SidebarItem{edit.accountID, MailboxRef::label(label)})
        co_return;
    const SidebarItem item{edit.accountID, MailboxRef::label(renamed)};
    assign(m_sidebarSelection, std::optional(item), &AppModel::sidebarSelectionChanged);
    resetPaging();
    co_await load(0, true);
}

Task<> AppModel::createLabel(LabelEdit edit, LabelEdit::Create create, QString name)
{
    const QPointer<AppModel> self(this);
    const QString path = create.parent ? create.parent->path + u'/' + name : name;
    const std::shared_ptr<MailProvider> source = provider(edit.accountID);
    const MailLabel created = co_await source->createLabel(path);
    if (!self)
        co_return;
    co_await loadLabels(edit.accountID);
    if (self && !create.applyTo.isEmpty())
        setLabel(create.applyTo, created, true);
}

Task<> AppModel::confirmLabelDeletion(LabelDeletion deletion)
{
    const QPointer<AppModel> self(this);
    clearLabelDeletion();
    const std::shared_ptr<MailProvider> source = provider(deletion.accountID);
    if (!source)
        co_return;
    std::exception_ptr failure;
    try {
        co_await source->deleteLabel(deletion.label);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    if (failure) {
        report(failure, deletion.accountID);
        co_return;
    }
    if (m_sidebarSelection == SidebarItem{deletion.accountID, MailboxRef::label(deletion.label)})
        select(SidebarItem{deletion.accountID, MailboxRef::system(Mailbox::inbox)});
    co_await loadLabels(deletion.accountID);
}

} // namespace Larkhaven
