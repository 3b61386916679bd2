#include "providers/IMAPFolders.h"

#include "domain/MailError.h"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(IMAPFolders)
};

/// A name is refused before the server is asked to change anything.
void checkName(const QString& path, const QString& delimiter)
{
    switch (IMAPMailboxes::naming(path, delimiter)) {
    case IMAPMailboxes::Naming::empty:
        throw MailError::unsupported(Texts::tr("Please enter a name."));
    case IMAPMailboxes::Naming::holdsDelimiter:
        throw MailError::unsupported(Texts::tr("A folder name can’t contain “%1”.").arg(delimiter));
    case IMAPMailboxes::Naming::good:
        break;
    }
}

} // namespace

Task<> IMAPFolders::know(Client client)
{
    if (m_mailboxes)
        co_return;
    const IMAPMailboxes::Listing listed = co_await client->listMailboxes();
    m_mailboxes = listed;
}

QString IMAPFolders::delimiter(const Client& client)
{
    // A connection that is newer than the list has seen no delimiter yet.
    const std::optional<QString> listed = m_mailboxes ? IMAPMailboxes::delimiter(*m_mailboxes) : std::nullopt;
    m_delimiter = listed.value_or(client->delimiter());
    return m_delimiter;
}

Task<> IMAPFolders::knowNamespaces(Client client)
{
    if (m_hasAskedForNamespaces || !client->capabilities().contains(u"NAMESPACE"_s))
        co_return;
    try {
        const IMAPMailboxes::Namespaces told = co_await client->namespaces();
        m_namespaces = told;
    } catch (const MailError& error) {
        // A server that doesn't tell is asked no more; where roles and new mailboxes are is seen without it.
        if (error.isConnectionLost())
            throw;
    }
    m_hasAskedForNamespaces = true;
}

Task<std::optional<QString>> IMAPFolders::find(Mailbox role, Client client)
{
    std::optional<QString> found = IMAPMailboxes::find(role, {});
    if (found)
        co_return found;
    co_await know(client);
    if (IMAPMailboxes::isForNamespacesToTell(role, *m_mailboxes))
        co_await knowNamespaces(client);
    found = IMAPMailboxes::find(role, *m_mailboxes, m_namespaces);
    co_return found;
}

Task<QString> IMAPFolders::require(Mailbox role, Client client, Missing missing)
{
    const std::optional<QString> found = co_await find(role, client);
    QString mailbox = found.value_or(QString());
    if (!found && missing == Missing::refuse)
        throw MailError::unsupported(
            Texts::tr("This account has no %1 mailbox.").arg(name(role, ProviderKind::imap)));
    if (!found) {
        co_await knowNamespaces(client);
        const QList<IMAPMailboxes::Place> places =
            IMAPMailboxes::placesForNew(*m_mailboxes, m_namespaces, delimiter(client));
        mailbox = co_await make(client, IMAPMailboxes::nameToCreate(role), places);
    }
    co_return mailbox;
}

Task<QString> IMAPFolders::displayPath(QString mailbox, Client client)
{
    // The Inbox lies below nothing, and its first page waits for no list of mailboxes.
    if (IMAPMailboxes::isInbox(mailbox))
        co_return IMAPMailboxes::displayPath(mailbox, std::nullopt);
    co_await know(client);
    const auto listed = std::ranges::find(*m_mailboxes, mailbox, &IMAPClient::ListedMailbox::name);
    QString path =
        IMAPMailboxes::displayPath(mailbox, listed == m_mailboxes->end() ? std::nullopt : listed->delimiter);
    co_return path;
}

Task<QList<MailLabel>> IMAPFolders::labels(Client client)
{
    m_mailboxes.reset();
    co_await know(client);
    for (const Mailbox role : allMailboxes) {
        if (IMAPMailboxes::isForNamespacesToTell(role, *m_mailboxes))
            co_await knowNamespaces(client);
    }
    QList<MailLabel> labels = IMAPMailboxes::labels(*m_mailboxes, m_namespaces);
    co_return labels;
}

// --- Changes

Task<> IMAPFolders::finishChange(Client client, Task<> change, IsDone isDone)
{
    std::optional<MailError> refusal;
    try {
        co_await change;
    } catch (const MailError& error) {
        // The first try may have done it, and only the answer to that was lost.
        if (!m_connection.isSecondTry() || error.kind() != MailError::Kind::protocolError ||
            error.isConnectionLost())
            throw;
        refusal = error;
    }
    m_mailboxes.reset();
    if (!refusal)
        co_return;
    co_await know(client);
    if (!isDone(*m_mailboxes))
        throw *refusal;
}

Task<QString> IMAPFolders::make(Client client, QString path, QList<IMAPMailboxes::Place> places)
{
    std::optional<MailError> refusal;
    for (const IMAPMailboxes::Place& place : std::as_const(places)) {
        const QString wire = IMAPMailboxes::wireName(path, place, m_namespaces);
        const IsDone isDone = [wire](const IMAPMailboxes::Listing& mailboxes) {
            return IMAPMailboxes::contains(mailboxes, wire);
        };
        const bool isThere = m_mailboxes && isDone(*m_mailboxes);
        try {
            co_await finishChange(client, client->create(wire), isDone);
            co_return wire;
        } catch (const MailError& error) {
            // What is there already is refused for that, and not for its place.
            if (error.kind() != MailError::Kind::protocolError || error.isConnectionLost() || isThere)
                throw;
            if (!refusal)
                refusal = error;
        }
    }
    throw *refusal;
}

Task<> IMAPFolders::leave(Client client, QString mailbox)
{
    const QString selected = client->selected().value_or(QString());
    if (selected == mailbox || selected.startsWith(mailbox + delimiter(client)))
        co_await client->select(u"INBOX"_s, false);
}

Task<MailLabel> IMAPFolders::create(Client client, QString path)
{
    // Nothing needs to be known to refuse an empty name.
    checkName(path, u"/"_s);
    co_await know(client);
    co_await knowNamespaces(client);
    QList<IMAPMailboxes::Place> places =
        IMAPMailboxes::placesForNew(*m_mailboxes, m_namespaces, delimiter(client));
    checkName(path, places.first().delimiter);
    // Where the user has folders, one that is refused is not put elsewhere.
    const bool isFirst = std::ranges::all_of(*m_mailboxes, [](const IMAPClient::ListedMailbox& mailbox) {
        return IMAPMailboxes::isInbox(mailbox.name);
    });
    if (!isFirst)
        places = places.first(1);
    const QString wire = co_await make(client, path, places);
    const QString shown = co_await displayPath(wire, client);
    co_return MailLabel{wire, shown};
}

Task<MailLabel> IMAPFolders::rename(Client client, MailLabel label, QString newPath)
{
    checkName(newPath, u"/"_s);
    co_await know(client);
    const IMAPMailboxes::Place place = IMAPMailboxes::placeOf(label.id, m_namespaces, delimiter(client));
    checkName(newPath, place.delimiter);
    const QString wire = IMAPMailboxes::wireName(newPath, place, m_namespaces);
    const IsDone isDone = [old = label.id, wire](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, wire) && !IMAPMailboxes::contains(mailboxes, old);
    };
    co_await leave(client, label.id);
    co_await finishChange(client, client->rename(label.id, wire), isDone);
    co_return MailLabel{wire, IMAPMailboxes::displayPath(wire, place.delimiter)};
}

Task<> IMAPFolders::remove(Client client, MailLabel label)
{
    const IsDone isDone = [name = label.id](const IMAPMailboxes::Listing& mailboxes) {
        return !IMAPMailboxes::contains(mailboxes, name);
    };
    co_await leave(client, label.id);
    co_await finishChange(client, client->deleteMailbox(label.id), isDone);
}

} // namespace Larkhaven
