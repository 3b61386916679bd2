#include "app/platform/AddressBook.h"

#include <QCoroSignal>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

#include <memory>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// A book that lies on a slow server has this long to answer, in milliseconds.
constexpr int patience = 30'000;

const QString& sourcesPrefix()
{
    static const QString prefix = u"org.gnome.evolution.dataserver.Sources"_s;
    return prefix;
}

const QString& factoryPrefix()
{
    static const QString prefix = u"org.gnome.evolution.dataserver.AddressBook"_s;
    return prefix;
}

QDBusMessage question(const QString& service, const QString& path, const QString& interface,
                      const QString& method)
{
    return QDBusMessage::createMethodCall(service, path, interface, method);
}

QDBusMessage questionToBus(const QString& method)
{
    return question(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, method);
}

/// One source of the registry: `oa{sa{sv}}`.
struct Source {
    QString id;
    QString description;
};

QList<Source> sourcesIn(const QDBusMessage& reply)
{
    QList<Source> sources;
    if (reply.signature() != "a{oa{sa{sv}}}"_L1)
        return sources;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginMap();
    while (!argument.atEnd()) {
        QDBusObjectPath path;
        QMap<QString, QVariantMap> interfaces;
        argument.beginMapEntry();
        argument >> path >> interfaces;
        argument.endMapEntry();
        const QVariantMap properties = interfaces.value(u"org.gnome.evolution.dataserver.Source"_s);
        const Source source{properties.value(u"UID"_s).toString(), properties.value(u"Data"_s).toString()};
        if (!source.id.isEmpty())
            sources.append(source);
    }
    argument.endMap();
    return sources;
}

/// Whether a key of a key file says no. What it says last counts.
bool isDenied(QStringView description, QLatin1StringView group, QLatin1StringView key)
{
    bool isInGroup = false;
    bool denied = false;
    for (const QStringView raw : description.tokenize(u'\n')) {
        const QStringView line = raw.trimmed();
        if (line.startsWith(u'['))
            isInGroup = line == QString(u'[' + group + u']');
        else if (isInGroup && line.startsWith(key) && line.sliced(key.size()).trimmed().startsWith(u'='))
            denied = line.sliced(line.indexOf(u'=') + 1).trimmed() == "false"_L1;
    }
    return denied;
}

QList<Contact> contactsIn(const QStringList& cards)
{
    QList<Contact> contacts;
    for (const QString& card : cards) {
        if (const std::optional<Contact> contact = VCard::parse(card))
            contacts.append(*contact);
    }
    return contacts;
}

} // namespace

SystemAddressBook::SystemAddressBook(const QDBusConnection& bus)
    : m_bus(bus)
{}

QString SystemAddressBook::newestName(const QStringList& names, const QString& prefix)
{
    QString newest;
    uint newestVersion = 0;
    for (const QString& name : names) {
        bool isNumber = false;
        const uint version =
            name.startsWith(prefix) ? QStringView(name).sliced(prefix.size()).toUInt(&isNumber) : 0;
        if (isNumber && (newest.isEmpty() || version > newestVersion)) {
            newest = name;
            newestVersion = version;
        }
    }
    return newest;
}

bool SystemAddressBook::isReadBook(const QString& description)
{
    bool isBook = false;
    for (const QStringView line : QStringView(description).tokenize(u'\n'))
        isBook = isBook || line.trimmed() == "[Address Book]"_L1;
    return isBook && !isDenied(description, "Data Source"_L1, "Enabled"_L1) &&
           !isDenied(description, "Autocomplete"_L1, "IncludeMe"_L1);
}

Task<QDBusMessage> SystemAddressBook::call(QDBusConnection bus, QDBusMessage message)
{
    QDBusPendingCallWatcher watcher(bus.asyncCall(message, patience));
    if (!watcher.isFinished())
        co_await qCoro(&watcher, &QDBusPendingCallWatcher::finished);
    co_return watcher.reply();
}

Task<QString> SystemAddressBook::findName(QDBusConnection bus, QString prefix)
{
    QStringList names;
    for (const QString& method : {u"ListActivatableNames"_s, u"ListNames"_s}) {
        const QDBusMessage reply = co_await call(bus, questionToBus(method));
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
            names += reply.arguments().constFirst().toStringList();
    }
    co_return newestName(names, prefix);
}

Task<QStringList> SystemAddressBook::readSources(QDBusConnection bus)
{
    const QString registry = co_await findName(bus, sourcesPrefix());
    if (registry.isEmpty())
        throw std::runtime_error("no registry");
    const QDBusMessage ask = question(registry, u"/org/gnome/evolution/dataserver/SourceManager"_s,
                                      u"org.freedesktop.DBus.ObjectManager"_s, u"GetManagedObjects"_s);
    const QDBusMessage reply = co_await call(bus, ask);
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw std::runtime_error("the registry doesn't answer");
    QStringList ids;
    for (const Source& source : sourcesIn(reply)) {
        if (isReadBook(source.description) && ids.size() < mostBooks)
            ids.append(source.id);
    }
    ids.sort();
    co_return ids;
}

/// The vCards of one book; none where it can't be opened.
Task<QStringList> SystemAddressBook::readBook(QDBusConnection bus, QString factory, QString source)
{
    QDBusMessage open =
        question(factory, u"/org/gnome/evolution/dataserver/AddressBookFactory"_s,
                 u"org.gnome.evolution.dataserver.AddressBookFactory"_s, u"OpenAddressBook"_s);
    open << source;
    const QDBusMessage opened = co_await call(bus, open);
    if (opened.signature() != "ss"_L1)
        co_return QStringList();
    const QString path = opened.arguments().at(0).toString();
    const QString service = opened.arguments().at(1).toString();
    const QString interface = u"org.gnome.evolution.dataserver.AddressBook"_s;
    const QDBusMessage begin = question(service, path, interface, u"Open"_s);
    const QDBusMessage begun = co_await call(bus, begin);
    if (begun.type() != QDBusMessage::ReplyMessage)
        co_return QStringList();
    QDBusMessage list = question(service, path, interface, u"GetContactList"_s);
    list << u"(exists \"email\")"_s;
    const QDBusMessage listed = co_await call(bus, list);
    bus.send(question(service, path, interface, u"Close"_s));
    if (listed.signature() != "as"_L1)
        co_return QStringList();
    co_return listed.arguments().constFirst().toStringList();
}

Task<AddressBook::Authorization> SystemAddressBook::authorization()
{
    const QDBusConnection bus = m_bus;
    if (!bus.isConnected())
        co_return Authorization::denied;
    try {
        co_await readSources(bus);
        co_return Authorization::authorized;
    } catch (const std::runtime_error&) {
        co_return Authorization::denied;
    }
}

Task<bool> SystemAddressBook::requestAuthorization()
{
    co_return false;
}

Task<> SystemAddressBook::enumerate(std::function<void(QList<Contact>)> found)
{
    const QDBusConnection bus = m_bus;
    const QStringList sources = co_await readSources(bus);
    const QString factory = co_await findName(bus, factoryPrefix());
    qsizetype room = mostContacts;
    for (const QString& source : sources) {
        QStringList cards = co_await readBook(bus, factory, source);
        cards = cards.first(std::min(cards.size(), room));
        room -= cards.size();
        const auto work = [cards] { return contactsIn(cards); };
        const QList<Contact> contacts = co_await runOnWorker(work);
        found(contacts);
    }
}

} // namespace Larkhaven
