#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

namespace Larkhaven {

/// An image that came with the message.
struct InlineImage {
    QString mimeType;
    QByteArray data;

    bool operator==(const InlineImage&) const = default;
};

/// How `HTMLSanitizer::sanitize` treats a message.
struct SanitizerOptions {
    /// Whether images may be loaded from the network, always over HTTPS. Trackers never are.
    bool allowRemoteImages = false;

    /// The images that "cid:" sources name, by Content-ID, with or without angle brackets.
    QHash<QString, InlineImage> inlineImages;

    /// Whether links are written as "larkhaven-link:" and their index, so that no real URL can be clicked.
    bool indirectLinks = false;
};

} // namespace Larkhaven
