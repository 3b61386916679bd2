#pragma once

#include "auth/Credential.h"
#include "domain/Account.h"
#include "domain/MailProvider.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>

#include <optional>
#include <stop_token>

namespace Larkhaven {

/// How a program signs in with a service: a public client (RFC 6749, 2.1), which has no secret.
struct OAuthConfig {
    ProviderKind provider = ProviderKind::google;
    QString clientID;
    QString authorizeURL; ///< HTTPS, absolute, without a query
    QString tokenURL;     ///< HTTPS, absolute
    QString redirectURI;  ///< of a private scheme (RFC 8252, 7.1)
    QList<QString> scopes;
    QMap<QString, QString> extraAuthorizeParams;

    static OAuthConfig google(const QString& clientID);
    static OAuthConfig microsoft(const QString& clientID, const QString& bundleIdentifier);

    /// The scheme of `redirectURI`; all of it where it has no ":".
    QString callbackScheme() const;

    bool operator==(const OAuthConfig&) const = default;
};

/// The proof key of one sign-in (RFC 7636) and the state that ties the redirect to it. Secret until the code
/// is exchanged.
class PKCE {
public:
    /// From 64 random bytes for the verifier and 24 for the state. Fails with `MailError::authFailed` where
    /// the system has none.
    PKCE();
    PKCE(QString verifier, QString state);

    const QString& verifier() const { return m_verifier; }
    const QString& challenge() const { return m_challenge; }
    const QString& state() const { return m_state; }

private:
    QString m_verifier;
    QString m_challenge; ///< by the method S256
    QString m_state;
};

/// The authorization code flow (RFC 6749, 4.1) and the refresh of tokens (6). It shows and stores nothing.
/// Main thread. No failure holds a token, a code or a verifier.
class OAuthClient {
public:
    /// A provider's own words about a failure, in UTF-16 units, on one line.
    static constexpr qsizetype longestDescription = 500;
    /// A redirect, in bytes.
    static constexpr qsizetype longestCallback = 16'384;

    explicit OAuthClient(OAuthConfig config);

    const OAuthConfig& config() const { return m_config; }

    /// What the user's browser is to open; percent-encoded, "+" as "%2B".
    QByteArray authorizationURL(const PKCE& pkce, const std::optional<QString>& loginHint) const;

    /// The code that the redirect brings, of which no more than `longestCallback` is read. Fails with
    /// `MailError::cancelled` where the user has refused, and with `MailError::authFailed` where the redirect
    /// is another's, an error, or without a code.
    QString authorizationCode(const QByteArray& callback, const PKCE& pkce) const;

    /// The tokens for a code. Fails with `MailError::notSignedIn` where the grant is gone ("invalid_grant"),
    /// with `MailError::authFailed` on another refusal, with `DecodingError` on an answer that isn't one, and
    /// as `SecureHTTP::send`.
    Task<TokenSet> exchange(QString code, PKCE pkce, std::stop_token stop = {}) const;

    /// New tokens; they hold the same refresh token where the service gives no new one. Fails as `exchange`.
    Task<TokenSet> refresh(QString refreshToken, std::stop_token stop = {}) const;

private:
    using Fields = QMap<QString, QString>;
    static Task<TokenSet> requestToken(QString url, Fields fields,
                                       std::optional<QString> previousRefreshToken, std::stop_token stop);

    OAuthConfig m_config;
};

} // namespace Larkhaven
