#include "providers/IMAPListings.h"

#include "domain/Text.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "platform/Tasks.h"
#include "providers/SummaryFields.h"

#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString& snapshotName()
{
    static const QString name = u"imap"_s;
    return name;
}

QSet<QString> lowerCased(const QList<QString>& flags)
{
    QSet<QString> result;
    for (const QString& flag : flags)
        result.insert(Text::asciiLowered(flag));
    return result;
}

/// What the server lists, newest first: numbers that aren't UIDs and doubles are dropped.
QList<qint64> newestFirst(QList<qint64> uids)
{
    uids.removeIf([](qint64 uid) { return !IMAPMessageIDs::isUID(uid); });
    std::ranges::sort(uids, std::greater());
    uids.erase(std::unique(uids.begin(), uids.end()), uids.end());
    return uids;
}

/// What the summaries of one mailbox have in common.
struct SummaryContext {
    QUuid accountID;
    QString mailbox;
    qint64 uidValidity;
    QString displayPath;
};

/// As much of the first field of the name as a row needs.
QString fieldOf(const MIMEHeaders& headers, QStringView name)
{
    return SummaryFields::cut(headers.value(name).value_or(QString()), SummaryFields::fieldLimit);
}

MessageSummary summaryOf(const IMAPFetch& fetch, qint64 uid, const SummaryContext& context)
{
    const MIMEHeaders headers = MIMEParser::splitHeaders(fetch.body.value_or(QByteArray()) + "\r\n").headers;
    const QSet<QString> flags = lowerCased(fetch.flags);
    const auto size = fetch.items.constFind(u"RFC822.SIZE"_s);

    MessageSummary summary;
    summary.id = IMAPMessageID{uid, context.uidValidity, context.mailbox}.text();
    summary.accountID = context.accountID;
    SummaryFields::setSender(summary, headers.values(u"From"));
    summary.to = SummaryFields::addresses(headers.value(u"To").value_or(QString()));
    summary.subject = SummaryFields::subject(headers.value(u"Subject").value_or(QString()));
    std::optional<QDateTime> date = MailDate::parse(fieldOf(headers, u"Date"));
    if (!date && fetch.internalDate)
        date = MailDate::parse(Text::trimmedBlanks(*fetch.internalDate), u"d-MMM-yyyy HH:mm:ss Z");
    summary.date = date.value_or(QDateTime::currentDateTimeUtc());
    summary.isRead = flags.contains(u"\\seen"_s);
    summary.isStarred = flags.contains(u"\\flagged"_s);
    summary.hasAttachments =
        Text::asciiLowered(fieldOf(headers, u"Content-Type")).startsWith("multipart/mixed"_L1);
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

QList<IMAPArg> IMAPListings::searchArgs(const MailboxRef& ref, const std::optional<QString>& query)
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

// --- Pages

Task<MessagePage> IMAPListings::page(Client client, PageRequest request)
{
    request.fetching->m_underway.clear();
    const Listing uids = co_await listing(client, request.ref, request.query, request.refresh);
    MessagePage page = co_await pageOf(client, request, uids);
    co_return page;
}

Task<qint64> IMAPListings::lastOffset(Client client, MailboxRef ref, std::optional<QString> query,
                                      qint64 pageSize)
{
    const Listing uids = co_await listing(client, ref, query, false);
    const qint64 count = uids.uids.size();
    const qint64 offset = count > 0 && pageSize >= 1 ? (count - 1) / pageSize * pageSize : 0;
    co_return offset;
}

Task<IMAPListings::Listing> IMAPListings::listing(Client client, MailboxRef ref, std::optional<QString> query,
                                                  bool refresh)
{
    const QString key = ref.id() + u'|' + query.value_or(QString());
    const auto known = m_listings.constFind(key);
    Listing listing;
    if (!refresh && known != m_listings.cend()) {
        listing = *known;
        co_return listing;
    }
    if (const MailLabel* label = ref.label())
        listing.mailbox = label->id;
    else
        listing.mailbox = co_await m_folders.require(*ref.role(), client, IMAPFolders::Missing::refuse);
    // A forced SELECT is how the server is asked what is new.
    co_await client->select(listing.mailbox, refresh);
    const QList<qint64> found = co_await client->search(searchArgs(ref, query));
    listing.uids = newestFirst(found);
    m_listings.insert(key, listing);
    co_return listing;
}

Task<MessagePage> IMAPListings::pageOf(Client client, PageRequest request, Listing listing)
{
    const qint64 count = listing.uids.size();
    const qint64 start = std::clamp<qint64>(request.offset, 0, count);
    const QList<qint64> page =
        listing.uids.sliced(start, std::clamp<qint64>(request.limit, 0, count - start));
    co_await client->select(listing.mailbox, false);
    const qint64 uidValidity = client->uidValidity().value_or(0);

    Summaries known = cachedMessages(listing.mailbox, uidValidity);
    const bool isWholeMailbox =
        request.query.value_or(QString()).isEmpty() && request.ref.role() != Mailbox::starred;
    if (isWholeMailbox) {
        const QSet<qint64> present(listing.uids.cbegin(), listing.uids.cend());
        if (known.removeIf([&](auto entry) { return !present.contains(entry.key()); }) > 0)
            m_isDirty = true;
    }

    QList<qint64> cached;
    QList<qint64> missing;
    for (const qint64 uid : page)
        (known.contains(uid) ? cached : missing).append(uid);
    if (!cached.isEmpty())
        known = co_await refreshFlags(client, cached, known);
    m_boxes.insert(listing.mailbox, {uidValidity, known});
    while (!missing.isEmpty()) {
        const QList<qint64> group = missing.first(std::min(missing.size(), request.fetching->m_groupSize));
        const Summaries fetched = co_await fetchSummaries(client, listing.mailbox, group, request.fetching);
        missing.remove(0, group.size());
        m_isDirty = m_isDirty || !fetched.isEmpty();
        known.insert(fetched);
        m_boxes.insert(listing.mailbox, {uidValidity, known});
    }

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

Task<IMAPListings::Summaries> IMAPListings::refreshFlags(Client client, QList<qint64> cached, Summaries known)
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
            m_isDirty = true;
        }
    }
    co_return known;
}

bool IMAPListings::Fetching::askForLess()
{
    const QList<qint64> failed = std::exchange(m_underway, {});
    if (failed.isEmpty() || m_headerless.contains(failed.first()))
        return false;
    if (failed.size() == 1)
        m_headerless.insert(failed.first());
    m_groupSize = std::max<qsizetype>(failed.size() / 2, 1);
    return true;
}

Task<IMAPListings::Summaries> IMAPListings::fetchSummaries(Client client, QString mailbox, QList<qint64> uids,
                                                           std::shared_ptr<Fetching> fetching)
{
    QString items = u"FLAGS INTERNALDATE RFC822.SIZE"_s;
    if (!fetching->m_headerless.contains(uids.first()))
        items += u" BODY.PEEK[HEADER.FIELDS (DATE FROM TO SUBJECT CONTENT-TYPE)]"_s;
    fetching->m_underway = uids;
    const QList<IMAPFetch> fetches = co_await client->fetch(uids, items);
    fetching->m_underway.clear();
    const QString displayPath = co_await m_folders.displayPath(mailbox, client);
    const SummaryContext context{m_accountID, mailbox, client->uidValidity().value_or(0), displayPath};
    const auto build = [fetches, uids, context] { return summariesOf(fetches, uids, context); };
    Summaries summaries = co_await runOnWorker(build);
    co_return summaries;
}

// --- What is known of the messages

IMAPListings::Summaries IMAPListings::cachedMessages(const QString& mailbox, qint64 uidValidity)
{
    const auto box = m_boxes.constFind(mailbox);
    if (box != m_boxes.cend() && box->uidValidity == uidValidity)
        return box->messages;
    m_isDirty = true;
    return {};
}

std::optional<qint64> IMAPListings::uidValidity(const QString& mailbox) const
{
    const auto box = m_boxes.constFind(mailbox);
    return box == m_boxes.cend() ? std::nullopt : std::optional(box->uidValidity);
}

IMAPBox* IMAPListings::box(const IMAPMessageGroup& group)
{
    const auto box = m_boxes.find(group.mailbox);
    return box == m_boxes.end() || box->uidValidity != group.uidValidity ? nullptr : &*box;
}

void IMAPListings::update(const QList<IMAPMessageGroup>& groups,
                          const std::function<void(MessageSummary&)>& change)
{
    for (const IMAPMessageGroup& group : groups) {
        IMAPBox* const known = box(group);
        for (const qint64 uid : known ? group.uids : QList<qint64>()) {
            const auto summary = known->messages.find(uid);
            if (summary == known->messages.end())
                continue;
            change(*summary);
            m_isDirty = true;
        }
    }
}

void IMAPListings::remove(const QList<IMAPMessageGroup>& groups)
{
    for (const IMAPMessageGroup& group : groups) {
        IMAPBox* const known = box(group);
        for (const qint64 uid : known ? group.uids : QList<qint64>())
            m_isDirty = known->messages.remove(uid) || m_isDirty;
    }
}

void IMAPListings::forgetMailbox(const QString& mailbox)
{
    m_boxes.remove(mailbox);
    m_isDirty = true;
    m_listings.clear();
}

void IMAPListings::renameMailbox(const QString& from, const QString& to, const QString& delimiter)
{
    IMAPBoxes renamed;
    const IMAPBoxes before = std::exchange(m_boxes, {});
    for (auto box = before.cbegin(); box != before.cend(); ++box) {
        const bool isBelow = !delimiter.isEmpty() && box.key().startsWith(from + delimiter);
        if (box.key() != from && !isBelow) {
            m_boxes.insert(box.key(), *box);
            continue;
        }
        const QString mailbox = to + box.key().sliced(from.size());
        const QString path = IMAPMailboxes::displayPath(mailbox, delimiter);
        IMAPBox moved = *box;
        for (auto summary = moved.messages.begin(); summary != moved.messages.end(); ++summary) {
            summary->id = IMAPMessageID{summary.key(), moved.uidValidity, mailbox}.text();
            summary->mailbox = path;
        }
        renamed.insert(mailbox, moved);
    }
    m_boxes.insert(renamed);
    m_isDirty = true;
    m_listings.clear();
}

// --- The snapshot

Task<> IMAPListings::load()
{
    // Whoever comes while the first one reads waits for it, so that nobody works on boxes that are about to
    // be replaced.
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (std::exchange(m_isLoaded, true) || !m_cache)
        co_return;
    const std::optional<QByteArray> stored = co_await m_cache->readSnapshot(snapshotName());
    if (!stored)
        co_return;
    const auto decode = [json = *stored] { return IMAPSnapshot::decode(json); };
    try {
        const IMAPBoxes boxes = co_await runOnWorker(decode);
        m_boxes = boxes;
    } catch (const LocalizedError&) {
        // The snapshot is only a cache: the next listing fetches anew.
    }
}

Task<> IMAPListings::persist()
{
    // One writer at a time: an older state must not be written over a newer one.
    const Turnstile::Turn turn = co_await m_turn.enter();
    if (!m_cache || !std::exchange(m_isDirty, false))
        co_return;
    IMAPSnapshot::trim(m_boxes);
    const auto encode = [boxes = m_boxes] { return IMAPSnapshot::encode(boxes); };
    const QByteArray json = co_await runOnWorker(encode);
    co_await m_cache->writeSnapshot(snapshotName(), json);
}

} // namespace Larkhaven
