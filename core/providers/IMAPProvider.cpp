#include "providers/IMAPProvider.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "format/AddressParser.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "format/MessageComposer.h"
#include "platform/Tasks.h"
#include "protocols/SMTPClient.h"

#include <QCoreApplication>
#include <QSet>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString& snapshotName()
{
    static const QString name = u"imap"_s;
    return name;
}

QString tr(const char* text)
{
    return QCoreApplication::translate("IMAPProvider", text);
}

MailError goneFromServer()
{
    return MailError::unsupported(tr("This message is no longer on the server."));
}

bool isUID(qint64 number)
{
    return number >= 1 && number <= std::numeric_limits<quint32>::max();
}

/// A destination that needs no search.
Task<QString> given(QString wireName)
{
    co_return wireName;
}

QSet<QString> lowerCased(const QList<QString>& flags)
{
    QSet<QString> result;
    for (const QString& flag : flags)
        result.insert(Text::asciiLowered(flag));
    return result;
}

/// Servers of these put a copy of what they send into the Sent mailbox by themselves.
constexpr std::array<QLatin1StringView, 4> filingSuffixes = {".gmail.com"_L1, ".googlemail.com"_L1,
                                                             ".office365.com"_L1, ".outlook.com"_L1};

bool filesSentMail(const QString& smtpHost)
{
    const QString host = smtpHost.toLower();
    return std::ranges::any_of(filingSuffixes,
                               [&host](QLatin1StringView suffix) { return host.endsWith(suffix); });
}

/// The bytes of the message under the present date.
Task<QByteArray> composed(OutgoingMessage message)
{
    const auto compose = [message, now = QDateTime::currentDateTimeUtc()] {
        return MessageComposer::build(message, now);
    };
    QByteArray bytes = co_await runOnWorker(compose);
    co_return bytes;
}

QString cacheKey(qint64 uidValidity, qint64 uid, const QString& mailbox)
{
    return u"imap:%1:%2:%3"_s.arg(QString::number(uidValidity), QString::number(uid), mailbox);
}

/// What the server lists, newest first: numbers that aren't UIDs and doubles are dropped.
QList<qint64> newestFirst(QList<qint64> uids)
{
    uids.removeIf([](qint64 uid) { return !isUID(uid); });
    std::ranges::sort(uids, std::greater());
    uids.erase(std::unique(uids.begin(), uids.end()), uids.end());
    return uids;
}

/// What the summaries of one mailbox have in common.
struct SummaryContext {
    QUuid accountID;
    QString mailbox;
    QString displayPath;
};

MessageSummary summaryOf(const IMAPFetch& fetch, qint64 uid, const SummaryContext& context)
{
    const MIMEHeaders headers = MIMEParser::splitHeaders(fetch.body.value_or(QByteArray()) + "\r\n").headers;
    const QSet<QString> flags = lowerCased(fetch.flags);
    const auto size = fetch.items.constFind(u"RFC822.SIZE"_s);

    MessageSummary summary;
    summary.id = QString::number(uid) + u':' + context.mailbox;
    summary.accountID = context.accountID;
    const QList<EmailAddress> senders = headers.from();
    if (!senders.isEmpty())
        summary.from = senders.first();
    summary.to = headers.to();
    summary.subject = headers.subject();
    std::optional<QDateTime> date = headers.date();
    if (!date && fetch.internalDate)
        date = MailDate::parse(Text::trimmedBlanks(*fetch.internalDate), u"d-MMM-yyyy HH:mm:ss Z");
    summary.date = date.value_or(QDateTime::currentDateTimeUtc());
    summary.isRead = flags.contains(u"\\seen"_s);
    summary.isStarred = flags.contains(u"\\flagged"_s);
    summary.hasAttachments = Text::asciiLowered(headers.value(u"Content-Type").value_or(QString()))
                                 .startsWith("multipart/mixed"_L1);
    summary.size = size == fetch.items.cend() ? 0 : size->integer().value_or(0);
    summary.mailbox = context.displayPath;
    return summary;
}

/// The summaries of those UIDs that were asked for.
QHash<qint64, MessageSummary> summariesOf(const QList<IMAPFetch>& fetches, const QList<qint64>& uids,
                                          const SummaryContext& context)
{
    const QSet<qint64> asked(uids.cbegin(), uids.cend());
    QHash<qint64, MessageSummary> summaries;
    for (const IMAPFetch& fetch : fetches) {
        if (!fetch.uid || !asked.contains(*fetch.uid))
            continue;
        // Servers tell changed flags unasked: such a fetch must not blank a summary that is complete.
        if (fetch.body || !summaries.contains(*fetch.uid))
            summaries.insert(*fetch.uid, summaryOf(fetch, *fetch.uid, context));
    }
    return summaries;
}

} // namespace

std::shared_ptr<IMAPProvider> IMAPProvider::create(Account account, MailAuth auth,
                                                   std::shared_ptr<MailCache> cache, TransportFactory factory)
{
    if (!account.server)
        throw MailError::unsupported(tr("Missing server settings."));
    return std::shared_ptr<IMAPProvider>(
        new IMAPProvider(std::move(account), std::move(auth), std::move(cache), std::move(factory)));
}

IMAPProvider::IMAPProvider(Account account, MailAuth auth, std::shared_ptr<MailCache> cache,
                           TransportFactory factory)
    : m_account(std::move(account))
    , m_settings(*m_account.server)
    , m_auth(std::move(auth))
    , m_factory(std::move(factory))
    , m_cache(std::move(cache))
{}

// --- The connection

template <typename Body>
std::invoke_result_t<Body, IMAPProvider::Client> IMAPProvider::withClient(Body body)
{
    using Result = std::invoke_result_t<Body, Client>;
    const auto self = shared_from_this();
    const Turnstile::Turn turn = co_await m_clientTurn.enter();
    for (bool canRetry = true;; canRetry = false) {
        m_isSecondTry = !canRetry;
        try {
            if (!m_client)
                m_client = co_await IMAPClient::connect(m_settings, m_auth, m_factory);
            if constexpr (std::is_same_v<Result, Task<>>) {
                co_await body(m_client);
                co_return;
            } else {
                auto result = co_await body(m_client);
                co_return result;
            }
        } catch (const LocalizedError& error) {
            // A failed attempt to connect leaves no client, and is not repeated.
            if (!canRetry || !m_client || !error.isConnectionLost())
                throw;
        }
        m_client->close();
        m_client.reset();
    }
}

// --- Mailboxes and roles

Task<> IMAPProvider::knowMailboxes(Client client)
{
    if (!m_mailboxes)
        m_mailboxes = co_await client->listMailboxes();
}

Task<std::optional<QString>> IMAPProvider::resolveMailbox(Mailbox role, Client client, bool create)
{
    if (role == Mailbox::inbox || role == Mailbox::starred)
        co_return IMAPMailboxes::find(role, {});
    co_await knowMailboxes(client);
    const std::optional<QString> found = IMAPMailboxes::find(role, *m_mailboxes);
    if (found || !create)
        co_return found;
    const QString name = IMAPMailboxes::nameToCreate(role);
    const IsDone isDone = [name](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, name);
    };
    co_await finishChange(client, client->create(name), isDone);
    co_return name;
}

Task<QString> IMAPProvider::requireMailbox(Mailbox role, Client client, bool create)
{
    const std::optional<QString> found = co_await resolveMailbox(role, client, create);
    if (!found)
        throw MailError::unsupported(
            tr("This account has no %1 mailbox.").arg(name(role, ProviderKind::imap)));
    co_return *found;
}

Task<QList<MailLabel>> IMAPProvider::listLabels()
{
    return withClient([this](Client client) { return listedLabels(std::move(client)); });
}

Task<QList<MailLabel>> IMAPProvider::listedLabels(Client client)
{
    m_mailboxes.reset();
    co_await knowMailboxes(client);
    co_return IMAPMailboxes::labels(*m_mailboxes);
}

Task<QString> IMAPProvider::wireName(Client client, QString path)
{
    // An empty name is refused before the server is asked for anything.
    if (!IMAPMailboxes::wireName(path, {}, client->delimiter()))
        throw MailError::unsupported(tr("Please enter a name."));
    co_await knowMailboxes(client);
    // A connection that is newer than the list has seen no delimiter yet.
    const QString delimiter = IMAPMailboxes::delimiter(*m_mailboxes).value_or(client->delimiter());
    co_return *IMAPMailboxes::wireName(path, *m_mailboxes, delimiter);
}

// --- Listing

QList<IMAPArg> IMAPProvider::searchArgs(const MailboxRef& ref, const std::optional<QString>& query)
{
    QList<IMAPArg> args;
    if (ref.role() == Mailbox::starred)
        args.append(IMAPArg::text(u"FLAGGED "_s));
    const QString term = Text::trimmedBlanks(query ? QStringView(*query) : QStringView()).toString();
    constexpr QLatin1StringView from("from:");
    if (Text::asciiLowered(term).startsWith(from)) {
        args.append(IMAPArg::text(u"FROM "_s));
        args.append(IMAPArg::quoted(Text::trimmedBlanks(QStringView(term).sliced(from.size())).toString()));
    } else if (!term.isEmpty()) {
        args.append(IMAPArg::text(u"TEXT "_s));
        args.append(IMAPArg::quoted(term));
    }
    if (args.isEmpty())
        args.append(IMAPArg::text(u"ALL"_s));
    if (const QString* last = args.last().text(); last && last->endsWith(u' '))
        args.last() = IMAPArg::text(last->chopped(1));
    if (std::ranges::any_of(args, [](const IMAPArg& arg) { return arg.literal() != nullptr; }))
        args.prepend(IMAPArg::text(u"CHARSET UTF-8 "_s));
    return args;
}

Task<MessagePage> IMAPProvider::listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset,
                                             qint64 limit, bool refresh)
{
    const auto self = shared_from_this();
    co_await loadBoxes();
    const PageRequest request{ref, query, offset, limit, refresh};
    const auto body = [this, request](Client client) { return fetchListing(std::move(client), request); };
    MessagePage page = co_await withClient(body);
    co_await persistBoxes();
    co_return page;
}

Task<MessagePage> IMAPProvider::fetchListing(Client client, PageRequest request)
{
    const Listing listing = co_await uidListing(request.ref, request.query, client, request.refresh);
    MessagePage page = co_await fetchPage(client, request, listing);
    co_return page;
}

Task<IMAPProvider::Listing> IMAPProvider::uidListing(MailboxRef ref, std::optional<QString> query,
                                                     Client client, bool refresh)
{
    const QString key = ref.id() + u'|' + query.value_or(QString());
    if (!refresh) {
        const auto known = m_listings.constFind(key);
        if (known != m_listings.cend())
            co_return *known;
    }
    Listing listing;
    if (const MailLabel* label = ref.label())
        listing.mailbox = label->id;
    else
        listing.mailbox = co_await requireMailbox(*ref.role(), client, false);
    // A forced SELECT is how the server is asked what is new.
    co_await client->select(listing.mailbox, refresh);
    const QList<qint64> found = co_await client->search(searchArgs(ref, query));
    listing.uids = newestFirst(found);
    m_listings.insert(key, listing);
    co_return listing;
}

Task<MessagePage> IMAPProvider::fetchPage(Client client, PageRequest request, Listing listing)
{
    const qint64 count = listing.uids.size();
    const qint64 start = std::clamp<qint64>(request.offset, 0, count);
    const QList<qint64> page =
        listing.uids.sliced(start, std::clamp<qint64>(request.limit, 0, count - start));
    co_await client->select(listing.mailbox, false);
    const qint64 uidValidity = client->uidValidity().value_or(0);

    QHash<qint64, MessageSummary> known = cachedMessages(listing.mailbox, uidValidity);
    const bool isWholeMailbox =
        request.query.value_or(QString()).isEmpty() && request.ref.role() != Mailbox::starred;
    if (isWholeMailbox) {
        const QSet<qint64> present(listing.uids.cbegin(), listing.uids.cend());
        if (known.removeIf([&](auto entry) { return !present.contains(entry.key()); }) > 0)
            m_boxesDirty = true;
    }

    QList<qint64> cached;
    QList<qint64> missing;
    for (const qint64 uid : page)
        (known.contains(uid) ? cached : missing).append(uid);
    if (!cached.isEmpty())
        known = co_await refreshFlags(client, cached, known);
    if (!missing.isEmpty()) {
        const QHash<qint64, MessageSummary> fetched =
            co_await fetchSummaries(client, listing.mailbox, missing);
        m_boxesDirty = m_boxesDirty || !fetched.isEmpty();
        known.insert(fetched);
    }
    noteHandedOut(listing.mailbox, uidValidity, page);
    m_boxes.insert(listing.mailbox, {uidValidity, known});

    MessagePage result;
    for (const qint64 uid : page) {
        const auto found = known.constFind(uid);
        if (found != known.cend())
            result.messages.append(*found);
    }
    result.hasMore = request.offset + request.limit < count;
    result.total = count;
    co_return result;
}

Task<QHash<qint64, MessageSummary>> IMAPProvider::refreshFlags(Client client, QList<qint64> cached,
                                                               QHash<qint64, MessageSummary> known)
{
    const QList<IMAPFetch> fetches = co_await client->fetch(cached, u"FLAGS"_s);
    QHash<qint64, QSet<QString>> flags;
    for (const IMAPFetch& fetch : fetches) {
        if (fetch.uid && (fetch.hasFlags || !flags.contains(*fetch.uid)))
            flags.insert(*fetch.uid, lowerCased(fetch.flags));
    }
    for (const qint64 uid : cached) {
        const auto told = flags.constFind(uid);
        if (told == flags.cend()) {
            known.remove(uid);
            continue;
        }
        MessageSummary& summary = known[uid];
        const bool isRead = told->contains(u"\\seen"_s);
        const bool isStarred = told->contains(u"\\flagged"_s);
        if (summary.isRead != isRead || summary.isStarred != isStarred) {
            summary.isRead = isRead;
            summary.isStarred = isStarred;
            m_boxesDirty = true;
        }
    }
    co_return known;
}

Task<QHash<qint64, MessageSummary>> IMAPProvider::fetchSummaries(Client client, QString mailbox,
                                                                 QList<qint64> missing)
{
    const QList<IMAPFetch> fetches = co_await client->fetch(
        missing,
        u"FLAGS INTERNALDATE RFC822.SIZE BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)]"_s);
    co_await knowMailboxes(client);
    const auto listed = std::ranges::find(*m_mailboxes, mailbox, &IMAPClient::ListedMailbox::name);
    const QString displayPath =
        IMAPMailboxes::displayPath(mailbox, listed == m_mailboxes->end() ? std::nullopt : listed->delimiter);

    const SummaryContext context{m_account.id, mailbox, displayPath};
    const auto build = [fetches, missing, context] { return summariesOf(fetches, missing, context); };
    QHash<qint64, MessageSummary> summaries = co_await runOnWorker(build);
    co_return summaries;
}

QHash<qint64, MessageSummary> IMAPProvider::cachedMessages(const QString& mailbox, qint64 uidValidity)
{
    const auto box = m_boxes.constFind(mailbox);
    if (box != m_boxes.cend() && box->uidValidity == uidValidity)
        return box->messages;
    m_boxesDirty = true;
    return {};
}

Task<qint64> IMAPProvider::lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize)
{
    return withClient([this, ref, query, pageSize](Client client) {
        return lastOffset(std::move(client), ref, query, pageSize);
    });
}

Task<qint64> IMAPProvider::lastOffset(Client client, MailboxRef ref, std::optional<QString> query,
                                      qint64 pageSize)
{
    const Listing listing = co_await uidListing(ref, query, client, false);
    const qint64 count = listing.uids.size();
    co_return count > 0 && pageSize >= 1 ? (count - 1) / pageSize* pageSize : 0;
}

// --- Counts

Task<qint64> IMAPProvider::inboxUnreadCount()
{
    return withClient([this](Client client) { return unseen(std::move(client)); });
}

Task<qint64> IMAPProvider::unseen(Client client)
{
    const IMAPClient::Status status = co_await client->status(u"INBOX"_s);
    co_return status.unseen;
}

Task<QHash<QString, qint64>> IMAPProvider::counts(QList<MailLabel> labels)
{
    return withClient([this, labels](Client client) { return countAll(std::move(client), labels); });
}

Task<QHash<QString, qint64>> IMAPProvider::countAll(Client client, QList<MailLabel> labels)
{
    struct Entry {
        QString key;
        QString mailbox;
        qint64 IMAPClient::Status::*count;
    };
    QList<Entry> entries{{MailboxRef::system(Mailbox::inbox).id(), u"INBOX"_s, &IMAPClient::Status::unseen}};
    const std::optional<QString> spam = co_await resolveMailbox(Mailbox::spam, client, false);
    if (spam)
        entries.append({MailboxRef::system(Mailbox::spam).id(), *spam, &IMAPClient::Status::unseen});
    const std::optional<QString> drafts = co_await resolveMailbox(Mailbox::drafts, client, false);
    if (drafts)
        entries.append({MailboxRef::system(Mailbox::drafts).id(), *drafts, &IMAPClient::Status::messages});
    for (const MailLabel& label : labels)
        entries.append({MailboxRef::label(label).id(), label.id, &IMAPClient::Status::unseen});

    QHash<QString, qint64> result;
    for (const Entry& entry : std::as_const(entries)) {
        try {
            const IMAPClient::Status status = co_await client->status(entry.mailbox);
            if (status.*entry.count > 0)
                result.insert(entry.key, status.*entry.count);
        } catch (const MailError& error) {
            // A folder that can't be counted is left out; a dead connection is `withClient`'s to heal.
            if (error.isConnectionLost())
                throw;
        } catch (const LocalizedError&) {
            // The network failed. The next use of the connection tells that it is dead.
        }
    }
    co_return result;
}

// --- Reading and flags

QMap<QString, QList<qint64>> IMAPProvider::groupIDs(const QList<QString>& ids)
{
    QMap<QString, QList<qint64>> groups;
    for (const QString& id : ids) {
        const qsizetype colon = id.indexOf(u':');
        const std::optional<qint64> uid = IMAPValue::atom(id.first(std::max<qsizetype>(colon, 0))).integer();
        if (uid)
            groups[id.sliced(colon + 1)].append(*uid);
    }
    return groups;
}

Task<> IMAPProvider::selectForIDs(Client client, QString mailbox, QList<qint64> uids)
{
    expectCurrent(mailbox, uids);
    co_await client->select(mailbox, false);
    const auto box = m_boxes.constFind(mailbox);
    if (box != m_boxes.cend() && box->uidValidity != client->uidValidity().value_or(0))
        throw goneFromServer();
}

void IMAPProvider::expectCurrent(const QString& mailbox, const QList<qint64>& uids) const
{
    const QSet<qint64> stale = m_staleUIDs.value(mailbox);
    if (std::ranges::any_of(uids, [&stale](qint64 uid) { return stale.contains(uid); }))
        throw goneFromServer();
}

void IMAPProvider::expectCurrent(const QList<QString>& ids) const
{
    const QMap<QString, QList<qint64>> groups = groupIDs(ids);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group)
        expectCurrent(group.key(), *group);
}

void IMAPProvider::noteHandedOut(const QString& mailbox, qint64 uidValidity, const QList<qint64>& page)
{
    QSet<qint64>& stale = m_staleUIDs[mailbox];
    const auto before = m_boxes.constFind(mailbox);
    if (before != m_boxes.cend() && before->uidValidity != uidValidity) {
        for (auto entry = before->messages.keyBegin(); entry != before->messages.keyEnd(); ++entry)
            stale.insert(*entry);
    }
    for (const qint64 uid : page)
        stale.remove(uid);
}

Task<QByteArray> IMAPProvider::fetchRaw(QString id)
{
    const auto self = shared_from_this();
    const QMap<QString, QList<qint64>> groups = groupIDs({id});
    if (groups.isEmpty())
        throw MailError::protocolError(tr("Unknown message."));
    const QString& mailbox = groups.firstKey();
    const qint64 uid = groups.first().first();

    co_await loadBoxes();
    expectCurrent(mailbox, {uid});
    const auto box = m_boxes.constFind(mailbox);
    if (box != m_boxes.cend() && m_cache) {
        const std::optional<QByteArray> stored =
            co_await m_cache->read(cacheKey(box->uidValidity, uid, mailbox));
        if (stored)
            co_return *stored;
    }
    const auto body = [this, mailbox, uid](Client client) {
        return fetchBody(std::move(client), mailbox, uid);
    };
    const FetchedBody fetched = co_await withClient(body);
    if (m_cache)
        co_await m_cache->write(cacheKey(fetched.uidValidity, uid, mailbox), fetched.bytes);
    co_return fetched.bytes;
}

Task<IMAPProvider::FetchedBody> IMAPProvider::fetchBody(Client client, QString mailbox, qint64 uid)
{
    const QList<qint64> uids(1, uid);
    co_await selectForIDs(client, mailbox, uids);
    const QList<IMAPFetch> fetches = co_await client->fetch(QList<qint64>(1, uid), u"BODY.PEEK[]"_s);
    const auto answer = std::ranges::find_if(
        fetches, [uid](const IMAPFetch& fetch) { return fetch.uid.value_or(uid) == uid && fetch.body; });
    if (answer == fetches.end())
        throw goneFromServer();
    co_return FetchedBody{*answer->body, client->uidValidity().value_or(0)};
}

Task<std::optional<QString>> IMAPProvider::threadID(QString)
{
    co_return std::nullopt;
}

Task<> IMAPProvider::setRead(bool read, QList<QString> ids)
{
    return setFlag(ids, read, u"\\Seen"_s, &MessageSummary::isRead);
}

Task<> IMAPProvider::setStarred(bool starred, QList<QString> ids)
{
    return setFlag(ids, starred, u"\\Flagged"_s, &MessageSummary::isStarred);
}

Task<> IMAPProvider::setFlag(QList<QString> ids, bool add, QString flag, bool MessageSummary::*field)
{
    const auto self = shared_from_this();
    co_await loadBoxes();
    expectCurrent(ids);
    updateCached(ids, [add, field](MessageSummary& summary) { summary.*field = add; });
    const auto body = [this, ids, add, flag](Client client) {
        return storeFlag(std::move(client), ids, add, flag);
    };
    co_await withClient(body);
    m_listings.clear();
    co_await persistBoxes();
}

Task<> IMAPProvider::forEachGroup(QList<QString> ids, Client client, GroupBody body)
{
    const QMap<QString, QList<qint64>> groups = groupIDs(ids);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        co_await selectForIDs(client, group.key(), *group);
        co_await body(group.key(), *group);
    }
}

Task<> IMAPProvider::storeFlag(Client client, QList<QString> ids, bool add, QString flag)
{
    const GroupBody body = [client, add, flag](const QString&, const QList<qint64>& uids) {
        return client->store(uids, add, flag);
    };
    co_await forEachGroup(ids, client, body);
}

// --- Moving

Task<> IMAPProvider::moveMessages(QList<QString> ids, Destination destination)
{
    const auto self = shared_from_this();
    co_await loadBoxes();
    expectCurrent(ids);
    removeCached(ids);
    const auto body = [this, ids, destination](Client client) {
        return moveGroups(std::move(client), ids, destination);
    };
    co_await withClient(body);
    m_listings.clear();
    co_await persistBoxes();
}

Task<> IMAPProvider::moveGroups(Client client, QList<QString> ids, Destination destination)
{
    const GroupBody body = [this, client, destination](const QString& mailbox, const QList<qint64>& uids) {
        return moveGroup(client, mailbox, uids, destination);
    };
    co_await forEachGroup(ids, client, body);
}

Task<> IMAPProvider::moveGroup(Client client, QString mailbox, QList<qint64> uids, Destination destination)
{
    const QString target = co_await destination(client);
    if (target != mailbox)
        co_await client->move(uids, target);
}

Task<> IMAPProvider::archive(QList<QString> ids)
{
    return moveMessages(
        ids, [this](Client client) { return requireMailbox(Mailbox::archive, std::move(client), true); });
}

Task<> IMAPProvider::trash(QList<QString> ids)
{
    return moveMessages(
        ids, [this](Client client) { return requireMailbox(Mailbox::trash, std::move(client), false); });
}

Task<> IMAPProvider::markSpam(QList<QString> ids)
{
    return moveMessages(
        ids, [this](Client client) { return requireMailbox(Mailbox::spam, std::move(client), false); });
}

Task<> IMAPProvider::moveToInbox(QList<QString> ids)
{
    return moveMessages(
        ids, [this](Client client) { return requireMailbox(Mailbox::inbox, std::move(client), false); });
}

Task<> IMAPProvider::moveToLabel(QList<QString> ids, MailLabel label)
{
    return moveMessages(ids, [label](const Client&) { return given(label.id); });
}

// --- Sending and drafts

Task<> IMAPProvider::testConnection(ServerSettings settings, MailAuth auth, TransportFactory factory)
{
    const Client client = co_await IMAPClient::connect(settings, auth, factory);
    client->close();
    co_await SMTPClient::verify(settings, auth, factory);
}

Task<> IMAPProvider::send(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    QList<QString> recipients;
    for (const EmailAddress& recipient : message.to + message.cc + message.bcc)
        recipients.append(recipient.address);
    {
        // Of the blind copies no byte leaves for the other recipients.
        OutgoingMessage open = message;
        open.bcc.clear();
        const QByteArray data = co_await composed(open);
        co_await SMTPClient::send(m_settings, m_auth, m_factory, message.from.address, recipients, data);
    }
    // The message has gone out. A failure told from here on would make the user send it a second time.
    try {
        const auto body = [this, message](Client client) {
            return appendSentCopy(std::move(client), message);
        };
        if (!filesSentMail(m_settings.smtpHost))
            co_await withClient(body);
    } catch (const std::exception&) {
        // The recipients have it; the user's own copy is missing.
    }
    co_await replaceDraft(draftID);
    m_listings.clear();
}

Task<> IMAPProvider::appendSentCopy(Client client, OutgoingMessage message)
{
    const std::optional<QString> sent = co_await resolveMailbox(Mailbox::sent, client, false);
    if (!sent)
        co_return;
    const QByteArray data = co_await composed(message);
    co_await client->append(*sent, u"\\Seen"_s, data);
}

Task<> IMAPProvider::saveDraft(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const auto body = [this, message](Client client) { return appendDraft(std::move(client), message); };
    co_await withClient(body);
    co_await replaceDraft(draftID);
    m_listings.clear();
}

Task<> IMAPProvider::appendDraft(Client client, OutgoingMessage message)
{
    const QString drafts = co_await requireMailbox(Mailbox::drafts, client, true);
    const QByteArray data = co_await composed(message);
    co_await client->append(drafts, u"\\Draft \\Seen"_s, data);
}

Task<> IMAPProvider::replaceDraft(std::optional<QString> draftID)
{
    if (!draftID)
        co_return;
    try {
        co_await deleteDraft(*draftID);
    } catch (const std::exception&) {
        // The draft exists twice, or next to the sent message. Nothing is lost.
    }
}

Task<> IMAPProvider::deleteDraft(QString id)
{
    co_await loadBoxes();
    const QList<QString> ids(1, id);
    const auto body = [this, ids](Client client) { return deleteGroups(std::move(client), ids); };
    co_await withClient(body);
    m_listings.clear();
    co_await persistBoxes();
}

Task<> IMAPProvider::deleteGroups(Client client, QList<QString> ids)
{
    const GroupBody body = [client](const QString&, const QList<qint64>& uids) {
        return client->deleteMessages(uids);
    };
    co_await forEachGroup(ids, client, body);
}

// --- Folders

Task<MailLabel> IMAPProvider::createLabel(QString name)
{
    return withClient([this, name](Client client) { return createMailbox(std::move(client), name); });
}

Task<> IMAPProvider::finishChange(Client client, Task<> change, IsDone isDone)
{
    std::optional<MailError> refusal;
    try {
        co_await change;
    } catch (const MailError& error) {
        // The first try may have done it, and only the answer to that was lost.
        if (!m_isSecondTry || error.kind() != MailError::Kind::protocolError || error.isConnectionLost())
            throw;
        refusal = error;
    }
    m_mailboxes.reset();
    if (!refusal)
        co_return;
    co_await knowMailboxes(client);
    if (!isDone(*m_mailboxes))
        throw *refusal;
}

Task<MailLabel> IMAPProvider::createMailbox(Client client, QString name)
{
    const QString wire = co_await wireName(client, name);
    const IsDone isDone = [wire](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, wire);
    };
    co_await finishChange(client, client->create(wire), isDone);
    co_await knowMailboxes(client);
    const auto listed = std::ranges::find(*m_mailboxes, wire, &IMAPClient::ListedMailbox::name);
    const std::optional<QString> delimiter = listed == m_mailboxes->end() ? std::nullopt : listed->delimiter;
    co_return MailLabel{wire, IMAPMailboxes::displayPath(wire, delimiter)};
}

Task<MailLabel> IMAPProvider::renameLabel(MailLabel label, QString newName)
{
    const auto self = shared_from_this();
    co_await loadBoxes();
    const auto body = [this, label, newName](Client client) {
        return renameMailbox(std::move(client), label, newName);
    };
    const MailLabel renamed = co_await withClient(body);
    forgetMailbox(label.id);
    co_await persistBoxes();
    co_return renamed;
}

Task<MailLabel> IMAPProvider::renameMailbox(Client client, MailLabel label, QString newName)
{
    const QString wire = co_await wireName(client, newName);
    const QString delimiter = IMAPMailboxes::delimiter(*m_mailboxes).value_or(client->delimiter());
    const IsDone isDone = [old = label.id, wire](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, wire) && !IMAPMailboxes::contains(mailboxes, old);
    };
    co_await finishChange(client, client->rename(label.id, wire), isDone);
    co_return MailLabel{wire, IMAPMailboxes::displayPath(wire, delimiter)};
}

Task<> IMAPProvider::deleteLabel(MailLabel label)
{
    const auto self = shared_from_this();
    co_await loadBoxes();
    const auto body = [this, label](Client client) { return deleteMailbox(std::move(client), label); };
    co_await withClient(body);
    forgetMailbox(label.id);
    co_await persistBoxes();
}

Task<> IMAPProvider::deleteMailbox(Client client, MailLabel label)
{
    const IsDone isDone = [name = label.id](const IMAPMailboxes::Listing& mailboxes) {
        return !IMAPMailboxes::contains(mailboxes, name);
    };
    co_await finishChange(client, client->deleteMailbox(label.id), isDone);
}

Task<> IMAPProvider::setLabel(MailLabel, bool, QList<QString>)
{
    throw MailError::unsupported(tr("Labels can't be added to messages in this account; use Move To."));
    co_return;
}

// --- What is known of the messages

void IMAPProvider::updateCached(const QList<QString>& ids, const std::function<void(MessageSummary&)>& change)
{
    const QMap<QString, QList<qint64>> groups = groupIDs(ids);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const auto box = m_boxes.find(group.key());
        if (box == m_boxes.end())
            continue;
        for (const qint64 uid : *group) {
            const auto summary = box->messages.find(uid);
            if (summary == box->messages.end())
                continue;
            change(*summary);
            m_boxesDirty = true;
        }
    }
}

void IMAPProvider::removeCached(const QList<QString>& ids)
{
    const QMap<QString, QList<qint64>> groups = groupIDs(ids);
    for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
        const auto box = m_boxes.find(group.key());
        if (box == m_boxes.end())
            continue;
        for (const qint64 uid : *group)
            m_boxesDirty = box->messages.remove(uid) || m_boxesDirty;
    }
}

void IMAPProvider::forgetMailbox(const QString& wireName)
{
    m_boxes.remove(wireName);
    m_boxesDirty = true;
    m_listings.clear();
}

Task<> IMAPProvider::loadBoxes()
{
    // Whoever comes while the first one reads waits for it, so that nobody works on boxes that are about to
    // be replaced.
    const Turnstile::Turn turn = co_await m_boxesTurn.enter();
    if (std::exchange(m_boxesLoaded, true) || !m_cache)
        co_return;
    const std::optional<QByteArray> stored = co_await m_cache->readSnapshot(snapshotName());
    if (!stored)
        co_return;
    const auto decode = [json = *stored] { return IMAPSnapshot::decode(json); };
    try {
        m_boxes = co_await runOnWorker(decode);
    } catch (const LocalizedError&) {
        // The snapshot is only a cache: the next listing fetches anew.
    }
}

Task<> IMAPProvider::persistBoxes()
{
    // One writer at a time: an older state must not be written over a newer one.
    const Turnstile::Turn turn = co_await m_boxesTurn.enter();
    if (!m_cache || !std::exchange(m_boxesDirty, false))
        co_return;
    IMAPSnapshot::trim(m_boxes);
    const auto encode = [boxes = m_boxes] { return IMAPSnapshot::encode(boxes); };
    const QByteArray json = co_await runOnWorker(encode);
    co_await m_cache->writeSnapshot(snapshotName(), json);
}

} // namespace Larkhaven
