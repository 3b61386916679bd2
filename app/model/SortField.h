#pragma once

#include "domain/Message.h"

#include <QString>

#include <array>

namespace Larkhaven {

/// By what the rows of a page are sorted.
enum class SortField { date, from, subject, unread, starred, attachments };
inline constexpr std::array allSortFields{SortField::date,   SortField::from,    SortField::subject,
                                          SortField::unread, SortField::starred, SortField::attachments};
QString storedText(SortField field);
QString title(SortField field);

/// One comparator over rows: a field and a direction.
struct SortComparator {
    SortField field = SortField::date;
    Qt::SortOrder order = Qt::DescendingOrder;

    bool operator==(const SortComparator&) const = default;
};

/// How far two texts are compared, in UTF-16 units: untrusted senders write them, as long as they like.
inline constexpr qsizetype mostCompared = 1'000;

/// The order of two texts as the user's locale sorts words, by their first `mostCompared` units.
int compareTexts(const QString& left, const QString& right);
/// The order of two rows in the field, ascending: negative, 0 or positive. Unread, starred and rows with
/// attachments come before others. Texts are compared by `compareTexts`.
int compare(const MessageSummary& left, const MessageSummary& right, SortField field);

} // namespace Larkhaven
