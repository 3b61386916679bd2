#include "providers/GmailPutBack.h"

#include <algorithm>

namespace Larkhaven {

std::optional<GmailPutBack> GmailPutBack::of(const QList<QString>& ids,
                                             const QHash<QString, MessageSummary>& before,
                                             const QList<QString>& added, const QList<QString>& removed)
{
    GmailPutBack back;
    for (const QString& id : ids) {
        if (back.ids.contains(id))
            continue;
        back.ids.insert(id);
        const auto row = before.constFind(id);
        if (row == before.cend() || back.ids.size() > messageLimit)
            return std::nullopt;
        const QSet<QString> labels(row->labelIDs.cbegin(), row->labelIDs.cend());
        QList<QString> lost = removed;
        lost.removeIf([&labels](const QString& label) { return !labels.contains(label); });
        QList<QString> gained = added;
        gained.removeIf([&labels](const QString& label) { return labels.contains(label); });
        if (lost.isEmpty() && gained.isEmpty())
            continue;
        // The few labels of a change have few differences.
        const auto step = std::ranges::find_if(
            back.steps, [&](const Step& other) { return other.add == lost && other.remove == gained; });
        if (step == back.steps.end())
            back.steps.append({{id}, lost, gained});
        else
            step->ids.append(id);
    }
    return back.steps.isEmpty() ? std::nullopt : std::optional(back);
}

} // namespace Larkhaven
