#include "protocols/IMAPCopyUID.h"

#include "domain/Text.h"

#include <QSet>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QLatin1StringView beginning("[COPYUID ");

/// A number from 1 to 2^32 - 1 in nothing but digits (RFC 3501, 9, `nz-number`); absent otherwise.
std::optional<qint64> numberIn(QStringView text)
{
    constexpr qsizetype longest = 10;
    const bool isDigits =
        std::ranges::all_of(text, [](QChar character) { return character >= u'0' && character <= u'9'; });
    const qint64 number = isDigits && text.size() <= longest ? text.toLongLong() : 0;
    const bool isValid = number >= 1 && number <= std::numeric_limits<quint32>::max();
    return isValid ? std::optional(number) : std::nullopt;
}

/// The UIDs of a `uid-set` in its order, a range ascending (RFC 4315, 4); absent where it is none, or larger
/// than the limit, which is tested before a range is unfolded.
std::optional<QList<qint64>> uidsIn(QStringView set)
{
    QList<qint64> uids;
    for (const QStringView item : set.split(u',')) {
        const qsizetype colon = item.indexOf(u':');
        const std::optional<qint64> one = numberIn(colon < 0 ? item : item.first(colon));
        const std::optional<qint64> other = colon < 0 ? one : numberIn(item.sliced(colon + 1));
        if (!one || !other)
            return std::nullopt;
        const auto [first, last] = std::minmax(*one, *other);
        if (last - first >= IMAPCopyUID::messageLimit - uids.size())
            return std::nullopt;
        for (qint64 uid = first; uid <= last; ++uid)
            uids.append(uid);
    }
    return uids;
}

bool hasDoubles(const QList<qint64>& uids)
{
    return QSet<qint64>(uids.cbegin(), uids.cend()).size() != uids.size();
}

} // namespace

std::optional<IMAPCopyUID> IMAPCopyUID::parse(const QString& code)
{
    if (!Text::asciiUppered(code).startsWith(beginning) || !code.endsWith(u']'))
        return std::nullopt;
    const QStringView inner = QStringView(code).sliced(beginning.size()).chopped(1);
    const QList<QStringView> fields = inner.split(u' ');
    if (fields.size() != 3)
        return std::nullopt;
    const std::optional<qint64> uidValidity = numberIn(fields[0]);
    const std::optional<QList<qint64>> originals = uidsIn(fields[1]);
    const std::optional<QList<qint64>> copies = uidsIn(fields[2]);
    if (!uidValidity || !originals || !copies || originals->size() != copies->size() ||
        hasDoubles(*originals) || hasDoubles(*copies))
        return std::nullopt;
    IMAPCopyUID found{*uidValidity, {}};
    for (qsizetype index = 0; index < originals->size(); ++index)
        found.copies.insert(originals->at(index), copies->at(index));
    return found;
}

std::optional<IMAPCopyUID> IMAPCopyUID::find(const QList<IMAPResponse>& responses, const QList<qint64>& uids)
{
    std::optional<IMAPCopyUID> found;
    for (const IMAPResponse& response : responses) {
        const QString code = response.isNamed("OK"_L1) && response.values.size() > 1
                                 ? response.values[1].text().value_or(QString())
                                 : QString();
        if (!Text::asciiUppered(code).startsWith(beginning))
            continue;
        std::optional<IMAPCopyUID> told = parse(code);
        // Servers may say it twice, within the answer and at its end.
        if (!told || (found && found != told))
            return std::nullopt;
        found = std::move(told);
    }
    const QSet<qint64> asked(uids.cbegin(), uids.cend());
    if (found && QSet<qint64>(found->copies.keyBegin(), found->copies.keyEnd()) != asked)
        found.reset();
    return found;
}

} // namespace Larkhaven
