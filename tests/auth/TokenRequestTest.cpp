#include "auth/OAuthClient.h"
#include "domain/Coding.h"
#include "http/HTTPMessage.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WebServer.h"

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class TokenRequestTest : public testing::Test {
protected:
    TokenSet exchange() { return await(google.exchange(u"the code"_s, pkce)); }
    TokenSet refresh() { return await(google.refresh(u"old"_s)); }

    void answer(int status, const QByteArray& body) { reply = {status, body}; }

    QString decodingError(const QByteArray& body)
    {
        answer(200, body);
        try {
            exchange();
        } catch (const DecodingError& error) {
            return error.localizedText();
        } catch (const std::exception&) {
        }
        return {};
    }

    WebReply reply{200, R"({"access_token":"a","refresh_token":"r","expires_in":100,"id_token":"i"})"};
    WebServer server{[this](const WebRequest&) { return reply; }};
    const PKCE pkce{u"verifier"_s, u"state"_s};
    const OAuthClient google{OAuthConfig::google(u"123.apps"_s)};
    const OAuthClient microsoft{OAuthConfig::microsoft(u"456"_s, u"b.c"_s)};
};

TEST_F(TokenRequestTest, ExchangesTheCodeWithTheProof)
{
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const TokenSet tokens = exchange();
    EXPECT_EQ(tokens.accessToken, u"a");
    EXPECT_EQ(tokens.refreshToken, u"r");
    EXPECT_EQ(tokens.idToken, u"i");
    EXPECT_GE(tokens.expiresAt, before.addSecs(100));
    EXPECT_LE(tokens.expiresAt, QDateTime::currentDateTimeUtc().addSecs(100));
    ASSERT_EQ(server.requests().size(), 1);
    const WebRequest request = server.requests().first();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.host, "oauth2.googleapis.com");
    EXPECT_EQ(request.target, "/token");
    EXPECT_EQ(request.header("content-type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(request.header("accept"), "application/json");
    EXPECT_EQ(request.header("authorization"), std::nullopt);
    EXPECT_EQ(request.body, "client_id=123.apps&code=the%20code&code_verifier=verifier&"
                            "grant_type=authorization_code&redirect_uri=apps.123%3A%2Foauthredirect");
}

TEST_F(TokenRequestTest, RefreshesATokenOfGoogleWithoutAnyScope)
{
    EXPECT_EQ(refresh().refreshToken, u"r") << "a new one replaces the old one";
    EXPECT_EQ(server.requests().first().body,
              "client_id=123.apps&grant_type=refresh_token&refresh_token=old");
}

TEST_F(TokenRequestTest, RefreshesATokenOfMicrosoftWithTheScopesOfItsServers)
{
    await(microsoft.refresh(u"old"_s));
    EXPECT_EQ(server.requests().first().host, "login.microsoftonline.com");
    EXPECT_EQ(server.requests().first().target, "/consumers/oauth2/v2.0/token");
    EXPECT_EQ(server.requests().first().body,
              "client_id=456&grant_type=refresh_token&refresh_token=old&scope="
              "https%3A%2F%2Foutlook.office.com%2FIMAP.AccessAsUser.All%20"
              "https%3A%2F%2Foutlook.office.com%2FSMTP.Send%20offline_access");
}

TEST_F(TokenRequestTest, KeepsTheRefreshTokenWhereAnAnswerBringsNone)
{
    answer(200, R"({"access_token":"a"})");
    EXPECT_EQ(refresh().refreshToken, u"old");
    EXPECT_EQ(exchange().refreshToken, std::nullopt);
    answer(200, R"({"access_token":"a","refresh_token":""})");
    EXPECT_EQ(refresh().refreshToken, u"old");
    EXPECT_EQ(exchange().refreshToken, std::nullopt);
    answer(200, R"({"access_token":"a","refresh_token":null,"id_token":null})");
    EXPECT_EQ(refresh().refreshToken, u"old");
    EXPECT_EQ(refresh().idToken, std::nullopt);
}

TEST_F(TokenRequestTest, TakesAnHourWhereNoTimeIsTold)
{
    answer(200, R"({"access_token":"a"})");
    const QDateTime before = QDateTime::currentDateTimeUtc();
    const TokenSet tokens = refresh();
    EXPECT_GE(tokens.expiresAt, before.addSecs(3600));
    EXPECT_LE(tokens.expiresAt, QDateTime::currentDateTimeUtc().addSecs(3600));
}

TEST_F(TokenRequestTest, TakesATokenWithoutTimeForStale)
{
    answer(200, R"({"access_token":"a","expires_in":0})");
    EXPECT_FALSE(refresh().isValid(std::chrono::seconds(60)));
    answer(200, R"({"access_token":"a","expires_in":-1e300})");
    EXPECT_FALSE(refresh().isValid(std::chrono::seconds(60)));
    answer(200, R"({"access_token":"a","expires_in":1e300})");
    EXPECT_TRUE(refresh().isValid(std::chrono::seconds(60)));
    EXPECT_LT(refresh().expiresAt, QDateTime::currentDateTimeUtc().addYears(11));
}

TEST_F(TokenRequestTest, FailsOnAnAnswerThatIsNone)
{
    for (const QByteArray body :
         {"", "<html>", "[]", "{}", R"({"access_token":1})", R"({"access_token":null})", "{\"access_token\"",
          R"({"access_token":""})", R"({"access_token":"a\r\nX-Evil: 1"})", R"({"access_token":"a\u0001"})",
          R"({"access_token":"ä"})", R"({"access_token":"a","refresh_token":"b c"})",
          R"({"access_token":"a","expires_in":"3600"})", R"({"access_token":"a","refresh_token":1})"})
        EXPECT_EQ(decodingError(body), u"The answer of the sign-in service can’t be read.") << body.data();
}

TEST_F(TokenRequestTest, SaysTheStatusOfARefusalThatIsNoJSON)
{
    for (const QByteArray body : {"", "nope", "<html>", "[1]", "{}", R"({"error":{"code":1}})",
                                  R"({"error":"x","error_description":1})"}) {
        answer(400, body);
        expectMailError(google.refresh(u"old"_s), MailError::Kind::authFailed, u"HTTP 400"_s);
    }
    reply = WebReply::redirect(302, "https://elsewhere.example/");
    expectMailError(google.refresh(u"old"_s), MailError::Kind::authFailed, u"HTTP 302"_s);
}

TEST_F(TokenRequestTest, TakesAnInvalidGrantForALostSignInWhateverItsDescription)
{
    answer(400, R"({"error":"invalid_grant","error_description":"Token has been revoked."})");
    expectMailError(google.refresh(u"old"_s), MailError::Kind::notSignedIn);
    expectMailError(google.exchange(u"c"_s, pkce), MailError::Kind::notSignedIn);
}

TEST_F(TokenRequestTest, SaysWhyTheServiceRefuses)
{
    answer(401, R"({"error":"invalid_client","error_description":"No such client"})");
    expectMailError(google.refresh(u"old"_s), MailError::Kind::authFailed, u"No such client"_s);
    answer(429, R"({"error":"slow_down"})");
    expectMailError(google.refresh(u"old"_s), MailError::Kind::authFailed, u"slow_down"_s);
}

TEST_F(TokenRequestTest, NeverRepeatsASecretInAText)
{
    answer(400, R"({"error":"x","error_description":"bad S3CRET\nand verifier of the code"})");
    expectMailError(google.refresh(u"S3CRET"_s), MailError::Kind::authFailed,
                    u"bad … and verifier of the code"_s);
    expectMailError(google.exchange(u"the code"_s, pkce), MailError::Kind::authFailed,
                    u"bad S3CRET and … of …"_s);
}

TEST_F(TokenRequestTest, PassesAFailureOfTheNetworkOnAndSendsNothingAgain)
{
    reply.end = WebReply::End::drop;
    EXPECT_THROW(refresh(), HTTPError);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(TokenRequestTest, EndsAtOnceWhereItIsStopped)
{
    reply.end = WebReply::End::silent;
    std::stop_source stop;
    Begun<TokenSet> exchanging(google.exchange(u"c"_s, pkce, stop.get_token()));
    ASSERT_TRUE(waitUntil([this] { return !server.requests().isEmpty(); }));
    stop.request_stop();
    try {
        exchanging.get();
        ADD_FAILURE();
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), MailError::Kind::cancelled);
    }
}

} // namespace
} // namespace Larkhaven
