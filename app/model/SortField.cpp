#include "model/SortField.h"

#include <QCollator>
#include <QCoreApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The texts of this file.
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(SortField)
};

} // namespace

QString storedText(SortField field)
{
    switch (field) {
    case SortField::date:
        return u"date"_s;
    case SortField::from:
        return u"from"_s;
    case SortField::subject:
        return u"subject"_s;
    case SortField::unread:
        return u"unread"_s;
    case SortField::starred:
        return u"starred"_s;
    case SortField::attachments:
        return u"attachments"_s;
    }
    Q_UNREACHABLE();
}

QString title(SortField field)
{
    switch (field) {
    case SortField::date:
        return Texts::tr("Date");
    case SortField::from:
        return Texts::tr("From");
    case SortField::subject:
        return Texts::tr("Subject");
    case SortField::unread:
        return Texts::tr("Unread");
    case SortField::starred:
        return Texts::tr("Starred");
    case SortField::attachments:
        return Texts::tr("Attachments");
    }
    Q_UNREACHABLE();
}

namespace {

QStringView compared(QStringView text)
{
    return text.first(std::min(text.size(), mostCompared));
}

} // namespace

int compareTexts(const QString& left, const QString& right)
{
    static const QCollator collator = [] {
        QCollator words;
        words.setCaseSensitivity(Qt::CaseInsensitive);
        words.setNumericMode(true);
        return words;
    }();
    return collator.compare(compared(left), compared(right));
}

namespace {

/// The preferred state sorts first.
int compareStates(bool left, bool right)
{
    return static_cast<int>(right) - static_cast<int>(left);
}

QString senderText(const MessageSummary& row)
{
    if (!row.from)
        return {};
    EmailAddress sender = *row.from;
    // Where there is no name, the address is taken apart.
    sender.address = compared(sender.address).toString();
    return sender.displayName();
}

} // namespace

int compare(const MessageSummary& left, const MessageSummary& right, SortField field)
{
    switch (field) {
    case SortField::date:
        return left.date < right.date ? -1 : right.date < left.date ? 1 : 0;
    case SortField::from:
        return compareTexts(senderText(left), senderText(right));
    case SortField::subject:
        return compareTexts(left.subject, right.subject);
    case SortField::unread:
        return compareStates(!left.isRead, !right.isRead);
    case SortField::starred:
        return compareStates(left.isStarred, right.isStarred);
    case SortField::attachments:
        return compareStates(left.hasAttachments, right.hasAttachments);
    }
    Q_UNREACHABLE();
}

} // namespace Larkhaven
