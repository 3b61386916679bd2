#pragma once

#include "domain/MailError.h"
#include "protocols/MailTransport.h"

#include <QByteArray>

#include <algorithm>
#include <memory>

namespace Larkhaven {

/// Passes everything on to a connection until so many bytes have gone through it, in both directions
/// together. Then it is lost, in the middle of whatever is on its way.
class CuttingTransport final : public MailTransport {
public:
    struct Budget {
        qint64 left = 0;
        bool isSpent = false; ///< the connection was cut
        QByteArray hidden;    ///< a capability that the client doesn't get to see
    };

    CuttingTransport(std::shared_ptr<MailTransport> transport, std::shared_ptr<Budget> budget)
        : m_transport(std::move(transport))
        , m_budget(std::move(budget))
    {}

    Task<> send(QByteArray data) override
    {
        const QByteArray part = allowed(data);
        co_await m_transport->send(part);
        // What was sent may well have its effect before the server notices.
        if (part.size() < data.size())
            cut();
    }
    Task<QByteArray> receive() override
    {
        if (m_budget->left == 0)
            cut();
        const QByteArray chunk = co_await m_transport->receive();
        QByteArray part = allowed(chunk);
        if (!m_budget->hidden.isEmpty())
            part.replace(m_budget->hidden, QByteArray(m_budget->hidden.size(), 'X'));
        if (part.isEmpty())
            cut();
        co_return part;
    }
    Task<> startTLS() override { return m_transport->startTLS(); }
    void close() override { m_transport->close(); }

private:
    QByteArray allowed(const QByteArray& data)
    {
        const qsizetype count = std::min<qint64>(data.size(), m_budget->left);
        m_budget->left -= count;
        return data.first(count);
    }
    [[noreturn]] void cut()
    {
        m_budget->isSpent = true;
        m_transport->close();
        throw MailError::connectionClosed();
    }

    std::shared_ptr<MailTransport> m_transport;
    std::shared_ptr<Budget> m_budget;
};

} // namespace Larkhaven
