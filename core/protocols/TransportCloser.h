#pragma once

#include "protocols/MailTransport.h"

namespace Larkhaven {

/// Closes a transport at the end of a scope, unless it is dismissed. The transport must outlive it.
class TransportCloser {
public:
    explicit TransportCloser(MailTransport& transport)
        : m_transport(&transport)
    {}
    ~TransportCloser()
    {
        if (m_transport)
            m_transport->close();
    }
    TransportCloser(const TransportCloser&) = delete;
    TransportCloser& operator=(const TransportCloser&) = delete;
    void dismiss() { m_transport = nullptr; }

private:
    MailTransport* m_transport;
};

} // namespace Larkhaven
