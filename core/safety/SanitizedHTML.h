#pragma once

#include "safety/LinkRecord.h"

#include <QList>
#include <QString>

namespace Larkhaven {

/// A message made harmless.
struct SanitizedHTML {
    QString document;            ///< the whole HTML document to show
    QList<LinkRecord> links;     ///< in the order of the source; "larkhaven-link:" URLs count from 0 in it
    int blockedRemoteImages = 0; ///< images that would load if remote images were allowed
    int trackers = 0;            ///< images that were removed because they track; never loaded in any mode

    bool operator==(const SanitizedHTML&) const = default;
};

} // namespace Larkhaven
