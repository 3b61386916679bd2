#include "domain/Account.h"

#include "domain/Coding.h"
#include "domain/ServiceEndpoints.h"
#include "domain/Text.h"

#include <QCoreApplication>
#include <QCryptographicHash>

#include <algorithm>
#include <limits>
#include <span>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(ConnectionSecurity)
};

} // namespace

QString storedText(ProviderKind kind)
{
    switch (kind) {
    case ProviderKind::google:
        return u"google"_s;
    case ProviderKind::imap:
        return u"imap"_s;
    case ProviderKind::microsoft:
        return u"microsoft"_s;
    }
    Q_UNREACHABLE();
}

QString storedText(ConnectionSecurity security)
{
    return security == ConnectionSecurity::tls ? u"tls"_s : u"startTLS"_s;
}

QString label(ConnectionSecurity security)
{
    return security == ConnectionSecurity::tls ? Texts::tr("SSL/TLS") : Texts::tr("STARTTLS");
}

namespace {

template <typename Enumeration>
Enumeration storedCase(const QJsonObject& object, QLatin1StringView key, std::span<const Enumeration> all)
{
    const QString text = Coding::string(object, key);
    for (const Enumeration value : all) {
        if (storedText(value) == text)
            return value;
    }
    throw Coding::unreadable(key);
}

int port(const QJsonObject& object, QLatin1StringView key)
{
    const qint64 value = Coding::integer(object, key);
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max())
        throw Coding::unreadable(key);
    return static_cast<int>(value);
}

struct PresetRow {
    QList<QString> domains;
    QString imapHost;
    int imapPort;
    ConnectionSecurity imapSecurity;
    QString smtpHost;
    int smtpPort;
    ConnectionSecurity smtpSecurity;
};

const QList<PresetRow>& presetRows()
{
    using enum ConnectionSecurity;
    static const QList<PresetRow> rows{
        {{u"icloud.com"_s, u"me.com"_s, u"mac.com"_s},
         u"imap.mail.me.com"_s,
         993,
         tls,
         u"smtp.mail.me.com"_s,
         587,
         startTLS},
        {{u"fastmail.com"_s, u"fastmail.fm"_s},
         u"imap.fastmail.com"_s,
         993,
         tls,
         u"smtp.fastmail.com"_s,
         465,
         tls},
        {{u"yahoo.com"_s, u"ymail.com"_s},
         u"imap.mail.yahoo.com"_s,
         993,
         tls,
         u"smtp.mail.yahoo.com"_s,
         465,
         tls},
        {{u"aol.com"_s}, u"imap.aol.com"_s, 993, tls, u"smtp.aol.com"_s, 465, tls},
        {{u"gmx.net"_s, u"gmx.de"_s, u"gmx.com"_s}, u"imap.gmx.net"_s, 993, tls, u"mail.gmx.net"_s, 465, tls},
        {{u"zoho.com"_s, u"zohomail.com"_s}, u"imap.zoho.com"_s, 993, tls, u"smtp.zoho.com"_s, 465, tls},
        // The bridge program on the user's own machine; there is no remote IMAP server.
        {{u"proton.me"_s, u"protonmail.com"_s},
         u"127.0.0.1"_s,
         1143,
         startTLS,
         u"127.0.0.1"_s,
         1025,
         startTLS},
    };
    return rows;
}

QString domainOf(const QString& email)
{
    return Text::asciiLowered(email.mid(email.lastIndexOf(u'@') + 1));
}

/// Null for a provider that isn't among them.
const PresetRow* presetOf(const QString& domain)
{
    const QList<PresetRow>& rows = presetRows();
    const auto found =
        std::ranges::find_if(rows, [&domain](const PresetRow& row) { return row.domains.contains(domain); });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace

ServerSettings ServerSettings::microsoft(const QString& username)
{
    return {username,
            ServiceEndpoints::Microsoft::imapHost,
            993,
            ConnectionSecurity::tls,
            ServiceEndpoints::Microsoft::smtpHost,
            587,
            ConnectionSecurity::startTLS};
}

ServerSettings ServerSettings::preset(const QString& email)
{
    const QString domain = domainOf(email);
    if (const PresetRow* const row = presetOf(domain))
        return {email,         row->imapHost, row->imapPort,    row->imapSecurity,
                row->smtpHost, row->smtpPort, row->smtpSecurity};
    return {email, u"imap."_s + domain,    993, ConnectionSecurity::tls, u"smtp."_s + domain,
            465,   ConnectionSecurity::tls};
}

bool ServerSettings::isKnown(const QString& email)
{
    return presetOf(domainOf(email)) != nullptr;
}

ServerSettings ServerSettings::fromJSON(const QJsonObject& object)
{
    const std::span<const ConnectionSecurity> securities(allConnectionSecurities);
    return {Coding::string(object, "username"_L1),
            Coding::string(object, "imapHost"_L1),
            port(object, "imapPort"_L1),
            storedCase(object, "imapSecurity"_L1, securities),
            Coding::string(object, "smtpHost"_L1),
            port(object, "smtpPort"_L1),
            storedCase(object, "smtpSecurity"_L1, securities)};
}

QJsonObject ServerSettings::toJSON() const
{
    return {{u"username"_s, username},
            {u"imapHost"_s, imapHost},
            {u"imapPort"_s, imapPort},
            {u"imapSecurity"_s, storedText(imapSecurity)},
            {u"smtpHost"_s, smtpHost},
            {u"smtpPort"_s, smtpPort},
            {u"smtpSecurity"_s, storedText(smtpSecurity)}};
}

size_t qHash(const ServerSettings& settings, size_t seed)
{
    return qHashMulti(seed, settings.username, settings.imapHost, settings.imapPort,
                      storedText(settings.imapSecurity), settings.smtpHost, settings.smtpPort,
                      storedText(settings.smtpSecurity));
}

QString Account::title() const
{
    const QStringView trimmed =
        Text::trimmedSpaceAndLineEnds(nickname ? QStringView(*nickname) : QStringView());
    return trimmed.isEmpty() ? email : trimmed.toString();
}

QByteArray Account::mailboxIdentity() const
{
    QStringList parts{email};
    if (server)
        parts << server->username << Text::lowered(server->imapHost) << QString::number(server->imapPort);
    // Lengths keep the parts apart, whatever is in them.
    QByteArray bytes;
    for (const QString& part : std::as_const(parts))
        bytes += QByteArray::number(part.size()) + ':' + part.toUtf8();
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

Account Account::fromJSON(const QJsonObject& object)
{
    Account account;
    account.id = Coding::uuid(object, "id"_L1);
    account.provider = storedCase(object, "provider"_L1, std::span<const ProviderKind>(allProviderKinds));
    account.email = Coding::string(object, "email"_L1);
    account.displayName = Coding::optionalString(object, "displayName"_L1);
    account.nickname = Coding::optionalString(object, "nickname"_L1);
    const QJsonValue stored = object.value("server"_L1);
    if (!stored.isUndefined() && !stored.isNull())
        account.server = ServerSettings::fromJSON(Coding::object(object, "server"_L1));
    return account;
}

QJsonObject Account::toJSON() const
{
    QJsonObject object{
        {u"id"_s, Coding::fromUuid(id)}, {u"provider"_s, storedText(provider)}, {u"email"_s, email}};
    if (displayName)
        object.insert(u"displayName"_s, *displayName);
    if (nickname)
        object.insert(u"nickname"_s, *nickname);
    if (server)
        object.insert(u"server"_s, server->toJSON());
    return object;
}

size_t qHash(const Account& account, size_t seed)
{
    return qHashMulti(seed, account.id, storedText(account.provider), account.email,
                      account.displayName.value_or(QString()), account.nickname.value_or(QString()),
                      account.server ? qHash(*account.server, seed) : 0);
}

} // namespace Larkhaven
