#include "providers/IMAPTransfers.h"

#include "domain/MailError.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

// --- Moving

Task<> IMAPTransfers::move(Client client, IMAPMessageGroup group, QString target)
{
    if (client->capabilities().contains(u"MOVE"_s)) {
        co_await moveInOneCommand(client, group, target);
        co_return;
    }
    const Route route{group.mailbox, group.uidValidity, target};
    // Elements of a map stay where they are; this one is removed by nobody else.
    Copies& copies = m_copies[route];
    // Since an earlier move of the user's failed, its copies may have gone elsewhere.
    if (!m_connection.isSecondTry())
        copies.attempted.unite(std::exchange(copies.done, {}));
    if (!copies.attempted.isEmpty())
        co_await settle(client, route);
    QList<qint64> missing = group.uids;
    missing.removeIf([&copies](qint64 uid) { return copies.done.contains(uid); });
    if (!missing.isEmpty()) {
        const IMAPClient::NextUID next = co_await client->nextUID(target);
        // Older copies that are still needed have lower numbers.
        if (copies.done.isEmpty())
            copies.next = next;
        copies.attempted = QSet<qint64>(missing.cbegin(), missing.cend());
        co_await client->copy(missing, target);
        copies.done.unite(std::exchange(copies.attempted, {}));
    }
    co_await client->deleteMessages(group.uids);
    copies.done.subtract(QSet<qint64>(group.uids.cbegin(), group.uids.cend()));
    if (copies.done.isEmpty())
        m_copies.erase(route);
}

Task<> IMAPTransfers::moveInOneCommand(Client client, IMAPMessageGroup group, QString target)
{
    std::optional<MailError> refusal;
    try {
        co_await client->move(group.uids, target);
        co_return;
    } catch (const MailError& error) {
        // The first try may have moved everything, and only its answer was lost.
        if (!m_connection.isSecondTry() || error.isConnectionLost())
            throw;
        refusal = error;
    }
    const QList<IMAPArg> criteria(1, IMAPArg::text(u"UID "_s + uidSet(group.uids)));
    const QList<qint64> left = co_await client->search(criteria);
    if (!left.isEmpty())
        throw *refusal;
}

Task<> IMAPTransfers::settle(Client client, Route route)
{
    Copies& copies = m_copies[route];
    const QList<qint64> attempted = copies.attempted.values();
    const Fingerprints originals = co_await fingerprints(client, attempted);
    co_await client->select(route.target, true);
    const QList<IMAPArg> everything(1, IMAPArg::text(u"ALL"_s));
    const QList<qint64> arrived = co_await uidsFrom(client, copies.next, everything);
    const Fingerprints found = co_await fingerprints(client, arrived);
    co_await client->select(route.source, false);
    if (client->uidValidity().value_or(0) != route.uidValidity)
        throw IMAPMessageIDs::goneFromServer();

    // Each copy answers for one message, however many are alike.
    QHash<QByteArray, qsizetype> supply;
    for (const QByteArray& fingerprint : found)
        ++supply[fingerprint];
    for (auto original = originals.cbegin(); original != originals.cend(); ++original) {
        if (supply.value(*original) == 0)
            continue;
        --supply[*original];
        copies.done.insert(original.key());
    }
    copies.attempted.clear();
}

Task<IMAPTransfers::Fingerprints> IMAPTransfers::fingerprints(Client client, QList<qint64> uids)
{
    const QList<IMAPFetch> fetches = co_await client->fetch(
        uids, u"RFC822.SIZE BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE FROM SUBJECT)]"_s);
    const QSet<qint64> asked(uids.cbegin(), uids.cend());
    Fingerprints fingerprints;
    for (const IMAPFetch& fetch : fetches) {
        const std::optional<QByteArray> size = fetch.items.value(u"RFC822.SIZE"_s, IMAPValue::nil()).data();
        // A message that can't be told from others counts as not copied: one too many is better than none.
        if (fetch.uid && asked.contains(*fetch.uid) && size && fetch.body)
            fingerprints.insert(*fetch.uid, *size + '\n' + *fetch.body);
    }
    co_return fingerprints;
}

Task<QList<qint64>> IMAPTransfers::uidsFrom(Client client, IMAPClient::NextUID first, QList<IMAPArg> criteria)
{
    // Under another UIDVALIDITY everything has another number.
    const bool isSame = client->uidValidity().value_or(0) == first.uidValidity;
    const qint64 lowest = isSame ? first.uid : 1;
    if (lowest > 1)
        criteria.prepend(IMAPArg::text(u"UID %1:* "_s.arg(QString::number(lowest))));
    if (std::ranges::any_of(criteria, [](const IMAPArg& arg) { return arg.literal() != nullptr; }))
        criteria.prepend(IMAPArg::text(u"CHARSET UTF-8 "_s));
    QList<qint64> uids = co_await client->search(criteria);
    // "n:*" holds the last message, whatever its number (RFC 3501, 9, `seq-range`).
    uids.removeIf([lowest](qint64 uid) { return uid < lowest || !IMAPMessageIDs::isUID(uid); });
    std::ranges::sort(uids);
    uids.erase(std::unique(uids.begin(), uids.end()), uids.end());
    co_return uids.sliced(std::max<qsizetype>(uids.size() - lookLimit, 0));
}

// --- Appending

Task<> IMAPTransfers::append(Client client, QString target, std::shared_ptr<Appending> appending)
{
    if (appending->hasBegun) {
        const bool isThere = co_await holds(client, target, appending->messageID, appending->next);
        if (isThere)
            co_return;
    } else if (appending->isRepeatedID) {
        const IMAPClient::NextUID next = co_await client->nextUID(target);
        appending->next = next;
    }
    appending->hasBegun = true;
    co_await client->append(target, appending->flags, appending->message);
}

Task<bool> IMAPTransfers::holds(Client client, QString mailbox, QString messageID, IMAPClient::NextUID first)
{
    co_await client->select(mailbox, true);
    const QList<IMAPArg> criteria{IMAPArg::text(u"HEADER Message-ID "_s),
                                  IMAPArg::quoted(u'<' + messageID + u'>')};
    const QList<qint64> found = co_await uidsFrom(client, first, criteria);
    co_return !found.isEmpty();
}

} // namespace Larkhaven
