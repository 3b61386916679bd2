#include "views/richtext/ComposeHTML.h"

#include "safety/HTMLSanitizer.h"

#include <QBrush>
#include <QFont>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextList>
#include <QTextTable>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven::ComposeHTML {

namespace {

constexpr QChar noBreakSpace(0xa0);
constexpr QChar lineSeparator(QChar::LineSeparator);

constexpr auto quoteStart =
    "<blockquote type=\"cite\" style=\"margin:0 0 0 .8ex;border-left:1px solid #ccc;padding-left:1ex\">"_L1;

/// The tag of a list with what tells its markers.
QString listTag(QTextListFormat::Style style)
{
    switch (style) {
    case QTextListFormat::ListDecimal:
        return u"ol"_s;
    case QTextListFormat::ListLowerAlpha:
        return u"ol type=\"a\""_s;
    case QTextListFormat::ListUpperAlpha:
        return u"ol type=\"A\""_s;
    case QTextListFormat::ListLowerRoman:
        return u"ol type=\"i\""_s;
    case QTextListFormat::ListUpperRoman:
        return u"ol type=\"I\""_s;
    default:
        return u"ul"_s;
    }
}

QString styled(const QString& tag, const QStringList& styles)
{
    if (styles.isEmpty())
        return tag;
    return u"%1 style=\"%2\""_s.arg(tag, styles.join(u';'));
}

/// A family as a name that needs no escapes in a style.
QString familyName(const QString& family)
{
    QString name;
    for (const QChar character : family) {
        if (character.isLetterOrNumber() || character == u' ' || character == u'-' || character == u'_')
            name += character;
    }
    return name.contains(u' ') ? u'\'' + name + u'\'' : name;
}

QStringList characterStyles(const QTextCharFormat& format)
{
    QStringList styles;
    QStringList families;
    if (format.hasProperty(QTextFormat::FontFamilies)) {
        for (const QString& family : format.fontFamilies().toStringList())
            families.append(familyName(family));
    }
    families.removeAll(QString());
    if (!families.isEmpty())
        styles.append(u"font-family:"_s + families.join(u','));
    if (const std::optional<double> size = ComposeFormat::size(format))
        styles.append(u"font-size:%1px"_s.arg(QString::number(*size, 'g', 4)));
    if (format.hasProperty(QTextFormat::ForegroundBrush))
        styles.append(u"color:"_s + format.foreground().color().name());
    if (format.hasProperty(QTextFormat::BackgroundBrush))
        styles.append(u"background-color:"_s + format.background().color().name());
    return styles;
}

/// The start tags of a format without their brackets, the outermost first.
QStringList tagsOf(const QTextCharFormat& format)
{
    QStringList tags;
    const QString link = ComposeFormat::link(format);
    QTextCharFormat kept = format;
    if (!link.isEmpty() && ComposeFormat::setLink(kept, link))
        tags.append(u"a href=\"%1\""_s.arg(HTMLSanitizer::escapeHTML(ComposeFormat::link(kept))));
    const QStringList styles = characterStyles(format);
    if (!styles.isEmpty())
        tags.append(styled(u"span"_s, styles));
    if (format.hasProperty(QTextFormat::FontWeight) && format.fontWeight() >= QFont::DemiBold)
        tags.append(u"b"_s);
    if (format.fontItalic())
        tags.append(u"i"_s);
    if (format.fontUnderline())
        tags.append(u"u"_s);
    if (format.fontStrikeOut())
        tags.append(u"s"_s);
    if (format.verticalAlignment() == QTextCharFormat::AlignSubScript)
        tags.append(u"sub"_s);
    else if (format.verticalAlignment() == QTextCharFormat::AlignSuperScript)
        tags.append(u"sup"_s);
    return tags;
}

QStringList paragraphStyles(const QTextBlock& block)
{
    const QTextBlockFormat format = block.blockFormat();
    const bool isRightToLeft = block.textDirection() == Qt::RightToLeft;
    QStringList styles;
    if (format.hasProperty(QTextFormat::BlockAlignment)) {
        const Qt::Alignment alignment = format.alignment();
        if (alignment.testFlag(Qt::AlignHCenter))
            styles.append(u"text-align:center"_s);
        else if (alignment.testFlag(Qt::AlignRight))
            styles.append(u"text-align:right"_s);
        else if (isRightToLeft && alignment.testFlag(Qt::AlignLeft))
            styles.append(u"text-align:left"_s);
    }
    const auto [left, right] = ComposeFormat::margins(format);
    if (left > 0)
        styles.append(u"margin-left:%1px"_s.arg(QString::number(left, 'g', 4)));
    if (right > 0)
        styles.append(u"margin-right:%1px"_s.arg(QString::number(right, 'g', 4)));
    return styles;
}

/// The tag of a paragraph; `name` is its element.
QString paragraphTag(const QString& name, const QTextBlock& block)
{
    const QString directed = block.textDirection() == Qt::RightToLeft ? name + u" dir=\"rtl\""_s : name;
    return styled(directed, paragraphStyles(block));
}

/// Writes the text of one paragraph.
class Line {
public:
    explicit Line(QString& output)
        : m_output(output)
    {}

    void add(const QTextFragment& fragment);
    void end();

private:
    void open(const QStringList& tags);
    void closeDownTo(qsizetype depth);
    void addCharacter(QChar character);
    void writeSpaces(bool isLineEnd);

    QString& m_output;
    QStringList m_open;
    bool m_isLineStart = true;
    bool m_isBehindSpace = false;
    qsizetype m_spaces = 0; ///< spaces that are not written yet
};

void Line::add(const QTextFragment& fragment)
{
    const QString text = fragment.text();
    const QStringList tags = tagsOf(fragment.charFormat());
    if (tags != m_open) {
        // A space at the seam goes to the text before it.
        writeSpaces(text.startsWith(lineSeparator));
        open(tags);
    }
    for (const QChar character : text)
        addCharacter(character);
}

void Line::addCharacter(QChar character)
{
    if (character == u' ') {
        ++m_spaces;
        return;
    }
    if (character == lineSeparator || character == u'\n') {
        writeSpaces(true);
        m_output += "<br>"_L1;
        m_isLineStart = true;
        return;
    }
    const bool isDropped = character == QChar::ObjectReplacementCharacter || character == QChar::Null ||
                           (character.category() == QChar::Other_Control && character != u'\t');
    if (isDropped)
        return;
    writeSpaces(false);
    if (character == u'\t')
        m_output += "<span style=\"white-space:pre\">\t</span>"_L1;
    else if (character == noBreakSpace)
        m_output += "&nbsp;"_L1;
    else if (character == u'<')
        m_output += "&lt;"_L1;
    else if (character == u'>')
        m_output += "&gt;"_L1;
    else if (character == u'&')
        m_output += "&amp;"_L1;
    else
        m_output += character;
    m_isLineStart = false;
    m_isBehindSpace = false;
}

void Line::writeSpaces(bool isLineEnd)
{
    // HTML joins neighbouring spaces and drops those at the ends of a line, but for those that don't break.
    for (; m_spaces > 0; --m_spaces) {
        const bool mayBreak = !m_isLineStart && !m_isBehindSpace && !(isLineEnd && m_spaces == 1);
        m_output += mayBreak ? u" "_s : u"&nbsp;"_s;
        m_isBehindSpace = mayBreak;
        m_isLineStart = false;
    }
}

void Line::open(const QStringList& tags)
{
    const auto [ours, theirs] = std::ranges::mismatch(m_open, tags);
    const qsizetype common = theirs - tags.begin();
    closeDownTo(common);
    for (qsizetype depth = common; depth < tags.size(); ++depth)
        m_output += u'<' + tags[depth] + u'>';
    m_open = tags;
}

void Line::closeDownTo(qsizetype depth)
{
    while (m_open.size() > depth)
        m_output += "</"_L1 + m_open.takeLast().section(u' ', 0, 0) + u'>';
}

void Line::end()
{
    writeSpaces(true);
    closeDownTo(0);
    // A line break at the very end of a paragraph makes no line by itself.
    if (m_isLineStart)
        m_output += "<br>"_L1;
}

constexpr auto remembers = "remembersParagraphs";

/// What a paragraph was written as, and from what. (The reports of changes miss some that are undone.)
class Written : public QTextBlockUserData {
public:
    QString content;
    QList<int> formats; ///< the length of each piece and the index of its format in the document
    std::optional<QString> html;
    std::optional<QString> text;
};

QList<int> formatsOf(const QTextBlock& block)
{
    QList<int> formats;
    for (auto place = block.begin(); !place.atEnd(); ++place)
        formats << place.fragment().length() << place.fragment().charFormatIndex();
    return formats;
}

/// Gives what the paragraph was written as the last time, or writes it now.
template <typename Write>
QString remembered(QTextBlock block, std::optional<QString> Written::*field, Write write)
{
    auto* written = static_cast<Written*>(block.userData());
    const QString content = block.text();
    const QList<int> formats = formatsOf(block);
    if (!written || written->content != content || written->formats != formats) {
        written = new Written;
        written->content = content;
        written->formats = formats;
        block.setUserData(written);
    }
    std::optional<QString>& value = written->*field;
    if (!value)
        value = write();
    return *value;
}

/// Writes the paragraphs, and the lists and quotes around them.
class Writer {
public:
    explicit Writer(const QTextDocument& document)
        : m_document(document)
        , m_remembers(document.property(remembers).toBool())
    {}

    QString run();

private:
    struct OpenList {
        const QTextList* list = nullptr; ///< none for a level that only indents
        QString tag;
        bool hasOpenItem = false;
    };

    void writeFrame(const QTextFrame& frame);
    void writeTable(const QTextTable& table);
    void writePlaces(QTextFrame::iterator place);
    void write(const QTextBlock& block);
    void writeText(const QTextBlock& block);
    void enterQuote(int level);
    void enterList(QTextList& list, int number);
    void closeListsDownTo(qsizetype depth);

    const QTextDocument& m_document;
    bool m_remembers;
    QString m_output;
    int m_quoteLevel = 0;
    int m_outerQuoteLevel = 0; ///< what the open cell stands in
    QList<OpenList> m_lists;
    QHash<const QTextList*, int> m_written; ///< items of each list so far
};

QString Writer::run()
{
    m_output = u"<!DOCTYPE html><html><head><meta charset=\"utf-8\"></head><body>"_s;
    writePlaces(m_document.rootFrame()->begin());
    m_output += "</body></html>"_L1;
    return m_output;
}

void Writer::writePlaces(QTextFrame::iterator place)
{
    for (; !place.atEnd(); ++place) {
        if (const QTextFrame* const frame = place.currentFrame())
            writeFrame(*frame);
        else if (!ComposeFormat::isSpacer(place.currentBlock()))
            write(place.currentBlock());
    }
    closeListsDownTo(0);
    enterQuote(m_outerQuoteLevel);
}

void Writer::writeFrame(const QTextFrame& frame)
{
    if (const auto* const table = qobject_cast<const QTextTable*>(&frame))
        writeTable(*table);
    else
        writePlaces(frame.begin());
}

void Writer::writeTable(const QTextTable& table)
{
    // All of it stands in the quotes that its first cell stands in.
    enterQuote(std::max(m_outerQuoteLevel,
                        ComposeFormat::quoteLevel(table.cellAt(0, 0).firstCursorPosition().blockFormat())));
    closeListsDownTo(0);
    const int outerQuoteLevel = std::exchange(m_outerQuoteLevel, m_quoteLevel);
    m_output += u"<table border=\"%1\" cellpadding=\"%2\" cellspacing=\"0\" "
                "style=\"border-collapse:collapse\">\n"_s.arg(qRound(table.format().border()))
                    .arg(qRound(table.format().cellPadding()));
    for (int row = 0; row < table.rows(); ++row) {
        m_output += "<tr>"_L1;
        for (int column = 0; column < table.columns(); ++column) {
            const QTextTableCell cell = table.cellAt(row, column);
            if (cell.row() != row || cell.column() != column)
                continue;
            m_output += "<td"_L1;
            if (cell.columnSpan() > 1)
                m_output += u" colspan=\"%1\""_s.arg(cell.columnSpan());
            if (cell.rowSpan() > 1)
                m_output += u" rowspan=\"%1\""_s.arg(cell.rowSpan());
            m_output += u'>';
            writePlaces(cell.begin());
            m_output += "</td>"_L1;
        }
        m_output += "</tr>\n"_L1;
    }
    m_output += "</table>\n"_L1;
    m_outerQuoteLevel = outerQuoteLevel;
}

void Writer::write(const QTextBlock& block)
{
    enterQuote(std::max(m_outerQuoteLevel, ComposeFormat::quoteLevel(block.blockFormat())));
    QTextList* const list = block.textList();
    if (!list) {
        closeListsDownTo(0);
        m_output += u'<' + paragraphTag(u"div"_s, block) + u'>';
        writeText(block);
        m_output += "</div>\n"_L1;
        return;
    }
    enterList(*list, m_written[list]++);
    m_output += u'<' + paragraphTag(u"li"_s, block) + u'>';
    m_lists.last().hasOpenItem = true;
    writeText(block);
}

void Writer::writeText(const QTextBlock& block)
{
    const auto write = [&block] {
        QString text;
        Line line(text);
        for (auto place = block.begin(); !place.atEnd(); ++place)
            line.add(place.fragment());
        line.end();
        return text;
    };
    m_output += m_remembers ? remembered(block, &Written::html, write) : write();
}

void Writer::enterQuote(int level)
{
    if (level == m_quoteLevel)
        return;
    closeListsDownTo(0);
    for (; m_quoteLevel < level; ++m_quoteLevel)
        m_output += quoteStart;
    for (; m_quoteLevel > level; --m_quoteLevel)
        m_output += "</blockquote>\n"_L1;
}

void Writer::enterList(QTextList& list, int number)
{
    const int depth = std::clamp(list.format().indent(), 1, maximumListDepth);
    closeListsDownTo(depth);
    if (m_lists.size() == depth && m_lists.last().list != &list)
        closeListsDownTo(depth - 1);
    if (m_lists.size() == depth) {
        m_output += "</li>"_L1;
        return;
    }
    const QString tag = listTag(list.format().style());
    // A list that was interrupted goes on counting.
    number += ComposeFormat::listStart(list.format());
    while (m_lists.size() < depth) {
        const bool isOwn = m_lists.size() == depth - 1;
        const QString start =
            isOwn && number > 1 && tag.startsWith("ol"_L1) ? u" start=\"%1\""_s.arg(number) : QString();
        m_output += u'<' + tag + start + u'>';
        m_lists.append({isOwn ? &list : nullptr, tag.section(u' ', 0, 0), false});
    }
}

void Writer::closeListsDownTo(qsizetype depth)
{
    while (m_lists.size() > depth) {
        const OpenList closed = m_lists.takeLast();
        m_output += (closed.hasOpenItem ? "</li></"_L1 : "</"_L1) + closed.tag + ">\n"_L1;
    }
}

/// The marker of an item as the list shows it.
QString marker(const QTextList& list, const QTextBlock& block, int number)
{
    switch (list.format().style()) {
    case QTextListFormat::ListDecimal:
        return u"%1."_s.arg(ComposeFormat::listStart(list.format()) + number);
    case QTextListFormat::ListLowerAlpha:
    case QTextListFormat::ListUpperAlpha:
    case QTextListFormat::ListLowerRoman:
    case QTextListFormat::ListUpperRoman:
        return list.itemText(block);
    default:
        return u"•"_s;
    }
}

/// Where a paragraph stands in a table.
struct Place {
    const QTextTable* table = nullptr;
    int row = -1;
    int column = -1;
    bool isFirst = true;

    static Place of(const QTextBlock& block)
    {
        const QTextTable* const table = QTextCursor(block).currentTable();
        const QTextTableCell cell = table ? table->cellAt(block.position()) : QTextTableCell();
        return table ? Place{table, cell.row(), cell.column(), false} : Place();
    }
    /// Whether it is another cell of the same row.
    bool isBesides(const Place& other) const
    {
        return table && table == other.table && row == other.row && column != other.column;
    }
};

} // namespace

std::optional<QString> write(const QTextDocument& document)
{
    if (document.isEmpty())
        return std::nullopt;
    return Writer(document).run();
}

void rememberParagraphs(QTextDocument& document)
{
    document.setProperty(remembers, true);
}

QString plainText(const QTextDocument& document)
{
    if (document.isEmpty())
        return {};
    QHash<const QTextList*, int> counts;
    QString result;
    const bool remembersParagraphs = document.property(remembers).toBool();
    const bool hasTables = !document.rootFrame()->childFrames().isEmpty();
    Place before;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        if (hasTables && ComposeFormat::isSpacer(block))
            continue;
        const Place place = hasTables ? Place::of(block) : Place();
        if (!before.isFirst)
            result += place.isBesides(before) ? u'\t' : u'\n';
        before = place;
        before.isFirst = false;
        const QString prefix = u"> "_s.repeated(ComposeFormat::quoteLevel(block.blockFormat()));
        result += prefix;
        if (const QTextList* const list = block.textList())
            result += u'\t' + marker(*list, block, counts[list]++) + u'\t';
        const auto write = [&block] {
            QString text = block.text();
            text.replace(noBreakSpace, u' ');
            return text.remove(QChar::ObjectReplacementCharacter);
        };
        QString text = remembersParagraphs ? remembered(block, &Written::text, write) : write();
        if (text.contains(lineSeparator))
            text.replace(lineSeparator, u'\n' + prefix);
        result += text;
    }
    return result;
}

} // namespace Larkhaven::ComposeHTML
