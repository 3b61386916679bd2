#include "providers/IMAPMailboxes.h"

#include "domain/Text.h"
#include "protocols/IMAPMailboxName.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::IMAPMailboxes {

namespace {

struct RoleRow {
    Mailbox role;
    QString attribute;
    QList<QString> names; ///< lower-case, in the order of trial
};

const QList<RoleRow>& roleTable()
{
    static const QList<RoleRow> table{
        {Mailbox::sent, u"\\sent"_s, {u"sent"_s, u"sent messages"_s, u"sent items"_s, u"sent mail"_s}},
        {Mailbox::drafts, u"\\drafts"_s, {u"drafts"_s, u"draft"_s}},
        {Mailbox::archive, u"\\archive"_s, {u"archive"_s, u"archives"_s}},
        {Mailbox::spam,
         u"\\junk"_s,
         {u"junk"_s, u"spam"_s, u"junk e-mail"_s, u"junk email"_s, u"bulk mail"_s}},
        {Mailbox::trash, u"\\trash"_s, {u"trash"_s, u"deleted messages"_s, u"deleted items"_s, u"bin"_s}},
    };
    return table;
}

bool canHoldMessages(const IMAPClient::ListedMailbox& mailbox)
{
    return !mailbox.attributes.contains(u"\\noselect"_s);
}

bool exists(const IMAPClient::ListedMailbox& mailbox)
{
    return !mailbox.attributes.contains(u"\\nonexistent"_s);
}

/// The last level of a wire name.
QStringView leaf(const IMAPClient::ListedMailbox& mailbox)
{
    const QString delimiter = mailbox.delimiter.value_or(QString());
    const qsizetype last = delimiter.isEmpty() ? -1 : mailbox.name.lastIndexOf(delimiter);
    return QStringView(mailbox.name).sliced(last < 0 ? 0 : last + delimiter.size());
}

/// What a wire name has before its last level.
QStringView parent(const IMAPClient::ListedMailbox& mailbox)
{
    return QStringView(mailbox.name).chopped(leaf(mailbox).size());
}

bool isTopOrDirectlyBelowInbox(const IMAPClient::ListedMailbox& mailbox)
{
    const QStringView before = parent(mailbox);
    return before.isEmpty() ||
           Text::asciiUppered(before) == "INBOX"_L1 + mailbox.delimiter.value_or(QString());
}

/// Whether the name lies in the namespace. Servers spell INBOX in any case.
bool isIn(QStringView name, const IMAPClient::Namespace& place)
{
    constexpr qsizetype inboxSize = 5;
    const qsizetype folded =
        Text::asciiUppered(QStringView(place.prefix).first(std::min(inboxSize, place.prefix.size()))) ==
                "INBOX"_L1
            ? inboxSize
            : 0;
    return name.size() >= place.prefix.size() &&
           name.first(folded).compare(QStringView(place.prefix).first(folded), Qt::CaseInsensitive) == 0 &&
           name.sliced(folded).startsWith(QStringView(place.prefix).sliced(folded));
}

/// The length of the longest prefix of a namespace that the name lies in; -1 where there is none.
qsizetype longestMatch(QStringView name, const QList<IMAPClient::Namespace>& places)
{
    qsizetype longest = -1;
    for (const IMAPClient::Namespace& place : places) {
        if (place.prefix.size() > longest && isIn(name, place))
            longest = place.prefix.size();
    }
    return longest;
}

/// How sure it is that a mailbox is the user's own.
enum class Owner { user, unknown, other };

Owner owner(const IMAPClient::ListedMailbox& mailbox, const Namespaces& namespaces)
{
    const qsizetype personal = longestMatch(mailbox.name, namespaces.personal);
    const qsizetype foreign = longestMatch(mailbox.name, namespaces.foreign);
    if (foreign > personal)
        return Owner::other;
    if (personal >= 0 || isTopOrDirectlyBelowInbox(mailbox))
        return Owner::user;
    return namespaces.isTold() ? Owner::other : Owner::unknown;
}

/// Whether the mailbox lies where the mailboxes of roles usually do.
bool isNear(const IMAPClient::ListedMailbox& mailbox, const Namespaces& namespaces)
{
    const QStringView before = parent(mailbox);
    return isTopOrDirectlyBelowInbox(mailbox) ||
           std::ranges::any_of(namespaces.personal, [before](const IMAPClient::Namespace& place) {
               return isIn(before, place) && before.size() == place.prefix.size();
           });
}

/// The place of the mailbox's name among those of the role, smaller ones going before; absent if it is none.
std::optional<qsizetype> rankOfName(const IMAPClient::ListedMailbox& mailbox, const RoleRow& row)
{
    const QString name = Text::asciiLowered(decodeMailboxName(leaf(mailbox).toString()));
    const qsizetype rank = row.names.indexOf(name);
    return rank < 0 ? std::nullopt : std::optional(rank);
}

/// "INBOX." where the server keeps every other mailbox below it.
QString commonPrefix(const Listing& mailboxes, const QString& delimiter)
{
    const QString below = u"INBOX"_s + Text::asciiUppered(delimiter);
    bool hasOthers = false;
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        if (isInbox(mailbox.name))
            continue;
        if (!Text::asciiUppered(mailbox.name).startsWith(below))
            return {};
        hasOthers = true;
    }
    return hasOthers ? u"INBOX"_s + delimiter : QString();
}

} // namespace

bool isInbox(const QString& wireName)
{
    return Text::asciiUppered(wireName) == "INBOX"_L1;
}

bool contains(const Listing& mailboxes, const QString& wireName)
{
    return std::ranges::any_of(mailboxes, [&wireName](const IMAPClient::ListedMailbox& mailbox) {
        return mailbox.name == wireName && canHoldMessages(mailbox) && exists(mailbox);
    });
}

std::optional<QString> delimiter(const Listing& mailboxes)
{
    const auto last =
        std::find_if(mailboxes.crbegin(), mailboxes.crend(),
                     [](const IMAPClient::ListedMailbox& mailbox) { return mailbox.delimiter; });
    return last == mailboxes.crend() ? std::nullopt : last->delimiter;
}

std::optional<QString> find(Mailbox role, const Listing& mailboxes, const Namespaces& namespaces)
{
    if (role == Mailbox::inbox || role == Mailbox::starred)
        return u"INBOX"_s;
    const auto row = std::ranges::find(roleTable(), role, &RoleRow::role);
    // The smallest is the best: any attribute before any name, near before deep, then the order of the table,
    // and then that of the server.
    struct Candidate {
        int order = 0;
        qsizetype rank = 0;
        QString name;
    };
    std::optional<Candidate> best;
    const auto consider = [&best](int order, qsizetype rank, const QString& name) {
        if (!best || std::pair(order, rank) < std::pair(best->order, best->rank))
            best = Candidate{order, rank, name};
    };
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        const bool hasAttribute = mailbox.attributes.contains(row->attribute);
        const std::optional<qsizetype> rank = hasAttribute ? 0 : rankOfName(mailbox, *row);
        if (!rank || !canHoldMessages(mailbox))
            continue;
        const Owner whose = owner(mailbox, namespaces);
        const int depth = isNear(mailbox, namespaces) ? 0 : 1;
        if (hasAttribute && whose != Owner::other)
            consider(depth, 0, mailbox.name);
        else if (!hasAttribute && whose == Owner::user)
            consider(2 + depth, *rank, mailbox.name);
    }
    return best ? std::optional(best->name) : std::nullopt;
}

bool isForNamespacesToTell(Mailbox role, const Listing& mailboxes)
{
    const auto row = std::ranges::find(roleTable(), role, &RoleRow::role);
    bool isPossible = false;
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        if (row == roleTable().end() || !canHoldMessages(mailbox))
            continue;
        const bool hasAttribute = mailbox.attributes.contains(row->attribute);
        if (hasAttribute && isTopOrDirectlyBelowInbox(mailbox))
            return false;
        isPossible = isPossible || hasAttribute || rankOfName(mailbox, *row);
    }
    return isPossible;
}

QString nameToCreate(Mailbox role)
{
    switch (role) {
    case Mailbox::sent:
        return u"Sent"_s;
    case Mailbox::drafts:
        return u"Drafts"_s;
    case Mailbox::archive:
        return u"Archive"_s;
    case Mailbox::spam:
        return u"Junk"_s;
    case Mailbox::trash:
        return u"Trash"_s;
    case Mailbox::inbox:
    case Mailbox::starred:
        break;
    }
    return u"INBOX"_s;
}

QString displayPath(const QString& wireName, const std::optional<QString>& delimiter)
{
    if (isInbox(wireName))
        return name(Mailbox::inbox, ProviderKind::imap);
    QString path = decodeMailboxName(wireName);
    if (delimiter && !delimiter->isEmpty() && *delimiter != "/"_L1)
        path.replace(*delimiter, u"/"_s);
    constexpr QLatin1StringView prefix("INBOX/");
    if (Text::asciiUppered(path).startsWith(prefix))
        path.remove(0, prefix.size());
    return path;
}

QList<MailLabel> labels(const Listing& mailboxes, const Namespaces& namespaces)
{
    QSet<QString> excluded;
    for (const RoleRow& row : roleTable()) {
        if (const std::optional<QString> mailbox = find(row.role, mailboxes, namespaces))
            excluded.insert(*mailbox);
    }
    QList<MailLabel> result;
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        if (canHoldMessages(mailbox) && exists(mailbox) && !excluded.contains(mailbox.name) &&
            !isInbox(mailbox.name))
            result.append({mailbox.name, displayPath(mailbox.name, mailbox.delimiter)});
    }
    std::ranges::sort(result, isOrderedBefore);
    return result;
}

namespace {

/// The levels of a path without the blanks around them, those that are left empty dropped.
QList<QString> levels(const QString& path)
{
    QList<QString> levels;
    for (const QStringView piece : QStringView(path).split(u'/')) {
        if (const QStringView trimmed = Text::trimmedBlanks(piece); !trimmed.isEmpty())
            levels.append(trimmed.toString());
    }
    return levels;
}

} // namespace

QList<Place> placesForNew(const Listing& mailboxes, const Namespaces& namespaces, const QString& delimiter)
{
    if (!namespaces.personal.isEmpty()) {
        const IMAPClient::Namespace& personal = namespaces.personal.first();
        return {{personal.prefix, personal.delimiter.value_or(delimiter)}};
    }
    const QString prefix = commonPrefix(mailboxes, delimiter);
    if (!prefix.isEmpty())
        return {{prefix, delimiter}};
    return {{QString(), delimiter}, {u"INBOX"_s + delimiter, delimiter}};
}

Place placeOf(const QString& wireName, const Namespaces& namespaces, const QString& delimiter)
{
    const IMAPClient::Namespace inbox{u"INBOX"_s + delimiter, delimiter};
    if (isIn(wireName, inbox))
        return {wireName.first(inbox.prefix.size()), delimiter};
    for (const IMAPClient::Namespace& place : namespaces.personal + namespaces.foreign) {
        if (!place.prefix.isEmpty() && isIn(wireName, place))
            return {place.prefix, place.delimiter.value_or(delimiter)};
    }
    return {QString(), delimiter};
}

Naming naming(const QString& path, const QString& delimiter)
{
    const QList<QString> names = levels(path);
    if (names.isEmpty())
        return Naming::empty;
    const bool isHeld = delimiter != "/"_L1 && std::ranges::any_of(names, [&delimiter](const QString& name) {
                            return name.contains(delimiter) || encodeMailboxName(name).contains(delimiter);
                        });
    return isHeld ? Naming::holdsDelimiter : Naming::good;
}

QString wireName(const QString& path, const Place& place, const Namespaces& namespaces)
{
    QStringList encoded;
    for (const QString& level : levels(path))
        encoded.append(encodeMailboxName(level));
    const QString name = encoded.join(place.delimiter);
    const QList<IMAPClient::Namespace> roots = QList<IMAPClient::Namespace>{{place.prefix, place.delimiter}} +
                                               namespaces.personal + namespaces.foreign;
    const bool isWhole = std::ranges::any_of(roots, [&name](const IMAPClient::Namespace& root) {
        return !root.prefix.isEmpty() && isIn(name, root);
    });
    return isWhole ? name : place.prefix + name;
}

} // namespace Larkhaven::IMAPMailboxes
