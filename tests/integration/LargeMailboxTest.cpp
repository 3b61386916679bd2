#include "integration/MailServer.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QSet>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

TEST(LargeMailbox, OfTenThousandMessagesListsAndPages)
{
    const MailServer server({u"--messages"_s, u"bulk=10000"_s});
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    constexpr qint64 size = 100;
    const MessagePage first = await(provider->listMessages(inbox, std::nullopt, 0, size, true));
    EXPECT_EQ(first.total, 10'000);
    EXPECT_TRUE(first.hasMore);
    ASSERT_EQ(first.messages.size(), size);

    const qint64 lastOffset = await(provider->lastPageOffset(inbox, std::nullopt, size));
    EXPECT_EQ(lastOffset, 9'900);
    QSet<QString> seen;
    for (const qint64 offset : {qint64{0}, size, qint64{5'000}, lastOffset}) {
        const MessagePage page = await(provider->listMessages(inbox, std::nullopt, offset, size, false));
        EXPECT_EQ(page.messages.size(), size);
        EXPECT_EQ(page.hasMore, offset != lastOffset);
        for (const MessageSummary& row : page.messages)
            seen.insert(row.id);
    }
    EXPECT_EQ(seen.size(), 4 * size);
    const MessagePage beyond = await(provider->listMessages(inbox, std::nullopt, 10'000, size, false));
    EXPECT_TRUE(beyond.messages.isEmpty());
    EXPECT_FALSE(beyond.hasMore);
}

TEST(LargeMailbox, MessageOfAHundredMegabytesComesWhileTheEventLoopGoesOn)
{
    MailServer server;
    constexpr qsizetype lineCount = 1'300'000;
    QByteArray message = "From: a@example.org\r\nSubject: large\r\n\r\n";
    message.reserve(lineCount * 78);
    for (qsizetype line = 0; line < lineCount; ++line)
        message += "0123456789012345678901234567890123456789012345678901234567890123456789 12345\r\n";
    server.deliver(message);
    const std::shared_ptr<IMAPProvider> provider = server.provider();
    const MessagePage page = await(provider->listMessages(inbox, std::nullopt, 0, 25, true));
    ASSERT_EQ(page.messages.size(), 1);

    int beats = 0;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, [&beats] { ++beats; });
    heart.start(10);
    const QByteArray raw = await(provider->fetchRaw(page.messages.first().id));
    EXPECT_GT(raw.size(), qsizetype{100'000'000});
    EXPECT_TRUE(raw.endsWith(" 12345\r\n"));
    // A response that is waited for in one piece would let none of these through.
    EXPECT_GT(beats, 10);
}

} // namespace
} // namespace Larkhaven
