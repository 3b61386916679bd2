#include "model/AccountStore.h"

#include "support/ModelFixture.h"
#include "support/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class AccountStoreTest : public testing::Test {
private:
    QTemporaryDir m_folder;

protected:
    UserDefaults defaults{m_folder.filePath(u"settings.ini"_s)};
};

TEST_F(AccountStoreTest, GivesBackWhatWasSaved)
{
    const QList<Account> accounts{ModelFixture::imapAccount(), ModelFixture::googleAccount()};
    AccountStore::save(accounts, defaults);
    EXPECT_EQ(AccountStore::load(defaults), accounts);
}

TEST_F(AccountStoreTest, LeavesOutTheOneAccountWithAnUnknownProviderAmongThreeGoodOnes)
{
    const QList<Account> good{ModelFixture::imapAccount(u"a@x.example"_s), ModelFixture::googleAccount(),
                              ModelFixture::imapAccount(u"b@x.example"_s)};
    QJsonObject unknown = good.first().toJSON();
    unknown.insert(u"provider"_s, u"carrierPigeon"_s);
    const QJsonArray list{good[0].toJSON(), unknown, good[1].toJSON(), good[2].toJSON()};
    defaults.set(DefaultsKey::accounts, QJsonDocument(list).toJson());
    EXPECT_EQ(AccountStore::load(defaults), good);
}

TEST_F(AccountStoreTest, GivesNoAccountsWhereTheValueIsNotJSONAtAll)
{
    for (const QByteArray& nonsense : {QByteArray("not json"), QByteArray("\xff\xfe"), QByteArray("{}"),
                                       QByteArray("null"), QByteArray("[1,\"x\",null,[]]"), QByteArray()}) {
        defaults.set(DefaultsKey::accounts, nonsense);
        EXPECT_TRUE(AccountStore::load(defaults).isEmpty()) << nonsense.constData();
    }
}

} // namespace
} // namespace Larkhaven
