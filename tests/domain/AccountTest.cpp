#include "domain/Account.h"

#include "domain/Coding.h"
#include "support/QtPrinters.h"

#include <QJsonDocument>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QByteArray written(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

ServerSettings someSettings()
{
    return {u"ann@work.example"_s,       u"imap.work.example"_s, 993,
            ConnectionSecurity::tls,     u"smtp.work.example"_s, 587,
            ConnectionSecurity::startTLS};
}

Account someAccount()
{
    Account account;
    account.id = QUuid(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    account.provider = ProviderKind::imap;
    account.email = u"ann@work.example"_s;
    return account;
}

constexpr auto settingsJSON =
    R"({"imapHost":"imap.work.example","imapPort":993,"imapSecurity":"tls","smtpHost":"smtp.work.example",)"
    R"("smtpPort":587,"smtpSecurity":"startTLS","username":"ann@work.example"})";

TEST(Account, ShowsItsAddressWhereTheNicknameIsOnlySpaces)
{
    Account account = someAccount();
    EXPECT_EQ(account.title(), u"ann@work.example");
    account.nickname = u"  \t "_s;
    EXPECT_EQ(account.title(), u"ann@work.example");
    account.nickname = u"\r\n"_s;
    EXPECT_EQ(account.title(), u"ann@work.example");
}

TEST(Account, ShowsItsTrimmedNickname)
{
    Account account = someAccount();
    account.nickname = u" \n Work mail\u00a0"_s;
    account.displayName = u"Ann Example"_s;
    EXPECT_EQ(account.title(), u"Work mail");
}

TEST(Account, TellsMailboxesApartByUserAddressAndServer)
{
    Account account;
    account.email = u"mia@example.org"_s;
    const QByteArray bare = account.mailboxIdentity();
    account.server = ServerSettings();
    account.server->username = u"mia"_s;
    account.server->imapHost = u"Mail.example"_s;
    account.server->imapPort = 993;
    const QByteArray identity = account.mailboxIdentity();
    EXPECT_NE(identity, bare);
    const auto changed = [&account](const std::function<void(Account&)>& change) {
        Account other = account;
        change(other);
        return other.mailboxIdentity();
    };
    EXPECT_NE(changed([](Account& other) { other.email = u"Mia@example.org"_s; }), identity);
    EXPECT_NE(changed([](Account& other) { other.server->username = u"bob"_s; }), identity);
    EXPECT_NE(changed([](Account& other) { other.server->imapHost = u"mail.other"_s; }), identity);
    EXPECT_NE(changed([](Account& other) { other.server->imapPort = 143; }), identity);
    EXPECT_EQ(changed([](Account& other) {
                  other.server->imapHost = u"mail.EXAMPLE"_s;
                  other.server->smtpHost = u"other"_s;
                  other.nickname = u"Work"_s;
                  other.id = QUuid::createUuid();
              }),
              identity);
}

TEST(Account, IsWrittenWithoutItsAbsentFields)
{
    EXPECT_EQ(
        written(someAccount().toJSON()),
        R"({"email":"ann@work.example","id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"imap"})");
}

TEST(Account, IsWrittenWithAllItsFieldsAndReadBack)
{
    Account account = someAccount();
    account.provider = ProviderKind::microsoft;
    account.displayName = u"Ann"_s;
    account.nickname = u""_s;
    account.server = someSettings();
    const QByteArray json =
        QByteArray(R"({"displayName":"Ann","email":"ann@work.example",)"
                   R"("id":"01234567-89AB-CDEF-0123-456789ABCDEF","nickname":"","provider":"microsoft",)"
                   R"("server":)") +
        settingsJSON + '}';
    EXPECT_EQ(written(account.toJSON()), json);
    EXPECT_EQ(Account::fromJSON(object(json)), account);
}

TEST(Account, IsReadWhereOptionalFieldsAreNullOrTheIdentityIsInLowerCase)
{
    const Account account = Account::fromJSON(
        object(R"({"email":"ann@work.example","id":"01234567-89ab-cdef-0123-456789abcdef",)"
               R"("provider":"imap","nickname":null,"server":null,"displayName":null,"future":1})"));
    EXPECT_EQ(account, someAccount());
}

TEST(Account, IsRefusedWhereARequiredFieldIsMissingOrOfAnotherKind)
{
    for (const QByteArray json : {
             R"({"id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"imap"})",
             R"({"email":"a","provider":"imap"})",
             R"({"email":"a","id":"01234567-89AB-CDEF-0123-456789ABCDEF"})",
             R"({"email":"a","id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"pop"})",
             R"({"email":"a","id":"{01234567-89AB-CDEF-0123-456789ABCDEF}","provider":"imap"})",
             R"({"email":"a","id":"01234567-89AB-CDEF-0123-456789ABCDEG","provider":"imap"})",
             R"({"email":1,"id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"imap"})",
             R"({"email":"a","id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"imap","server":"x"})",
             R"({"email":"a","id":"01234567-89AB-CDEF-0123-456789ABCDEF","provider":"imap","nickname":7})",
         })
        EXPECT_THROW(Account::fromJSON(object(json)), DecodingError) << json.toStdString();
}

TEST(Account, IsHashedAndComparedByAllItsFields)
{
    const Account account = someAccount();
    QList<Account> others(6, account);
    others[0].id = QUuid::createUuid();
    others[1].provider = ProviderKind::microsoft;
    others[2].email = u"bob@work.example"_s;
    others[3].displayName = u"Ann"_s;
    others[4].nickname = u"Work"_s;
    others[5].server = someSettings();
    for (const Account& other : others) {
        EXPECT_NE(other, account);
        EXPECT_NE(qHash(other), qHash(account));
    }
    EXPECT_EQ(qHash(Account(account)), qHash(account));
}

TEST(ProviderKind, HasItsStoredTextsInOrder)
{
    QStringList texts;
    for (const ProviderKind kind : allProviderKinds)
        texts.append(storedText(kind));
    EXPECT_EQ(texts, QStringList({u"google"_s, u"imap"_s, u"microsoft"_s}));
}

TEST(ConnectionSecurity, HasItsStoredTextsAndLabels)
{
    EXPECT_EQ(storedText(ConnectionSecurity::tls), u"tls");
    EXPECT_EQ(storedText(ConnectionSecurity::startTLS), u"startTLS");
    EXPECT_EQ(label(ConnectionSecurity::tls), u"SSL/TLS");
    EXPECT_EQ(label(ConnectionSecurity::startTLS), u"STARTTLS");
    EXPECT_EQ(allConnectionSecurities.size(), 2U);
}

TEST(ServerSettings, AreWrittenByTheirFieldNamesAndReadBack)
{
    EXPECT_EQ(written(someSettings().toJSON()), settingsJSON);
    EXPECT_EQ(ServerSettings::fromJSON(object(settingsJSON)), someSettings());
}

TEST(ServerSettings, AreRefusedWhereAPortIsNoInteger)
{
    for (const QByteArray port : {"993.5", "\"993\"", "true", "null", "3000000000", "-3000000000"}) {
        QByteArray json = settingsJSON;
        json.replace("993", port);
        EXPECT_THROW(ServerSettings::fromJSON(object(json)), DecodingError) << port.toStdString();
    }
}

TEST(ServerSettings, AreHashedByAllTheirFields)
{
    ServerSettings other = someSettings();
    other.smtpPort = 25;
    EXPECT_NE(qHash(other), qHash(someSettings()));
    other = someSettings();
    other.imapSecurity = ConnectionSecurity::startTLS;
    EXPECT_NE(qHash(other), qHash(someSettings()));
}

TEST(ServerSettings, OfMicrosoftUseTLSForIncomingAndStartTLSForOutgoing)
{
    const ServerSettings settings = ServerSettings::microsoft(u"ann@outlook.example"_s);
    EXPECT_EQ(settings.username, u"ann@outlook.example");
    EXPECT_EQ(settings.imapHost, u"outlook.office365.com");
    EXPECT_EQ(settings.imapPort, 993);
    EXPECT_EQ(settings.imapSecurity, ConnectionSecurity::tls);
    EXPECT_EQ(settings.smtpHost, u"smtp-mail.outlook.com");
    EXPECT_EQ(settings.smtpPort, 587);
    EXPECT_EQ(settings.smtpSecurity, ConnectionSecurity::startTLS);
}

struct Preset {
    QString domain;
    QString imapHost;
    int imapPort;
    ConnectionSecurity imapSecurity;
    QString smtpHost;
    int smtpPort;
    ConnectionSecurity smtpSecurity;
};

TEST(ServerSettings, HaveAPresetForEachFamily)
{
    using enum ConnectionSecurity;
    const QList<Preset> presets{
        {u"icloud.com"_s, u"imap.mail.me.com"_s, 993, tls, u"smtp.mail.me.com"_s, 587, startTLS},
        {u"fastmail.com"_s, u"imap.fastmail.com"_s, 993, tls, u"smtp.fastmail.com"_s, 465, tls},
        {u"yahoo.com"_s, u"imap.mail.yahoo.com"_s, 993, tls, u"smtp.mail.yahoo.com"_s, 465, tls},
        {u"aol.com"_s, u"imap.aol.com"_s, 993, tls, u"smtp.aol.com"_s, 465, tls},
        {u"gmx.net"_s, u"imap.gmx.net"_s, 993, tls, u"mail.gmx.net"_s, 465, tls},
        {u"zoho.com"_s, u"imap.zoho.com"_s, 993, tls, u"smtp.zoho.com"_s, 465, tls},
        {u"proton.me"_s, u"127.0.0.1"_s, 1143, startTLS, u"127.0.0.1"_s, 1025, startTLS},
        {u"other.example"_s, u"imap.other.example"_s, 993, tls, u"smtp.other.example"_s, 465, tls},
    };
    for (const Preset& preset : presets) {
        const QString email = u"ann@"_s + preset.domain;
        const ServerSettings expected{
            email,           preset.imapHost, preset.imapPort,    preset.imapSecurity,
            preset.smtpHost, preset.smtpPort, preset.smtpSecurity};
        EXPECT_EQ(ServerSettings::preset(email), expected) << preset.domain.toStdString();
        EXPECT_EQ(ServerSettings::isKnown(email), preset.domain != "other.example"_L1)
            << preset.domain.toStdString();
    }
}

TEST(ServerSettings, HaveTheSamePresetForEveryDomainOfAFamily)
{
    const QList<QStringList> families{{u"icloud.com"_s, u"me.com"_s, u"mac.com"_s},
                                      {u"fastmail.com"_s, u"fastmail.fm"_s},
                                      {u"yahoo.com"_s, u"ymail.com"_s},
                                      {u"gmx.net"_s, u"gmx.de"_s, u"gmx.com"_s},
                                      {u"zoho.com"_s, u"zohomail.com"_s},
                                      {u"proton.me"_s, u"protonmail.com"_s}};
    for (const QStringList& family : families) {
        for (const QString& domain : family) {
            ServerSettings expected = ServerSettings::preset(u"ann@"_s + family.first());
            expected.username = u"ann@"_s + domain;
            EXPECT_EQ(ServerSettings::preset(u"ann@"_s + domain), expected) << domain.toStdString();
        }
    }
}

TEST(ServerSettings, PresetOfAnAddressInCapitalsFindsItsRow)
{
    const ServerSettings settings = ServerSettings::preset(u"ANN@ICLOUD.COM"_s);
    EXPECT_EQ(settings.imapHost, u"imap.mail.me.com");
    EXPECT_EQ(settings.username, u"ANN@ICLOUD.COM");
}

TEST(ServerSettings, PresetTakesWhatStandsBehindTheLastAtSignAsDomain)
{
    EXPECT_EQ(ServerSettings::preset(u"a@gmx.de@Work.Example"_s).imapHost, u"imap.work.example");
    EXPECT_EQ(ServerSettings::preset(u"Work.Example"_s).smtpHost, u"smtp.work.example");
    EXPECT_EQ(ServerSettings::preset(u"ann@"_s).imapHost, u"imap.");
    EXPECT_EQ(ServerSettings::preset(QString()).imapHost, u"imap.");
}

} // namespace
} // namespace Larkhaven
