#pragma once

#include "domain/MailProvider.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace Larkhaven {

/// A connected byte stream. Used by one task at a time, on the main thread; its owner calls `close` before
/// letting go of it.
class MailTransport {
public:
    virtual ~MailTransport() = default;

    /// Writes all the bytes, completing when they are written. After a failure at least the last of them has
    /// not left.
    virtual Task<> send(QByteArray data) = 0;
    /// The next non-empty chunk. At the end of the stream: `MailError::connectionClosed`.
    virtual Task<QByteArray> receive() = 0;
    /// The time that later calls of `receive` wait for the server, where the transport has one.
    virtual void setReceiveTimeout(std::chrono::milliseconds) {}
    /// Upgrades the connection to TLS in place. A bad certificate shows up at the latest in the next `send`
    /// or `receive`.
    virtual Task<> startTLS() = 0;
    /// Tears the connection down at once. An operation under way fails.
    virtual void close() = 0;
};

/// Opens a transport to a host and port, with TLS from the first byte if `implicitTLS`.
using TransportFactory =
    std::function<Task<std::shared_ptr<MailTransport>>(QString host, int port, bool implicitTLS)>;

} // namespace Larkhaven
