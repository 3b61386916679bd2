#pragma once

#include "protocols/MailTransport.h"

#include <QByteArray>

#include <memory>

namespace Larkhaven::Bench {

/// An IMAP server in this process, with one mailbox of messages whose UIDs are 1, 3, 5 and so on, so that no
/// two of them make a range, and it tells none (RFC 4731). It answers what the program asks of it, and knows
/// what that took.
class MailboxServer {
public:
    explicit MailboxServer(qint64 messages);

    TransportFactory factory();
    /// Processor time of its thread that the server took for itself, in seconds.
    double ownTime() const;
    /// How large the answer to a search is, in bytes.
    qsizetype searchSize() const;

    struct Mailbox;

private:
    std::shared_ptr<Mailbox> m_mailbox;
};

} // namespace Larkhaven::Bench
