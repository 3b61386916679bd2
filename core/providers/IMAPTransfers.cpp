#include "providers/IMAPTransfers.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "format/MIMEParser.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

// --- Moving

Task<> IMAPTransfers::select(Client client, IMAPMessageGroup group)
{
    co_await client->select(group.mailbox, false);
    if (client->uidValidity().value_or(0) != group.uidValidity)
        throw IMAPMessageIDs::goneFromServer();
}

Task<std::optional<IMAPCopyUID>> IMAPTransfers::move(Client client, IMAPMessageGroup group, QString target)
{
    std::optional<IMAPCopyUID> told;
    if (client->capabilities().contains(u"MOVE"_s)) {
        told = co_await moveInOneCommand(client, group, target);
        co_return told;
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
        const std::optional<IMAPCopyUID> now = co_await client->copy(missing, target);
        // Where earlier copies lie isn't known.
        if (missing.size() == group.uids.size())
            told = now;
        copies.done.unite(std::exchange(copies.attempted, {}));
    }
    co_await client->deleteMessages(group.uids);
    copies.done.subtract(QSet<qint64>(group.uids.cbegin(), group.uids.cend()));
    if (copies.done.isEmpty())
        m_copies.erase(route);
    co_return told;
}

Task<std::optional<IMAPCopyUID>> IMAPTransfers::moveInOneCommand(Client client, IMAPMessageGroup group,
                                                                 QString target)
{
    std::optional<MailError> refusal;
    std::optional<IMAPCopyUID> told;
    try {
        told = co_await client->move(group.uids, target);
        co_return told;
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
    co_return told;
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
        const std::optional<QByteArray> size =
            fetch.items.value("RFC822.SIZE"_L1).value_or(IMAPValue::nil()).data();
        // A message that can't be told from others counts as not copied: one too many is better than none.
        const std::optional<QByteArray> body = fetch.body();
        if (fetch.uid && asked.contains(*fetch.uid) && size && body)
            fingerprints.insert(*fetch.uid, *size + '\n' + *body);
    }
    co_return fingerprints;
}

Task<QList<qint64>> IMAPTransfers::newest(Client client, qsizetype count)
{
    const QList<IMAPArg> everything(1, IMAPArg::text(u"ALL"_s));
    const QList<qint64> uids = co_await uidsFrom(client, {}, everything);
    co_return uids.sliced(std::max<qsizetype>(uids.size() - count, 0));
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

namespace {

QList<IMAPArg> withMessageID(const QString& messageID)
{
    return {IMAPArg::text(u"HEADER Message-ID "_s), IMAPArg::quoted(u'<' + messageID + u'>')};
}

/// By which one stored state of a draft is known among those of its Message-ID; empty where nothing tells it
/// from others. A program that stores another state gives it another date.
QString identityOf(QByteArrayView message)
{
    const MIMEHeaders headers = MIMEParser::splitHeaders(message).headers;
    const QString messageID = headers.messageID().value_or(QString());
    const QString date = Text::trimmedSpace(headers.value(u"Date").value_or(QString())).toString();
    return messageID.isEmpty() || date.isEmpty() ? QString() : messageID + u'\n' + date;
}

} // namespace

Task<> IMAPTransfers::append(Client client, QString target, std::shared_ptr<Appending> appending)
{
    if (!appending->hasBegun) {
        co_await begin(client, target, appending);
    } else if (!appending->hasEarlier) {
        const bool isThere = co_await holds(client, target, appending->messageID, appending->next);
        if (isThere) {
            forget(target, appending->messageID);
            co_return;
        }
    }
    appending->hasBegun = true;
    // Looked for before, so that the message that is appended now can't be among them.
    QList<qint64> outdated;
    if (appending->hasEarlier)
        outdated = co_await leftBehind(client, target, appending->messageID);
    co_await client->append(target, appending->flags, appending->message);
    forget(target, appending->messageID);
    try {
        co_await client->deleteMessages(outdated);
    } catch (const LocalizedError&) {
        // The draft exists twice. Nothing is lost, and what is stored must not be stored again.
    }
}

Task<> IMAPTransfers::begin(Client client, QString mailbox, std::shared_ptr<Appending> appending)
{
    if (!appending->isRepeatedID)
        co_return;
    const IMAPClient::NextUID next = co_await client->nextUID(mailbox);
    appending->next = next;
    appending->hasEarlier = std::ranges::any_of(m_unanswered, [&](const Unanswered& unanswered) {
        return isOf(unanswered, mailbox, appending->messageID);
    });
    remember(mailbox, *appending);
}

void IMAPTransfers::remember(const QString& mailbox, const Appending& appending)
{
    if (m_unanswered.size() == unansweredLimit)
        m_unanswered.removeFirst();
    m_unanswered.append({mailbox, appending.messageID, identityOf(appending.message), appending.next});
}

void IMAPTransfers::forget(const QString& mailbox, const QString& messageID)
{
    m_unanswered.removeIf([&](const Unanswered& unanswered) { return isOf(unanswered, mailbox, messageID); });
}

Task<QList<qint64>> IMAPTransfers::leftBehind(Client client, QString mailbox, QString messageID)
{
    QList<qint64> copies;
    // EXPUNGE alone removes whatever else is marked as deleted.
    if (!client->capabilities().contains(u"UIDPLUS"_s))
        co_return copies;
    QList<Unanswered> unanswered = m_unanswered;
    unanswered.removeIf([&](const Unanswered& one) { return !isOf(one, mailbox, messageID); });
    try {
        co_await client->select(mailbox, true);
        copies = co_await copiesOf(client, unanswered);
    } catch (const LocalizedError& error) {
        // The draft is to be stored all the same.
        if (error.isConnectionLost())
            throw;
    }
    co_return copies;
}

Task<QList<qint64>> IMAPTransfers::copiesOf(Client client, QList<Unanswered> unanswered)
{
    QList<qint64> copies;
    // Under another UIDVALIDITY no number says what came since.
    const qint64 uidValidity = client->uidValidity().value_or(0);
    unanswered.removeIf(
        [&](const Unanswered& one) { return uidValidity == 0 || one.next.uidValidity != uidValidity; });
    if (unanswered.isEmpty())
        co_return copies;
    const Unanswered first = unanswered.first();
    const QList<qint64> uids = co_await uidsFrom(client, first.next, withMessageID(first.messageID));
    const QList<IMAPFetch> fetches =
        co_await client->fetch(uids, u"BODY.PEEK[HEADER.FIELDS (MESSAGE-ID DATE)]"_s);
    // A server may search loosely: what is deleted must be known by what it says of itself.
    const QSet<qint64> asked(uids.cbegin(), uids.cend());
    QSet<qint64> known;
    for (const IMAPFetch& fetch : fetches) {
        const qint64 uid = fetch.uid.value_or(0);
        const QString identity = identityOf(fetch.body().value_or(QByteArray()) + "\r\n");
        const bool isCopy = std::ranges::any_of(unanswered, [&](const Unanswered& one) {
            return !identity.isEmpty() && one.identity == identity && uid >= one.next.uid;
        });
        if (isCopy && asked.contains(uid))
            known.insert(uid);
    }
    copies = known.values();
    co_return copies;
}

Task<bool> IMAPTransfers::holds(Client client, QString mailbox, QString messageID, IMAPClient::NextUID first)
{
    co_await client->select(mailbox, true);
    const QList<qint64> found = co_await uidsFrom(client, first, withMessageID(messageID));
    co_return !found.isEmpty();
}

} // namespace Larkhaven
