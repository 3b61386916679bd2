#pragma once

#include <QString>

namespace Larkhaven::HTMLSanitizer {

/// What the attributes of an image say of whether it can be seen; empty where they say nothing.
struct ImageTag {
    QString width;
    QString height;
    QString style;

    /// `HTMLSanitizer::isTracker`, for an image with these attributes.
    bool isTracker(const QString& source) const;

    bool operator==(const ImageTag&) const = default;
};

} // namespace Larkhaven::HTMLSanitizer
