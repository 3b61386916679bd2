#include "support/OAuthDouble.h"

#include "http/SecureHTTP.h"
#include "support/Await.h"
#include "support/GoogleServices.h"
#include "support/QtPrinters.h"

#include <QCryptographicHash>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What a correct client sends, written out here once more.
class OAuthDoubleTest : public testing::Test {
protected:
    using Fields = QMap<QString, QString>;

    static constexpr QLatin1StringView state{"c3RhdGUtb2YtdGhlLWNsaWVudC0x"};
    static constexpr QLatin1StringView verifier{"verifier-of-the-client-that-is-long-enough-to-be-one"};

    static QString challenge()
    {
        return QString::fromLatin1(
            QCryptographicHash::hash(QByteArray(verifier.latin1()), QCryptographicHash::Sha256)
                .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    }

    static Fields question(const OAuthDouble& provider)
    {
        Fields fields = provider.client().extras;
        fields.insert(u"client_id"_s, provider.client().id);
        fields.insert(u"redirect_uri"_s, provider.client().redirectURI);
        fields.insert(u"response_type"_s, u"code"_s);
        fields.insert(u"scope"_s, provider.client().scopes.join(u' '));
        fields.insert(u"state"_s, state);
        fields.insert(u"code_challenge"_s, challenge());
        fields.insert(u"code_challenge_method"_s, u"S256"_s);
        return fields;
    }

    static QByteArray url(const Fields& fields)
    {
        return "https://accounts.google.com/o/oauth2/v2/auth?" + SecureHTTP::formBody(fields);
    }

    QString code(OAuthDouble& provider)
    {
        const QByteArray redirect = provider.authorize(url(question(provider)));
        const QByteArray start = provider.client().redirectURI.toUtf8() + "?code=";
        EXPECT_TRUE(redirect.startsWith(start)) << redirect.toStdString();
        EXPECT_TRUE(redirect.endsWith("&state=" + QByteArray(state.latin1())));
        return QString::fromUtf8(QByteArray::fromPercentEncoding(
            redirect.sliced(start.size(), redirect.indexOf('&') - start.size())));
    }

    static Fields exchange(const OAuthDouble& provider, const QString& code)
    {
        return {{u"grant_type"_s, u"authorization_code"_s},
                {u"code"_s, code},
                {u"redirect_uri"_s, provider.client().redirectURI},
                {u"client_id"_s, provider.client().id},
                {u"code_verifier"_s, verifier}};
    }

    static Fields refresh(const OAuthDouble& provider, const QString& token)
    {
        Fields fields{{u"grant_type"_s, u"refresh_token"_s},
                      {u"refresh_token"_s, token},
                      {u"client_id"_s, provider.client().id}};
        if (provider.client().refreshScope)
            fields.insert(u"scope"_s, *provider.client().refreshScope);
        return fields;
    }

    QJsonObject post(const QByteArray& endpoint, const Fields& fields, int status = 200,
                     const Place& where = Place::current())
    {
        const HTTPResponse response =
            await(SecureHTTP::send({"https://" + endpoint,
                                    "POST",
                                    {{"Content-Type", "application/x-www-form-urlencoded"}},
                                    SecureHTTP::formBody(fields)}));
        if (response.status != status)
            ADD_FAILURE_AT(where.file, where.line) << response.status << response.body.toStdString();
        return QJsonDocument::fromJson(response.body).object();
    }

    static Fields without(Fields fields, const QString& name)
    {
        fields.remove(name);
        return fields;
    }

    static Fields with(Fields fields, const QString& name, const QString& value)
    {
        fields.insert(name, value);
        return fields;
    }

    static constexpr auto googleToken = "oauth2.googleapis.com/token";
    static constexpr auto microsoftToken = "login.microsoftonline.com/consumers/oauth2/v2.0/token";

    GoogleServices services;
    OAuthDouble& google = services.google();
    OAuthDouble& microsoft = services.microsoft();
};

TEST_F(OAuthDoubleTest, GivesTokensForACodeAndItsVerifier)
{
    const QJsonObject tokens = post(googleToken, exchange(google, code(google)));
    EXPECT_EQ(google.state(tokens.value(u"access_token"_s).toString().toUtf8()), OAuthDouble::Token::valid);
    EXPECT_EQ(tokens.value(u"expires_in"_s), 3600);
    EXPECT_FALSE(tokens.contains(u"id_token"_s));
    const QString token = tokens.value(u"refresh_token"_s).toString();
    const QJsonObject renewed = post(googleToken, refresh(google, token));
    EXPECT_NE(renewed.value(u"access_token"_s), tokens.value(u"access_token"_s));
    EXPECT_FALSE(renewed.contains(u"refresh_token"_s));
    EXPECT_EQ(services.violations(), QStringList());
    EXPECT_EQ(google.exchanges(), 1);
    EXPECT_EQ(google.refreshes(), 1);
}

TEST_F(OAuthDoubleTest, AnswersTheBrowserWithARedirect)
{
    QByteArray location;
    services.setAfterHook([&](const WebRequest&, WebReply reply) {
        location = reply.headers.value(0).second;
        return reply;
    });
    EXPECT_EQ(await(SecureHTTP::send({url(question(google))})).status, 302);
    EXPECT_TRUE(location.startsWith("com.googleusercontent.apps.1234-abcd:/oauthredirect?code=4%2F0"))
        << location.toStdString();
    EXPECT_EQ(services.violations(), QStringList());
    google.denyNext();
    const QByteArray denied =
        google.authorize(url(with(question(google), u"state"_s, u"another-state-of-the-client"_s)));
    EXPECT_EQ(denied, "com.googleusercontent.apps.1234-abcd:/oauthredirect?error=access_denied&state="
                      "another-state-of-the-client");
}

TEST_F(OAuthDoubleTest, RefusesEachParameterThatIsNotTheRightOne)
{
    const Fields good = question(google);
    for (const QString& name : good.keys()) {
        EXPECT_TRUE(google.authorize(url(without(good, name))).isEmpty()) << name.toStdString();
        EXPECT_TRUE(google.authorize(url(with(good, name, u"x"_s))).isEmpty()) << name.toStdString();
    }
    EXPECT_TRUE(google.authorize(url(with(good, u"login_hint"_s, u"a@b"_s))).isEmpty());
    EXPECT_TRUE(google.authorize(url(with(good, u"nonce"_s, u"a"_s))).isEmpty());
    EXPECT_TRUE(google.authorize(url(good) + "&state=a").isEmpty());
    google.setExpectedHint(u"a+b@c"_s);
    EXPECT_TRUE(google.authorize(url(good) + "&login_hint=a+b@c").isEmpty()) << "a blank";
    EXPECT_FALSE(google.authorize(url(good) + "&login_hint=a%2Bb%40c").isEmpty());
    EXPECT_EQ(google.violations().size(), 2 * good.size() + 4);
}

TEST_F(OAuthDoubleTest, RefusesACodeForAnotherVerifierOrASecondTime)
{
    const QString first = code(google);
    EXPECT_EQ(
        post(googleToken, with(exchange(google, first), u"code_verifier"_s, QString(u'v').repeated(43)), 400)
            .value(u"error"_s),
        u"invalid_grant"_s);
    EXPECT_EQ(google.violations().size(), 1);
    EXPECT_EQ(post(googleToken, exchange(google, first), 400).value(u"error"_s), u"invalid_grant"_s);
    EXPECT_EQ(google.violations().size(), 2);
}

TEST_F(OAuthDoubleTest, RefusesTokenRequestsThatLackOrAddSomething)
{
    const Fields good = exchange(google, code(google));
    for (const QString& name : good.keys())
        post(googleToken, without(good, name), 400);
    post(googleToken, with(good, u"client_secret"_s, u"s"_s), 400);
    EXPECT_EQ(google.violations().size(), good.size() + 1);
    post(googleToken, good);
    const QString token = google.grant().refreshToken;
    post(googleToken, with(refresh(google, token), u"scope"_s, u"s"_s), 400);
    post(microsoftToken, without(refresh(microsoft, microsoft.grant().refreshToken), u"scope"_s), 400);
    EXPECT_EQ(google.violations().size(), good.size() + 2);
    EXPECT_EQ(microsoft.violations().size(), 1);
}

TEST_F(OAuthDoubleTest, GivesMicrosoftsIdTokenWithTheClaims)
{
    microsoft.setClaims({{u"email"_s, u"a@outlook.com"_s}});
    const QJsonObject tokens = post(microsoftToken, exchange(microsoft, code(microsoft)));
    const QStringList pieces = tokens.value(u"id_token"_s).toString().split(u'.');
    ASSERT_EQ(pieces.size(), 3);
    EXPECT_EQ(QByteArray::fromBase64(pieces[1].toLatin1(), QByteArray::Base64UrlEncoding),
              R"({"email":"a@outlook.com"})");
    EXPECT_EQ(services.violations(), QStringList());
}

TEST_F(OAuthDoubleTest, KeepsTheOldRefreshTokenUntilTheNewOneIsUsed)
{
    microsoft.setRotation(OAuthDouble::Rotation::renewed);
    const QString first = microsoft.grant().refreshToken;
    const QString second =
        post(microsoftToken, refresh(microsoft, first)).value(u"refresh_token"_s).toString();
    // The answer to the first refresh may have been lost.
    post(microsoftToken, refresh(microsoft, first));
    post(microsoftToken, refresh(microsoft, second));
    EXPECT_EQ(post(microsoftToken, refresh(microsoft, first), 400).value(u"error"_s), u"invalid_grant"_s);
    EXPECT_EQ(services.violations(), QStringList());
}

TEST_F(OAuthDoubleTest, KnowsNoTokenAfterARevocation)
{
    const OAuthDouble::Grant grant = google.grant();
    post("oauth2.googleapis.com/revoke", {{u"token"_s, grant.refreshToken}});
    EXPECT_EQ(post(googleToken, refresh(google, grant.refreshToken), 400).value(u"error"_s),
              u"invalid_grant"_s);
    EXPECT_EQ(google.state(grant.accessToken.toUtf8()), OAuthDouble::Token::expired);
    post("oauth2.googleapis.com/revoke", {{u"token"_s, grant.refreshToken}}, 400);
    EXPECT_EQ(google.revocations(), 2);
    EXPECT_EQ(services.violations(), QStringList());
}

TEST_F(OAuthDoubleTest, RefusesGrantsAsItIsToldTo)
{
    const QString token = google.grant().refreshToken;
    google.refuseGrants(1);
    post(googleToken, refresh(google, token), 400);
    post(googleToken, refresh(google, token));
    google.setGivesRefreshToken(false);
    EXPECT_FALSE(post(googleToken, exchange(google, code(google))).contains(u"refresh_token"_s));
}

} // namespace
} // namespace Larkhaven
