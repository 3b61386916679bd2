#pragma once

#include "app/platform/VCard.h"
#include "platform/Tasks.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <functional>

namespace Larkhaven {

/// The user's contacts, as the desktop keeps them. Main thread.
class AddressBook {
public:
    enum class Authorization { notDetermined, denied, authorized };

    virtual ~AddressBook() = default;

    virtual Task<Authorization> authorization() = 0;
    /// Asks the user; gives whether they granted it.
    virtual Task<bool> requestAuthorization() = 0;
    /// Hands over the contacts, in several lists. May fail in between.
    virtual Task<> enumerate(std::function<void(QList<Contact>)> found) = 0;
};

/// The address books of Evolution Data Server, asked over D-Bus. Authorised where its registry answers; it
/// asks the user nothing.
///
/// Books that are switched off, or that the user has excluded from completion, are left out.
class SystemAddressBook final : public AddressBook {
public:
    /// Names beyond these are not read.
    static constexpr qsizetype mostBooks = 50;
    static constexpr qsizetype mostContacts = 100'000;

    explicit SystemAddressBook(const QDBusConnection& bus = QDBusConnection::sessionBus());

    Task<Authorization> authorization() override;
    Task<bool> requestAuthorization() override;
    Task<> enumerate(std::function<void(QList<Contact>)> found) override;

    /// Whether the description of a source (a key file) is that of an address book to be read.
    static bool isReadBook(const QString& description);
    /// Of the names that begin with the prefix and end in a number, the one with the highest.
    static QString newestName(const QStringList& names, const QString& prefix);

private:
    static Task<QDBusMessage> call(QDBusConnection bus, QDBusMessage message);
    static Task<QString> findName(QDBusConnection bus, QString prefix);
    static Task<QStringList> readSources(QDBusConnection bus);
    static Task<QStringList> readBook(QDBusConnection bus, QString factory, QString source);

    QDBusConnection m_bus;
};

} // namespace Larkhaven
