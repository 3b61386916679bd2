#pragma once

#include "safety/SanitizedHTML.h"
#include "safety/SanitizerOptions.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>

/// Rewrites the HTML of a message, which is hostile by assumption, into a document that can do nothing but
/// show text, formatting and approved images.
///
/// No document tree is parsed. One forward pass copies text, drops what is on no
/// allow-list, and writes each tag anew from its own parsed parts: no byte of a tag reaches the output as it
/// came in. Elements are closed in proper order, at most `maximumOpenElements` deep. Links and images are
/// written by their own rules alone; styles go through `safeStyle`.
///
/// All operations are total and pure, callable from any thread, and linear in their input (`sanitizeCSS`: up
/// to a logarithm), whatever the input is.
namespace Larkhaven::HTMLSanitizer {

/// The scheme of a rewritten link, and what stands before its index.
inline constexpr QLatin1StringView linkScheme("larkhaven-link");
inline constexpr QLatin1StringView linkPrefix("larkhaven-link:");

/// Tags deeper than this vanish; their content stays.
inline constexpr int maximumOpenElements = 256;

/// The bytes of inline images that one message may show. The image that passes the limit and all later ones
/// are hidden.
inline constexpr qint64 maximumInlineImageBytes = 31'457'280;

/// The message as a document.
SanitizedHTML sanitize(const QString& html, const SanitizerOptions& options);

/// A message that has only a text body as a document: the text as it stands, with its http, https and mailto
/// URLs as indirect links. No image may load.
SanitizedHTML plainText(const QString& text);

/// One of several messages in one document.
struct Section {
    /// A line above a message: "From:" and who it is from.
    struct Line {
        QString label;
        QString value;

        bool operator==(const Line&) const = default;
    };

    int depth = 0;               ///< how many messages are around it; 0 for the one that holds the others
    QString name;                ///< what a screen reader calls it
    QList<Line> heading;         ///< plain text
    std::optional<QString> html; ///< hostile
    QString text;                ///< where there is no HTML

    bool operator==(const Section&) const = default;
};

/// A message and those that are forwarded within it, each before those within it, as one document. Each of
/// them stands apart in a frame with its heading above it. It can't reach out of the frame: it has no style
/// sheets, and what would lie beyond is cut off.
SanitizedHTML sections(const QList<Section>& messages, const SanitizerOptions& options);

/// The text with its character references resolved: numbers, and the 22 names that mail is likely to hide
/// something behind. A semicolon is not required; what can't be read stays.
QString decodeEntities(const QString& text);
QString decodeEntities(QStringView text);
/// Into a text whose room is used again; `text` is no part of it.
void decodeEntities(QStringView text, QString& result);

/// The most characters that are read behind an "&".
inline constexpr qsizetype maximumEntityLength = 32;

/// The style text (of a `style` attribute or element) without escapes, "<", comments, imports, fonts, URLs,
/// scripts and positions that leave the flow. What a removal joins is looked at again, until nothing is left
/// to remove.
QString sanitizeCSS(const QString& css);

/// What a document gets of a style text: what `sanitizeCSS` leaves of it, without the declarations that would
/// still load or copy a picture (`image()`, `image-set()`, `cross-fade()`, `src()`, with and without a
/// vendor's prefix) or leave the flow (a position that isn't named as harmless, such as `var()`).
QString safeStyle(const QString& css);

/// Whether an image is there to report that the message was read: one too small to see, one made invisible,
/// or one from a service for such reports. `source` is its URL; `attributes` are its raw attributes by
/// lower-case name, of which "width", "height" and "style" are looked at.
bool isTracker(const QString& source, const QHash<QString, QString>& attributes);

/// Whether a URL leads to a service for such reports, by its host and path: `isTracker` without attributes,
/// and once more on what the percent-encoding of the URL stands for.
bool leadsToTracker(const QString& source);

/// The text with "&", "<", ">" and both quotes as character references: safe as text and as a quoted
/// attribute value.
QString escapeHTML(const QString& text);

/// The Content-Security-Policy of a document: styles of its own, images from "data:" and where allowed
/// "https:", nothing else.
QString contentSecurityPolicy(bool allowRemoteImages);

} // namespace Larkhaven::HTMLSanitizer
