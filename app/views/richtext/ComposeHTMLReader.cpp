#include "views/richtext/ComposeHTMLReader.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/SanitizerOptions.h"

#include <QBrush>
#include <QFont>
#include <QHash>
#include <QSize>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeHTML {

namespace {

constexpr char16_t noBreakSpace = 0xa0;

template <std::size_t size>
bool isOneOf(const std::array<QLatin1StringView, size>& names, QStringView name)
{
    return std::ranges::any_of(names, [name](QLatin1StringView known) { return name == known; });
}

constexpr std::array blockTags{
    "address"_L1, "article"_L1, "aside"_L1, "blockquote"_L1, "caption"_L1, "center"_L1,     "dd"_L1,
    "details"_L1, "div"_L1,     "dl"_L1,    "dt"_L1,         "figure"_L1,  "figcaption"_L1, "footer"_L1,
    "h1"_L1,      "h2"_L1,      "h3"_L1,    "h4"_L1,         "h5"_L1,      "h6"_L1,         "header"_L1,
    "li"_L1,      "main"_L1,    "nav"_L1,   "ol"_L1,         "p"_L1,       "pre"_L1,        "section"_L1,
    "summary"_L1, "table"_L1,   "tbody"_L1, "tfoot"_L1,      "thead"_L1,   "tr"_L1,         "ul"_L1};
/// Those with an empty line before and behind them.
constexpr std::array spacedTags{"p"_L1,  "h1"_L1, "h2"_L1, "h3"_L1, "h4"_L1,
                                "h5"_L1, "h6"_L1, "dl"_L1, "pre"_L1};
constexpr std::array boldTags{"b"_L1,  "strong"_L1, "th"_L1, "h1"_L1, "h2"_L1,
                              "h3"_L1, "h4"_L1,     "h5"_L1, "h6"_L1};
constexpr std::array italicTags{"i"_L1, "em"_L1, "cite"_L1, "var"_L1, "dfn"_L1, "address"_L1};
constexpr std::array strikeTags{"s"_L1, "strike"_L1, "del"_L1};
constexpr std::array fixedTags{"code"_L1, "tt"_L1, "kbd"_L1, "samp"_L1, "pre"_L1};

/// Whether it isn't displayed, "!important" or not.
bool isNotShown(const QHash<QString, QString>& style)
{
    return style.value(u"display"_s).startsWith("none"_L1, Qt::CaseInsensitive);
}

} // namespace

void Reader::run()
{
    const qsizetype body = m_html.indexOf("<body>"_L1);
    m_position = body < 0 ? 0 : body + 6;
    m_cursor.beginEditBlock();
    while (m_position < m_html.size()) {
        if (m_html[m_position] == u'<') {
            const Tag tag = readTag();
            if (tag.isEnd)
                endTag(tag.name);
            else
                startTag(tag);
            continue;
        }
        qsizetype end = m_html.indexOf(u'<', m_position);
        end = end < 0 ? m_html.size() : end;
        addText(m_html.sliced(m_position, end - m_position));
        m_position = end;
    }
    endParagraph();
    m_cursor.endEditBlock();
}

Tag Reader::readTag()
{
    qsizetype end = m_html.indexOf(u'>', m_position);
    end = end < 0 ? m_html.size() : end;
    QStringView inner = m_html.sliced(m_position + 1, end - m_position - 1);
    m_position = std::min(end + 1, m_html.size());
    Tag tag;
    tag.isEnd = inner.startsWith(u'/');
    if (tag.isEnd)
        inner = inner.sliced(1);
    qsizetype nameEnd = inner.indexOf(u' ');
    nameEnd = nameEnd < 0 ? inner.size() : nameEnd;
    tag.name = inner.first(nameEnd);
    inner = inner.sliced(nameEnd);
    for (qsizetype equals = inner.indexOf("=\""_L1); equals >= 0; equals = inner.indexOf("=\""_L1)) {
        qsizetype valueEnd = inner.indexOf(u'"', equals + 2);
        valueEnd = valueEnd < 0 ? inner.size() : valueEnd;
        const QString value = inner.sliced(equals + 2, valueEnd - equals - 2).toString();
        tag.attributes.insert(inner.first(equals).trimmed().toString(), HTMLSanitizer::decodeEntities(value));
        inner = inner.sliced(std::min(valueEnd + 1, inner.size()));
    }
    return tag;
}

void Reader::skipStyle()
{
    const qsizetype end = m_html.indexOf("</style>"_L1, m_position);
    m_position = end < 0 ? m_html.size() : end + 8;
}

void Reader::startTag(const Tag& tag)
{
    if (tag.name == "style"_L1) {
        m_losses.styles = true;
        skipStyle();
        return;
    }
    if (tag.name == "br"_L1) {
        if (!current().isHidden)
            lineBreak();
        return;
    }
    if (tag.name == "hr"_L1) {
        m_losses.rules |= !current().isHidden;
        endParagraph();
        m_isGapDue = true;
        return;
    }
    static constexpr std::array otherVoidTags{"col"_L1, "wbr"_L1};
    if (isOneOf(otherVoidTags, tag.name))
        return;
    if (tag.name == "img"_L1) {
        addImage(tag);
        return;
    }
    const bool isBlock = isOneOf(blockTags, tag.name);
    if (isBlock)
        endParagraph();
    m_wasGapDue = m_isGapDue;
    if (isOneOf(spacedTags, tag.name) && m_lists.empty())
        m_isGapDue = true;
    Element element = current();
    element.name = tag.name;
    element.isTable = false;
    element.isCell = false;
    element.isClose = false;
    applyTag(tag, element);
    applyStyle(tag, element);
    m_open.push_back(element);
    if (current().isCell || !(tag.name == "td"_L1 || tag.name == "th"_L1) || !m_isInParagraph)
        return;
    // A row of a table that is none here is a paragraph, its cells stand apart by tabs.
    m_space.reset();
    insert(u"\t"_s);
}

/// A cell has no looks of its own here.
void Reader::noteLooks(const Tag& tag, const QHash<QString, QString>& style)
{
    static constexpr std::array elements{"table"_L1, "tr"_L1, "td"_L1, "th"_L1};
    static constexpr std::array attributes{"background"_L1, "bgcolor"_L1, "height"_L1, "valign"_L1,
                                           "width"_L1};
    static constexpr std::array properties{"background"_L1, "background-color"_L1, "height"_L1,
                                           "vertical-align"_L1, "width"_L1};
    if (!isOneOf(elements, tag.name))
        return;
    const auto holds = [](const QHash<QString, QString>& values) {
        return [&values](QLatin1StringView name) { return values.contains(name); };
    };
    m_losses.cells = m_losses.cells || std::ranges::any_of(attributes, holds(tag.attributes)) ||
                     std::ranges::any_of(properties, holds(style));
}

/// An image gives way to its words.
void Reader::addImage(const Tag& tag)
{
    if (current().isHidden || isNotShown(declarations(tag.attributes.value(u"style"_s))))
        return;
    m_losses.images = true;
    const QString words = tag.attributes.value(u"alt"_s).simplified();
    if (words.isEmpty())
        return;
    flushBreaks();
    insert(words);
}

void Reader::endTag(QStringView name)
{
    const auto isIt = [name](const Element& element) { return element.name == name; };
    const auto found = std::find_if(m_open.rbegin(), m_open.rend() - 1, isIt);
    if (found == m_open.rend() - 1)
        return;
    for (auto count = found - m_open.rbegin(); count >= 0; --count)
        leave();
}

void Reader::leave()
{
    const QStringView name = current().name;
    const bool isClose = current().isClose;
    const bool isList = name == "ul"_L1 || name == "ol"_L1;
    if (name == "li"_L1 && m_isItemDue && !current().isHidden)
        beginParagraph();
    if (isOneOf(blockTags, name) || current().isCell)
        endParagraph();
    if (current().isCell)
        closeCell();
    else if (current().isTable)
        closeTable();
    m_open.pop_back();
    if (isList && !m_lists.empty()) {
        m_lists.pop_back();
        m_isItemDue = false;
    }
    if (isOneOf(spacedTags, name) && m_lists.empty() && !isClose)
        m_isGapDue = true;
}

void Reader::setSize(Element& element, double size) const
{
    element.size = std::clamp(size, ComposeFormat::smallestSize, ComposeFormat::largestSize);
    ComposeFormat::setSize(element.text, element.size, m_sizes);
}

void Reader::openList(const Tag& tag, Element& element)
{
    const bool isOrdered = tag.name == "ol"_L1;
    List list;
    list.format.setStyle(listStyle(isOrdered, tag.attributes.value(u"type"_s)));
    list.format.setIndent(std::min(static_cast<int>(m_lists.size()) + 1, maximumListDepth));
    list.firstNumber =
        std::clamp(tag.attributes.value(u"start"_s).toInt(), 0, ComposeFormat::largestListStart);
    if (isOrdered)
        ComposeFormat::setListStart(list.format, list.firstNumber);
    m_lists.push_back(list);
    element.list = static_cast<int>(m_lists.size()) - 1;
    // What stands in a list is an item, even where its tag is missing.
    m_isItemDue = false;
    m_isGapDue = false;
}

void Reader::applyTag(const Tag& tag, Element& element)
{
    const QStringView name = tag.name;
    if (isOneOf(boldTags, name))
        element.text.setFontWeight(QFont::Bold);
    if (isOneOf(italicTags, name))
        element.text.setFontItalic(true);
    if (isOneOf(strikeTags, name))
        element.text.setFontStrikeOut(true);
    if (name == "u"_L1 || name == "ins"_L1)
        element.text.setFontUnderline(true);
    if (isOneOf(fixedTags, name))
        element.text.setFontFamilies({u"monospace"_s});
    if (name == "sub"_L1)
        element.text.setVerticalAlignment(QTextCharFormat::AlignSubScript);
    if (name == "sup"_L1)
        element.text.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    if (name == "pre"_L1)
        element.keepsSpace = true;
    if (name == "center"_L1)
        element.paragraph.setAlignment(Qt::AlignHCenter);
    if (name == "blockquote"_L1)
        ComposeFormat::setQuoteLevel(element.paragraph, ComposeFormat::quoteLevel(element.paragraph) + 1);
    if (name == "ul"_L1 || name == "ol"_L1)
        openList(tag, element);
    if (name == "li"_L1 && !m_lists.empty()) {
        m_isItemDue = true;
        m_isGapDue = false;
    }
    if (name == "table"_L1 && !element.isHidden)
        openTable(tag, element);
    if (name == "tr"_L1)
        openRow();
    if ((name == "td"_L1 || name == "th"_L1) && !element.isHidden)
        openCell(tag, element);
    applyDirection(tag.attributes.value(u"dir"_s), element);
    if (name == "a"_L1)
        ComposeFormat::setLink(element.text, tag.attributes.value(u"href"_s));
    static const QHash<QString, double> factors{{u"h1"_s, 2},    {u"h2"_s, 1.5},  {u"h3"_s, 1.17},
                                                {u"h5"_s, 0.83}, {u"h6"_s, 0.75}, {u"small"_s, 0.83},
                                                {u"big"_s, 1.2}};
    if (const auto factor = factors.constFind(name.toString()); factor != factors.constEnd())
        setSize(element, element.size * *factor);
}

void Reader::applyStyle(const Tag& tag, Element& element)
{
    QHash<QString, QString> style = declarations(tag.attributes.value(u"style"_s));
    // The older attributes say the same as a style, which wins.
    static const QHash<QString, QString> older{
        {u"color"_s, u"color"_s}, {u"face"_s, u"font-family"_s}, {u"align"_s, u"text-align"_s}};
    for (auto name = older.cbegin(); name != older.cend(); ++name) {
        const QString value = tag.attributes.value(name.key());
        if (!value.isEmpty() && !style.contains(name.value()))
            style.insert(name.value(), value);
    }
    if (tag.name == "font"_L1) {
        static constexpr std::array sizes{10.0, 10.0, 11.0, 13.0, 16.0, 19.0, 26.0, 36.0};
        const int step = tag.attributes.value(u"size"_s).toInt();
        if (step >= 1 && step <= 7)
            setSize(element, sizes[static_cast<std::size_t>(step)] / 13 * m_sizes.base);
    }
    noteLooks(tag, style);
    if (style.isEmpty())
        return;
    if (isNotShown(style))
        element.isHidden = true;
    const QString weight = Text::asciiLowered(style.value(u"font-weight"_s));
    if (weight.startsWith("bold"_L1) || weight.toInt() >= QFont::DemiBold)
        element.text.setFontWeight(QFont::Bold);
    else if (weight == "normal"_L1 || weight.toInt() > 0)
        element.text.clearProperty(QTextFormat::FontWeight);
    const QString slant = Text::asciiLowered(style.value(u"font-style"_s));
    if (slant == "italic"_L1 || slant == "oblique"_L1)
        element.text.setFontItalic(true);
    else if (slant == "normal"_L1)
        element.text.clearProperty(QTextFormat::FontItalic);
    const QString decoration =
        Text::asciiLowered(style.value(u"text-decoration"_s) + u' ' + style.value(u"text-decoration-line"_s));
    if (decoration.contains("underline"_L1) && ComposeFormat::link(element.text).isEmpty())
        element.text.setFontUnderline(true);
    if (decoration.contains("line-through"_L1))
        element.text.setFontStrikeOut(true);
    if (const QStringList names = families(style.value(u"font-family"_s)); !names.isEmpty())
        element.text.setFontFamilies(names);
    if (const auto size = fontSize(style.value(u"font-size"_s), element.size, m_sizes.base))
        setSize(element, *size);
    if (const auto ink = color(style.value(u"color"_s)))
        element.text.setForeground(*ink);
    if (const auto ground = color(style.value(u"background-color"_s)))
        element.text.setBackground(*ground);
    applyParagraphStyle(style, element);
}

void Reader::applyMargins(const QHash<QString, QString>& style, Element& element)
{
    // top, right, bottom, left; with fewer values the opposite one stands in.
    const QStringList sides = style.value(u"margin"_s).simplified().split(u' ', Qt::SkipEmptyParts);
    const auto side = [&](const QString& name, qsizetype place) {
        QString text = style.value(name);
        if (text.isEmpty() && !sides.isEmpty() && sides.size() <= 4)
            text = sides.value(place, sides.value(place - 2, sides.constFirst()));
        return margin(text, element.size);
    };
    const bool isList = element.name == "ul"_L1 || element.name == "ol"_L1 || element.name == "li"_L1 ||
                        element.name == "blockquote"_L1;
    if (!isList && isOneOf(blockTags, element.name)) {
        const auto [left, right] = ComposeFormat::margins(element.paragraph);
        ComposeFormat::setMargins(element.paragraph, left + side(u"margin-left"_s, 3).value_or(0),
                                  right + side(u"margin-right"_s, 1).value_or(0));
    }
    // A paragraph that says that it has no margin stands close to the next.
    if (element.name == "p"_L1 && side(u"margin-top"_s, 0) == 0 && side(u"margin-bottom"_s, 2) == 0) {
        element.isClose = true;
        m_isGapDue = m_wasGapDue;
    }
}

void Reader::applyDirection(const QString& direction, Element& element)
{
    const QString lowered = Text::asciiLowered(direction);
    if (lowered == "rtl"_L1)
        element.paragraph.setLayoutDirection(Qt::RightToLeft);
    else if (lowered == "ltr"_L1)
        element.paragraph.setLayoutDirection(Qt::LeftToRight);
}

void Reader::applyParagraphStyle(const QHash<QString, QString>& style, Element& element)
{
    applyMargins(style, element);
    applyDirection(style.value(u"direction"_s), element);
    const QString alignment = Text::asciiLowered(style.value(u"text-align"_s));
    if (alignment == "center"_L1)
        element.paragraph.setAlignment(Qt::AlignHCenter);
    else if (alignment == "right"_L1 || alignment == "end"_L1)
        element.paragraph.setAlignment(Qt::AlignRight | Qt::AlignAbsolute);
    else if (alignment == "left"_L1)
        element.paragraph.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
    const QString space = Text::asciiLowered(style.value(u"white-space"_s));
    if (space.startsWith("pre"_L1) || space == "break-spaces"_L1)
        element.keepsSpace = true;
    else if (!space.isEmpty())
        element.keepsSpace = false;
    if (!m_lists.empty() && element.list == static_cast<int>(m_lists.size()) - 1) {
        const QString type = Text::asciiLowered(style.value(u"list-style-type"_s));
        QTextListFormat& format = m_lists.back().format;
        if (!type.isEmpty() && !m_lists.back().made)
            format.setStyle(listStyle(format.style() != QTextListFormat::ListDisc, type));
    }
}

// --- Text

void Reader::addText(QStringView raw)
{
    if (current().isHidden)
        return;
    const QString text = m_references.decoded(raw);
    if (current().keepsSpace)
        addKept(text);
    else
        addCollapsed(text);
}

static bool isCollapsible(QChar character)
{
    return character == u' ' || character == u'\n' || character == u'\t' || character == u'\r' ||
           character == u'\f';
}

/// Spaces that only don't break in order not to be joined become plain ones.
static QString withPlainSpaces(const QString& text)
{
    QString result = text;
    const auto isSpace = [&text](qsizetype index) {
        return index < 0 || index >= text.size() || isCollapsible(text[index]) || text[index] == noBreakSpace;
    };
    for (qsizetype index = 0; index < text.size(); ++index) {
        if (text[index] == noBreakSpace && (isSpace(index - 1) || isSpace(index + 1)))
            result[index] = u' ';
    }
    return result;
}

void Reader::addCollapsed(const QString& text)
{
    // The words are told by the text as it came, where spaces that don't break are part of them.
    const QString plain = withPlainSpaces(text);
    qsizetype position = 0;
    while (position < text.size()) {
        qsizetype end = position;
        if (isCollapsible(text[position])) {
            while (end < text.size() && isCollapsible(text[end]))
                ++end;
            if (!m_isLineStart && !m_space)
                m_space = current().text;
        } else {
            while (end < text.size() && !isCollapsible(text[end]))
                ++end;
            insert(plain.sliced(position, end - position));
        }
        position = end;
    }
}

void Reader::addKept(const QString& text)
{
    QString line;
    for (const QChar character : text) {
        if (character == u'\r')
            continue;
        if (character != u'\n') {
            line += character;
            continue;
        }
        if (!line.isEmpty())
            insert(std::exchange(line, QString()));
        lineBreak();
    }
    if (!line.isEmpty())
        insert(line);
}

void Reader::insert(const QString& text)
{
    beginParagraph();
    flushBreaks();
    flushSpace();
    QString clean = text;
    clean.removeIf([](QChar character) {
        return character == QChar::ObjectReplacementCharacter || character == QChar::ParagraphSeparator ||
               character == QChar::LineSeparator ||
               (character.category() == QChar::Other_Control && character != u'\t') ||
               (character.unicode() >= 0xfdd0 && character.unicode() <= 0xfdef);
    });
    m_cursor.insertText(clean, current().text);
    constexpr qsizetype enough = 3;
    if (m_lineStart.size() < enough)
        m_lineStart += clean.first(std::min(clean.size(), enough));
    m_isLineStart = false;
}

/// The space behind the mark of a signature (RFC 3676, 4.3) is all that tells it from two dashes.
void Reader::keepSignatureMark()
{
    if (m_space && m_lineStart == "--"_L1)
        flushSpace();
    m_lineStart.clear();
}

void Reader::flushSpace()
{
    if (m_space && !m_isLineStart) {
        m_cursor.insertText(u" "_s, *m_space);
        m_lineStart += u' ';
    }
    m_space.reset();
}

void Reader::flushBreaks()
{
    for (; m_breaks > 0; --m_breaks) {
        if (++m_lines < maximumLinesOfParagraph) {
            m_cursor.insertText(QString(QChar(QChar::LineSeparator)), current().text);
            continue;
        }
        m_lines = 0;
        m_cursor.insertBlock(current().paragraph, current().text);
    }
}

void Reader::lineBreak()
{
    beginParagraph();
    keepSignatureMark();
    m_space.reset();
    ++m_breaks;
    m_isLineStart = true;
}

void Reader::beginParagraph()
{
    if (m_isInParagraph)
        return;
    m_isInParagraph = true;
    if (m_hasText && std::exchange(m_isGapDue, false))
        m_cursor.insertBlock(current().paragraph, QTextCharFormat());
    if (std::exchange(m_hasText, true)) {
        m_cursor.insertBlock(current().paragraph, current().text);
    } else {
        m_cursor.setBlockFormat(current().paragraph);
        // The first paragraph of a cell has the format of the cell, with its spans.
        if (!m_isCellStart)
            m_cursor.setBlockCharFormat(current().text);
    }
    m_isCellStart = false;
    m_isGapDue = false;
    m_isLineStart = true;
    if (std::exchange(m_isItemDue, false))
        joinList();
}

void Reader::joinList()
{
    if (m_lists.empty())
        return;
    List& list = m_lists.back();
    QTextListFormat unnumbered = list.format;
    ComposeFormat::setListStart(unnumbered, 1);
    const bool goesOn = !list.made && list.firstNumber > 1 && m_lastList &&
                        m_lastList->count() == list.firstNumber - 1 && m_lastList->format() == unnumbered;
    if (goesOn)
        list.made = m_lastList;
    if (list.made && list.made->count() < maximumItemsOfList)
        list.made->add(m_cursor.block());
    else
        list.made = m_cursor.createList(list.format);
    m_lastList = list.made;
}

void Reader::endParagraph()
{
    if (!m_isInParagraph)
        return;
    keepSignatureMark();
    // The last break of a paragraph makes no line by itself.
    m_breaks = std::max(0, m_breaks - 1);
    flushBreaks();
    m_space.reset();
    m_isInParagraph = false;
    m_lines = 0;
    m_isLineStart = true;
    // HTML goes from left to right where it doesn't say otherwise; a document looks at its letters.
    const QTextBlock block = m_cursor.block();
    if (!block.blockFormat().hasProperty(QTextFormat::LayoutDirection) &&
        block.textDirection() == Qt::RightToLeft) {
        QTextBlockFormat format;
        format.setLayoutDirection(Qt::LeftToRight);
        m_cursor.mergeBlockFormat(format);
    }
}

Losses read(const QString& html, QTextDocument& document, const ComposeFormat::Sizes& sizes)
{
    SanitizerOptions options;
    options.keepsOnlyWordsOfImages = true;
    const SanitizedHTML clean = HTMLSanitizer::sanitize(html, options);
    document.setUndoRedoEnabled(false);
    QTextCursor everything(&document);
    everything.select(QTextCursor::Document);
    everything.removeSelectedText();
    everything.setBlockFormat(QTextBlockFormat());
    everything.setBlockCharFormat(QTextCharFormat());
    Reader reader(clean.document, document, sizes);
    reader.run();
    document.setUndoRedoEnabled(true);
    return reader.losses();
}

} // namespace Larkhaven::ComposeHTML
