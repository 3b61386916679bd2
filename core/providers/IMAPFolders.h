#pragma once

#include "providers/IMAPConnection.h"
#include "providers/IMAPMailboxes.h"

#include <functional>
#include <optional>

namespace Larkhaven {

/// What is known of the mailboxes of an account's server, and the changes of them.
///
/// The list of mailboxes is asked for when it is first needed, and kept until a change of it. The namespaces
/// (RFC 2342) are asked for once, and only before a role is given to a mailbox that may be another user's, or
/// a mailbox is made.
///
/// Every operation runs within a body of the connection, which must outlive this. Main thread; whoever waits
/// for an operation keeps this alive.
class IMAPFolders {
public:
    using Client = IMAPConnection::Client;
    /// What becomes of a role that has no mailbox.
    enum class Missing { refuse, create };

    explicit IMAPFolders(const IMAPConnection& connection)
        : m_connection(connection)
    {}

    /// The mailbox of the role; absent where there is none.
    Task<std::optional<QString>> find(Mailbox role, Client client);
    /// The same; where there is none it fails with `MailError::unsupported` "This account has no {name}
    /// mailbox.", or makes one.
    Task<QString> require(Mailbox role, Client client, Missing missing);
    /// The text shown for a mailbox.
    Task<QString> displayPath(QString mailbox, Client client);
    /// The folders of the user. Always asks the server.
    Task<QList<MailLabel>> labels(Client client);

    /// Makes, renames and deletes a folder of the user. On a second try a refusal counts as done where the
    /// list of mailboxes says so: the answer to the first try was lost. A name fails with
    /// `MailError::unsupported`, before anything is changed, where nothing is left of it ("Please enter a
    /// name.") or a level of it holds the server's delimiter ("A folder name can’t contain “{delimiter}”.").
    Task<MailLabel> create(Client client, QString path);
    Task<MailLabel> rename(Client client, MailLabel label, QString newPath);
    Task<> remove(Client client, MailLabel label);

    /// What separated the levels of the mailbox that was changed last, or that were listed.
    const QString& delimiter() const { return m_delimiter; }

private:
    /// Whether the mailboxes are as a change wants them.
    using IsDone = std::function<bool(const IMAPMailboxes::Listing&)>;

    Task<> know(Client client);
    /// Asks for the namespaces, unless that was done or the server has none to tell.
    Task<> knowNamespaces(Client client);
    /// Makes a mailbox, where the server lets one be made, and gives its wire name.
    Task<QString> make(Client client, QString path, QList<IMAPMailboxes::Place> places);
    /// Selects INBOX where the mailbox, or one below it, is selected: some servers rename and delete none
    /// that is.
    Task<> leave(Client client, QString mailbox);
    /// Lets a CREATE, RENAME or DELETE come to its end. The list of mailboxes is forgotten, unless it was
    /// needed to learn whether the change was done by the first try.
    Task<> finishChange(Client client, Task<> change, IsDone isDone);
    QString delimiter(const Client& client);

    const IMAPConnection& m_connection;
    std::optional<IMAPMailboxes::Listing> m_mailboxes; ///< the last LIST
    IMAPMailboxes::Namespaces m_namespaces;
    bool m_hasAskedForNamespaces = false;
    QString m_delimiter;
};

} // namespace Larkhaven
