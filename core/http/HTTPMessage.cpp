#include "http/HTTPMessage.h"

#include <QCoreApplication>

#include <algorithm>

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(HTTPError)
};

auto named(QByteArrayView name)
{
    return [name](const HTTPRequest::Header& header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    };
}

} // namespace

void HTTPRequest::setHeader(const QByteArray& name, const QByteArray& value)
{
    const auto found = std::ranges::find_if(headers, named(name));
    if (found == headers.end())
        headers.append({name, value});
    else
        found->second = value;
}

void HTTPRequest::removeHeader(QByteArrayView name)
{
    headers.removeIf(named(name));
}

bool HTTPError::mayHaveArrived() const
{
    return m_kind == Kind::timedOut || m_kind == Kind::tooLarge || m_kind == Kind::broken;
}

QString HTTPError::localizedText() const
{
    switch (m_kind) {
    case Kind::badURL:
        return Texts::tr("The address of the service can’t be used.");
    case Kind::unreachable:
        return Texts::tr("No connection to %1 could be made.").arg(m_host);
    case Kind::untrusted:
        return Texts::tr("The identity of %1 couldn’t be verified.").arg(m_host);
    case Kind::timedOut:
        return Texts::tr("%1 stopped responding.").arg(m_host);
    case Kind::tooLarge:
        return Texts::tr("The answer of %1 was too large.").arg(m_host);
    case Kind::broken:
        return Texts::tr("The connection to %1 broke off.").arg(m_host);
    }
    return {};
}

} // namespace Larkhaven
