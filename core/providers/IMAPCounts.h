#pragma once

#include "domain/Mailbox.h"
#include "providers/IMAPFolders.h"

#include <QHash>
#include <QMap>

#include <exception>
#include <memory>

namespace Larkhaven {

/// The counts of an account's mailboxes, one STATUS for each.
///
/// Counting is work of the background: it goes behind everything else that waits for the connection, and
/// gives way to it after each batch of mailboxes. At most one count waits for another: those who ask
/// meanwhile share the next one.
///
/// Main thread; the connection and the folders must outlive this, and whoever waits for `count` keeps all
/// alive.
class IMAPCounts {
public:
    using Counts = QHash<QString, qint64>;

    IMAPCounts(IMAPConnection& connection, IMAPFolders& folders)
        : m_connection(connection)
        , m_folders(folders)
    {}

    /// The counts above 0 by `MailboxRef::id`: unread messages of Inbox, Junk and the labels, all messages of
    /// Drafts. A mailbox that can't be counted is left out. Never answers with what was counted before the
    /// call.
    Task<Counts> count(QList<MailLabel> labels);

private:
    using Client = IMAPConnection::Client;
    struct Entry {
        QString key;
        QString mailbox;
        qint64 IMAPClient::Status::*number;
    };
    /// A count that is being made, a batch at a time.
    struct Progress {
        QList<Entry> entries;
        qsizetype next = 0;
        Counts counts;
    };
    /// What the last count came to, for those who waited for it.
    struct Outcome {
        quint64 lastCall = 0; ///< the last one that it answers
        Counts counts;
        std::exception_ptr failure;
    };

    Task<Counts> countAll(QList<MailLabel> labels);
    Task<QList<Entry>> systemEntries(Client client);
    Task<> countBatch(Client client, std::shared_ptr<Progress> progress);

    IMAPConnection& m_connection;
    IMAPFolders& m_folders;
    Turnstile m_turn;
    quint64 m_calls = 0;
    QMap<QString, MailLabel> m_wanted; ///< of those who wait, by id
    Outcome m_last;
};

} // namespace Larkhaven
