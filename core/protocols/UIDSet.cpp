#include "protocols/UIDSet.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Larkhaven::UIDSet {

namespace {

/// The first and the last UID of an item of a set.
std::optional<std::pair<qint64, qint64>> rangeIn(QStringView item)
{
    const qsizetype colon = item.indexOf(u':');
    const std::optional<qint64> one = number(colon < 0 ? item : item.first(colon));
    const std::optional<qint64> other = colon < 0 ? one : number(item.sliced(colon + 1));
    if (!one || !other)
        return std::nullopt;
    return std::minmax(*one, *other);
}

} // namespace

std::optional<qint64> number(QStringView text)
{
    constexpr qsizetype longest = 10;
    if (text.isEmpty() || text.size() > longest)
        return std::nullopt;
    qint64 value = 0;
    for (const QChar digit : text) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
        value = value * 10 + (digit.unicode() - u'0');
    }
    const bool isValid = value >= 1 && value <= std::numeric_limits<quint32>::max();
    return isValid ? std::optional(value) : std::nullopt;
}

std::optional<qint64> size(QStringView set)
{
    qint64 count = 0;
    for (const QStringView item : set.tokenize(u',')) {
        const auto range = rangeIn(item);
        if (!range)
            return std::nullopt;
        count += range->second - range->first + 1;
    }
    return count;
}

QList<qint64> unfold(QStringView set)
{
    QList<qint64> uids;
    for (const QStringView item : set.tokenize(u',')) {
        const auto range = rangeIn(item);
        for (qint64 uid = range ? range->first : 1; uid <= (range ? range->second : 0); ++uid)
            uids.append(uid);
    }
    return uids;
}

} // namespace Larkhaven::UIDSet
