#include "views/richtext/ComposeFormat.h"

#include "safety/MailURL.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeFormat {

namespace {

constexpr int sizeProperty = QTextFormat::UserProperty + 1;
constexpr int plainProperty = QTextFormat::UserProperty + 2;
constexpr int startProperty = QTextFormat::UserProperty + 3;
constexpr int leftProperty = QTextFormat::UserProperty + 4;
constexpr int rightProperty = QTextFormat::UserProperty + 5;
constexpr int spacerProperty = QTextFormat::UserProperty + 6;
/// The indent of one level of quoting, in pixels.
constexpr int quoteIndent = 16;
/// Deeper levels would leave no room for the text.
constexpr int shownQuoteLevels = 8;

} // namespace

int Sizes::pixels(double size) const
{
    return std::max(1, static_cast<int>(std::lround(size * scale)));
}

std::optional<double> size(const QTextFormat& format)
{
    if (!format.hasProperty(sizeProperty))
        return std::nullopt;
    return format.doubleProperty(sizeProperty);
}

void setSize(QTextFormat& format, double size, const Sizes& sizes)
{
    const double bounded = std::clamp(size, smallestSize, largestSize);
    if (qFuzzyCompare(bounded, sizes.base)) {
        format.clearProperty(sizeProperty);
        format.clearProperty(QTextFormat::FontPixelSize);
        return;
    }
    format.setProperty(sizeProperty, bounded);
    format.setProperty(QTextFormat::FontPixelSize, sizes.pixels(bounded));
}

int listStart(const QTextListFormat& format)
{
    return format.hasProperty(startProperty) ? format.intProperty(startProperty) : 1;
}

void setListStart(QTextListFormat& format, int number)
{
    if (number <= 1)
        format.clearProperty(startProperty);
    else
        format.setProperty(startProperty, std::min(number, largestListStart));
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    format.setStart(std::max(1, number));
#endif
}

namespace {

/// On the screen a paragraph has no more space of its own beside it: without room for a few words in a line,
/// laying it out takes many times as long.
constexpr double mostLeftOnScreen = 120;
constexpr double mostRightOnScreen = 80;

/// The space on the screen is that of the quote and the paragraph's own.
void applyMargins(QTextBlockFormat& format)
{
    const int quote = std::min(quoteLevel(format), shownQuoteLevels) * quoteIndent;
    format.setLeftMargin(quote + std::min(format.doubleProperty(leftProperty), mostLeftOnScreen));
    format.setRightMargin(std::min(format.doubleProperty(rightProperty), mostRightOnScreen));
    if (format.leftMargin() == 0)
        format.clearProperty(QTextFormat::BlockLeftMargin);
    if (format.rightMargin() == 0)
        format.clearProperty(QTextFormat::BlockRightMargin);
}

} // namespace

std::pair<double, double> margins(const QTextBlockFormat& format)
{
    return {format.doubleProperty(leftProperty), format.doubleProperty(rightProperty)};
}

void setMargins(QTextBlockFormat& format, double left, double right)
{
    const auto set = [&format](int property, double value) {
        const double bounded = std::clamp(value, 0.0, largestMargin);
        if (bounded > 0)
            format.setProperty(property, bounded);
        else
            format.clearProperty(property);
    };
    set(leftProperty, left);
    set(rightProperty, right);
    applyMargins(format);
}

void setSpacer(QTextCursor& cursor)
{
    QTextBlockFormat format;
    format.setProperty(spacerProperty, true);
    cursor.mergeBlockFormat(format);
}

bool isSpacer(const QTextBlock& block)
{
    if (!block.blockFormat().boolProperty(spacerProperty) || block.length() > 1)
        return false;
    const QTextFrame* const frame = QTextCursor(block).currentFrame();
    const auto isElsewhere = [frame](const QTextBlock& other) {
        return other.isValid() && QTextCursor(other).currentFrame() != frame;
    };
    return isElsewhere(block.previous()) || isElsewhere(block.next());
}

QString link(const QTextFormat& format)
{
    return format.stringProperty(QTextFormat::AnchorHref);
}

bool setLink(QTextCharFormat& format, const QString& address)
{
    const std::optional<MailURL> url = MailURL::parse(address);
    if (!url)
        return false;
    const QString scheme = url->scheme();
    if (scheme != "http"_L1 && scheme != "https"_L1 && scheme != "mailto"_L1)
        return false;
    format.setAnchor(true);
    format.setAnchorHref(url->absoluteString());
    return true;
}

void removeLink(QTextCharFormat& format)
{
    format.clearProperty(QTextFormat::IsAnchor);
    format.clearProperty(QTextFormat::AnchorHref);
    format.clearProperty(QTextFormat::AnchorName);
}

int quoteLevel(const QTextBlockFormat& format)
{
    return format.intProperty(QTextFormat::BlockQuoteLevel);
}

void setQuoteLevel(QTextBlockFormat& format, int level)
{
    const int bounded = std::clamp(level, 0, maximumQuoteLevel);
    if (bounded == 0)
        format.clearProperty(QTextFormat::BlockQuoteLevel);
    else
        format.setProperty(QTextFormat::BlockQuoteLevel, bounded);
    applyMargins(format);
}

bool isPlain(const QTextDocument& document)
{
    return document.rootFrame()->frameFormat().boolProperty(plainProperty);
}

void setPlain(QTextDocument& document, bool isPlain)
{
    QTextFrameFormat format = document.rootFrame()->frameFormat();
    if (isPlain)
        format.setProperty(plainProperty, true);
    else
        format.clearProperty(plainProperty);
    document.rootFrame()->setFrameFormat(format);
}

} // namespace Larkhaven::ComposeFormat
