#pragma once

#include "views/style/Style.h"

#include <QRect>
#include <QString>

class QPainter;

namespace Larkhaven {

/// What stands where there is nothing to show: a symbol, a title and one line of explanation.
struct EmptyState {
    Symbol symbol;
    QString title;
    QString explanation; ///< may be empty

    struct Places {
        QRect symbol;
        QRect title;
        QRect explanation; ///< empty without one
    };
    /// Where it stands: in the middle of the place.
    Places placesIn(const QRect& place) const;
    static void paint(QPainter& painter, const QRect& place, const EmptyState& state);
};

} // namespace Larkhaven
