#include "support/OAuthDouble.h"

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr QByteArray::Base64Options base64url =
    QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals;

bool matches(const QString& text, const QString& pattern)
{
    return QRegularExpression(u"\\A"_s + pattern + u"\\z"_s).match(text).hasMatch();
}

WebReply json(int status, const QJsonObject& object)
{
    return {.status = status,
            .body = QJsonDocument(object).toJson(),
            .headers = {{"Content-Type", "application/json; charset=utf-8"}, {"Cache-Control", "no-store"}}};
}

QByteArray queryOf(const QByteArray& target)
{
    return target.contains('?') ? target.sliced(target.indexOf('?') + 1) : QByteArray();
}

} // namespace

// --- Clients

OAuthDouble::Client OAuthDouble::google(const QString& clientID)
{
    QStringList pieces = clientID.split(u'.', Qt::SkipEmptyParts);
    std::ranges::reverse(pieces);
    return {clientID,
            pieces.join(u'.') + u":/oauthredirect"_s,
            {u"https://www.googleapis.com/auth/gmail.modify"_s},
            {{u"access_type"_s, u"offline"_s}, {u"prompt"_s, u"consent select_account"_s}},
            std::nullopt,
            false};
}

OAuthDouble::Client OAuthDouble::microsoft(const QString& clientID, const QString& bundleIdentifier)
{
    const QStringList mail{u"https://outlook.office.com/IMAP.AccessAsUser.All"_s,
                           u"https://outlook.office.com/SMTP.Send"_s, u"offline_access"_s};
    return {clientID,
            u"msauth."_s + bundleIdentifier + u"://auth"_s,
            mail + QStringList{u"openid"_s, u"email"_s, u"profile"_s},
            {{u"prompt"_s, u"select_account"_s}},
            mail.join(u' '),
            true};
}

// --- Checks

/// The decoded fields of a query or form; absent, and noted, where one is malformed or stands there twice.
std::optional<OAuthDouble::Fields> OAuthDouble::fields(const QByteArray& text, const QString& where)
{
    Fields result;
    for (const QByteArray& item : text.split('&')) {
        const qsizetype sign = item.indexOf('=');
        const auto decoded = [](QByteArray part) {
            return QString::fromUtf8(QByteArray::fromPercentEncoding(part.replace('+', ' ')));
        };
        const QString name = decoded(item.first(std::max<qsizetype>(sign, 0)));
        if (sign < 1 || result.contains(name)) {
            note(where + u": malformed or double item "_s + name);
            return std::nullopt;
        }
        result.insert(name, decoded(item.sliced(sign + 1)));
    }
    return result;
}

/// Whether the fields are the expected ones with their values, and the `free` ones with any.
bool OAuthDouble::expect(const Fields& fields, const Fields& expected, const QStringList& free,
                         const QString& where)
{
    const qsizetype before = m_violations.size();
    for (const auto& [name, value] : expected.asKeyValueRange()) {
        if (!fields.contains(name))
            note(where + u": no "_s + name);
        else if (fields.value(name) != value)
            note(where + u": another "_s + name + u" than "_s + value);
    }
    for (const QString& name : free) {
        if (fields.value(name).isEmpty())
            note(where + u": no "_s + name);
    }
    for (const QString& name : fields.keys()) {
        if (!expected.contains(name) && !free.contains(name))
            note(where + u": unexpected "_s + name);
    }
    return m_violations.size() == before;
}

// --- Authorization

void OAuthDouble::failNextAuthorization(const QString& error, const QString& description)
{
    m_nextError = {error, description};
}

QByteArray OAuthDouble::authorize(const QByteArray& url)
{
    const QString where = u"authorization"_s;
    const std::optional<Fields> asked = fields(queryOf(url), where);
    if (!asked)
        return {};
    Fields expected = m_client.extras;
    expected.insert(u"client_id"_s, m_client.id);
    expected.insert(u"redirect_uri"_s, m_client.redirectURI);
    expected.insert(u"response_type"_s, u"code"_s);
    expected.insert(u"scope"_s, m_client.scopes.join(u' '));
    expected.insert(u"code_challenge_method"_s, u"S256"_s);
    if (m_expectedHint)
        expected.insert(u"login_hint"_s, *m_expectedHint);
    if (!expect(*asked, expected, {u"state"_s, u"code_challenge"_s}, where))
        return {};
    const QString state = asked->value(u"state"_s);
    const QString challenge = asked->value(u"code_challenge"_s);
    // 128 bits are the least that can't be guessed.
    if (!matches(state, u"[-_A-Za-z0-9]{22,}"_s) || !matches(challenge, u"[-_A-Za-z0-9]{43}"_s)) {
        note(where + u": a state that can be guessed, or a challenge that is none"_s);
        return {};
    }
    if (m_states.contains(state))
        note(where + u": a state for the second time"_s);
    m_states.insert(state);
    ++m_authorizations;

    const QByteArray start = m_client.redirectURI.toUtf8() + '?';
    const QByteArray end = "&state=" + state.toUtf8();
    if (std::exchange(m_deniesNext, false))
        return start + "error=access_denied" + end;
    if (const auto error = std::exchange(m_nextError, std::nullopt))
        return start + "error=" + error->first.toUtf8().toPercentEncoding() +
               "&error_description=" + error->second.toUtf8().toPercentEncoding() + end;
    const QString code = secret(u"4/0code"_s);
    m_codes.insert(code, {challenge});
    return start + "code=" + code.toUtf8().toPercentEncoding() + end;
}

WebReply OAuthDouble::authorization(const WebRequest& request)
{
    if (request.method != "GET")
        note(u"authorization: "_s + QString::fromUtf8(request.method));
    const QByteArray redirect = authorize(request.target);
    if (redirect.isEmpty())
        return {.status = 400,
                .body = "<!DOCTYPE html><title>Error 400</title>",
                .headers = {{"Content-Type", "text/html"}}};
    return WebReply::redirect(302, redirect);
}

// --- Tokens

std::optional<OAuthDouble::Fields> OAuthDouble::form(const WebRequest& request)
{
    if (request.method != "POST" || request.header("content-type") != "application/x-www-form-urlencoded" ||
        request.target.contains('?') || request.header("authorization")) {
        note(u"token: no POST of a form: "_s + QString::fromUtf8(request.method));
        return std::nullopt;
    }
    return fields(request.body, u"token"_s);
}

WebReply OAuthDouble::refused(const QByteArray& error, const QByteArray& description)
{
    return json(400, {{u"error"_s, QString::fromUtf8(error)},
                      {u"error_description"_s, QString::fromUtf8(description)}});
}

WebReply OAuthDouble::token(const WebRequest& request)
{
    const std::optional<Fields> asked = form(request);
    if (!asked)
        return refused("invalid_request", "Bad request");
    const QString grantType = asked->value(u"grant_type"_s);
    if (grantType == u"authorization_code"_s)
        return exchange(*asked);
    if (grantType == u"refresh_token"_s)
        return refresh(*asked);
    note(u"token: unknown grant type "_s + grantType);
    return refused("unsupported_grant_type", "Invalid grant_type");
}

WebReply OAuthDouble::exchange(const Fields& asked)
{
    ++m_exchanges;
    m_secrets.insert(asked.value(u"code_verifier"_s).toUtf8());
    const Fields expected{{u"grant_type"_s, u"authorization_code"_s},
                          {u"client_id"_s, m_client.id},
                          {u"redirect_uri"_s, m_client.redirectURI}};
    if (!expect(asked, expected, {u"code"_s, u"code_verifier"_s}, u"exchange"_s))
        return refused("invalid_request", "Bad request");
    const auto code = m_codes.find(asked.value(u"code"_s));
    if (code == m_codes.end() || code->isUsed) {
        note(code == m_codes.end() ? u"exchange: an unknown code"_s
                                   : u"exchange: a code for the second time"_s);
        return refused("invalid_grant", "Malformed auth code.");
    }
    code->isUsed = true;
    const QString verifier = asked.value(u"code_verifier"_s);
    const QByteArray sum =
        QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256).toBase64(base64url);
    if (!matches(verifier, u"[-._~A-Za-z0-9]{43,128}"_s) || sum != code->challenge.toUtf8()) {
        note(u"exchange: the verifier isn't that of the challenge"_s);
        return refused("invalid_grant", "Invalid code verifier.");
    }
    if (m_refusedGrants > 0 && m_refusedGrants--)
        return refused("invalid_grant", "Bad Request");
    return tokens(true);
}

WebReply OAuthDouble::refresh(const Fields& asked)
{
    ++m_refreshes;
    Fields expected{{u"grant_type"_s, u"refresh_token"_s}, {u"client_id"_s, m_client.id}};
    if (m_client.refreshScope)
        expected.insert(u"scope"_s, *m_client.refreshScope);
    if (!expect(asked, expected, {u"refresh_token"_s}, u"refresh"_s))
        return refused("invalid_request", "Bad request");
    const QString token = asked.value(u"refresh_token"_s);
    if (!m_secrets.contains(token.toUtf8()))
        note(u"refresh: a token that was never given out"_s);
    if ((m_refusedGrants > 0 && m_refusedGrants--) || !m_refreshTokens.contains(token))
        return refused("invalid_grant", "Token has been expired or revoked.");
    m_refreshTokens.remove(m_predecessors.take(token));
    WebReply reply = tokens(false);
    if (m_rotation == Rotation::none)
        return reply;
    const QString next = secret(u"1//0refresh"_s);
    m_refreshTokens.insert(next);
    m_predecessors.insert(next, token);
    QJsonObject object = QJsonDocument::fromJson(reply.body).object();
    object.insert(u"refresh_token"_s, next);
    reply.body = QJsonDocument(object).toJson();
    return reply;
}

WebReply OAuthDouble::tokens(bool isExchange)
{
    const QString access = secret(u"ya29.access"_s);
    m_accessTokens.insert(access.toUtf8(), Token::valid);
    QJsonObject answer{{u"access_token"_s, access},
                       {u"expires_in"_s, m_lifetime},
                       {u"scope"_s, m_client.refreshScope.value_or(m_client.scopes.join(u' '))},
                       {u"token_type"_s, u"Bearer"_s}};
    if (isExchange && m_givesRefreshToken) {
        const QString refresh = secret(u"1//0refresh"_s);
        m_refreshTokens.insert(refresh);
        answer.insert(u"refresh_token"_s, refresh);
    }
    if (isExchange && m_client.givesIdToken)
        answer.insert(u"id_token"_s, idToken());
    return json(200, answer);
}

/// A token in three pieces (RFC 7519), without a signature.
QString OAuthDouble::idToken() const
{
    const QByteArray header = R"({"alg":"none","typ":"JWT"})";
    const QByteArray claims = QJsonDocument(m_claims).toJson(QJsonDocument::Compact);
    return QString::fromLatin1(header.toBase64(base64url) + '.' + claims.toBase64(base64url) +
                               ".c2lnbmF0dXJl");
}

QString OAuthDouble::secret(const QString& start)
{
    const QByteArray number = QByteArray::number(m_nextSecret++) + m_client.id.toUtf8();
    const QString text =
        start +
        QString::fromLatin1(QCryptographicHash::hash(number, QCryptographicHash::Sha256).toBase64(base64url));
    m_secrets.insert(text.toUtf8());
    return text;
}

WebReply OAuthDouble::revocation(const WebRequest& request)
{
    ++m_revocations;
    const std::optional<Fields> asked = form(request);
    if (!asked || !expect(*asked, {}, {u"token"_s}, u"revocation"_s))
        return refused("invalid_request", "Bad request");
    const QString token = asked->value(u"token"_s);
    if (!m_refreshTokens.contains(token) && !m_accessTokens.contains(token.toUtf8()))
        return refused("invalid_token", "Token expired or revoked");
    revokeGrant();
    return json(200, {});
}

// --- Controls

OAuthDouble::Grant OAuthDouble::grant()
{
    const QJsonObject answer = QJsonDocument::fromJson(tokens(true).body).object();
    return {answer.value(u"access_token"_s).toString(), answer.value(u"refresh_token"_s).toString()};
}

void OAuthDouble::expireTokens()
{
    for (Token& token : m_accessTokens)
        token = Token::expired;
}

void OAuthDouble::revokeGrant()
{
    expireTokens();
    m_refreshTokens.clear();
    m_predecessors.clear();
}

OAuthDouble::Token OAuthDouble::state(const QByteArray& accessToken) const
{
    return m_accessTokens.value(accessToken, Token::unknown);
}

} // namespace Larkhaven
