#include "views/compose/ContactsService.h"

#include "domain/Text.h"

#include <QCollator>
#include <QCoreApplication>
#include <QPointer>

#include <algorithm>
#include <exception>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

QString nameOf(const Contact& contact)
{
    QStringList names{contact.givenName, contact.middleName, contact.familyName};
    names.removeAll(QString());
    if (!names.isEmpty())
        return names.join(u' ');
    return contact.nickname.isEmpty() ? contact.organization : contact.nickname;
}

/// Whether the name, or a word of it, begins with the query.
bool begins(const QString& name, const QString& query)
{
    if (name.startsWith(query))
        return true;
    if (query.contains(u' '))
        return false;
    for (qsizetype place = name.indexOf(query, 1); place > 0; place = name.indexOf(query, place + 1)) {
        if (name[place - 1] == u' ')
            return true;
    }
    return false;
}

} // namespace

ContactsService& ContactsService::shared()
{
    // The application owns it: it must not outlive the connection to the bus.
    static QPointer<ContactsService> service;
    if (!service)
        service = new ContactsService(std::make_shared<SystemAddressBook>(), qApp);
    return *service;
}

ContactsService::ContactsService(std::shared_ptr<AddressBook> book, QObject* parent)
    : QObject(parent)
    , m_book(std::move(book))
{}

void ContactsService::setStatus(Status status)
{
    m_status = status;
    Q_EMIT changed();
}

QList<ContactSuggestion> ContactsService::suggestions(const QList<Contact>& contacts)
{
    QList<ContactSuggestion> entries;
    QSet<QString> seen;
    for (const Contact& contact : contacts) {
        const QString name = nameOf(contact);
        for (const QString& email : contact.emails) {
            const QString lowered = Text::lowered(email);
            if (!email.contains(u'@') || seen.contains(lowered))
                continue;
            seen.insert(lowered);
            entries.append({name, email});
        }
    }
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::ranges::stable_sort(entries, [&collator](const ContactSuggestion& a, const ContactSuggestion& b) {
        return collator.compare(a.name, b.name) < 0;
    });
    return entries;
}

/// An enumeration that fails ends; what was found until then counts.
Task<> ContactsService::load(std::shared_ptr<AddressBook> book, std::shared_ptr<QList<Contact>> contacts)
{
    const std::function<void(QList<Contact>)> found = [contacts](const QList<Contact>& some) {
        *contacts += some;
    };
    try {
        co_await book->enumerate(found);
    } catch (const std::exception&) {
        co_return;
    }
}

Task<> ContactsService::requestAccess()
{
    if (m_status != Status::unknown || m_isAsking)
        co_return;
    m_isAsking = true;
    const QPointer<ContactsService> self(this);
    const std::shared_ptr<AddressBook> book = m_book;
    AddressBook::Authorization authorization = co_await book->authorization();
    if (authorization == AddressBook::Authorization::notDetermined) {
        const bool isGranted = co_await book->requestAuthorization();
        authorization =
            isGranted ? AddressBook::Authorization::authorized : AddressBook::Authorization::denied;
    }
    if (!self)
        co_return;
    if (authorization != AddressBook::Authorization::authorized) {
        setStatus(Status::denied);
        co_return;
    }
    setStatus(Status::loading);
    const auto contacts = std::make_shared<QList<Contact>>();
    co_await load(book, contacts);
    // Lowering all of them again for each key that is typed would take too long.
    const auto work = [contacts] {
        const QList<ContactSuggestion> entries = suggestions(*contacts);
        QList<Key> keys;
        keys.reserve(entries.size());
        for (const ContactSuggestion& entry : entries)
            keys.append({Text::lowered(entry.name), Text::lowered(entry.email)});
        return std::pair(entries, keys);
    };
    const auto [entries, keys] = co_await runOnWorker(work);
    if (!self)
        co_return;
    m_entries = entries;
    m_keys = keys;
    setStatus(Status::ready);
}

QList<ContactSuggestion> ContactsService::suggest(const QString& query, const QSet<QString>& leaveOut,
                                                  qsizetype limit) const
{
    QList<ContactSuggestion> found;
    const QString lowered = Text::lowered(query);
    if (lowered.isEmpty() || m_status != Status::ready)
        return found;
    for (qsizetype index = 0; index < m_keys.size() && found.size() < limit; ++index) {
        const Key& key = m_keys[index];
        const bool isFound = key.email.startsWith(lowered) || begins(key.name, lowered);
        if (isFound && !leaveOut.contains(key.email))
            found.append(m_entries[index]);
    }
    return found;
}

} // namespace Larkhaven
