#include "http/HTTPMessage.h"

#include <QCoreApplication>

#include <algorithm>

namespace Larkhaven {

namespace {

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
    const auto tr = [](const char* text) { return QCoreApplication::translate("HTTPError", text); };
    switch (m_kind) {
    case Kind::badURL:
        return tr("The address of the service can’t be used.");
    case Kind::unreachable:
        return tr("No connection to %1 could be made.").arg(m_host);
    case Kind::untrusted:
        return tr("The identity of %1 couldn’t be verified.").arg(m_host);
    case Kind::timedOut:
        return tr("%1 stopped responding.").arg(m_host);
    case Kind::tooLarge:
        return tr("The answer of %1 was too large.").arg(m_host);
    case Kind::broken:
        return tr("The connection to %1 broke off.").arg(m_host);
    }
    return {};
}

} // namespace Larkhaven
