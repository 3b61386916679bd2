#include "integration/MailServer.h"
#include "store/AESGCMCipher.h"
#include "store/MailCache.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QDirIterator>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const MailboxRef inbox = MailboxRef::system(Mailbox::inbox);

class SealedCache : public testing::Test {
protected:
    std::shared_ptr<MailCache> cache(char keyByte = 'k') const
    {
        constexpr qint64 limit = 1'000'000;
        return std::make_shared<MailCache>(
            m_folder.filePath(u"cache"_s),
            std::make_shared<AESGCMCipher>(QByteArray(AESGCMCipher::keySize, keyByte)), limit);
    }

    /// Everything below the cache directory, names and contents.
    QByteArray everything() const
    {
        QByteArray bytes;
        QDirIterator files(m_folder.path(),
                           QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            bytes += file.fileName().toUtf8();
            if (file.open(QIODevice::ReadOnly))
                bytes += file.readAll();
        }
        return bytes;
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(SealedCache, ShowsAMessageTheSecondTimeWithTheServerStopped)
{
    MailServer server;
    server.deliver(
        "From: Wilhelmine <w@example.org>\r\nSubject: Kartoffelsalat\r\n\r\nMit Speck und Zwiebeln.\r\n");
    QString id;
    QByteArray first;
    {
        const std::shared_ptr<IMAPProvider> provider = server.provider(ConnectionSecurity::tls, cache());
        id = await(provider->listMessages(inbox, std::nullopt, 0, 25, true)).messages.first().id;
        first = await(provider->fetchRaw(id));
    }
    EXPECT_TRUE(first.contains("Mit Speck"));
    server.stop();

    const std::shared_ptr<IMAPProvider> nextLaunch = server.provider(ConnectionSecurity::tls, cache());
    EXPECT_EQ(await(nextLaunch->fetchRaw(id)), first);

    const QByteArray stored = everything();
    EXPECT_GT(stored.size(), first.size());
    for (const char* word :
         {"Kartoffelsalat", "Speck", "Zwiebeln", "Wilhelmine", "example.org", "INBOX", "uidValidity"})
        EXPECT_FALSE(stored.contains(word)) << word;
    EXPECT_FALSE(stored.contains(id.toUtf8()));
}

TEST_F(SealedCache, IsAMissUnderAnotherKey)
{
    MailServer server;
    server.deliver("Subject: one\r\n\r\nbody\r\n");
    QString id;
    {
        const std::shared_ptr<IMAPProvider> provider = server.provider(ConnectionSecurity::tls, cache());
        id = await(provider->listMessages(inbox, std::nullopt, 0, 25, true)).messages.first().id;
        await(provider->fetchRaw(id));
    }
    server.stop();
    const std::shared_ptr<IMAPProvider> stranger = server.provider(ConnectionSecurity::tls, cache('x'));
    EXPECT_THROW(await(stranger->fetchRaw(id)), LocalizedError);
    server.start();
    EXPECT_TRUE(await(stranger->fetchRaw(id)).contains("body"));
}

} // namespace
} // namespace Larkhaven
