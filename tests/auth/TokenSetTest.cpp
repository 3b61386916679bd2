#include "auth/Credential.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

TokenSet endingIn(std::chrono::milliseconds time)
{
    TokenSet tokens;
    tokens.expiresAt = QDateTime::currentDateTimeUtc().addMSecs(time.count());
    return tokens;
}

QJsonObject claimsOf(const QString& idToken)
{
    TokenSet tokens;
    tokens.idToken = idToken;
    return tokens.idTokenClaims();
}

TEST(TokenSet, ThatEndsInExactly60SecondsIsNotGoodAndIn61IsGood)
{
    EXPECT_FALSE(endingIn(60s).isValid(60s));
    EXPECT_FALSE(endingIn(59s).isValid(60s));
    EXPECT_TRUE(endingIn(61s).isValid(60s));
    EXPECT_FALSE(endingIn(0s).isValid(0s));
    EXPECT_FALSE(TokenSet().isValid(0s)) << "without any date";
}

TEST(TokenSet, ReadsTheClaimsOfAnIdTokenOfTwoPieces)
{
    EXPECT_EQ(claimsOf(u"e30.eyJlbWFpbCI6ImFAYiJ9"_s), (QJsonObject{{u"email"_s, u"a@b"_s}}));
    EXPECT_EQ(claimsOf(u".e30..eyJlbWFpbCI6ImFAYiJ9.sig"_s), (QJsonObject{{u"email"_s, u"a@b"_s}}));
}

TEST(TokenSet, ReadsAnIdTokenThatNeedsPadding)
{
    // {"a":"?>"} and {"a":"?>?"} hold both letters of base64url and want one and two characters of padding.
    EXPECT_EQ(claimsOf(u"x.eyJhIjoiPz4ifQ.s"_s), (QJsonObject{{u"a"_s, u"?>"_s}}));
    EXPECT_EQ(claimsOf(u"x.eyJhIjoiPz4_In0.s"_s), (QJsonObject{{u"a"_s, u"?>?"_s}}));
}

TEST(TokenSet, ReadsNothingOfAnythingElse)
{
    EXPECT_EQ(TokenSet().idTokenClaims(), QJsonObject());
    for (const QString& idToken : {u""_s, u"e30"_s, u"..."_s, u"x.!!!.s"_s, u"x.bm8.s"_s, u"x.WzFd.s"_s})
        EXPECT_EQ(claimsOf(idToken), QJsonObject()) << idToken.toStdString();
}

} // namespace
} // namespace Larkhaven
