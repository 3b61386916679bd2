#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace Larkhaven {

/// An object of a window as assistive technology gets it over the accessibility bus.
struct AccessibleNode {
    int depth = 0; ///< 0 for a window
    QString role;  ///< in the words of the bus: "push button"
    QString name;
    QString description;
    QStringList states;
    int children = 0; ///< that are on the screen

    bool is(const char* state) const { return states.contains(QLatin1StringView(state)); }
};

/// All that this process shows at the moment, window by window, each object behind its parent. It is read by
/// another process over the real bus. Throws where the bus doesn't answer.
QList<AccessibleNode> accessibleTree();

/// What a screen reader could not speak of: each line is an object and what it lacks.
QStringList accessibilityFaults(const QList<AccessibleNode>& tree);

/// The tree as text, an object a line.
QString described(const QList<AccessibleNode>& tree);

} // namespace Larkhaven
