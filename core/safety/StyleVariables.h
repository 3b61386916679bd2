#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

#include <optional>

namespace Larkhaven {

/// What the custom properties are for an element (CSS Variables 1), their own references resolved.
class StyleVariables {
public:
    /// The longest value that is looked at, in UTF-16 units; longer ones count for nothing.
    static constexpr qsizetype longestValue = 2'000;
    /// Further ones of one element and those around it count for nothing.
    static constexpr qsizetype mostVariables = 100;
    /// The references that may be resolved for one element.
    static constexpr int mostReferences = 500;

    /// Whether there is a `var()` or `env()` in the value.
    static bool hasReference(QStringView value);

    /// The value without references to variables; absent where one has no value and there is nothing in its
    /// place. What the environment has is unknown, so that of `env()` the second value counts.
    std::optional<QString> resolved(QStringView value) const;

    /// Those of an element within, which declares these. References go to each other, too.
    StyleVariables within(const QHash<QString, QString>& declared) const;

private:
    QHash<QString, QString> m_values;
};

} // namespace Larkhaven
