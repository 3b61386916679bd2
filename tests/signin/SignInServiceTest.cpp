#include "app/signin/SignInService.h"

#include "domain/MailError.h"
#include "support/Await.h"
#include "support/GoogleServices.h"
#include "support/OutlookScripts.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using SignInService::SignedIn;
using Kind = MailError::Kind;

const QString outlookRefused = u"Outlook's mail servers didn't accept the sign-in. In Outlook.com, check "
                               u"Settings ▸ Mail ▸ Forwarding and "
                               "IMAP ▸ “Let devices and apps use IMAP”."_s;
const QString noAddress = u"Microsoft didn't return the account's email address."_s;
const QString mia = u"mia@outlook.com"_s;

/// The real HTTP stack against doubles of the services; the user's browser is a function.
class SignInServiceTest : public testing::Test {
protected:
    SignInServiceTest()
    {
        services.microsoft().setClaims({{u"email"_s, mia}, {u"name"_s, u"Mia Müller"_s}});
        services.setAfterHook([this](const WebRequest& request, WebReply reply) {
            if (request.target.endsWith("/token"))
                token = QJsonDocument::fromJson(reply.body)[u"access_token"_s].toString();
            return reply;
        });
    }

    Info info()
    {
        return Info({{u"LHGoogleClientID"_s, services.google().client().id},
                     {u"LHMicrosoftClientID"_s, services.microsoft().client().id}});
    }
    Task<QByteArray> browse(QByteArray url, QString scheme, std::stop_token)
    {
        pages.append(url);
        schemes.append(scheme);
        if (closesBrowser)
            throw MailError::cancelled();
        const QByteArray answer = services.authorize(url);
        co_return redirect.isEmpty() ? answer : redirect;
    }
    /// Opens one scripted server after the other, which are written when they are asked for.
    Task<std::shared_ptr<MailTransport>> connect(QString host, int port, bool implicitTLS)
    {
        openings.append(u"%1:%2%3"_s.arg(host).arg(port).arg(implicitTLS ? u" tls"_s : u""_s));
        if (scripts.isEmpty())
            throw MailError::connectionClosed();
        const std::shared_ptr<ScriptedTransport> made = ScriptedTransport::create(scripts.takeFirst()());
        connections.append(made);
        co_return std::shared_ptr<MailTransport>(made);
    }
    Task<SignedIn> signIn(ProviderKind provider, std::optional<QString> hint = {}, std::stop_token stop = {})
    {
        return signIn(provider, info(), hint, stop);
    }
    Task<SignedIn> signIn(ProviderKind provider, const Info& build, std::optional<QString> hint = {},
                          std::stop_token stop = {})
    {
        return SignInService::signIn(
            provider,
            {build,
             [this](const QByteArray& url, const QString& scheme, const std::stop_token& given) {
                 return browse(url, scheme, given);
             },
             [this](const QString& host, int port, bool tls) { return connect(host, port, tls); }},
            id, hint, stop);
    }
    void acceptAtOutlook()
    {
        scripts = {[this] { return outlookMailbox(mia, token); },
                   [this] { return outlookSubmission(mia, token); }};
    }
    void TearDown() override
    {
        EXPECT_EQ(services.violations(), QStringList());
        for (const auto& connection : connections)
            connection->expectUsedUp();
    }

    GoogleServices services{u"Mia@gmail.com"_s};
    const QUuid id = QUuid::createUuid();
    QByteArrayList pages;
    QStringList schemes;
    bool closesBrowser = false;
    QByteArray redirect; ///< in place of what the service answers
    QString token;       ///< that was given out last
    QStringList openings;
    QList<std::function<Script()>> scripts;
    QList<std::shared_ptr<ScriptedTransport>> connections;
};

// --- Both

TEST_F(SignInServiceTest, SaysWhatIsMissingWhereTheBuildHasNoClient)
{
    const QString google =
        u"Google sign-in isn't configured. Add GOOGLE_CLIENT_ID to Config/Secrets.xcconfig."_s;
    const QString microsoft =
        u"Microsoft sign-in isn't configured. Add MICROSOFT_CLIENT_ID to Config/Secrets.xcconfig."_s;
    for (const QString& value : {u"$(GOOGLE_CLIENT_ID)"_s, u" \t"_s, u""_s}) {
        const Info build({{u"LHGoogleClientID"_s, value}, {u"LHMicrosoftClientID"_s, value}});
        expectMailError(signIn(ProviderKind::google, build), Kind::unsupported, google);
        expectMailError(signIn(ProviderKind::microsoft, build), Kind::unsupported, microsoft);
    }
    EXPECT_TRUE(pages.isEmpty());
}

TEST_F(SignInServiceTest, GivesTheHintBeforeTheParametersOfTheService)
{
    services.google().setExpectedHint(u"a+b@gmail.com"_s);
    await(signIn(ProviderKind::google, u"a+b@gmail.com"_s));
    ASSERT_EQ(pages.size(), 1);
    EXPECT_TRUE(
        pages[0].contains("&code_challenge_method=S256&login_hint=a%2Bb@gmail.com&access_type=offline"))
        << pages[0].constData();
}

TEST_F(SignInServiceTest, IsCancelledWhereTheUserClosesTheBrowserOrRefuses)
{
    closesBrowser = true;
    expectMailError(signIn(ProviderKind::google), Kind::cancelled);
    closesBrowser = false;
    services.google().denyNext();
    expectMailError(signIn(ProviderKind::google), Kind::cancelled);
    EXPECT_EQ(services.google().exchanges(), 0);
}

TEST_F(SignInServiceTest, RefusesARedirectOfAnotherStateOrScheme)
{
    redirect = "com.googleusercontent.apps.1234-abcd:/oauthredirect?code=x&state=y";
    expectMailError(signIn(ProviderKind::google), Kind::authFailed, u"State mismatch (possible CSRF)"_s);
    redirect = "https://x.example/?code=x";
    expectMailError(signIn(ProviderKind::google), Kind::authFailed, u"Unexpected redirect"_s);
    EXPECT_EQ(services.google().exchanges(), 0);
}

TEST_F(SignInServiceTest, RefusesTokensThatCannotBeRenewed)
{
    const QString refusal = u"The provider did not grant offline access."_s;
    services.google().setGivesRefreshToken(false);
    expectMailError(signIn(ProviderKind::google), Kind::authFailed, refusal);
    services.microsoft().setGivesRefreshToken(false);
    expectMailError(signIn(ProviderKind::microsoft), Kind::authFailed, refusal);
    EXPECT_TRUE(services.requests().isEmpty());
    EXPECT_TRUE(openings.isEmpty());
}

TEST_F(SignInServiceTest, TellsThatTheGrantIsGoneWhereTheCodeIsRefusedSo)
{
    services.google().refuseGrants(1);
    expectMailError(signIn(ProviderKind::google), Kind::notSignedIn);
}

TEST_F(SignInServiceTest, EndsAtOnceWhereTheUserGivesUpBehindTheRedirect)
{
    std::stop_source user;
    services.setHook([&user](const WebRequest&) {
        user.request_stop();
        return std::optional<WebReply>();
    });
    expectMailError(signIn(ProviderKind::google, {}, user.get_token()), Kind::cancelled);
    EXPECT_TRUE(services.requests().isEmpty());
}

// --- Google

TEST_F(SignInServiceTest, GivesTheGoogleAccountThatTheTokensOpen)
{
    const SignedIn result = await(signIn(ProviderKind::google));
    Account expected;
    expected.id = id;
    expected.provider = ProviderKind::google;
    expected.email = u"Mia@gmail.com"_s;
    EXPECT_EQ(result.account, expected);
    ASSERT_TRUE(result.credential.tokens());
    EXPECT_EQ(result.credential.tokens()->accessToken, token);
    EXPECT_TRUE(result.credential.tokens()->refreshToken);
    EXPECT_EQ(schemes, QStringList(u"com.googleusercontent.apps.1234-abcd"_s));
    EXPECT_EQ(services.requests(), QByteArrayList{"GET /gmail/v1/users/me/profile"});
}

TEST_F(SignInServiceTest, GivesTheTokensThatTheProofHasRenewed)
{
    services.failNext(1, GoogleServices::Failure::unauthorized);
    const SignedIn result = await(signIn(ProviderKind::google));
    EXPECT_EQ(services.google().refreshes(), 1);
    EXPECT_EQ(result.credential.tokens()->accessToken, token);
}

TEST_F(SignInServiceTest, SaysSoWhereTheProfileHoldsNoUsableAddress)
{
    for (const QByteArray& profile :
         {QByteArray("{}"), QByteArray(R"({"emailAddress":""})"), QByteArray(R"({"emailAddress":5})"),
          QByteArray(R"({"emailAddress":"a@b\r\nX: y"})"),
          "{\"emailAddress\":\"" + QByteArray(319, 'a') + "@b\"}"}) {
        services.setHook([&profile](const WebRequest& request) {
            return request.target.endsWith("/profile")
                       ? std::optional(WebReply{.status = 200,
                                                .body = profile,
                                                .headers = {{"Content-Type", "application/json"}}})
                       : std::nullopt;
        });
        expectProtocolError(signIn(ProviderKind::google), u"No email in Gmail profile"_s);
    }
}

// --- Microsoft

TEST_F(SignInServiceTest, GivesTheMicrosoftAccountThatBothServersTake)
{
    acceptAtOutlook();
    const SignedIn result = await(signIn(ProviderKind::microsoft));
    EXPECT_EQ(result.account.id, id);
    EXPECT_EQ(result.account.provider, ProviderKind::microsoft);
    EXPECT_EQ(result.account.email, mia);
    EXPECT_EQ(result.account.displayName, u"Mia Müller"_s);
    EXPECT_FALSE(result.account.nickname);
    EXPECT_EQ(result.account.server, ServerSettings::microsoft(mia));
    EXPECT_EQ(result.credential.tokens()->accessToken, token);
    EXPECT_EQ(openings, (QStringList{u"outlook.office365.com:993 tls"_s, u"smtp-mail.outlook.com:587"_s}));
    EXPECT_EQ(schemes, QStringList(u"msauth.com.tundra42.larkhaven"_s));
    EXPECT_TRUE(scripts.isEmpty());
}

TEST_F(SignInServiceTest, TakesTheClaimOfTheAddressBeforeThatOfTheName)
{
    for (const QJsonValue& email : {QJsonValue(u"x"_s), QJsonValue(u""_s), QJsonValue(u"a b@c"_s)}) {
        services.microsoft().setClaims({{u"email"_s, email}, {u"preferred_username"_s, mia}});
        expectMailError(signIn(ProviderKind::microsoft), Kind::authFailed, noAddress);
    }
    EXPECT_TRUE(openings.isEmpty());
    services.microsoft().setClaims({{u"email"_s, 5}, {u"preferred_username"_s, mia}});
    acceptAtOutlook();
    const SignedIn result = await(signIn(ProviderKind::microsoft));
    EXPECT_EQ(result.account.email, mia);
    EXPECT_FALSE(result.account.displayName);
}

TEST_F(SignInServiceTest, SaysSoBeforeItAsksAnyServerWhereNoClaimIsAText)
{
    services.microsoft().setClaims({{u"email"_s, true}, {u"preferred_username"_s, QJsonValue()}});
    expectMailError(signIn(ProviderKind::microsoft), Kind::authFailed, noAddress);
    services.microsoft().setClaims({});
    expectMailError(signIn(ProviderKind::microsoft), Kind::authFailed, noAddress);
    EXPECT_TRUE(openings.isEmpty());
}

TEST_F(SignInServiceTest, SaysWhatToLookForWhereOutlookRefusesTheTokens)
{
    scripts = {[] { return outlookRefusal(); }};
    expectMailError(signIn(ProviderKind::microsoft), Kind::authFailed, outlookRefused);
    EXPECT_EQ(services.microsoft().refreshes(), 1) << "a refused token is renewed once";
}

TEST_F(SignInServiceTest, PassesAnyOtherFailureOfOutlookOn)
{
    expectProtocolError(signIn(ProviderKind::microsoft), u"The server closed the connection."_s);
}

TEST_F(SignInServiceTest, CutsANameThatIsTooLongToBeOne)
{
    services.microsoft().setClaims({{u"email"_s, mia}, {u"name"_s, u"x\u202E\n"_s + QString(600, u'y')}});
    acceptAtOutlook();
    const SignedIn result = await(signIn(ProviderKind::microsoft));
    EXPECT_EQ(result.account.displayName, u"x "_s + QString(498, u'y') + u"…"_s);
}

// --- Revocation

TokenSet tokensOf(const OAuthDouble::Grant& grant)
{
    return {grant.accessToken, grant.refreshToken, QDateTime::currentDateTimeUtc(), std::nullopt};
}

TEST_F(SignInServiceTest, RevokesTheGrantOfAGoogleAccount)
{
    const OAuthDouble::Grant grant = services.google().grant();
    await(SignInService::revoke(Credential::oauth(tokensOf(grant)), ProviderKind::google));
    ASSERT_EQ(services.allRequests().size(), 1);
    const WebRequest& request = services.allRequests().first();
    EXPECT_EQ(request.host, "oauth2.googleapis.com");
    EXPECT_EQ(request.target, "/revoke");
    EXPECT_EQ(request.body, "token=" + grant.refreshToken.toUtf8().toPercentEncoding());
    EXPECT_EQ(services.google().state(grant.accessToken.toUtf8()), OAuthDouble::Token::expired);
}

TEST_F(SignInServiceTest, RevokesTheAccessTokenWhereThereIsNoOther)
{
    const OAuthDouble::Grant grant = services.google().grant();
    TokenSet tokens = tokensOf(grant);
    tokens.refreshToken.reset();
    await(SignInService::revoke(Credential::oauth(tokens), ProviderKind::google));
    EXPECT_EQ(services.google().revocations(), 1);
    EXPECT_EQ(services.google().state(grant.accessToken.toUtf8()), OAuthDouble::Token::expired);
}

TEST_F(SignInServiceTest, RevokesNothingOfPasswordsAndOfMicrosoft)
{
    await(SignInService::revoke(Credential::password(u"secret"_s), ProviderKind::google));
    const Credential tokens = Credential::oauth(tokensOf(services.google().grant()));
    await(SignInService::revoke(tokens, ProviderKind::microsoft));
    await(SignInService::revoke(tokens, ProviderKind::imap));
    EXPECT_TRUE(services.allRequests().isEmpty());
}

TEST_F(SignInServiceTest, ReturnsFromARevocationWhateverBecomesOfIt)
{
    const Credential tokens = Credential::oauth(tokensOf(services.google().grant()));
    services.setHook([](const WebRequest&) { return std::optional(WebReply{.status = 500}); });
    await(SignInService::revoke(tokens, ProviderKind::google));
    services.setHook([](const WebRequest&) { return std::optional(WebReply{.end = WebReply::End::drop}); });
    await(SignInService::revoke(tokens, ProviderKind::google));
    EXPECT_EQ(services.allRequests().size(), 2);
}

// --- Secrets

TEST_F(SignInServiceTest, TellsTheBrowserNothingThatMustStaySecret)
{
    await(signIn(ProviderKind::google));
    acceptAtOutlook();
    await(signIn(ProviderKind::microsoft));
    ASSERT_EQ(pages.size(), 2);
    QSet<QByteArray> secrets = services.google().secrets();
    secrets.unite(services.microsoft().secrets());
    EXPECT_GE(secrets.size(), 8);
    for (const QByteArray& secret : secrets) {
        EXPECT_FALSE(pages[0].contains(secret));
        EXPECT_FALSE(pages[1].contains(secret));
    }
}

} // namespace
} // namespace Larkhaven
