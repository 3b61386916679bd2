#include "integration/Mailboxes.h"

#include "support/Await.h"

#include <QDeadlineTimer>

#include <chrono>
#include <stdexcept>

namespace Larkhaven {

namespace {

constexpr auto patience = std::chrono::seconds(20);
constexpr auto glance = std::chrono::milliseconds(50);
constexpr qint64 pageSize = 1'000;

} // namespace

MessagePage Mailboxes::list(IMAPProvider& provider, const MailboxRef& ref)
{
    return await(provider.listMessages(ref, std::nullopt, 0, pageSize, true));
}

MessagePage Mailboxes::list(IMAPProvider& provider, Mailbox role)
{
    return list(provider, MailboxRef::system(role));
}

MessagePage Mailboxes::arrived(IMAPProvider& provider, Mailbox role, qsizetype count)
{
    const QDeadlineTimer deadline(patience);
    while (true) {
        const MessagePage page = list(provider, role);
        if (page.messages.size() == count)
            return page;
        if (page.messages.size() > count || deadline.hasExpired())
            throw std::runtime_error("there are " + std::to_string(page.messages.size()) +
                                     " messages in place of " + std::to_string(count));
        waitUntil([] { return false; }, glance);
    }
}

QByteArray Mailboxes::onlyMessage(IMAPProvider& provider, Mailbox role)
{
    return await(provider.fetchRaw(arrived(provider, role, 1).messages.first().id));
}

} // namespace Larkhaven
