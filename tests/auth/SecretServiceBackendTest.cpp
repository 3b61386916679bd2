#include "platform/SecretServiceBackend.h"

#include "auth/KeychainStore.h"
#include "support/QtPrinters.h"

#include <QUuid>

#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A service name of its own for each test: the keyring outlives them.
class SecretServiceBackend : public testing::Test {
protected:
    ~SecretServiceBackend() override { backend.remove(service, account); }

    QByteArray stored()
    {
        const KeychainBackend::ReadResult result = backend.read(service, account);
        EXPECT_EQ(result.status, KeychainStatus::success);
        return result.data.value_or("nothing");
    }

    Larkhaven::SecretServiceBackend backend;
    QString service = u"test-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces);
    QString account = u"01234567-89AB-CDEF-0123-456789ABCDEF"_s;
};

TEST_F(SecretServiceBackend, KnowsNothingAtFirst)
{
    EXPECT_EQ(backend.read(service, account).status, KeychainStatus::itemNotFound);
    EXPECT_EQ(backend.update(service, account, "x"), KeychainStatus::itemNotFound);
    EXPECT_EQ(backend.remove(service, account), KeychainStatus::itemNotFound);
}

TEST_F(SecretServiceBackend, GivesBackWhatWasAdded)
{
    EXPECT_EQ(backend.add(service, account, "secret", u"Larkhaven account credentials"_s),
              KeychainStatus::success);
    EXPECT_EQ(stored(), "secret");
}

TEST_F(SecretServiceBackend, KeepsAnyBytes)
{
    QByteArray bytes(256, Qt::Uninitialized);
    for (int value = 0; value < 256; ++value)
        bytes[value] = static_cast<char>(value);
    EXPECT_EQ(backend.add(service, account, bytes, u"label"_s), KeychainStatus::success);
    EXPECT_EQ(stored(), bytes);
    EXPECT_EQ(backend.update(service, account, QByteArray()), KeychainStatus::success);
    EXPECT_EQ(stored(), "");
}

TEST_F(SecretServiceBackend, ReplacesTheDataOfAnItem)
{
    EXPECT_EQ(backend.add(service, account, "one", u"label"_s), KeychainStatus::success);
    EXPECT_EQ(backend.update(service, account, "two"), KeychainStatus::success);
    EXPECT_EQ(stored(), "two");
    EXPECT_EQ(backend.add(service, account, "three", u"label"_s), KeychainStatus::success);
    EXPECT_EQ(stored(), "three");
}

TEST_F(SecretServiceBackend, RemovesAnItem)
{
    EXPECT_EQ(backend.add(service, account, "one", u"label"_s), KeychainStatus::success);
    EXPECT_EQ(backend.remove(service, account), KeychainStatus::success);
    EXPECT_EQ(backend.read(service, account).status, KeychainStatus::itemNotFound);
    EXPECT_EQ(backend.remove(service, account), KeychainStatus::itemNotFound);
}

TEST_F(SecretServiceBackend, KeepsServicesAndAccountsApart)
{
    EXPECT_EQ(backend.add(service, account, "one", u"label"_s), KeychainStatus::success);
    EXPECT_EQ(backend.read(service + u"2"_s, account).status, KeychainStatus::itemNotFound);
    EXPECT_EQ(backend.read(service, account + u"2"_s).status, KeychainStatus::itemNotFound);
}

TEST_F(SecretServiceBackend, MayBeCalledFromAnyThread)
{
    std::jthread([this] {
        EXPECT_EQ(backend.add(service, account, "one", u"label"_s), KeychainStatus::success);
    }).join();
    EXPECT_EQ(stored(), "one");
}

TEST_F(SecretServiceBackend, CarriesTheSecretsOfAStore)
{
    KeychainStore store(service);
    const QUuid id(account);
    EXPECT_EQ(store.load(id), std::nullopt);
    store.save(Credential::password(u"sécret"_s), id);
    EXPECT_EQ(store.load(id), Credential::password(u"sécret"_s));
    EXPECT_EQ(stored(), QByteArray("{\"password\":{\"_0\":\"s\xC3\xA9"
                                   "cret\"}}"));
    store.remove(id);
    store.remove(id);
    EXPECT_EQ(store.load(id), std::nullopt);
}

TEST(AbsentSecretService, IsToldAsNotBeingThere)
{
    Larkhaven::SecretServiceBackend backend;
    EXPECT_EQ(backend.read(u"s"_s, u"a"_s).status, KeychainStatus::notAvailable);
    EXPECT_EQ(backend.update(u"s"_s, u"a"_s, "x"), KeychainStatus::notAvailable);
    EXPECT_EQ(backend.add(u"s"_s, u"a"_s, "x", u"l"_s), KeychainStatus::notAvailable);
    EXPECT_EQ(backend.remove(u"s"_s, u"a"_s), KeychainStatus::notAvailable);
}

TEST(AbsentSecretService, LeavesAStoreEmptyAndUnwritable)
{
    KeychainStore store(u"s"_s);
    const QUuid id = QUuid::createUuid();
    EXPECT_EQ(store.load(id), std::nullopt);
    store.remove(id);
    try {
        store.saveData("x", id);
        ADD_FAILURE() << "nothing failed";
    } catch (const KeychainError& error) {
        EXPECT_EQ(error.status(), KeychainStatus::notAvailable);
        EXPECT_EQ(error.localizedText(), u"No keyring is running in this session.");
    }
}

} // namespace
} // namespace Larkhaven
