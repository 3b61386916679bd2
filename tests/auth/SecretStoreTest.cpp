#include "auth/SecretStore.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(InMemorySecretStore, GivesBackWhatWasSaved)
{
    InMemorySecretStore store;
    const QUuid account = QUuid::createUuid();
    EXPECT_EQ(store.load(account), std::nullopt);
    store.save(Credential::password(u"one"_s), account);
    store.save(Credential::password(u"two"_s), account);
    EXPECT_EQ(store.load(account), Credential::password(u"two"_s));
    EXPECT_EQ(store.load(QUuid::createUuid()), std::nullopt);
}

TEST(InMemorySecretStore, RemovesAndForgivesTheRemovalOfWhatIsNotThere)
{
    InMemorySecretStore store;
    const QUuid account = QUuid::createUuid();
    store.save(Credential::password(u"one"_s), account);
    store.remove(account);
    store.remove(account);
    EXPECT_EQ(store.load(account), std::nullopt);
}

TEST(InMemorySecretStore, MayBeUsedFromSeveralThreads)
{
    InMemorySecretStore store;
    std::vector<QUuid> accounts(4);
    for (QUuid& account : accounts)
        account = QUuid::createUuid();
    {
        std::vector<std::jthread> threads;
        threads.reserve(accounts.size());
        for (const QUuid& account : accounts) {
            threads.emplace_back([&store, account] {
                for (int round = 0; round < 1000; ++round) {
                    store.save(Credential::password(QString::number(round)), account);
                    store.load(account);
                }
            });
        }
    }
    for (const QUuid& account : accounts)
        EXPECT_EQ(store.load(account), Credential::password(u"999"_s));
}

} // namespace
} // namespace Larkhaven
