#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>

#include <chrono>
#include <optional>
#include <variant>

namespace Larkhaven {

/// The tokens of one OAuth grant (RFC 6749).
struct TokenSet {
    QString accessToken;
    std::optional<QString> refreshToken;
    QDateTime expiresAt; ///< UTC
    std::optional<QString> idToken;

    /// Whether the access token lasts longer than `leeway` from now.
    bool isValid(std::chrono::seconds leeway) const;
    /// What the id token says of the user (OpenID Connect Core 1.0, section 2); empty where there is nothing
    /// to read. No signature is checked: the token came from the token endpoint over TLS (3.1.3.7).
    QJsonObject idTokenClaims() const;

    /// Fails with `DecodingError`.
    static TokenSet fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const TokenSet&) const = default;
};

/// What an account signs in with: OAuth tokens or a password. Its JSON form is {"oauth":{"_0":{…}}} or
/// {"password":{"_0":"…"}}.
class Credential {
public:
    static Credential oauth(TokenSet tokens) { return Credential(std::move(tokens)); }
    static Credential password(QString password) { return Credential(std::move(password)); }

    /// Null for a credential of the other kind.
    const TokenSet* tokens() const { return std::get_if<TokenSet>(&m_value); }
    const QString* password() const { return std::get_if<QString>(&m_value); }

    /// Fails with `DecodingError`; with "Invalid number of keys found, expected one." for another number of
    /// cases.
    static Credential fromJSON(const QByteArray& json);
    QByteArray toJSON() const;

    bool operator==(const Credential&) const = default;

private:
    explicit Credential(std::variant<TokenSet, QString> value)
        : m_value(std::move(value))
    {}

    std::variant<TokenSet, QString> m_value;
};

} // namespace Larkhaven
