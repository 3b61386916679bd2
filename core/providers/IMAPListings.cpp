#include "providers/IMAPListings.h"

#include "domain/Text.h"
#include "format/MIMEParser.h"
#include "format/MailDate.h"
#include "platform/Tasks.h"
#include "providers/IMAPSnapshot.h"
#include "providers/SummaryFields.h"

#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

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
    // As servers give them, where they need no sorting.
    if (std::ranges::is_sorted(uids))
        std::ranges::reverse(uids);
    else
        std::ranges::sort(uids, std::greater());
    uids.erase(std::unique(uids.begin(), uids.end()), uids.end());
    return uids;
}

QString keyOf(const MailboxRef& ref, const std::optional<QString>& query)
{
    return ref.id() + u'|' + query.value_or(QString());
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
    const MIMEHeaders headers =
        MIMEParser::splitHeaders(fetch.body().value_or(QByteArray()) + "\r\n").headers;
    const QSet<QString> flags = lowerCased(fetch.flags);
    const std::optional<IMAPValue> size = fetch.items.value("RFC822.SIZE"_L1);

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
    summary.size = size ? size->integer().value_or(0) : 0;
    summary.mailbox = context.displayPath;
    return summary;
}

/// The rows of those UIDs that were asked for.
QHash<qint64, PackedRow> rowsOf(const QList<IMAPFetch>& fetches, const QList<qint64>& uids,
                                const SummaryContext& context)
{
    const QSet<qint64> asked(uids.cbegin(), uids.cend());
    QHash<qint64, PackedRow> rows;
    for (const IMAPFetch& fetch : fetches) {
        if (!fetch.uid || !asked.contains(*fetch.uid))
            continue;
        // Servers tell changed flags unasked: such a fetch must not blank a summary that is complete.
        if (fetch.hasBody() || !rows.contains(*fetch.uid))
            rows.insert(*fetch.uid, PackedRow::of(summaryOf(fetch, *fetch.uid, context)));
    }
    return rows;
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
    const QString key = keyOf(ref, query);
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

    beginBox(listing.mailbox, uidValidity);
    const bool isWholeMailbox =
        request.query.value_or(QString()).isEmpty() && request.ref.role() != Mailbox::starred;
    if (isWholeMailbox)
        matchRows(keyOf(request.ref, request.query));

    // The rows of the page are kept here: those beyond the limit of the store may leave it meanwhile.
    Rows rows;
    QList<qint64> missing;
    for (const qint64 uid : page) {
        if (const PackedRow* const row = m_rows.row(listing.mailbox, IMAPRows::key(uid)))
            rows.insert(uid, *row);
        else
            missing.append(uid);
    }
    if (!rows.isEmpty())
        rows = co_await refreshFlags(client, listing.mailbox, rows);
    while (!missing.isEmpty()) {
        const QList<qint64> group = missing.first(std::min(missing.size(), request.fetching->m_groupSize));
        const Rows fetched = co_await fetchRows(client, listing.mailbox, group, request.fetching);
        missing.remove(0, group.size());
        rows.insert(fetched);
        // Meanwhile another flow may have dropped the box.
        beginBox(listing.mailbox, uidValidity);
        for (auto row = fetched.cbegin(); row != fetched.cend(); ++row)
            m_rows.put(listing.mailbox, IMAPRows::key(row.key()), *row);
    }

    MessagePage result;
    for (const qint64 uid : page) {
        const auto row = rows.constFind(uid);
        if (row != rows.cend())
            result.messages.append(
                row->summary(IMAPMessageID{uid, uidValidity, listing.mailbox}.text(), m_accountID));
    }
    result.hasMore = request.offset + request.limit < count;
    result.total = count;
    co_return result;
}

Task<IMAPListings::Rows> IMAPListings::refreshFlags(Client client, QString mailbox, Rows known)
{
    const QList<IMAPFetch> fetches = co_await client->fetch(known.keys(), u"FLAGS"_s);
    QHash<qint64, QSet<QString>> flags;
    for (const IMAPFetch& fetch : fetches) {
        if (fetch.uid && (fetch.hasFlags || !flags.contains(*fetch.uid)))
            flags.insert(*fetch.uid, lowerCased(fetch.flags));
    }
    Rows rows;
    for (auto row = known.cbegin(); row != known.cend(); ++row) {
        const QByteArray key = IMAPRows::key(row.key());
        const auto told = flags.constFind(row.key());
        if (told == flags.cend()) {
            m_rows.remove(mailbox, key);
            continue;
        }
        PackedRow::State state = row->unpackedState();
        state.isRead = told->contains(u"\\seen"_s);
        state.isStarred = told->contains(u"\\flagged"_s);
        const PackedRow refreshed{row->content, state.packed()};
        rows.insert(row.key(), refreshed);
        m_rows.setState(mailbox, key, refreshed.state);
    }
    co_return rows;
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

Task<IMAPListings::Rows> IMAPListings::fetchRows(Client client, QString mailbox, QList<qint64> uids,
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
    const auto build = [fetches, uids, context] { return rowsOf(fetches, uids, context); };
    Rows rows = co_await runOnWorker(build);
    co_return rows;
}

// --- What is known of the messages

void IMAPListings::matchRows(const QString& key)
{
    const auto listing = m_listings.find(key);
    if (listing == m_listings.end() || std::exchange(listing->isMatched, true))
        return;
    m_rows.removeIf(listing->mailbox, [uids = listing->uids](const QByteArray& row) {
        return !std::binary_search(uids.cbegin(), uids.cend(), IMAPRows::uid(row), std::greater());
    });
}

void IMAPListings::forgetStarredUIDs()
{
    const QString views = keyOf(MailboxRef::system(Mailbox::starred), {});
    m_listings.removeIf([&views](auto listing) { return listing.key().startsWith(views); });
}

void IMAPListings::beginBox(const QString& mailbox, qint64 validity)
{
    if (uidValidity(mailbox) != validity)
        m_rows.makeBox(mailbox, IMAPRows::note(validity));
}

std::optional<qint64> IMAPListings::uidValidity(const QString& mailbox) const
{
    const RowBox* const box = m_rows.box(mailbox);
    return box ? std::optional(IMAPRows::uidValidity(*box)) : std::nullopt;
}

bool IMAPListings::isCurrent(const IMAPMessageGroup& group) const
{
    return uidValidity(group.mailbox) == group.uidValidity;
}

void IMAPListings::setFlag(const QList<IMAPMessageGroup>& groups, bool PackedRow::State::*flag, bool isSet)
{
    for (const IMAPMessageGroup& group : groups) {
        for (const qint64 uid : isCurrent(group) ? group.uids : QList<qint64>()) {
            const QByteArray key = IMAPRows::key(uid);
            const PackedRow* const row = m_rows.row(group.mailbox, key);
            if (!row)
                continue;
            PackedRow::State state = row->unpackedState();
            state.*flag = isSet;
            m_rows.setState(group.mailbox, key, state.packed());
        }
    }
}

void IMAPListings::remove(const QList<IMAPMessageGroup>& groups)
{
    for (const IMAPMessageGroup& group : groups) {
        for (const qint64 uid : isCurrent(group) ? group.uids : QList<qint64>())
            m_rows.remove(group.mailbox, IMAPRows::key(uid));
    }
}

void IMAPListings::forgetMailbox(const QString& mailbox)
{
    m_rows.dropBox(mailbox);
    m_listings.clear();
}

void IMAPListings::renameMailbox(const QString& from, const QString& to, const QString& delimiter)
{
    const QList<QString> mailboxes = m_rows.boxes().keys();
    RowBoxes renamed;
    for (const QString& mailbox : mailboxes) {
        const bool isBelow = !delimiter.isEmpty() && mailbox.startsWith(from + delimiter);
        if (mailbox != from && !isBelow)
            continue;
        renamed.insert(to + mailbox.sliced(from.size()), *m_rows.box(mailbox));
        m_rows.dropBox(mailbox);
    }
    for (auto box = renamed.begin(); box != renamed.end(); ++box) {
        const QString path = IMAPMailboxes::displayPath(box.key(), delimiter);
        m_rows.makeBox(box.key(), box->note);
        for (auto row = box->rows.begin(); row != box->rows.end(); ++row) {
            PackedRow::State state = row->unpackedState();
            state.mailbox = path;
            m_rows.put(box.key(), row.key(), {row->content, state.packed()});
        }
    }
    m_listings.clear();
}

Task<> IMAPListings::load()
{
    return m_rows.load(IMAPSnapshot::decode);
}

} // namespace Larkhaven
