#pragma once

#include "domain/Message.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

#include <optional>

namespace Larkhaven {

/// What gives messages of a Google account back those of their former labels that one change has taken from
/// them, and takes what it gave; whatever else has become of their labels since stays. Pure values.
struct GmailPutBack {
    /// The most messages of a change that is remembered.
    static constexpr qsizetype messageLimit = 1000;

    /// What is the same for these messages.
    struct Step {
        QList<QString> ids;
        QList<QString> add;
        QList<QString> remove;

        bool operator==(const Step&) const = default;
    };
    QSet<QString> ids; ///< of the change; those that it left as they were are in no step
    QList<Step> steps;

    /// For a change of messages whose rows, as they were before it, are given. Absent where a row is missing,
    /// there are more than `messageLimit` messages, or the change changed nothing.
    static std::optional<GmailPutBack> of(const QList<QString>& ids,
                                          const QHash<QString, MessageSummary>& before,
                                          const QList<QString>& added, const QList<QString>& removed);

    bool operator==(const GmailPutBack&) const = default;
};

} // namespace Larkhaven
