#include "app/platform/AddressBook.h"

#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;
Q_DECLARE_METATYPE(Interfaces)
Q_DECLARE_METATYPE(Objects)

namespace Larkhaven {
namespace {

/// Answers as the registry and the address book factory do.
class BookDouble : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString member = message.member();
        calls.append(member);
        if (refused.contains(member) || refused.contains(message.path()))
            return connection.send(message.createErrorReply(u"org.example.Refused"_s, u"no"_s));
        if (member == "GetManagedObjects"_L1)
            return connection.send(message.createReply(QVariant::fromValue(objects())));
        if (member == "OpenAddressBook"_L1) {
            const QString source = message.arguments().constFirst().toString();
            return connection.send(message.createReply(
                {u"/org/gnome/evolution/dataserver/Subprocess/"_s + source, connection.baseService()}));
        }
        if (member == "GetContactList"_L1) {
            EXPECT_EQ(message.arguments(), QVariantList({u"(exists \"email\")"_s}));
            return connection.send(
                message.createReply(QVariant(cards.value(message.path().section(u'/', -1)))));
        }
        if (member == "Open"_L1)
            return connection.send(message.createReply(QVariant(QStringList())));
        return connection.send(message.createReply());
    }

    QMap<QString, QString> sources; ///< descriptions by id
    QMap<QString, QStringList> cards;
    QStringList refused; ///< operations, or objects
    QStringList calls;

private:
    Objects objects() const
    {
        Objects objects;
        for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
            const QVariantMap properties{{u"UID"_s, source.key()}, {u"Data"_s, source.value()}};
            const QDBusObjectPath path(u"/org/gnome/evolution/dataserver/SourceManager/"_s + source.key());
            objects.insert(path, {{u"org.gnome.evolution.dataserver.Source"_s, properties}});
        }
        return objects;
    }
};

const QString bookDescription =
    u"[Data Source]\nDisplayName=Personal\nEnabled=true\n\n[Address Book]\nBackendName=local\n"_s;

/// Runs in a session of its own (`session.conf.in`), where the registry's name could be started, but not its
/// program.
class AddressBookTest : public testing::Test {
protected:
    AddressBookTest()
    {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
    }

    ~AddressBookTest() override
    {
        for (const QString& name : m_served)
            server.unregisterService(name);
        server.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
    }

    void serve(const QStringList& names = {u"org.gnome.evolution.dataserver.Sources5"_s,
                                           u"org.gnome.evolution.dataserver.AddressBook10"_s})
    {
        EXPECT_TRUE(server.registerVirtualObject(u"/"_s, &book, QDBusConnection::SubPath));
        for (const QString& name : names)
            EXPECT_TRUE(server.registerService(name));
        m_served = names;
    }

    QStringList emails()
    {
        QStringList emails;
        const std::function<void(QList<Contact>)> found = [&emails](const QList<Contact>& contacts) {
            for (const Contact& contact : contacts)
                emails += contact.emails;
        };
        await(client->enumerate(found));
        return emails;
    }

    static QString card(const QString& email)
    {
        return u"BEGIN:VCARD\r\nVERSION:3.0\r\nEMAIL:%1\r\nEND:VCARD\r\n"_s.arg(email);
    }

    QDBusConnection server = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"server"_s);
    std::unique_ptr<SystemAddressBook> client = std::make_unique<SystemAddressBook>();
    BookDouble book;

private:
    QStringList m_served;
};

TEST_F(AddressBookTest, IsDeniedWhereNoRegistryIs)
{
    EXPECT_EQ(await(client->authorization()), AddressBook::Authorization::denied);
    EXPECT_FALSE(await(client->requestAuthorization()));
}

TEST_F(AddressBookTest, IsDeniedWithoutABus)
{
    SystemAddressBook none(QDBusConnection(u"there is no such connection"_s));
    EXPECT_EQ(await(none.authorization()), AddressBook::Authorization::denied);
}

TEST_F(AddressBookTest, IsAuthorisedWhereTheRegistryAnswers)
{
    serve();
    EXPECT_EQ(await(client->authorization()), AddressBook::Authorization::authorized);
}

TEST_F(AddressBookTest, IsDeniedWhereTheRegistryRefuses)
{
    book.refused = {u"GetManagedObjects"_s};
    serve();
    EXPECT_EQ(await(client->authorization()), AddressBook::Authorization::denied);
}

TEST_F(AddressBookTest, ReadsTheContactsOfAllBooks)
{
    book.sources = {
        {u"one"_s, bookDescription}, {u"two"_s, bookDescription}, {u"mail"_s, u"[Mail Account]\n"_s}};
    book.cards = {{u"one"_s, {card(u"a@x"_s), u"no card"_s, card(u"b@x"_s)}},
                  {u"two"_s, {card(u"c@x"_s)}},
                  {u"mail"_s, {card(u"never@x"_s)}}};
    serve();
    EXPECT_EQ(emails(), QStringList({u"a@x"_s, u"b@x"_s, u"c@x"_s}));
    EXPECT_TRUE(waitUntil([this] { return book.calls.count(u"Close"_s) == 2; }));
}

TEST_F(AddressBookTest, TakesTheNewestVersionOfTheServices)
{
    book.sources = {{u"one"_s, bookDescription}};
    book.cards = {{u"one"_s, {card(u"a@x"_s)}}};
    serve({u"org.gnome.evolution.dataserver.Sources9"_s, u"org.gnome.evolution.dataserver.Sources12"_s,
           u"org.gnome.evolution.dataserver.AddressBook10"_s});
    EXPECT_EQ(emails(), QStringList({u"a@x"_s}));
}

TEST_F(AddressBookTest, ABookThatCannotBeOpenedLeavesTheOthers)
{
    book.sources = {{u"one"_s, bookDescription}, {u"two"_s, bookDescription}};
    book.cards = {{u"one"_s, {card(u"a@x"_s)}}, {u"two"_s, {card(u"b@x"_s)}}};
    book.refused = {u"/org/gnome/evolution/dataserver/Subprocess/one"_s};
    serve();
    EXPECT_EQ(emails(), QStringList({u"b@x"_s}));
}

TEST_F(AddressBookTest, AnEnumerationFailsWhereTheRegistryIsGone)
{
    EXPECT_THROW(emails(), std::runtime_error);
}

TEST_F(AddressBookTest, SomeBooksAreLeftOut)
{
    EXPECT_TRUE(SystemAddressBook::isReadBook(bookDescription));
    EXPECT_FALSE(SystemAddressBook::isReadBook(u"[Calendar]\n"_s));
    EXPECT_FALSE(SystemAddressBook::isReadBook(u"[Data Source]\nEnabled=false\n[Address Book]\n"_s));
    EXPECT_FALSE(SystemAddressBook::isReadBook(u"[Address Book]\n[Autocomplete]\nIncludeMe = false\n"_s));
    EXPECT_TRUE(SystemAddressBook::isReadBook(u"[Address Book]\n[Autocomplete]\nIncludeMe=true\n"_s));
    EXPECT_TRUE(SystemAddressBook::isReadBook(u"[Address Book]\n[Offline]\nEnabled=false\n"_s));
}

TEST_F(AddressBookTest, NamesOfServicesEndInANumber)
{
    const QString prefix = u"a.Sources"_s;
    EXPECT_EQ(SystemAddressBook::newestName({u"a.Sources5"_s, u"a.Sources10"_s, u"a.Sources9"_s}, prefix),
              u"a.Sources10"_s);
    EXPECT_EQ(SystemAddressBook::newestName({u"a.Sources"_s, u"a.SourcesX"_s, u"b.Sources5"_s}, prefix),
              u""_s);
}

} // namespace
} // namespace Larkhaven
