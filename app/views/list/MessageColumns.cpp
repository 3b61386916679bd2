#include "views/list/MessageColumns.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

struct Words {
    Q_DECLARE_TR_FUNCTIONS(MessageColumn)
};

} // namespace

QLatin1StringView columnID(MessageColumn column)
{
    switch (column) {
    case MessageColumn::unread:
        return "unread"_L1;
    case MessageColumn::star:
        return "star"_L1;
    case MessageColumn::attachments:
        return "attachments"_L1;
    case MessageColumn::from:
        return "from"_L1;
    case MessageColumn::subject:
        return "subject"_L1;
    case MessageColumn::date:
        return "date"_L1;
    case MessageColumn::mailbox:
        return "mailbox"_L1;
    case MessageColumn::size:
        return "size"_L1;
    }
    Q_UNREACHABLE();
}

QString columnTitle(MessageColumn column)
{
    switch (column) {
    case MessageColumn::unread:
        return Words::tr("Unread");
    case MessageColumn::star:
        return Words::tr("Starred");
    case MessageColumn::attachments:
        return Words::tr("Attachments");
    case MessageColumn::from:
        return Words::tr("From");
    case MessageColumn::subject:
        return Words::tr("Subject");
    case MessageColumn::date:
        return Words::tr("Date");
    case MessageColumn::mailbox:
        return Words::tr("Mailbox");
    case MessageColumn::size:
        return Words::tr("Size");
    }
    Q_UNREACHABLE();
}

bool isVisibleAtFirst(MessageColumn column)
{
    return column != MessageColumn::mailbox && column != MessageColumn::size;
}

std::optional<SortField> sortFieldOf(MessageColumn column)
{
    switch (column) {
    case MessageColumn::unread:
        return SortField::unread;
    case MessageColumn::star:
        return SortField::starred;
    case MessageColumn::attachments:
        return SortField::attachments;
    case MessageColumn::from:
        return SortField::from;
    case MessageColumn::subject:
        return SortField::subject;
    case MessageColumn::date:
        return SortField::date;
    case MessageColumn::mailbox:
    case MessageColumn::size:
        return std::nullopt;
    }
    Q_UNREACHABLE();
}

} // namespace Larkhaven
