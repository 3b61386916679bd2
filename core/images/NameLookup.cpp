#include "images/NameLookup.h"

#include "platform/Tasks.h"

#include <memory>
#include <netdb.h>

namespace Larkhaven::NameLookup {

namespace {

QThreadPool& resolvers()
{
    constexpr int atOnce = 6;
    static QThreadPool* const pool = [] {
        auto* const made = new QThreadPool;
        made->setMaxThreadCount(atOnce);
        return made;
    }();
    return *pool;
}

QList<QHostAddress> ask(const QByteArray& host)
{
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* first = nullptr;
    if (getaddrinfo(host.constData(), nullptr, &wanted, &first) != 0)
        return {};
    const std::unique_ptr<addrinfo, void (*)(addrinfo*)> answer(first, freeaddrinfo);
    QList<QHostAddress> found;
    for (const addrinfo* entry = first; entry != nullptr; entry = entry->ai_next)
        found.append(QHostAddress(entry->ai_addr));
    return found;
}

} // namespace

Task<QList<QHostAddress>> addresses(QByteArray host, std::stop_token stop)
{
    const auto work = [host, stop] { return stop.stop_requested() ? QList<QHostAddress>() : ask(host); };
    const QList<QHostAddress> found = co_await runOn(&resolvers(), work);
    co_return QList<QHostAddress>(found);
}

} // namespace Larkhaven::NameLookup
