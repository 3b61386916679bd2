#pragma once

#include <QString>
#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextListFormat>

#include <optional>
#include <utility>

class QTextBlock;
class QTextCursor;
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

/// The number of the first item of a numbered list; 1 where it has none of its own.
int listStart(const QTextListFormat& format);
void setListStart(QTextListFormat& format, int number);
inline constexpr int largestListStart = 1'000'000;

/// The space beside a paragraph that is no part of a list or a quote, in points; at most `largestMargin`.
std::pair<double, double> margins(const QTextBlockFormat& format);
void setMargins(QTextBlockFormat& format, double left, double right);
inline constexpr double largestMargin = 400;

/// Marks the paragraph as one that is there only because a table needs it beside itself.
void setSpacer(QTextCursor& cursor);
/// Whether the paragraph still is no more than that.
bool isSpacer(const QTextBlock& block);

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
