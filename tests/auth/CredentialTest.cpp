#include "auth/Credential.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TokenSet someTokens()
{
    return {u"access"_s, u"refresh"_s, QDateTime(QDate(2026, 1, 1), QTime(0, 0, 0, 250), Qt::UTC), u"id"_s};
}

QString refusal(const QByteArray& json)
{
    try {
        Credential::fromJSON(json);
    } catch (const DecodingError& error) {
        return error.localizedText();
    }
    return {};
}

TEST(Credential, OfAPasswordIsAnObjectWithOneKey)
{
    const QByteArray json = R"({"password":{"_0":"s\"ecret ü"}})";
    const Credential credential = Credential::password(u"s\"ecret ü"_s);
    EXPECT_EQ(credential.toJSON(), json);
    EXPECT_EQ(Credential::fromJSON(json), credential);
    EXPECT_EQ(*credential.password(), u"s\"ecret ü");
    EXPECT_EQ(credential.tokens(), nullptr);
}

TEST(Credential, OfTokensIsAnObjectWithOneKey)
{
    const QByteArray json = R"({"oauth":{"_0":{"accessToken":"access","expiresAt":788918400.25,)"
                            R"("idToken":"id","refreshToken":"refresh"}}})";
    const Credential credential = Credential::oauth(someTokens());
    EXPECT_EQ(credential.toJSON(), json);
    EXPECT_EQ(Credential::fromJSON(json), credential);
    EXPECT_EQ(*credential.tokens(), someTokens());
    EXPECT_EQ(credential.password(), nullptr);
}

TEST(Credential, LeavesAbsentTokensOut)
{
    TokenSet tokens = someTokens();
    tokens.refreshToken.reset();
    tokens.idToken.reset();
    const QByteArray json = R"({"oauth":{"_0":{"accessToken":"access","expiresAt":788918400.25}}})";
    EXPECT_EQ(Credential::oauth(tokens).toJSON(), json);
    EXPECT_EQ(Credential::fromJSON(json), Credential::oauth(tokens));
}

TEST(Credential, WithTwoKeysFailsToDecode)
{
    const QString text = u"Invalid number of keys found, expected one."_s;
    EXPECT_EQ(refusal(R"({"password":{"_0":"x"},"oauth":{"_0":{"accessToken":"a","expiresAt":0}}})"), text);
    EXPECT_EQ(refusal(R"({"password":{"_0":"x"},"extra":1})"), text);
    EXPECT_EQ(refusal("{}"), text);
}

TEST(Credential, FailsToDecodeWhereItIsNone)
{
    for (const QByteArray json :
         {"", "x", "[]", "null", R"("password")", R"({"password":"x"})", R"({"password":{}})",
          R"({"password":{"_0":1}})", R"({"password":{"_0":null}})", R"({"key":{"_0":"x"}})",
          R"({"oauth":{"_0":"x"}})", R"({"oauth":{"_0":{"accessToken":"a"}}})",
          R"({"oauth":{"_0":{"expiresAt":1}}})", R"({"oauth":{"_0":{"accessToken":"a","expiresAt":"1"}}})",
          R"({"oauth":{"_0":{"accessToken":"a","expiresAt":0,"refreshToken":5}}})"})
        EXPECT_FALSE(refusal(json).isEmpty()) << json.toStdString();
}

TEST(Credential, TellsNoSecretInItsFailure)
{
    EXPECT_FALSE(
        refusal(R"({"oauth":{"_0":{"accessToken":"SECRET","expiresAt":"SECRET"}}})").contains(u"SECRET"));
    EXPECT_FALSE(refusal(R"({"password":{"_0":"SECRET")").contains(u"SECRET"));
}

TEST(Credential, IsComparedByCaseAndPayload)
{
    EXPECT_NE(Credential::password(u"a"_s), Credential::password(u"b"_s));
    EXPECT_NE(Credential::password(u"a"_s), Credential::oauth(someTokens()));
    TokenSet other = someTokens();
    other.expiresAt = other.expiresAt.addMSecs(1);
    EXPECT_NE(Credential::oauth(other), Credential::oauth(someTokens()));
}

} // namespace
} // namespace Larkhaven
