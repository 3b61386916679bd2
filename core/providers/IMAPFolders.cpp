#include "providers/IMAPFolders.h"

#include "domain/MailError.h"

#include <QCoreApplication>

#include <algorithm>

namespace Larkhaven {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("IMAPProvider", text);
}

} // namespace

Task<> IMAPFolders::know(Client client)
{
    if (m_mailboxes)
        co_return;
    const IMAPMailboxes::Listing listed = co_await client->listMailboxes();
    m_mailboxes = listed;
}

QString IMAPFolders::delimiter(const Client& client) const
{
    // A connection that is newer than the list has seen no delimiter yet.
    return IMAPMailboxes::delimiter(*m_mailboxes).value_or(client->delimiter());
}

Task<std::optional<QString>> IMAPFolders::find(Mailbox role, Client client)
{
    std::optional<QString> found = IMAPMailboxes::find(role, {});
    if (found)
        co_return found;
    co_await know(client);
    found = IMAPMailboxes::find(role, *m_mailboxes);
    co_return found;
}

Task<QString> IMAPFolders::require(Mailbox role, Client client, Missing missing)
{
    const std::optional<QString> found = co_await find(role, client);
    QString mailbox = found.value_or(QString());
    if (!found && missing == Missing::refuse)
        throw MailError::unsupported(
            tr("This account has no %1 mailbox.").arg(name(role, ProviderKind::imap)));
    if (!found) {
        mailbox = IMAPMailboxes::nameToCreate(role);
        const IsDone isDone = [mailbox](const IMAPMailboxes::Listing& mailboxes) {
            return IMAPMailboxes::contains(mailboxes, mailbox);
        };
        co_await finishChange(client, client->create(mailbox), isDone);
    }
    co_return mailbox;
}

Task<QString> IMAPFolders::displayPath(QString mailbox, Client client)
{
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
    QList<MailLabel> labels = IMAPMailboxes::labels(*m_mailboxes);
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

Task<MailLabel> IMAPFolders::create(Client client, QString path)
{
    // An empty name is refused before the server is asked for anything.
    if (!IMAPMailboxes::wireName(path, {}, client->delimiter()))
        throw MailError::unsupported(tr("Please enter a name."));
    co_await know(client);
    const QString wire = *IMAPMailboxes::wireName(path, *m_mailboxes, delimiter(client));
    const IsDone isDone = [wire](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, wire);
    };
    co_await finishChange(client, client->create(wire), isDone);
    const QString shown = co_await displayPath(wire, client);
    co_return MailLabel{wire, shown};
}

Task<MailLabel> IMAPFolders::rename(Client client, MailLabel label, QString newPath)
{
    if (!IMAPMailboxes::wireName(newPath, {}, client->delimiter()))
        throw MailError::unsupported(tr("Please enter a name."));
    co_await know(client);
    const QString levels = delimiter(client);
    const QString wire = *IMAPMailboxes::wireName(newPath, *m_mailboxes, levels);
    const IsDone isDone = [old = label.id, wire](const IMAPMailboxes::Listing& mailboxes) {
        return IMAPMailboxes::contains(mailboxes, wire) && !IMAPMailboxes::contains(mailboxes, old);
    };
    co_await finishChange(client, client->rename(label.id, wire), isDone);
    co_return MailLabel{wire, IMAPMailboxes::displayPath(wire, levels)};
}

Task<> IMAPFolders::remove(Client client, MailLabel label)
{
    const IsDone isDone = [name = label.id](const IMAPMailboxes::Listing& mailboxes) {
        return !IMAPMailboxes::contains(mailboxes, name);
    };
    co_await finishChange(client, client->deleteMailbox(label.id), isDone);
}

} // namespace Larkhaven
