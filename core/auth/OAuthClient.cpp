#include "auth/OAuthClient.h"

#include "domain/Coding.h"
#include "domain/MailError.h"
#include "domain/ServiceEndpoints.h"
#include "domain/ShownText.h"
#include "domain/Text.h"
#include "format/MailEncoding.h"
#include "http/SecureHTTP.h"
#include "platform/RandomBytes.h"

#include <QCoreApplication>
#include <QCryptographicHash>

#include <algorithm>
#include <array>
#include <chrono>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr std::chrono::seconds requestTime{60};
/// In bytes; tokens have a few thousand.
constexpr qsizetype longestAnswer = 256 * 1024;

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(OAuthClient)
};

QString randomText(qsizetype count)
{
    const std::optional<QByteArray> bytes = randomBytes(count);
    if (!bytes)
        throw MailError::authFailed(Texts::tr("This computer gives no random numbers."));
    return MailEncoding::base64URLEncode(*bytes);
}

/// The items of the query, in order (RFC 3986, 3.4); a "+" stands for itself.
QList<SecureHTTP::QueryItem> queryItems(const QByteArray& url)
{
    const QByteArray whole = url.first(std::max<qsizetype>(0, (url + '#').indexOf('#')));
    const qsizetype start = whole.indexOf('?');
    if (start < 0)
        return {};
    QList<SecureHTTP::QueryItem> items;
    const QByteArrayList pairs = whole.sliced(start + 1).split('&');
    for (const QByteArray& pair : pairs) {
        const qsizetype equals = (pair + '=').indexOf('=');
        const auto decoded = [](const QByteArray& text) {
            return Text::fromRepairedUTF8(QByteArray::fromPercentEncoding(text));
        };
        items.append({decoded(pair.first(equals)), decoded(pair.mid(equals + 1))});
    }
    return items;
}

/// The provider's words, from which whatever must stay secret is taken out.
QString shownDescription(const QString& description, const QMap<QString, QString>& fields)
{
    // Characters that aren't seen could hide a secret from the search.
    QString text = ShownText::line(description, OAuthClient::longestCallback);
    constexpr std::array secrets{"code"_L1, "code_verifier"_L1, "refresh_token"_L1};
    for (const QLatin1StringView name : secrets) {
        const QString secret = fields.value(name);
        if (!secret.isEmpty())
            text.replace(secret, u"…"_s);
    }
    return ShownText::line(text, OAuthClient::longestDescription);
}

QDateTime expiry(const QJsonValue& expiresIn)
{
    // Longer than any service grants, and short enough for every calendar.
    constexpr double longest = 10 * 365 * 86'400.0;
    if (!expiresIn.isDouble() && !expiresIn.isUndefined() && !expiresIn.isNull())
        throw DecodingError({});
    const double seconds = std::clamp(expiresIn.toDouble(3600), -longest, longest);
    return QDateTime::currentDateTimeUtc().addMSecs(static_cast<qint64>(seconds * 1000));
}

/// Visible characters of ASCII (RFC 6749, A.12 and A.17): whatever else goes into a header could end it.
bool isToken(const QString& text)
{
    const auto isVisible = [](QChar letter) { return letter > u' ' && letter <= u'~'; };
    return !text.isEmpty() && std::ranges::all_of(text, isVisible);
}

TokenSet readTokens(const QByteArray& body, const std::optional<QString>& previousRefreshToken)
{
    try {
        const QJsonObject answer = Coding::object(Coding::parse(body));
        TokenSet tokens;
        tokens.accessToken = Coding::string(answer, "access_token"_L1);
        tokens.refreshToken = Coding::optionalString(answer, "refresh_token"_L1);
        if (tokens.refreshToken.value_or(QString()).isEmpty())
            tokens.refreshToken = previousRefreshToken;
        if (!isToken(tokens.accessToken) || (tokens.refreshToken && !isToken(*tokens.refreshToken)))
            throw DecodingError({});
        tokens.expiresAt = expiry(answer["expires_in"_L1]);
        tokens.idToken = Coding::optionalString(answer, "id_token"_L1);
        return tokens;
    } catch (const DecodingError&) {
        throw DecodingError(Texts::tr("The answer of the sign-in service can’t be read."));
    }
}

/// What a refusal means (RFC 6749, 5.2).
MailError refusal(const HTTPResponse& response, const QMap<QString, QString>& fields)
{
    QString error;
    std::optional<QString> description;
    try {
        const QJsonObject answer = Coding::object(Coding::parse(response.body));
        error = Coding::string(answer, "error"_L1);
        description = Coding::optionalString(answer, "error_description"_L1);
    } catch (const DecodingError&) {
        return MailError::authFailed(u"HTTP %1"_s.arg(response.status));
    }
    if (error == "invalid_grant"_L1)
        return MailError::notSignedIn();
    return MailError::authFailed(shownDescription(description.value_or(error), fields));
}

} // namespace

// --- OAuthConfig

OAuthConfig OAuthConfig::google(const QString& clientID)
{
    QStringList pieces = clientID.split(u'.', Qt::SkipEmptyParts);
    std::ranges::reverse(pieces);
    return {ProviderKind::google,
            clientID,
            ServiceEndpoints::Google::authorize,
            ServiceEndpoints::Google::token,
            pieces.join(u'.') + u":/oauthredirect"_s,
            {ServiceEndpoints::Google::scope},
            {{u"access_type"_s, u"offline"_s}, {u"prompt"_s, u"consent select_account"_s}}};
}

OAuthConfig OAuthConfig::microsoft(const QString& clientID, const QString& bundleIdentifier)
{
    return {ProviderKind::microsoft,
            clientID,
            ServiceEndpoints::Microsoft::authorize,
            ServiceEndpoints::Microsoft::token,
            u"msauth."_s + bundleIdentifier + u"://auth"_s,
            {ServiceEndpoints::Microsoft::imapScope, ServiceEndpoints::Microsoft::smtpScope,
             u"offline_access"_s, u"openid"_s, u"email"_s, u"profile"_s},
            {{u"prompt"_s, u"select_account"_s}}};
}

QString OAuthConfig::callbackScheme() const
{
    return redirectURI.section(u':', 0, 0);
}

// --- PKCE

PKCE::PKCE()
    : PKCE(randomText(64), randomText(24))
{}

PKCE::PKCE(QString verifier, QString state)
    : m_verifier(std::move(verifier))
    , m_challenge(MailEncoding::base64URLEncode(
          QCryptographicHash::hash(m_verifier.toUtf8(), QCryptographicHash::Sha256)))
    , m_state(std::move(state))
{}

// --- OAuthClient

OAuthClient::OAuthClient(OAuthConfig config)
    : m_config(std::move(config))
{}

QByteArray OAuthClient::authorizationURL(const PKCE& pkce, const std::optional<QString>& loginHint) const
{
    QList<SecureHTTP::QueryItem> items{{u"client_id"_s, m_config.clientID},
                                       {u"redirect_uri"_s, m_config.redirectURI},
                                       {u"response_type"_s, u"code"_s},
                                       {u"scope"_s, m_config.scopes.join(u' ')},
                                       {u"state"_s, pkce.state()},
                                       {u"code_challenge"_s, pkce.challenge()},
                                       {u"code_challenge_method"_s, u"S256"_s}};
    if (loginHint)
        items.append({u"login_hint"_s, *loginHint});
    const auto& extra = m_config.extraAuthorizeParams;
    for (auto item = extra.cbegin(); item != extra.cend(); ++item)
        items.append({item.key(), item.value()});
    return m_config.authorizeURL.toUtf8() + '?' + SecureHTTP::query(items);
}

QString OAuthClient::authorizationCode(const QByteArray& callback, const PKCE& pkce) const
{
    const qsizetype colon = callback.indexOf(':');
    const bool isOurs =
        callback.size() <= longestCallback && colon > 0 &&
        Text::isSameKeyword(QString::fromLatin1(callback.first(std::max<qsizetype>(0, colon))),
                            m_config.callbackScheme());
    if (!isOurs)
        throw MailError::authFailed(Texts::tr("Unexpected redirect"));
    const QList<SecureHTTP::QueryItem> items = queryItems(callback);
    const auto find = [&items](const QString& name) {
        const auto item = std::ranges::find(items, name, &SecureHTTP::QueryItem::first);
        return item == items.end() ? std::nullopt : std::optional(item->second);
    };
    if (const std::optional<QString> error = find(u"error"_s)) {
        if (*error == "access_denied"_L1)
            throw MailError::cancelled();
        const QString description = find(u"error_description"_s).value_or(*error);
        throw MailError::authFailed(
            shownDescription(description, {{u"code_verifier"_s, pkce.verifier()},
                                           {u"code"_s, find(u"code"_s).value_or(QString())}}));
    }
    if (find(u"state"_s) != pkce.state())
        throw MailError::authFailed(Texts::tr("State mismatch (possible CSRF)"));
    const QString code = find(u"code"_s).value_or(QString());
    if (code.isEmpty())
        throw MailError::authFailed(Texts::tr("No authorization code"));
    return code;
}

Task<TokenSet> OAuthClient::exchange(QString code, PKCE pkce, std::stop_token stop) const
{
    return requestToken(m_config.tokenURL,
                        {{u"grant_type"_s, u"authorization_code"_s},
                         {u"code"_s, code},
                         {u"redirect_uri"_s, m_config.redirectURI},
                         {u"client_id"_s, m_config.clientID},
                         {u"code_verifier"_s, pkce.verifier()}},
                        std::nullopt, std::move(stop));
}

Task<TokenSet> OAuthClient::refresh(QString refreshToken, std::stop_token stop) const
{
    Fields fields{{u"grant_type"_s, u"refresh_token"_s},
                  {u"refresh_token"_s, refreshToken},
                  {u"client_id"_s, m_config.clientID}};
    if (m_config.provider == ProviderKind::microsoft) {
        // What tells of the user is asked for once, at the sign-in.
        QStringList scopes = m_config.scopes;
        scopes.removeIf([](const QString& scope) {
            return !scope.startsWith("https://"_L1) && scope != "offline_access"_L1;
        });
        fields.insert(u"scope"_s, scopes.join(u' '));
    }
    return requestToken(m_config.tokenURL, fields, refreshToken, std::move(stop));
}

Task<TokenSet> OAuthClient::requestToken(QString url, Fields fields,
                                         std::optional<QString> previousRefreshToken, std::stop_token stop)
{
    HTTPRequest request;
    request.url = url.toUtf8();
    request.method = "POST";
    request.headers = {{"Content-Type", "application/x-www-form-urlencoded"}, {"Accept", "application/json"}};
    request.body = SecureHTTP::formBody(fields);
    request.timeout = requestTime;
    request.mostBody = longestAnswer;
    const HTTPResponse response = co_await SecureHTTP::send(request, stop);
    if (response.status < 200 || response.status > 299)
        throw refusal(response, fields);
    TokenSet tokens = readTokens(response.body, previousRefreshToken);
    co_return tokens;
}

} // namespace Larkhaven
