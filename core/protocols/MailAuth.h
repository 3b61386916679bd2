#pragma once

#include "domain/TokenSource.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <variant>

namespace Larkhaven {

/// What an account shows to its servers: a password, or access tokens. The user name is
/// `ServerSettings::username`.
class MailAuth {
public:
    static MailAuth password(QString password) { return MailAuth(std::move(password)); }
    /// `manager` must not be null.
    static MailAuth oauth(std::shared_ptr<TokenSource> manager) { return MailAuth(std::move(manager)); }

    /// Null for OAuth.
    const QString* password() const { return std::get_if<QString>(&m_value); }
    /// Null for a password.
    std::shared_ptr<TokenSource> manager() const
    {
        const auto* manager = std::get_if<std::shared_ptr<TokenSource>>(&m_value);
        return manager ? *manager : nullptr;
    }

private:
    explicit MailAuth(std::variant<QString, std::shared_ptr<TokenSource>> value)
        : m_value(std::move(value))
    {}

    std::variant<QString, std::shared_ptr<TokenSource>> m_value;
};

/// What the SASL mechanism XOAUTH2 sends: user and token, base64-encoded without a line end.
QByteArray xoauth2Payload(const QString& username, const QString& token);

} // namespace Larkhaven
