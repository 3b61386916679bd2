#pragma once

#include "support/WebServer.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

namespace Larkhaven {

/// A provider's side of the authorization code flow for one public client (RFC 6749, 4.1 and 6; RFC 7636),
/// with one user who grants everything unless told otherwise. Each parameter is verified; what a correct
/// client wouldn't send is refused and noted in `violations`.
class OAuthDouble {
public:
    struct Client {
        QString id;
        QString redirectURI;
        QStringList scopes;
        QMap<QString, QString> extras; ///< of the authorization URL
        /// What a refresh has to ask for; absent: it must not name any.
        std::optional<QString> refreshScope;
        bool givesIdToken = false;
    };

    enum class Token { valid, expired, unknown };
    enum class Rotation {
        none,    ///< a refresh gives no refresh token
        renewed, ///< it gives a new one; the old one dies when the new one is first used
    };

    /// As registered with Google: "access_type" and "prompt", one scope.
    static Client google(const QString& clientID);
    /// As registered with Microsoft, for a program of this bundle identifier.
    static Client microsoft(const QString& clientID, const QString& bundleIdentifier);

    explicit OAuthDouble(Client client)
        : m_client(std::move(client))
    {}

    const Client& client() const { return m_client; }
    void setClient(const Client& client) { m_client = client; }

    // --- The endpoints
    /// What the browser gets for an authorization URL: the redirect's URL, or nothing where the request is
    /// refused with a page.
    QByteArray authorize(const QByteArray& url);
    WebReply authorization(const WebRequest& request);
    WebReply token(const WebRequest& request);
    WebReply revocation(const WebRequest& request);

    // --- What goes on there
    /// The user refuses the next request: "access_denied".
    void denyNext() { m_deniesNext = true; }
    /// The next authorization ends with this error.
    void failNextAuthorization(const QString& error, const QString& description);
    /// The login hint that the next requests must have; absent: none at all.
    void setExpectedHint(const std::optional<QString>& hint) { m_expectedHint = hint; }
    void setTokenLifetime(int seconds) { m_lifetime = seconds; }
    void setRotation(Rotation rotation) { m_rotation = rotation; }
    /// Whether an exchange gives a refresh token.
    void setGivesRefreshToken(bool gives) { m_givesRefreshToken = gives; }
    /// Those of the id token.
    void setClaims(const QJsonObject& claims) { m_claims = claims; }
    /// The next token requests are refused with invalid_grant.
    void refuseGrants(int count) { m_refusedGrants = count; }
    /// Every access token that was given out is expired.
    void expireTokens();
    /// The user takes the grant back: no token is good any more.
    void revokeGrant();

    /// A grant without the flow. The tokens it gives.
    struct Grant {
        QString accessToken;
        QString refreshToken;
    };
    Grant grant();

    // --- What is seen
    /// Of an access token.
    Token state(const QByteArray& accessToken) const;
    int authorizations() const { return m_authorizations; }
    int exchanges() const { return m_exchanges; }
    int refreshes() const { return m_refreshes; }
    int revocations() const { return m_revocations; }
    /// Every code, token and verifier that went over the wire. None of them may be seen elsewhere.
    const QSet<QByteArray>& secrets() const { return m_secrets; }
    const QStringList& violations() const { return m_violations; }

private:
    struct Code {
        QString challenge;
        bool isUsed = false;
    };
    using Fields = QMap<QString, QString>;

    std::optional<Fields> fields(const QByteArray& text, const QString& where);
    bool expect(const Fields& fields, const Fields& expected, const QStringList& free, const QString& where);
    std::optional<Fields> form(const WebRequest& request);
    WebReply exchange(const Fields& fields);
    WebReply refresh(const Fields& fields);
    WebReply tokens(bool isExchange);
    WebReply refused(const QByteArray& error, const QByteArray& description);
    QString secret(const QString& start);
    QString idToken() const;
    void note(const QString& violation) { m_violations.append(violation); }

    Client m_client;
    bool m_deniesNext = false;
    std::optional<std::pair<QString, QString>> m_nextError;
    std::optional<QString> m_expectedHint;
    int m_lifetime = 3600;
    Rotation m_rotation = Rotation::none;
    bool m_givesRefreshToken = true;
    QJsonObject m_claims;
    int m_refusedGrants = 0;

    QHash<QString, Code> m_codes;
    QSet<QString> m_states;
    QHash<QByteArray, Token> m_accessTokens;
    QSet<QString> m_refreshTokens;
    QHash<QString, QString> m_predecessors; ///< of refresh tokens that weren't used yet
    QSet<QByteArray> m_secrets;
    int m_nextSecret = 1;
    int m_authorizations = 0;
    int m_exchanges = 0;
    int m_refreshes = 0;
    int m_revocations = 0;
    QStringList m_violations;
};

} // namespace Larkhaven
