#pragma once

#include "safety/URLParts.h"

#include <QStringView>

#include <optional>

namespace Larkhaven::HTMLSanitizer {

/// What the attributes of an image say of whether it can be seen; empty where they say nothing.
struct ImageTag {
    QStringView width;
    QStringView height;
    QStringView style;

    /// Whether an image with these attributes counts as a tracker, whatever its source.
    bool isHidden() const;

    bool operator==(const ImageTag&) const = default;
};

/// Whether an image from there counts as a tracker, whatever its attributes. `parts` are those of the source;
/// absent where it is no URL.
bool isOfTracker(QStringView source, const std::optional<URLParts>& parts);

} // namespace Larkhaven::HTMLSanitizer
