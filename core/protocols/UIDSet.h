#pragma once

#include <QList>
#include <QStringView>

#include <optional>

/// Sets of UIDs as servers write them: numbers and ranges between commas, such as "2,4:7,12:9" (RFC 3501, 9,
/// `sequence-set`, without "*"). Pure.
namespace Larkhaven::UIDSet {

/// How many UIDs the set unfolds to, doubles counted; absent where it is no such set.
std::optional<qint64> size(QStringView set);

/// The UIDs of what is such a set, in its order, a range ascending (RFC 4315, 4). Whoever got the set from a
/// server asks for its size first: twelve characters may stand for four billion.
QList<qint64> unfold(QStringView set);

/// A number from 1 to 2^32 - 1 in nothing but digits (RFC 3501, 9, `nz-number`); absent otherwise.
std::optional<qint64> number(QStringView text);

} // namespace Larkhaven::UIDSet
