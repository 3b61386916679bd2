#include "providers/IMAPProvider.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "format/MessageComposer.h"
#include "platform/Tasks.h"
#include "protocols/ResponseTooLarge.h"
#include "protocols/SMTPClient.h"

#include <QCoreApplication>
#include <QUuid>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(IMAPProvider)
};

/// A destination that needs no search.
Task<QString> given(QString wireName)
{
    co_return wireName;
}

/// Servers of these put a copy of what they send into the Sent mailbox by themselves.
constexpr std::array<QLatin1StringView, 4> filingSuffixes = {".gmail.com"_L1, ".googlemail.com"_L1,
                                                             ".office365.com"_L1, ".outlook.com"_L1};

bool filesSentMail(const QString& smtpHost)
{
    const QString host = Text::asciiLowered(smtpHost);
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

/// The Message-ID of the message, or a fresh one (RFC 5322, 3.6.4), without angle brackets.
QString messageIDOf(const OutgoingMessage& message)
{
    if (message.messageID && !message.messageID->isEmpty())
        return *message.messageID;
    const QString& address = message.from.address;
    const QString domain = address.sliced(address.lastIndexOf(u'@') + 1);
    const bool isHostName = std::ranges::all_of(domain, [](QChar character) {
        return (character.unicode() < 0x80 && character.isLetterOrNumber()) ||
               QStringView(u".-").contains(character);
    });
    return QUuid::createUuid().toString(QUuid::WithoutBraces) + u'@' +
           (isHostName && !domain.isEmpty() ? domain : u"localhost"_s);
}

QString cacheKey(const IMAPMessageGroup& message)
{
    return u"imap:%1:%2:%3"_s.arg(QString::number(message.uidValidity), QString::number(message.uids.first()),
                                  message.mailbox);
}

} // namespace

std::shared_ptr<IMAPProvider> IMAPProvider::create(Account account, MailAuth auth,
                                                   std::shared_ptr<MailCache> cache, TransportFactory factory)
{
    if (!account.server)
        throw MailError::unsupported(Texts::tr("Missing server settings."));
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
    , m_connection(m_settings, m_auth, m_factory)
    , m_folders(m_connection)
    , m_listings(m_account.id, m_cache, m_folders)
    , m_transfers(m_connection)
    , m_lastMove(m_connection, m_transfers)
    , m_counts(m_connection, m_folders)
{}

template <typename Body>
std::invoke_result_t<Body, IMAPProvider::Client> IMAPProvider::withClient(Body body, Turnstile::Order order)
{
    const auto self = shared_from_this();
    if constexpr (std::is_same_v<std::invoke_result_t<Body, Client>, Task<>>) {
        co_await m_connection.run(body, order);
    } else {
        auto result = co_await m_connection.run(body, order);
        co_return result;
    }
}

// --- Listing

Task<MessagePage> IMAPProvider::listMessages(MailboxRef ref, std::optional<QString> query, qint64 offset,
                                             qint64 limit, bool refresh)
{
    const auto self = shared_from_this();
    co_await m_listings.load();
    const IMAPListings::PageRequest request{ref,   query,   offset,
                                            limit, refresh, std::make_shared<IMAPListings::Fetching>()};
    MessagePage page = co_await pageInTries(request);
    co_return page;
}

Task<MessagePage> IMAPProvider::pageInTries(IMAPListings::PageRequest request)
{
    for (;;) {
        try {
            const auto body = [this, request](Client client) {
                return m_listings.page(std::move(client), request);
            };
            MessagePage page = co_await withClient(body);
            co_return page;
        } catch (const ResponseTooLarge&) {
            if (!request.fetching->askForLess())
                throw;
        }
        // The UIDs that the page is of are known by now.
        request.refresh = false;
    }
}

Task<qint64> IMAPProvider::lastPageOffset(MailboxRef ref, std::optional<QString> query, qint64 pageSize)
{
    return withClient([this, ref, query, pageSize](Client client) {
        return m_listings.lastOffset(std::move(client), ref, query, pageSize);
    });
}

Task<QList<MailLabel>> IMAPProvider::listLabels()
{
    return withClient([this](Client client) { return m_folders.labels(std::move(client)); },
                      Turnstile::Order::background);
}

// --- Counts

Task<qint64> IMAPProvider::inboxUnreadCount()
{
    return withClient([this](Client client) { return unseen(std::move(client)); },
                      Turnstile::Order::background);
}

Task<qint64> IMAPProvider::unseen(Client client)
{
    const IMAPClient::Status status = co_await client->status(u"INBOX"_s);
    const qint64 count = status.unseen;
    co_return count;
}

Task<QHash<QString, qint64>> IMAPProvider::counts(QList<MailLabel> labels)
{
    const auto self = shared_from_this();
    QHash<QString, qint64> counts = co_await m_counts.count(labels);
    co_return counts;
}

// --- Reading and flags

Task<> IMAPProvider::forEachGroup(Groups groups, Client client, GroupBody body)
{
    for (const IMAPMessageGroup& group : std::as_const(groups)) {
        co_await IMAPTransfers::select(client, group);
        co_await body(group);
    }
}

Task<QByteArray> IMAPProvider::fetchRaw(QString id)
{
    const auto self = shared_from_this();
    const IMAPMessageGroup message = IMAPMessageIDs::grouped({id}).first();
    co_await m_listings.load();
    if (m_cache && m_listings.uidValidity(message.mailbox) == message.uidValidity) {
        const std::optional<QByteArray> stored = co_await m_cache->read(cacheKey(message));
        QByteArray bytes = stored.value_or(QByteArray());
        if (stored)
            co_return bytes;
    }
    const auto body = [this, message](Client client) { return fetchBody(std::move(client), message); };
    QByteArray bytes = co_await withClient(body);
    if (m_cache)
        co_await m_cache->write(cacheKey(message), bytes);
    co_return bytes;
}

Task<QByteArray> IMAPProvider::fetchBody(Client client, IMAPMessageGroup group)
{
    co_await IMAPTransfers::select(client, group);
    const QList<IMAPFetch> fetches = co_await client->fetch(group.uids, u"BODY.PEEK[]"_s);
    const qint64 uid = group.uids.first();
    for (const IMAPFetch& fetch : fetches) {
        std::optional<QByteArray> bytes = fetch.uid.value_or(uid) == uid ? fetch.body() : std::nullopt;
        if (bytes)
            co_return *std::move(bytes);
    }
    throw IMAPMessageIDs::goneFromServer();
}

Task<std::optional<QString>> IMAPProvider::threadID(QString)
{
    co_return std::nullopt;
}

Task<> IMAPProvider::setRead(bool read, QList<QString> ids)
{
    return setFlag(ids, read, u"\\Seen"_s, &PackedRow::State::isRead);
}

Task<> IMAPProvider::setStarred(bool starred, QList<QString> ids)
{
    return setFlag(ids, starred, u"\\Flagged"_s, &PackedRow::State::isStarred);
}

Task<> IMAPProvider::setFlag(QList<QString> ids, bool add, QString flag, bool PackedRow::State::*field)
{
    const auto self = shared_from_this();
    const Groups groups = IMAPMessageIDs::grouped(ids);
    co_await m_listings.load();
    m_listings.setFlag(groups, field, add);
    const auto body = [this, groups, add, flag](Client client) {
        return storeFlag(std::move(client), groups, add, flag);
    };
    co_await withClient(body);
    // No view chooses by what was read.
    if (field == &PackedRow::State::isStarred)
        m_listings.forgetStarredUIDs();
}

Task<> IMAPProvider::storeFlag(Client client, Groups groups, bool add, QString flag)
{
    const GroupBody body = [client, add, flag](const IMAPMessageGroup& group) {
        return client->store(group.uids, add, flag);
    };
    co_await forEachGroup(groups, client, body);
}

// --- Moving

Task<> IMAPProvider::moveMessages(QList<QString> ids, Destination destination)
{
    const auto self = shared_from_this();
    m_lastMove.forget();
    const Groups groups = IMAPMessageIDs::grouped(ids);
    co_await m_listings.load();
    m_listings.remove(groups);
    const auto body = [this, ids, destination](Client client) {
        return moveGroups(std::move(client), ids, destination);
    };
    co_await withClient(body);
    m_listings.forgetUIDs();
}

Task<> IMAPProvider::moveGroups(Client client, QList<QString> ids, Destination destination)
{
    const Groups groups = IMAPMessageIDs::grouped(ids);
    m_lastMove.begin(ids);
    const GroupBody body = [this, client, destination](const IMAPMessageGroup& group) {
        return moveGroup(client, group, destination);
    };
    co_await forEachGroup(groups, client, body);
    m_lastMove.complete();
}

Task<> IMAPProvider::moveGroup(Client client, IMAPMessageGroup group, Destination destination)
{
    const QString target = co_await destination(client);
    if (target != group.mailbox)
        co_await m_lastMove.move(client, group, target);
}

Task<> IMAPProvider::archive(QList<QString> ids)
{
    return moveMessages(ids, [this](Client client) {
        return m_folders.require(Mailbox::archive, std::move(client), IMAPFolders::Missing::create);
    });
}

Task<> IMAPProvider::trash(QList<QString> ids)
{
    return moveMessages(ids, [this](Client client) {
        return m_folders.require(Mailbox::trash, std::move(client), IMAPFolders::Missing::refuse);
    });
}

Task<> IMAPProvider::markSpam(QList<QString> ids)
{
    return moveMessages(ids, [this](Client client) {
        return m_folders.require(Mailbox::spam, std::move(client), IMAPFolders::Missing::refuse);
    });
}

Task<> IMAPProvider::moveToInbox(QList<QString> ids)
{
    return moveMessages(ids, [this](Client client) {
        return m_folders.require(Mailbox::inbox, std::move(client), IMAPFolders::Missing::refuse);
    });
}

Task<> IMAPProvider::moveToLabel(QList<QString> ids, MailLabel label)
{
    return moveMessages(ids, [label](const Client&) { return given(label.id); });
}

Task<bool> IMAPProvider::canPutBack(QList<QString> ids)
{
    const auto self = shared_from_this();
    if (!m_lastMove.isOf(ids) || !m_lastMove.canBeLocated())
        co_return false;
    if (!m_lastMove.isLocated()) {
        const auto body = [this](Client client) { return m_lastMove.locate(std::move(client)); };
        // What can't be learned is no failure of the user's.
        co_await settled(withClient(body, Turnstile::Order::background));
    }
    co_return m_lastMove.isOf(ids) && m_lastMove.isLocated();
}

Task<> IMAPProvider::putBack(QList<QString> ids)
{
    const auto self = shared_from_this();
    const std::shared_ptr<IMAPLastMove::Return> back = m_lastMove.take(ids);
    if (!back) {
        co_await MailProvider::putBack(ids);
        co_return;
    }
    co_await m_listings.load();
    Groups groups;
    for (const IMAPLastMove::Return::Step& step : std::as_const(back->steps))
        groups.append(step.group);
    m_listings.remove(groups);
    const auto body = [this, back](Client client) { return m_lastMove.putBack(std::move(client), back); };
    co_await withClient(body);
    m_listings.forgetUIDs();
}

// --- Sending and drafts

Task<> IMAPProvider::testConnection(ServerSettings settings, MailAuth auth, TransportFactory factory,
                                    std::stop_token stop, ConnectionTrial::Progress progress)
{
    return ConnectionTrial::run(std::move(settings), std::move(auth), std::move(factory), std::move(stop),
                                std::move(progress));
}

Task<> IMAPProvider::send(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    message.messageID = messageIDOf(message);
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
        if (!filesSentMail(m_settings.smtpHost)) {
            const auto copy = std::make_shared<IMAPTransfers::Appending>();
            copy->flags = u"\\Seen"_s;
            copy->messageID = *message.messageID;
            copy->message = co_await composed(message);
            const auto body = [this, copy](Client client) { return appendSentCopy(std::move(client), copy); };
            co_await withClient(body);
        }
    } catch (const std::exception&) {
        // The recipients have it; the user's own copy is missing.
    }
    co_await replaceDraft(draftID);
    m_listings.forgetUIDs();
}

Task<> IMAPProvider::appendSentCopy(Client client, Appending copy)
{
    const std::optional<QString> sent = co_await m_folders.find(Mailbox::sent, client);
    if (sent)
        co_await m_transfers.append(client, *sent, copy);
}

Task<bool> IMAPProvider::wasSent(QString messageID)
{
    return withClient([this, messageID](Client client) { return isInSent(std::move(client), messageID); });
}

Task<bool> IMAPProvider::isInSent(Client client, QString messageID)
{
    const std::optional<QString> sent = co_await m_folders.find(Mailbox::sent, client);
    if (!sent || messageID.isEmpty())
        co_return false;
    const bool isThere = co_await m_transfers.holds(client, *sent, messageID);
    co_return isThere;
}

Task<> IMAPProvider::saveDraft(OutgoingMessage message, std::optional<QString> draftID)
{
    const auto self = shared_from_this();
    const auto draft = std::make_shared<IMAPTransfers::Appending>();
    draft->flags = u"\\Draft \\Seen"_s;
    // Each state of a draft may be saved under one Message-ID.
    draft->isRepeatedID = message.messageID.has_value();
    message.messageID = messageIDOf(message);
    draft->messageID = *message.messageID;
    draft->message = co_await composed(message);
    const auto body = [this, draft](Client client) { return appendDraft(std::move(client), draft); };
    co_await withClient(body);
    co_await replaceDraft(draftID);
    m_listings.forgetUIDs();
}

Task<> IMAPProvider::appendDraft(Client client, Appending draft)
{
    const QString drafts = co_await m_folders.require(Mailbox::drafts, client, IMAPFolders::Missing::create);
    co_await m_transfers.append(client, drafts, draft);
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
    co_await m_listings.load();
    const Groups groups = IMAPMessageIDs::grouped({id});
    const auto body = [this, groups](Client client) { return deleteGroups(std::move(client), groups); };
    co_await withClient(body);
    m_listings.forgetUIDs();
}

Task<> IMAPProvider::deleteGroups(Client client, Groups groups)
{
    const GroupBody body = [client](const IMAPMessageGroup& group) {
        return client->deleteMessages(group.uids);
    };
    co_await forEachGroup(groups, client, body);
}

// --- Folders

Task<MailLabel> IMAPProvider::createLabel(QString name)
{
    return withClient([this, name](Client client) { return m_folders.create(std::move(client), name); });
}

Task<MailLabel> IMAPProvider::renameLabel(MailLabel label, QString newName)
{
    const auto self = shared_from_this();
    co_await m_listings.load();
    const auto body = [this, label, newName](Client client) {
        return m_folders.rename(std::move(client), label, newName);
    };
    MailLabel renamed = co_await withClient(body);
    m_listings.renameMailbox(label.id, renamed.id, m_folders.delimiter());
    co_return renamed;
}

Task<> IMAPProvider::deleteLabel(MailLabel label)
{
    const auto self = shared_from_this();
    co_await m_listings.load();
    const auto body = [this, label](Client client) { return m_folders.remove(std::move(client), label); };
    co_await withClient(body);
    m_listings.forgetMailbox(label.id);
}

Task<> IMAPProvider::setLabel(MailLabel, bool, QList<QString>)
{
    throw MailError::unsupported(
        Texts::tr("Labels can't be added to messages in this account; use Move To."));
    co_return;
}

} // namespace Larkhaven
