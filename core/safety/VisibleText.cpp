#include "safety/VisibleText.h"

#include "domain/Text.h"
#include "safety/HTMLSanitizer.h"
#include "safety/HidingStyles.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::VisibleText {

namespace {

/// HTML 4, 24.2: the names of U+00A0 to U+00FF.
constexpr std::array latin1Names{
    "nbsp"_L1,   "iexcl"_L1,  "cent"_L1,   "pound"_L1,  "curren"_L1, "yen"_L1,    "brvbar"_L1, "sect"_L1,
    "uml"_L1,    "copy"_L1,   "ordf"_L1,   "laquo"_L1,  "not"_L1,    "shy"_L1,    "reg"_L1,    "macr"_L1,
    "deg"_L1,    "plusmn"_L1, "sup2"_L1,   "sup3"_L1,   "acute"_L1,  "micro"_L1,  "para"_L1,   "middot"_L1,
    "cedil"_L1,  "sup1"_L1,   "ordm"_L1,   "raquo"_L1,  "frac14"_L1, "frac12"_L1, "frac34"_L1, "iquest"_L1,
    "Agrave"_L1, "Aacute"_L1, "Acirc"_L1,  "Atilde"_L1, "Auml"_L1,   "Aring"_L1,  "AElig"_L1,  "Ccedil"_L1,
    "Egrave"_L1, "Eacute"_L1, "Ecirc"_L1,  "Euml"_L1,   "Igrave"_L1, "Iacute"_L1, "Icirc"_L1,  "Iuml"_L1,
    "ETH"_L1,    "Ntilde"_L1, "Ograve"_L1, "Oacute"_L1, "Ocirc"_L1,  "Otilde"_L1, "Ouml"_L1,   "times"_L1,
    "Oslash"_L1, "Ugrave"_L1, "Uacute"_L1, "Ucirc"_L1,  "Uuml"_L1,   "Yacute"_L1, "THORN"_L1,  "szlig"_L1,
    "agrave"_L1, "aacute"_L1, "acirc"_L1,  "atilde"_L1, "auml"_L1,   "aring"_L1,  "aelig"_L1,  "ccedil"_L1,
    "egrave"_L1, "eacute"_L1, "ecirc"_L1,  "euml"_L1,   "igrave"_L1, "iacute"_L1, "icirc"_L1,  "iuml"_L1,
    "eth"_L1,    "ntilde"_L1, "ograve"_L1, "oacute"_L1, "ocirc"_L1,  "otilde"_L1, "ouml"_L1,   "divide"_L1,
    "oslash"_L1, "ugrave"_L1, "uacute"_L1, "ucirc"_L1,  "uuml"_L1,   "yacute"_L1, "thorn"_L1,  "yuml"_L1,
};
static_assert(latin1Names.size() == 96);

const QHash<QString, QChar>& names()
{
    static const QHash<QString, QChar> table = [] {
        QHash<QString, QChar> all{
            {u"OElig"_s, u'\u0152'},  {u"oelig"_s, u'\u0153'},  {u"Scaron"_s, u'\u0160'},
            {u"scaron"_s, u'\u0161'}, {u"Yuml"_s, u'\u0178'},   {u"circ"_s, u'\u02c6'},
            {u"tilde"_s, u'\u02dc'},  {u"ensp"_s, u'\u2002'},   {u"emsp"_s, u'\u2003'},
            {u"thinsp"_s, u'\u2009'}, {u"zwnj"_s, u'\u200c'},   {u"zwj"_s, u'\u200d'},
            {u"lrm"_s, u'\u200e'},    {u"rlm"_s, u'\u200f'},    {u"sbquo"_s, u'\u201a'},
            {u"bdquo"_s, u'\u201e'},  {u"dagger"_s, u'\u2020'}, {u"Dagger"_s, u'\u2021'},
            {u"bull"_s, u'\u2022'},   {u"permil"_s, u'\u2030'}, {u"lsaquo"_s, u'\u2039'},
            {u"rsaquo"_s, u'\u203a'}, {u"euro"_s, u'\u20ac'},   {u"trade"_s, u'\u2122'},
            {u"larr"_s, u'\u2190'},   {u"uarr"_s, u'\u2191'},   {u"rarr"_s, u'\u2192'},
            {u"darr"_s, u'\u2193'},   {u"minus"_s, u'\u2212'},  {u"infin"_s, u'\u221e'},
            {u"asymp"_s, u'\u2248'},  {u"ne"_s, u'\u2260'},     {u"le"_s, u'\u2264'},
            {u"ge"_s, u'\u2265'}};
        char16_t character = 0xa0;
        for (const QLatin1StringView name : latin1Names)
            all.insert(name, QChar(character++));
        return all;
    }();
    return table;
}

constexpr std::array blockTags{
    "address"_L1, "article"_L1, "aside"_L1, "blockquote"_L1, "caption"_L1,    "center"_L1, "dd"_L1,
    "details"_L1, "div"_L1,     "dl"_L1,    "dt"_L1,         "figcaption"_L1, "figure"_L1, "footer"_L1,
    "header"_L1,  "hr"_L1,      "li"_L1,    "main"_L1,       "nav"_L1,        "ol"_L1,     "section"_L1,
    "summary"_L1, "table"_L1,   "tbody"_L1, "tfoot"_L1,      "thead"_L1,      "tr"_L1,     "ul"_L1};
/// Those with an empty line before and behind them.
constexpr std::array spacedTags{"p"_L1, "h1"_L1, "h2"_L1, "h3"_L1, "h4"_L1, "h5"_L1, "h6"_L1, "pre"_L1};
constexpr std::array voidTags{"br"_L1, "col"_L1, "hr"_L1, "img"_L1, "wbr"_L1, "meta"_L1};

template <std::size_t size>
bool isOneOf(QStringView name, const std::array<QLatin1StringView, size>& names)
{
    return std::ranges::any_of(names, [&](QLatin1StringView other) { return name == other; });
}

/// Writes text as HTML lays it out: white space runs into one blank, and lines end where blocks do.
class Page {
public:
    bool isLongerThan(qsizetype limit) const { return m_text.size() > limit; }
    QString taken() { return std::move(m_text); }

    void add(QStringView text, bool keepsSpace)
    {
        for (const QChar character : text) {
            const bool isSpace = character == u' ' || character == u'\t' || character == u'\n' ||
                                 character == u'\r' || character == u'\f';
            if (isSpace && keepsSpace && character == u'\n')
                endLine();
            else if (isSpace && !keepsSpace)
                m_space = m_space.isNull() ? QChar(u' ') : m_space;
            else if (character != u'\r')
                addVisible(character == u'\u00a0' ? QChar(u' ') : character);
        }
    }
    void endLine()
    {
        settle();
        m_text += u'\n';
        m_space = {};
    }
    /// Begins a line, `lineEnds` behind the last one, where text precedes.
    void beginBlock(qsizetype lineEnds)
    {
        m_lineEnds = std::max(m_lineEnds, lineEnds);
        m_space = {};
    }
    void beginCell() { m_space = u'\t'; }
    void setMarker(const QString& marker) { m_marker = marker; }

private:
    void settle()
    {
        while (m_text.endsWith(u' ') || m_text.endsWith(u'\t'))
            m_text.chop(1);
        const QStringView tail = QStringView(m_text).last(std::min<qsizetype>(m_text.size(), 2));
        const qsizetype present = m_text.isEmpty()       ? m_lineEnds
                                  : tail == u"\n\n"      ? 2
                                  : tail.endsWith(u'\n') ? 1
                                                         : 0;
        for (qsizetype count = present; count < m_lineEnds; ++count)
            m_text += u'\n';
        m_lineEnds = 0;
    }
    void addVisible(QChar character)
    {
        if (m_lineEnds > 0)
            settle();
        if (!m_marker.isEmpty())
            m_text += std::exchange(m_marker, QString());
        else if (!m_space.isNull() && !m_text.isEmpty() && !m_text.endsWith(u'\n'))
            m_text += m_space;
        m_space = {};
        m_text += character;
    }

    QString m_text;
    QString m_marker;         ///< of the list item that begins
    QChar m_space;            ///< what separates the next word from the last one
    qsizetype m_lineEnds = 0; ///< that are due before the next text
};

/// What an open element means for the text within it.
struct Element {
    QStringView name;
    Look look;
    StyleVariables variables;
    bool hides = false;      ///< with all that it holds
    bool isFolded = false;   ///< a "details" that shows nothing but its summary
    bool hasSummary = false; ///< of which the first one counts
    bool isOrdered = false;  ///< of a list
    qint64 nextNumber = 1;   ///< of an ordered list

    bool isShown() const { return !hides && !isFolded && look.isShown(); }
};

/// Goes over the tags of a sanitized document, which are written in one form: names in lower case, values in
/// double quotes without "<" and ">" in them.
class Walk {
public:
    Walk(QStringView document, qsizetype limit)
        : m_rest(document)
        , m_limit(limit)
    {
        m_elements.emplace_back();
        m_tags.emplace_back();
    }

    Shown shown()
    {
        collectStyles(m_rest);
        while (!m_rest.isEmpty() && !m_page.isLongerThan(m_limit)) {
            const qsizetype open = m_rest.indexOf(u'<');
            addText(open < 0 ? m_rest : m_rest.first(open));
            m_rest = open < 0 ? QStringView() : m_rest.sliced(open);
            if (!m_rest.isEmpty())
                readTag();
        }
        return {m_page.taken(), m_imageWords};
    }

private:
    static constexpr auto styleStart = "<style>"_L1;
    static constexpr auto styleEnd = "</style>"_L1;

    void collectStyles(QStringView rest)
    {
        for (qsizetype start = rest.indexOf(styleStart); start >= 0; start = rest.indexOf(styleStart)) {
            rest = rest.sliced(start + styleStart.size());
            const qsizetype end = rest.indexOf(styleEnd);
            m_rules.addSheet(end < 0 ? rest : rest.first(end));
            rest = end < 0 ? QStringView() : rest.sliced(end);
        }
    }

    void addText(QStringView raw)
    {
        const Element& element = m_elements.back();
        if (raw.isEmpty() || !element.isShown())
            return;
        m_page.add(decodedReferences(raw.toString()), element.look.keepsSpace());
    }

    void skipPast(QLatin1StringView end)
    {
        const qsizetype found = m_rest.indexOf(end);
        m_rest = found < 0 ? QStringView() : m_rest.sliced(found + end.size());
    }

    void readTag()
    {
        if (m_rest.startsWith("<head>"_L1))
            return skipPast("</head>"_L1);
        if (m_rest.startsWith(styleStart))
            return skipPast(styleEnd);
        const qsizetype close = m_rest.indexOf(u'>');
        const QStringView tag = m_rest.sliced(1, (close < 0 ? m_rest.size() : close) - 1);
        m_rest = close < 0 ? QStringView() : m_rest.sliced(close + 1);
        if (tag.startsWith(u'/'))
            endTag(tag.sliced(1));
        else if (!tag.startsWith(u'!'))
            startTag(tag);
    }

    /// The raw value of an attribute; null where the tag has none.
    static QStringView attribute(QStringView tag, const QString& name)
    {
        const QString wanted = u' ' + name + u"=\""_s;
        const qsizetype start = tag.indexOf(wanted);
        if (start < 0)
            return {};
        const QStringView value = tag.sliced(start + wanted.size());
        const qsizetype end = value.indexOf(u'"');
        return end < 0 ? value : value.first(end);
    }

    static std::optional<CSSValues::Color> colorOf(QStringView tag, const QString& name)
    {
        const QString value = decodedReferences(attribute(tag, name).toString());
        return CSSValues::legacyColor(Text::asciiLowered(QStringView(value).trimmed()));
    }

    /// Says how the innermost of the tags looks.
    void setLook(Element& element, QStringView tag, const Element& parent)
    {
        static const std::vector<StyleDeclaration> likeTheText =
            StyleDeclaration::read(u"color:inherit!important");
        const QStringView name = m_tags.back().name;
        // The reader takes the styles of links that lead nowhere away.
        const bool isDead = name == "a"_L1 && attribute(tag, u"href"_s).isNull();
        const QStringView written = isDead ? QStringView() : attribute(tag, u"style"_s);
        const std::vector<StyleDeclaration> own =
            StyleDeclaration::read(decodedReferences(written.toString()));
        DeclaredStyle style;
        if (!m_rules.find(m_tags, style))
            m_rest = {};
        style.add(own, DeclaredStyle::ofAttribute, 0);
        if (isDead)
            style.add(likeTheText, DeclaredStyle::ofAttribute, 0);
        element.variables = style.resolve(parent.variables);
        const bool hasGround = name == "table"_L1 || name == "td"_L1 || name == "th"_L1 || name == "tr"_L1 ||
                               name == "tbody"_L1 || name == "thead"_L1 || name == "tfoot"_L1;
        Look::Hints hints;
        if (hasGround)
            hints.ground = colorOf(tag, u"bgcolor"_s);
        if (name == "font"_L1)
            hints.ink = colorOf(tag, u"color"_s);
        element.look = parent.look.within(name, style, hints);
    }

    void startTag(QStringView tag)
    {
        const qsizetype space = tag.indexOf(u' ');
        const QStringView name = space < 0 ? tag : tag.first(space);
        StyledTag styled{name, {}};
        for (const QStringView one : attribute(tag, u"class"_s).tokenize(u' ', Qt::SkipEmptyParts)) {
            if (styled.classes.size() < StyleRules::mostClasses)
                styled.classes.append(one.trimmed());
        }
        m_tags.push_back(styled);
        Element& parent = m_elements.back();
        Element element;
        element.name = name;
        setLook(element, tag, parent);
        const bool isSummary = parent.isFolded && name == "summary"_L1 && !parent.hasSummary;
        parent.hasSummary = parent.hasSummary || isSummary;
        element.hides = parent.hides || element.look.isGone() || (parent.isFolded && !isSummary);
        element.isFolded = name == "details"_L1 && attribute(tag, u"open"_s).isNull();
        element.isOrdered = name == "ol"_L1;
        element.nextNumber = std::max<qint64>(attribute(tag, u"start"_s).toLongLong(), 1);
        if (name == "img"_L1 && m_imageWords.size() < mostImages)
            addWordsOfImage(tag);
        if (!element.hides)
            layOut(element);
        if (isOneOf(name, voidTags))
            m_tags.pop_back();
        else
            m_elements.push_back(element);
    }

    void addWordsOfImage(QStringView tag)
    {
        const QString words =
            decodedReferences(attribute(tag, u"alt"_s).left(longestWords).toString()).simplified();
        if (!words.isEmpty())
            m_imageWords.append(words);
    }

    void layOut(const Element& element)
    {
        const QStringView name = element.name;
        if (name == "br"_L1) {
            for (Element& open : m_elements)
                open.look.endFirstLine();
        }
        if (name == "br"_L1 && element.isShown())
            m_page.endLine();
        else if (name == "td"_L1 || name == "th"_L1)
            m_page.beginCell();
        else if (isOneOf(name, blockTags))
            m_page.beginBlock(1);
        else if (isOneOf(name, spacedTags))
            m_page.beginBlock(2);
        if (name != "li"_L1)
            return;
        // The list that holds the item is the innermost of the open ones.
        const auto list = std::find_if(m_elements.rbegin(), m_elements.rend(), [](const Element& open) {
            return open.name == "ol"_L1 || open.name == "ul"_L1;
        });
        const bool isNumbered = list != m_elements.rend() && list->isOrdered;
        m_page.setMarker(isNumbered ? QString::number(list->nextNumber++) + u". "_s : u"• "_s);
    }

    void endTag(QStringView name)
    {
        const auto found = std::find_if(m_elements.rbegin(), m_elements.rend() - 1,
                                        [name](const Element& open) { return open.name == name; });
        if (found == m_elements.rend() - 1)
            return;
        const auto place = found.base() - 1;
        const auto tag = m_tags.begin() + (place - m_elements.begin());
        const bool isHidden = place->hides;
        // A link may end before what it holds does.
        if (name == "a"_L1) {
            m_elements.erase(place);
            m_tags.erase(tag);
        } else {
            m_elements.erase(place, m_elements.end());
            m_tags.erase(tag, m_tags.end());
        }
        if (isHidden)
            return;
        if (isOneOf(name, blockTags))
            m_page.beginBlock(1);
        else if (isOneOf(name, spacedTags))
            m_page.beginBlock(2);
    }

    QStringView m_rest;
    qsizetype m_limit;
    StyleRules m_rules;
    std::vector<Element> m_elements; ///< the open ones, below them the document
    std::vector<StyledTag> m_tags;   ///< of these
    QStringList m_imageWords;
    Page m_page;
};

} // namespace

Shown shownOf(const QString& document, qsizetype limit)
{
    return Walk(document, limit).shown();
}

QString ofSanitized(const QString& document, qsizetype limit)
{
    return shownOf(document, limit).text;
}

QString decodedReferences(const QString& text)
{
    if (!text.contains(u'&'))
        return text;
    constexpr qsizetype longestName = 8;
    QString result;
    result.reserve(text.size());
    for (qsizetype position = 0; position < text.size();) {
        if (text[position] != u'&') {
            result += text[position++];
            continue;
        }
        qsizetype end = position + 1;
        while (end < text.size() && end - position <= longestName && text[end].unicode() < 0x80 &&
               text[end].isLetterOrNumber())
            ++end;
        const auto name = names().constFind(text.sliced(position + 1, end - position - 1));
        if (name == names().cend()) {
            result += text[position++];
            continue;
        }
        result += *name;
        position = end < text.size() && text[end] == u';' ? end + 1 : end;
    }
    return HTMLSanitizer::decodeEntities(result);
}

} // namespace Larkhaven::VisibleText
