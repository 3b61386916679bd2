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

    /// Paints it into the middle of the place.
    static void paint(QPainter& painter, const QRect& place, const EmptyState& state);
};

} // namespace Larkhaven
