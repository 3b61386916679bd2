#pragma once

#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>

#include <optional>

class QTextDocument;

/// How the formats of a text that is being written stand in its QTextDocument. A format holds only what
/// differs from the default.
namespace Larkhaven::ComposeFormat {

/// Font sizes are in points of the message, which are its pixels at 100%.
inline constexpr double smallestSize = 8;
inline constexpr double largestSize = 72;

/// Levels of quoting beyond this look like the last one.
inline constexpr int maximumQuoteLevel = 32;

/// How the points of a message come onto the screen: `base` is the size of text without one of its own,
/// `scale` the pixels of a point.
struct Sizes {
    double base = 13;
    double scale = 1;

    int pixels(double size) const;
};

/// The size in points; absent where it is the default one.
std::optional<double> size(const QTextFormat& format);
/// Sets a size, within the bounds; the default one takes it out.
void setSize(QTextFormat& format, double size, const Sizes& sizes);

/// The address that a link leads to; empty where it is no link.
QString link(const QTextFormat& format);
/// Makes it a link. Only http, https and mailto are taken; gives whether it was.
bool setLink(QTextCharFormat& format, const QString& address);
void removeLink(QTextCharFormat& format);

/// 0 for text that is not quoted.
int quoteLevel(const QTextBlockFormat& format);
void setQuoteLevel(QTextBlockFormat& format, int level);

/// Whether the text is plain. That stands in the document itself, so that undoing a switch brings back
/// both.
bool isPlain(const QTextDocument& document);
void setPlain(QTextDocument& document, bool isPlain);

} // namespace Larkhaven::ComposeFormat
