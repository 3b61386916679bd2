#include "auth/KeychainStore.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"
#include "support/TemporaryKeychain.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString service = u"com.tundra42.larkhaven.credentials"_s;

/// A store over two keychains in memory.
class KeychainStoreTest : public testing::Test {
protected:
    TemporaryKeychain::Key key() const { return {service, Coding::fromUuid(account)}; }

    KeychainStatus failureOf(const std::function<void()>& operation)
    {
        try {
            operation();
        } catch (const KeychainError& error) {
            return error.status();
        }
        ADD_FAILURE() << "nothing failed";
        return KeychainStatus::success;
    }

    QUuid account = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    std::shared_ptr<TemporaryKeychain> preferred = std::make_shared<TemporaryKeychain>();
    std::shared_ptr<TemporaryKeychain> legacy = std::make_shared<TemporaryKeychain>();
    KeychainStore store{service, {preferred, legacy}};
};

TEST_F(KeychainStoreTest, FindsAnItemThatLiesInTheLegacyKeychainOnly)
{
    legacy->items.insert(key(), {"old", u"label"_s});
    EXPECT_EQ(store.loadData(account), "old");
    EXPECT_EQ(preferred->calls, QStringList(u"read"_s));
}

TEST_F(KeychainStoreTest, WritesANewItemToThePreferredKeychainAndLeavesTheLegacyOne)
{
    legacy->items.insert(key(), {"old", u"label"_s});
    store.saveData("new", account);
    EXPECT_EQ(preferred->items.value(key()).data, "new");
    EXPECT_EQ(legacy->items.value(key()).data, "old");
    EXPECT_TRUE(legacy->calls.isEmpty());
    EXPECT_EQ(store.loadData(account), "new");
}

TEST_F(KeychainStoreTest, RemovesTheItemsOfBothKeychains)
{
    legacy->items.insert(key(), {"old", u"label"_s});
    preferred->items.insert(key(), {"new", u"label"_s});
    store.remove(account);
    EXPECT_TRUE(preferred->items.isEmpty());
    EXPECT_TRUE(legacy->items.isEmpty());
}

TEST_F(KeychainStoreTest, YieldsNothingWhereNeitherKeychainHoldsTheItem)
{
    EXPECT_EQ(store.load(account), std::nullopt);
    EXPECT_EQ(store.loadData(account), std::nullopt);
    EXPECT_EQ(legacy->calls, QStringList({u"read"_s, u"read"_s}));
}

TEST_F(KeychainStoreTest, FindsNothingOnlyWhereAKeychainStatesIt)
{
    EXPECT_EQ(store.findData(account), std::nullopt);
    preferred->answerWith(KeychainStatus::notAvailable);
    EXPECT_EQ(store.findData(account), std::nullopt);
    legacy->answerWith(KeychainStatus::notAvailable);
    EXPECT_EQ(failureOf([this] { store.findData(account); }), KeychainStatus::notAvailable);
    EXPECT_EQ(store.loadData(account), std::nullopt);
    legacy->answerWith(std::nullopt);
    legacy->items.insert(key(), {"old", u"label"_s});
    EXPECT_EQ(store.findData(account), "old");
}

TEST_F(KeychainStoreTest, FindsNoAnswerOfACredentialWhereNoKeychainIsThere)
{
    preferred->answerWith(KeychainStatus::notAvailable);
    legacy->answerWith(KeychainStatus::notAvailable);
    EXPECT_EQ(failureOf([this] { store.find(account); }), KeychainStatus::notAvailable);
    EXPECT_EQ(store.load(account), std::nullopt);
    legacy->answerWith(KeychainStatus::itemNotFound);
    EXPECT_EQ(store.find(account), std::nullopt);
    EXPECT_EQ(store.load(account), std::nullopt);
}

TEST_F(KeychainStoreTest, FailsInTheWordsOfTheKeychain)
{
    preferred->answerWith(KeychainStatus::interactionNotAllowed);
    try {
        store.loadData(account);
        ADD_FAILURE() << "nothing failed";
    } catch (const KeychainError& error) {
        EXPECT_EQ(error.localizedText(), u"The keyring is locked.");
    }
}

TEST_F(KeychainStoreTest, BehavesAsWithTheLegacyKeychainAloneWhereThePreferredOneIsNotThere)
{
    preferred->answerWith(KeychainStatus::notAvailable);
    EXPECT_EQ(store.load(account), std::nullopt);
    store.save(Credential::password(u"x"_s), account);
    EXPECT_EQ(store.load(account), Credential::password(u"x"_s));
    EXPECT_TRUE(legacy->items.contains(key()));
    store.remove(account);
    EXPECT_TRUE(legacy->items.isEmpty());
    EXPECT_TRUE(preferred->items.isEmpty());
}

TEST_F(KeychainStoreTest, FailsToWriteWhereNoKeychainIsThere)
{
    preferred->answerWith(KeychainStatus::notAvailable);
    legacy->answerWith(KeychainStatus::notAvailable);
    EXPECT_EQ(failureOf([&] { store.saveData("x", account); }), KeychainStatus::notAvailable);
    EXPECT_EQ(store.loadData(account), std::nullopt);
    store.remove(account);
}

TEST_F(KeychainStoreTest, FailsToLoadAnItemThatIsNoCredentialAndLeavesIt)
{
    preferred->items.insert(key(), {"no JSON", u"label"_s});
    EXPECT_THROW(store.load(account), DecodingError);
    EXPECT_EQ(store.loadData(account), "no JSON");
}

TEST_F(KeychainStoreTest, RemovesAnAccountThatHasNoItem)
{
    store.remove(account);
    EXPECT_EQ(preferred->calls, QStringList(u"remove"_s));
    EXPECT_EQ(legacy->calls, QStringList(u"remove"_s));
}

TEST_F(KeychainStoreTest, FailsToLoadAnObjectWithTwoKeys)
{
    preferred->items.insert(key(), {R"({"password":{"_0":"x"},"oauth":{}})", u"label"_s});
    try {
        store.load(account);
        ADD_FAILURE() << "nothing failed";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.localizedText(), u"Invalid number of keys found, expected one.");
    }
}

TEST_F(KeychainStoreTest, StoresTheJSONOfACredentialUnderTheUpperCaseIdentity)
{
    store.save(Credential::password(u"x"_s), account);
    ASSERT_EQ(preferred->items.size(), 1);
    EXPECT_EQ(preferred->items.constBegin().key(),
              TemporaryKeychain::Key(service, u"01234567-89AB-CDEF-0123-456789ABCDEF"_s));
    EXPECT_EQ(preferred->items.constBegin()->data, R"({"password":{"_0":"x"}})");
}

TEST_F(KeychainStoreTest, StoresRawBytesAsTheyAre)
{
    const QByteArray bytes("\0\xff\n", 3);
    store.saveData(bytes, account);
    EXPECT_EQ(preferred->items.value(key()).data, bytes);
    EXPECT_EQ(store.loadData(account), bytes);
}

TEST_F(KeychainStoreTest, SetsTheLabelOnlyWhenAnItemIsMade)
{
    store.saveData("one", account);
    EXPECT_EQ(preferred->items.value(key()).label, u"Larkhaven account credentials");
    preferred->items[key()].label = u"mine"_s;
    store.saveData("two", account);
    EXPECT_EQ(preferred->items.value(key()).label, u"mine");
    EXPECT_EQ(preferred->items.value(key()).data, "two");
    EXPECT_EQ(preferred->calls, QStringList({u"update"_s, u"add"_s, u"update"_s}));
}

TEST_F(KeychainStoreTest, FailsAtOnceOnAnyOtherStatusOfARead)
{
    preferred->answerWith(KeychainStatus::interactionNotAllowed);
    legacy->items.insert(key(), {"old", u"label"_s});
    EXPECT_EQ(failureOf([&] { store.loadData(account); }), KeychainStatus::interactionNotAllowed);
    EXPECT_TRUE(legacy->calls.isEmpty());
}

TEST_F(KeychainStoreTest, FailsAtOnceOnAnyOtherStatusOfAWrite)
{
    preferred->answerWith(KeychainStatus::failed);
    EXPECT_EQ(failureOf([&] { store.saveData("x", account); }), KeychainStatus::failed);
    EXPECT_TRUE(legacy->calls.isEmpty());
}

TEST_F(KeychainStoreTest, FailsAtOnceOnAnyOtherStatusOfARemoval)
{
    preferred->answerWith(KeychainStatus::failed);
    EXPECT_EQ(failureOf([&] { store.remove(account); }), KeychainStatus::failed);
    EXPECT_TRUE(legacy->calls.isEmpty());
    preferred->answerWith(std::nullopt);
    legacy->answerWith(KeychainStatus::interactionNotAllowed);
    EXPECT_EQ(failureOf([&] { store.remove(account); }), KeychainStatus::interactionNotAllowed);
}

TEST_F(KeychainStoreTest, FailsWithStatusZeroWhereTheItemIsNoBytes)
{
    preferred->items.insert(key(), {std::nullopt, u"label"_s});
    EXPECT_EQ(failureOf([&] { store.loadData(account); }), KeychainStatus::success);
}

TEST_F(KeychainStoreTest, KeepsServicesAndAccountsApart)
{
    KeychainStore keys(u"com.tundra42.larkhaven.cache-keys"_s, {preferred, legacy});
    keys.saveData("key", account);
    EXPECT_EQ(store.loadData(account), std::nullopt);
    EXPECT_EQ(keys.loadData(QUuid::createUuid()), std::nullopt);
    EXPECT_EQ(keys.loadData(account), "key");
}

TEST(KeychainError, IsToldInTheBackendsWordsOrByItsNumber)
{
    EXPECT_EQ(
        KeychainError(KeychainStatus::interactionNotAllowed, u"The keyring is locked."_s).localizedText(),
        u"The keyring is locked.");
    EXPECT_EQ(KeychainError(KeychainStatus(-50)).localizedText(), u"Keychain error -50");
    EXPECT_EQ(KeychainError(KeychainStatus::success).localizedText(), u"Keychain error 0");
}

TEST(KeychainBackend, HasWordsForTheStatusesThatItKnows)
{
    const TemporaryKeychain keychain;
    EXPECT_EQ(keychain.message(KeychainStatus::interactionNotAllowed), u"The keyring is locked."_s);
    EXPECT_TRUE(keychain.message(KeychainStatus::notAvailable).has_value());
    EXPECT_TRUE(keychain.message(KeychainStatus::itemNotFound).has_value());
    EXPECT_EQ(keychain.message(KeychainStatus::failed), std::nullopt);
    EXPECT_EQ(keychain.message(KeychainStatus::success), std::nullopt);
}

TEST(KeychainBackend, OfTheSystemIsTheSecretServiceAndThenKWallet)
{
    EXPECT_EQ(systemKeychainBackends().size(), 2);
}

} // namespace
} // namespace Larkhaven
