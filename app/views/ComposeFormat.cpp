#include "views/ComposeFormat.h"

#include "safety/MailURL.h"

#include <QTextDocument>
#include <QTextFrame>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeFormat {

namespace {

constexpr int sizeProperty = QTextFormat::UserProperty + 1;
constexpr int plainProperty = QTextFormat::UserProperty + 2;
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
    if (bounded == 0) {
        format.clearProperty(QTextFormat::BlockQuoteLevel);
        format.clearProperty(QTextFormat::BlockLeftMargin);
        return;
    }
    format.setProperty(QTextFormat::BlockQuoteLevel, bounded);
    format.setLeftMargin(std::min(bounded, shownQuoteLevels) * quoteIndent);
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
