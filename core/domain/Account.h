#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QUuid>

#include <array>
#include <optional>

namespace Larkhaven {

/// Which service an account uses.
enum class ProviderKind {
    google,    ///< Gmail REST account
    imap,      ///< password IMAP and SMTP account
    microsoft, ///< OAuth IMAP and SMTP account
};
inline constexpr std::array allProviderKinds{ProviderKind::google, ProviderKind::imap,
                                             ProviderKind::microsoft};
QString storedText(ProviderKind kind);

/// How a connection to a mail server is secured. There is no insecure kind.
enum class ConnectionSecurity {
    tls,      ///< TLS from the first byte (RFC 8314)
    startTLS, ///< in-place upgrade before anything else is said (RFC 3501, 6.2.1; RFC 3207)
};
inline constexpr std::array allConnectionSecurities{ConnectionSecurity::tls, ConnectionSecurity::startTLS};
QString storedText(ConnectionSecurity security);
/// The name shown to the user.
QString label(ConnectionSecurity security);

/// Where an IMAP account's two servers are.
struct ServerSettings {
    QString username; ///< login name for both servers
    QString imapHost;
    int imapPort = 993;
    ConnectionSecurity imapSecurity = ConnectionSecurity::tls;
    QString smtpHost;
    int smtpPort = 465;
    ConnectionSecurity smtpSecurity = ConnectionSecurity::tls;

    /// The fixed settings for Microsoft accounts.
    static ServerSettings microsoft(const QString& username);
    /// The settings that fit an address's provider, or a guess from its domain.
    static ServerSettings preset(const QString& email);
    /// Whether `preset` knows the address's provider, so that its hosts are no guess.
    static bool isKnown(const QString& email);

    /// Fails with `DecodingError`.
    static ServerSettings fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const ServerSettings&) const = default;
};
size_t qHash(const ServerSettings& settings, size_t seed = 0);

/// One account of the user.
struct Account {
    QUuid id; ///< stable identity; key of every per-account table
    ProviderKind provider = ProviderKind::imap;
    QString email;
    std::optional<QString> displayName;   ///< the user's real name as told by the service
    std::optional<QString> nickname;      ///< the user's own name for the account
    std::optional<ServerSettings> server; ///< absent for `google`

    /// The account's name in the sidebar and menus: the trimmed nickname, or the address where that leaves
    /// nothing.
    QString title() const;

    /// Tells mailboxes apart: another user, address or server of incoming mail is another mailbox, in which
    /// the same identifiers mean other messages. Opaque bytes.
    QByteArray mailboxIdentity() const;

    /// Fails with `DecodingError`.
    static Account fromJSON(const QJsonObject& object);
    QJsonObject toJSON() const;

    bool operator==(const Account&) const = default;
};
size_t qHash(const Account& account, size_t seed = 0);

} // namespace Larkhaven
