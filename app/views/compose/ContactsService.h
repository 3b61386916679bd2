#pragma once

#include "app/platform/AddressBook.h"

#include <QObject>
#include <QSet>

#include <memory>

namespace Larkhaven {

/// One address that may be suggested.
struct ContactSuggestion {
    QString name;
    QString email;

    bool operator==(const ContactSuggestion&) const = default;
};

/// Suggests addresses out of the desktop's contacts, which are read once and kept in memory. Main thread; no
/// failure of it reaches the user.
class ContactsService : public QObject {
    Q_OBJECT

public:
    enum class Status { unknown, denied, loading, ready };

    /// The one of the process, over the system's address book.
    static ContactsService& shared();

    explicit ContactsService(std::shared_ptr<AddressBook> book, QObject* parent = nullptr);

    Status status() const { return m_status; }
    /// In the order of their names.
    const QList<ContactSuggestion>& entries() const { return m_entries; }

    /// Loads the contacts if the user grants access. Only the first call does anything.
    Task<> requestAccess();

    /// The first entries whose address, name or a word of it begins with the query, in any case. `leaveOut`
    /// holds addresses in lower case.
    QList<ContactSuggestion> suggest(const QString& query, const QSet<QString>& leaveOut,
                                     qsizetype limit) const;

    /// What is suggested out of these contacts, in order. Pure.
    static QList<ContactSuggestion> suggestions(const QList<Contact>& contacts);

Q_SIGNALS:
    void changed();

private:
    static Task<> load(std::shared_ptr<AddressBook> book, std::shared_ptr<QList<Contact>> contacts);
    void setStatus(Status status);

    std::shared_ptr<AddressBook> m_book;
    Status m_status = Status::unknown;
    bool m_isAsking = false;
    /// What an entry is found by: both in lower case.
    struct Key {
        QString name;
        QString email;
    };

    QList<ContactSuggestion> m_entries;
    QList<Key> m_keys; ///< of the entries, in their order
};

} // namespace Larkhaven
