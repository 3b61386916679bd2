#include "views/style/AlertText.h"

#include "domain/Text.h"
#include "views/style/Style.h"

#include <QPainter>
#include <QScreen>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr QChar wordJoiner(0x2060);

bool isURL(QStringView line)
{
    return (line.startsWith("https://"_L1) || line.startsWith("http://"_L1)) && !line.contains(u' ');
}

/// Of a host, or of what a host may be a part of: an address, the name of a file.
bool isOfWord(QChar character)
{
    return character.isLetterOrNumber() || character.isMark() || character.isSurrogate() ||
           QStringView(u".-_@+%").contains(character);
}

/// What holds a host together: lines break after hyphens and slashes otherwise, wherever they stand.
QString joined(const QString& text, const QList<std::pair<qsizetype, qsizetype>>& hosts,
               QList<QTextLayout::FormatRange>& semibold)
{
    QString shown;
    qsizetype end = 0;
    for (const auto& [offset, length] : hosts) {
        shown += QStringView(text).mid(end, offset - end);
        QTextCharFormat format;
        format.setFontWeight(QFont::DemiBold);
        const qsizetype start = shown.size();
        for (const QChar letter : QStringView(text).mid(offset, length)) {
            const bool breaks = letter == u'-' || letter == u'.' || letter == u':';
            if (breaks)
                shown += wordJoiner;
            shown += letter;
            if (breaks)
                shown += wordJoiner;
        }
        semibold.append({static_cast<int>(start), static_cast<int>(shown.size() - start), format});
        end = offset + length;
    }
    return shown.append(QStringView(text).mid(end));
}

/// Where the host of a URL stands: behind a user name, which may look like another host, and before a port
/// (RFC 3986, section 3.2). Nowhere in a URL that is cut off before that is sure.
std::optional<std::pair<qsizetype, qsizetype>> hostOfURL(QStringView url)
{
    qsizetype start = url.indexOf(u"//"_s) + 2;
    const auto isEnd = [](QChar character) {
        return character == u'/' || character == u'?' || character == u'#';
    };
    qsizetype end = std::find_if(url.begin() + start, url.end(), isEnd) - url.begin();
    if (end == url.size() && url.endsWith(u'…'))
        return std::nullopt;
    start = std::max(start, url.first(end).lastIndexOf(u'@') + 1);
    const QStringView host = url.sliced(start, end - start);
    const qsizetype length = host.startsWith(u'[') ? host.indexOf(u']') + 1 : host.indexOf(u':');
    return std::pair(start, length > 0 ? length : host.size());
}

} // namespace

AlertText::AlertText(QWidget* parent)
    : QLabel(parent)
{
    setObjectName("alertText"_L1);
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(&Style::shared(), &Style::changed, this, &AlertText::updateGeometry);
}

void AlertText::setLines(const QString& text, const QStringList& hosts)
{
    m_hosts = hosts;
    setText(text);
    updateGeometry();
}

QList<std::pair<qsizetype, qsizetype>> AlertText::hosts(const QString& line, const QStringList& known)
{
    if (isURL(line)) {
        const auto host = hostOfURL(line);
        return host ? QList{*host} : QList<std::pair<qsizetype, qsizetype>>();
    }
    QSet<QString> folded;
    for (const QString& host : known)
        folded.insert(Text::lowered(host));
    QList<std::pair<qsizetype, qsizetype>> found;
    qsizetype start = 0;
    while (start < line.size()) {
        qsizetype end = start;
        while (end < line.size() && isOfWord(line[end]))
            ++end;
        // A dot that ends a sentence is none of the host's.
        qsizetype length = end - start;
        while (length > 0 && line[start + length - 1] == u'.')
            --length;
        if (length > 0 && folded.contains(Text::lowered(line.sliced(start, length))))
            found.append({start, length});
        start = end + 1;
    }
    return found;
}

int AlertText::lineWidth() const
{
    // Large text on a small screen leaves less than it asks for.
    constexpr int around = 160;
    const int room = screen() ? screen()->availableGeometry().width() - around : QWIDGETSIZE_MAX;
    return std::min(Style::shared().scaled(static_cast<double>(textWidth) / Style::standardTextSize), room);
}

std::vector<AlertText::Paragraph> AlertText::paragraphs() const
{
    const Style& style = Style::shared();
    const int all = lineWidth();
    std::vector<Paragraph> found;
    int top = 0;
    const QStringList lines = text().split(u'\n');
    for (const QString& line : lines) {
        if (line.isEmpty()) {
            top += Style::smallPadding;
            continue;
        }
        const bool isBlock = isURL(line);
        const int padding = isBlock ? Style::smallPadding : 0;
        QList<QTextLayout::FormatRange> semibold;
        const QString shown = joined(line, hosts(line, m_hosts), semibold);
        auto layout = std::make_unique<QTextLayout>(shown, style.font(Style::Type::body));
        // As labels do: a text begins at the side where its own script does.
        QTextOption option(Qt::AlignLeft);
        option.setWrapMode(isBlock ? QTextOption::WrapAnywhere : QTextOption::WrapAtWordBoundaryOrAnywhere);
        option.setTextDirection(isBlock ? Qt::LeftToRight : Qt::LayoutDirectionAuto);
        layout->setTextOption(option);
        layout->setFormats(semibold);
        layout->beginLayout();
        double height = 0;
        for (QTextLine row = layout->createLine(); row.isValid(); row = layout->createLine()) {
            row.setLineWidth(all - 2 * padding);
            row.setPosition({static_cast<double>(padding), padding + height});
            height += row.height();
        }
        layout->endLayout();
        const int whole = static_cast<int>(std::ceil(height)) + 2 * padding;
        found.push_back({std::move(layout), top, whole, isBlock});
        top += whole;
    }
    return found;
}

QStringList AlertText::rows() const
{
    QStringList found;
    for (const Paragraph& paragraph : paragraphs()) {
        for (int row = 0; row < paragraph.layout->lineCount(); ++row) {
            const QTextLine line = paragraph.layout->lineAt(row);
            found.append(
                paragraph.layout->text().mid(line.textStart(), line.textLength()).remove(wordJoiner));
        }
    }
    return found;
}

QSize AlertText::sizeHint() const
{
    const std::vector<Paragraph> shown = paragraphs();
    // A little more room before the buttons than between the texts.
    return {lineWidth(), shown.empty() ? 0 : shown.back().top + shown.back().height + Style::smallPadding};
}

void AlertText::paintEvent(QPaintEvent*)
{
    const Style::Colors& colors = Style::shared().colors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Paragraph& paragraph : paragraphs()) {
        if (paragraph.isBlock) {
            painter.setPen(colors.hairline);
            painter.setBrush(colors.surface);
            const QRectF place(0, paragraph.top, width(), paragraph.height);
            painter.drawRoundedRect(place.adjusted(0.5, 0.5, -0.5, -0.5), Style::radius, Style::radius);
        }
        painter.setPen(colors.text);
        paragraph.layout->draw(&painter, QPointF(0, paragraph.top));
    }
}

} // namespace Larkhaven
