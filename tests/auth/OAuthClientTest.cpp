#include "auth/OAuthClient.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const PKCE known(u"the-verifier"_s, u"the-state"_s);

OAuthClient google()
{
    return OAuthClient(OAuthConfig::google(u"123-abc.apps.client"_s));
}

OAuthClient microsoft()
{
    return OAuthClient(OAuthConfig::microsoft(u"456"_s, u"com.tundra42.larkhaven"_s));
}

QString codeOf(const QByteArray& callback)
{
    return google().authorizationCode(callback, known);
}

void expectRefused(const QByteArray& callback, MailError::Kind kind, const QString& text = {})
{
    try {
        codeOf(callback);
        ADD_FAILURE() << callback.toStdString() << " was taken";
    } catch (const MailError& error) {
        EXPECT_EQ(error.kind(), kind) << callback.toStdString();
        EXPECT_EQ(error.text(), text) << callback.toStdString();
    }
}

// --- Configurations

TEST(OAuthConfig, TurnsTheClientIdOfGoogleRoundForItsRedirect)
{
    const OAuthConfig config = OAuthConfig::google(u"123-abc.apps.client"_s);
    EXPECT_EQ(config.redirectURI, u"client.apps.123-abc:/oauthredirect");
    EXPECT_EQ(config.callbackScheme(), u"client.apps.123-abc");
    EXPECT_EQ(OAuthConfig::google(u".a..b."_s).redirectURI, u"b.a:/oauthredirect") << "empty pieces";
}

TEST(OAuthConfig, OfGoogleIsWhatItsDocumentationTells)
{
    const OAuthConfig config = OAuthConfig::google(u"123"_s);
    EXPECT_EQ(config.provider, ProviderKind::google);
    EXPECT_EQ(config.clientID, u"123");
    EXPECT_EQ(config.authorizeURL, u"https://accounts.google.com/o/oauth2/v2/auth");
    EXPECT_EQ(config.tokenURL, u"https://oauth2.googleapis.com/token");
    EXPECT_EQ(config.scopes, QStringList{u"https://www.googleapis.com/auth/gmail.modify"_s});
    EXPECT_EQ(config.extraAuthorizeParams,
              (QMap<QString, QString>{{u"access_type"_s, u"offline"_s},
                                      {u"prompt"_s, u"consent select_account"_s}}));
}

TEST(OAuthConfig, OfMicrosoftIsWhatItsDocumentationTells)
{
    const OAuthConfig config = OAuthConfig::microsoft(u"456"_s, u"com.tundra42.larkhaven"_s);
    EXPECT_EQ(config.provider, ProviderKind::microsoft);
    EXPECT_EQ(config.clientID, u"456");
    EXPECT_EQ(config.authorizeURL, u"https://login.microsoftonline.com/consumers/oauth2/v2.0/authorize");
    EXPECT_EQ(config.tokenURL, u"https://login.microsoftonline.com/consumers/oauth2/v2.0/token");
    EXPECT_EQ(config.redirectURI, u"msauth.com.tundra42.larkhaven://auth");
    EXPECT_EQ(config.callbackScheme(), u"msauth.com.tundra42.larkhaven");
    EXPECT_EQ(config.scopes, (QStringList{u"https://outlook.office.com/IMAP.AccessAsUser.All"_s,
                                          u"https://outlook.office.com/SMTP.Send"_s, u"offline_access"_s,
                                          u"openid"_s, u"email"_s, u"profile"_s}));
    EXPECT_EQ(config.extraAuthorizeParams, (QMap<QString, QString>{{u"prompt"_s, u"select_account"_s}}));
}

TEST(OAuthConfig, TakesARedirectWithoutAColonForItsScheme)
{
    OAuthConfig config;
    config.redirectURI = u"alone"_s;
    EXPECT_EQ(config.callbackScheme(), u"alone");
}

// --- PKCE

TEST(PKCE, HasAVerifierOf86CharactersAndAStateOf32)
{
    static const QRegularExpression base64URL(u"^[A-Za-z0-9_-]*$"_s);
    const PKCE first;
    const PKCE second;
    EXPECT_EQ(first.verifier().size(), 86);
    EXPECT_EQ(first.state().size(), 32);
    EXPECT_TRUE(base64URL.match(first.verifier() + first.state() + first.challenge()).hasMatch());
    EXPECT_NE(first.verifier(), second.verifier());
    EXPECT_NE(first.state(), second.state());
}

TEST(PKCE, ChallengesWithTheHashOfTheVerifier)
{
    // RFC 7636, appendix B.
    const PKCE pkce(u"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"_s, u"s"_s);
    EXPECT_EQ(pkce.challenge(), u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

// --- The authorization URL

TEST(OAuthClient, AsksForACodeWithItsItemsInOrder)
{
    EXPECT_EQ(google().authorizationURL(known, std::nullopt),
              "https://accounts.google.com/o/oauth2/v2/auth?client_id=123-abc.apps.client&"
              "redirect_uri=client.apps.123-abc:/oauthredirect&response_type=code&"
              "scope=https://www.googleapis.com/auth/gmail.modify&state=the-state&code_challenge=" +
                  known.challenge().toLatin1() +
                  "&code_challenge_method=S256&access_type=offline&prompt=consent%20select_account");
}

TEST(OAuthClient, PutsTheLoginHintBeforeTheExtraParametersAndKeepsItsPlus)
{
    const QByteArray url = microsoft().authorizationURL(known, u"a+b@example.org"_s);
    EXPECT_TRUE(
        url.endsWith("&code_challenge_method=S256&login_hint=a%2Bb@example.org&prompt=select_account"))
        << url.toStdString();
    EXPECT_TRUE(
        url.contains("&scope=https://outlook.office.com/IMAP.AccessAsUser.All%20"
                     "https://outlook.office.com/SMTP.Send%20offline_access%20openid%20email%20profile&"));
}

TEST(OAuthClient, NeverPutsTheVerifierIntoTheURL)
{
    const PKCE pkce;
    EXPECT_FALSE(google().authorizationURL(pkce, u"a@b"_s).contains(pkce.verifier().toLatin1()));
}

TEST(OAuthClient, EncodesWhatWouldEndAnItem)
{
    const QByteArray url = google().authorizationURL(known, u"a&b=c;d#e%f \"ä"_s);
    EXPECT_TRUE(url.contains("&login_hint=a%26b%3Dc%3Bd%23e%25f%20%22%C3%A4&")) << url.toStdString();
}

// --- The redirect

TEST(OAuthClient, TakesTheCodeOfTheRedirect)
{
    EXPECT_EQ(codeOf("client.apps.123-abc:/oauthredirect?state=the-state&code=4%2Fabc%20d&scope=x"),
              u"4/abc d");
    EXPECT_EQ(codeOf("client.apps.123-abc:/oauthredirect?state=the-state&code=a+b#code=c"), u"a+b");
}

TEST(OAuthClient, TakesARedirectWhoseSchemeDiffersInCaseOnly)
{
    EXPECT_EQ(codeOf("Client.APPS.123-abc:/oauthredirect?state=the-state&code=c"), u"c");
}

TEST(OAuthClient, RefusesTheRedirectOfAnotherScheme)
{
    for (const QByteArray callback :
         {"", ":", "other:/oauthredirect?state=the-state&code=c", "client.apps.123-abc",
          "https://client.apps.123-abc/?state=the-state&code=c", "?state=the-state&code=c"})
        expectRefused(callback, MailError::Kind::authFailed, u"Unexpected redirect"_s);
}

TEST(OAuthClient, RefusesARedirectThatIsTooLong)
{
    const QByteArray start = "client.apps.123-abc:/oauthredirect?state=the-state&code=";
    const qsizetype room = OAuthClient::longestCallback - start.size();
    EXPECT_EQ(codeOf(start + QByteArray(room, 'c')).size(), room);
    expectRefused(start + QByteArray(room + 1, 'c'), MailError::Kind::authFailed, u"Unexpected redirect"_s);
}

TEST(OAuthClient, TakesARefusalOfTheUserForACancel)
{
    expectRefused("client.apps.123-abc:/oauthredirect?error=access_denied&state=the-state",
                  MailError::Kind::cancelled);
}

TEST(OAuthClient, FailsOnAnErrorAlsoWhereThereIsAGoodCode)
{
    expectRefused("client.apps.123-abc:/oauthredirect?code=c&state=the-state&error=server_error",
                  MailError::Kind::authFailed, u"server_error"_s);
    expectRefused("client.apps.123-abc:/r?state=the-state&error=x&error_description=Not%20now&code=c",
                  MailError::Kind::authFailed, u"Not now"_s);
}

TEST(OAuthClient, ShowsTheDescriptionOfAnErrorOnOneLineWithoutSecrets)
{
    expectRefused(
        "client.apps.123-abc:/r?error=x&error_description=a%0Ab%E2%80%AEc%20the-verifier%20kkk&code=kkk",
        MailError::Kind::authFailed, u"a bc … …"_s);
    try {
        codeOf("client.apps.123-abc:/r?error=x&error_description=" + QByteArray(10'000, 'a'));
    } catch (const MailError& error) {
        EXPECT_LE(error.text().size(), OAuthClient::longestDescription + 1);
    }
}

TEST(OAuthClient, FailsOnAWrongOrMissingStateBeforeItLooksAtTheCode)
{
    for (const QByteArray query : {"?code=c&state=other", "?code=c", "?state=&code=c", "", "?state=other",
                                   "?state=other&state=the-state&code=c"})
        expectRefused("client.apps.123-abc:/oauthredirect" + query, MailError::Kind::authFailed,
                      u"State mismatch (possible CSRF)"_s);
}

TEST(OAuthClient, FailsOnAMissingOrEmptyCode)
{
    for (const QByteArray query : {"?state=the-state", "?state=the-state&code=", "?state=the-state&code",
                                   "?state=the-state&code=&code=c", "?state=the-state#code=c"})
        expectRefused("client.apps.123-abc:/oauthredirect" + query, MailError::Kind::authFailed,
                      u"No authorization code"_s);
}

} // namespace
} // namespace Larkhaven
