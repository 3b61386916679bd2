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

/// The last level of the mailbox's name, lower-case.
QString leaf(const IMAPClient::ListedMailbox& mailbox)
{
    const QString name = Text::asciiLowered(decodeMailboxName(mailbox.name));
    const QString delimiter = mailbox.delimiter.value_or(QString());
    const qsizetype last = delimiter.isEmpty() ? -1 : name.lastIndexOf(delimiter);
    return last < 0 ? name : name.sliced(last + delimiter.size());
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

std::optional<QString> find(Mailbox role, const Listing& mailboxes)
{
    if (role == Mailbox::inbox || role == Mailbox::starred)
        return u"INBOX"_s;
    const auto row = std::ranges::find(roleTable(), role, &RoleRow::role);
    for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
        if (canHoldMessages(mailbox) && mailbox.attributes.contains(row->attribute))
            return mailbox.name;
    }
    for (const QString& name : row->names) {
        for (const IMAPClient::ListedMailbox& mailbox : mailboxes) {
            if (canHoldMessages(mailbox) && leaf(mailbox) == name)
                return mailbox.name;
        }
    }
    return std::nullopt;
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

QList<MailLabel> labels(const Listing& mailboxes)
{
    QSet<QString> excluded;
    for (const RoleRow& row : roleTable()) {
        if (const std::optional<QString> mailbox = find(row.role, mailboxes))
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

std::optional<QString> wireName(const QString& path, const Listing& mailboxes, const QString& delimiter)
{
    QStringList pieces;
    for (const QStringView piece : QStringView(path).split(u'/')) {
        if (const QStringView trimmed = Text::trimmedBlanks(piece); !trimmed.isEmpty())
            pieces.append(encodeMailboxName(trimmed.toString()));
    }
    if (pieces.isEmpty())
        return std::nullopt;
    return commonPrefix(mailboxes, delimiter) + pieces.join(delimiter);
}

} // namespace Larkhaven::IMAPMailboxes
