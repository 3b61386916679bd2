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

    /// Whether images are written without their sources, with nothing but what else is allowed of them: for
    /// an editor, in which the words of an image stand for it. Nothing loads, and none is counted.
    bool keepsOnlyWordsOfImages = false;

    /// Whether links are written as "larkhaven-link:" and their index, so that no real URL can be clicked.
    bool indirectLinks = false;
};

} // namespace Larkhaven
