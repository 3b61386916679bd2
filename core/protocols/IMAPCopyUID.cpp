#include "protocols/IMAPCopyUID.h"

#include "domain/Text.h"
#include "protocols/UIDSet.h"

#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QLatin1StringView beginning("[COPYUID ");

/// The UIDs of a `uid-set` (RFC 4315, 4); absent where it is none, or larger than the limit.
std::optional<QList<qint64>> uidsIn(QStringView set)
{
    const std::optional<qint64> size = UIDSet::size(set);
    return size && *size <= IMAPCopyUID::messageLimit ? std::optional(UIDSet::unfold(set)) : std::nullopt;
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
    const std::optional<qint64> uidValidity = UIDSet::number(fields[0]);
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
