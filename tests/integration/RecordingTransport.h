#pragma once

#include "protocols/MailTransport.h"

#include <QByteArray>
#include <QList>

#include <memory>

namespace Larkhaven {

/// Passes everything on to a connection, and notes what was sent.
class RecordingTransport final : public MailTransport {
public:
    /// What all connections of a factory have sent, in their order.
    struct Record {
        QList<QByteArray> sent;

        /// How many lines begin, behind their tag, with these words.
        qsizetype commands(const QByteArray& words) const;
    };
    RecordingTransport(std::shared_ptr<MailTransport> transport, std::shared_ptr<Record> record)
        : m_transport(std::move(transport))
        , m_record(std::move(record))
    {}

    /// A factory whose connections note into `record`.
    static TransportFactory factory(std::shared_ptr<Record> record);

    Task<> send(QByteArray data) override;
    Task<QByteArray> receive() override { return m_transport->receive(); }
    void setReceiveTimeout(std::chrono::milliseconds timeout) override
    {
        m_transport->setReceiveTimeout(timeout);
    }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override { m_transport->close(); }

private:
    std::shared_ptr<MailTransport> m_transport;
    std::shared_ptr<Record> m_record;
};

} // namespace Larkhaven
