#include "model/DraftGate.h"
#include "model/TextBounds.h"
#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace Larkhaven::DraftGate {

namespace {

// The effort of laying out an element, in units of one plain letter, as measured with Qt 6.4.
constexpr qsizetype effortOfBlock = 40;
constexpr qsizetype effortOfInline = 80;
constexpr qsizetype effortOfItem = 120;
constexpr qsizetype effortOfCell = 500;
constexpr qsizetype effortOfImage = 200;

/// A table is laid out several times to find its widths, and each within it as often again.
constexpr qsizetype effortWithinTables = 4;
/// So much of a tag takes the effort of a letter to read.
constexpr qsizetype unitsOfTag = 4;

constexpr std::array cellTags{"table"_L1, "td"_L1, "th"_L1};
constexpr std::array rowTags{"tbody"_L1, "tfoot"_L1, "thead"_L1, "tr"_L1};
constexpr std::array inlineTags{"a"_L1,    "abbr"_L1,  "b"_L1,    "bdi"_L1,    "bdo"_L1,    "big"_L1,
                                "cite"_L1, "code"_L1,  "del"_L1,  "dfn"_L1,    "em"_L1,     "font"_L1,
                                "i"_L1,    "ins"_L1,   "kbd"_L1,  "mark"_L1,   "q"_L1,      "s"_L1,
                                "samp"_L1, "small"_L1, "span"_L1, "strike"_L1, "strong"_L1, "sub"_L1,
                                "sup"_L1,  "tt"_L1,    "u"_L1,    "var"_L1};
constexpr std::array voidTags{"br"_L1, "col"_L1, "hr"_L1, "img"_L1, "wbr"_L1, "meta"_L1};

template <std::size_t size>
bool isOneOf(QStringView name, const std::array<QLatin1StringView, size>& names)
{
    return std::ranges::any_of(names, [&](QLatin1StringView other) { return name == other; });
}

/// Copies a sanitized document, whose tags are written in one form, as far as an editor can take it.
class Copy {
public:
    Copy(QStringView document, qsizetype effort)
        : m_rest(document)
        , m_bounds(effort)
    {}

    Passed passed(const QString& rest)
    {
        while (!m_rest.isEmpty() && !m_hasEnded) {
            const qsizetype open = m_rest.indexOf(u'<');
            const QStringView text = open < 0 ? m_rest : m_rest.first(open);
            m_rest = open < 0 ? QStringView() : m_rest.sliced(open);
            addText(text);
            if (!m_hasEnded && !m_rest.isEmpty())
                addTag();
            m_hasEnded = m_hasEnded || m_out.size() > mostHTML;
        }
        if (m_hasEnded)
            finish(rest);
        return {m_out, m_isCut || m_hasEnded, m_isBroken};
    }

private:
    struct Element {
        QStringView name;
        bool isWritten = true;
        bool keepsSpace = false;
    };

    void addText(QStringView raw)
    {
        const bool keepsSpace = !m_open.empty() && m_open.back().keepsSpace;
        const QString decoded = VisibleText::decodedReferences(raw.toString());
        QString kept;
        for (const uint scalar : decoded.toUcs4()) {
            const char32_t character = scalar;
            const bool isSpace = character == U' ' || character == U'\n' || character == U'\r' ||
                                 character == U'\t' || character == U'\f';
            if (keepsSpace && character == U'\r')
                continue; // a part of the line end that follows
            if (keepsSpace && (character == U'\n' || character == U'\f')) {
                kept += u'\n';
                m_hasEnded = !m_bounds.breakLine();
            } else if (isSpace && !keepsSpace) {
                if (!std::exchange(m_endsInSpace, true))
                    addCharacter(U' ', kept);
                if (!m_hasEnded)
                    continue;
            } else {
                addCharacter(character, kept);
            }
            m_endsInSpace = false;
            if (m_hasEnded)
                break;
        }
        write(kept);
    }

    void addCharacter(char32_t character, QString& kept)
    {
        switch (m_bounds.next(isNoCharacter(character) ? U'\xfffd' : character)) {
        case TextBounds::Verdict::end:
            m_hasEnded = true;
            return;
        case TextBounds::Verdict::drop:
            m_isCut = true;
            return;
        case TextBounds::Verdict::breakBefore:
            m_isBroken = true;
            write(kept);
            kept.clear();
            // A line break would leave it one paragraph to lay out.
            m_out += "<p>"_L1;
            break;
        case TextBounds::Verdict::keep:
            break;
        }
        kept += QChar::fromUcs4(isNoCharacter(character) ? U'\xfffd' : character);
        const qsizetype repeated = m_tableLevels > 2 ? effortWithinTables : m_tableLevels > 1 ? 1 : 0;
        m_hasEnded = !m_bounds.spend(repeated);
    }

    static bool isNoCharacter(char32_t character)
    {
        return character == 0xfffc || (character >= 0xfdd0 && character <= 0xfdef) ||
               (character & 0xfffe) == 0xfffe || QChar::isSurrogate(character) ||
               (character < 0x20 && character != U'\t') || (character >= 0x7f && character < 0xa0);
    }

    void write(const QString& text) { m_out += HTMLSanitizer::escapeHTML(text); }

    /// Copies up to behind `end`, or leaves that out.
    void copyThrough(QLatin1StringView end, bool isKept)
    {
        const qsizetype found = m_rest.indexOf(end);
        const qsizetype length = found < 0 ? m_rest.size() : found + end.size();
        if (isKept)
            m_out += m_rest.first(length);
        m_isBroken = m_isBroken || !isKept;
        m_rest = m_rest.sliced(length);
    }

    void addStyleSheet()
    {
        constexpr auto end = "</style>"_L1;
        const qsizetype found = m_rest.indexOf(end);
        const QStringView sheet = m_rest.first(found < 0 ? m_rest.size() : found);
        m_styleLength += sheet.size();
        m_styleRules += sheet.count(u'{');
        copyThrough(end, m_styleLength <= longestStyleSheet && m_styleRules <= mostStyleRules);
    }

    void addTag()
    {
        if (m_rest.startsWith("<head>"_L1))
            return copyThrough("</head>"_L1, true);
        if (m_rest.startsWith("<style>"_L1))
            return addStyleSheet();
        const qsizetype close = m_rest.indexOf(u'>');
        const QStringView tag = m_rest.first(close < 0 ? m_rest.size() : close + 1);
        m_rest = m_rest.sliced(tag.size());
        if (tag.startsWith("</"_L1))
            endTag(tag.sliced(2).chopped(close < 0 ? 0 : 1));
        else if (tag.startsWith("<!"_L1))
            m_out += tag;
        else
            startTag(tag);
    }

    void startTag(QStringView tag)
    {
        const qsizetype space = tag.indexOf(u' ');
        const QStringView name = tag.sliced(1, (space < 0 ? tag.size() - 1 : space) - 1);
        m_hasEnded = !m_bounds.spend(tag.size() / unitsOfTag) || !layOut(name);
        if (m_hasEnded)
            return;
        Element element{name, mayStand(name),
                        (!m_open.empty() && m_open.back().keepsSpace) || keepsSpace(tag, name)};
        m_isBroken = m_isBroken || !element.isWritten;
        const bool isTooLong = areAttributesTooLong(tag);
        if (name == "img"_L1 && !isTooLong)
            layOutWords(tag);
        if (m_hasEnded)
            return;
        if (element.isWritten && isTooLong) {
            m_out += u'<' + name.toString() + u'>';
            m_isBroken = true;
        } else if (element.isWritten) {
            m_out += tag;
        }
        if (!isOneOf(name, voidTags))
            m_open.push_back(element);
        m_tableLevels += name == "table"_L1 ? 1 : 0;
        m_listLevels += isList(name) ? 1 : 0;
    }

    /// Gives whether there is room for the element.
    bool layOut(QStringView name)
    {
        if (isOneOf(name, inlineTags))
            return m_bounds.spend(effortOfInline);
        if (name == "img"_L1) {
            m_endsInSpace = false;
            return m_bounds.spend(effortOfImage);
        }
        m_endsInSpace = true;
        if (isOneOf(name, rowTags))
            return true;
        if (name == "br"_L1)
            return m_bounds.breakLine() && m_bounds.spend(effortOfBlock / 4);
        if (!m_bounds.endLine())
            return false;
        if (isOneOf(name, cellTags))
            return m_bounds.spend(effortOfCell);
        if (name == "li"_L1)
            return ++m_items <= mostItems && m_bounds.spend(effortOfItem);
        return m_bounds.spend(effortOfBlock);
    }

    /// Tables take the time of their depth's exponent, and lists leave no room within them.
    bool mayStand(QStringView name) const
    {
        const bool isOfTable = isOneOf(name, cellTags) || isOneOf(name, rowTags) || name == "caption"_L1 ||
                               name == "col"_L1 || name == "colgroup"_L1;
        const int level = m_tableLevels + (name == "table"_L1 ? 1 : 0);
        if (m_open.size() >= mostLevels)
            return false;
        return isList(name) ? m_listLevels < mostListLevels : !isOfTable || level <= mostTableLevels;
    }

    static bool isList(QStringView name) { return name == "ul"_L1 || name == "ol"_L1; }

    static bool keepsSpace(QStringView tag, QStringView name)
    {
        return name == "pre"_L1 || tag.contains("white-space"_L1, Qt::CaseInsensitive);
    }

    static bool areAttributesTooLong(QStringView tag)
    {
        if (tag.size() > longestAttributes)
            return true;
        return std::ranges::any_of(std::array{"colspan"_L1, "rowspan"_L1, "span"_L1},
                                   [tag](QLatin1StringView attribute) {
                                       const std::optional<QStringView> value = attributeOf(tag, attribute);
                                       bool isNumber = false;
                                       const int number = value ? value->toInt(&isNumber) : 1;
                                       return value && (!isNumber || number < 1 || number > mostSpan);
                                   });
    }

    /// The raw value of an attribute.
    static std::optional<QStringView> attributeOf(QStringView tag, QLatin1StringView name)
    {
        const QString wanted = u' ' + name + "=\""_L1;
        const qsizetype start = tag.indexOf(wanted);
        if (start < 0)
            return std::nullopt;
        const QStringView value = tag.sliced(start + wanted.size());
        return value.first(std::max<qsizetype>(value.indexOf(u'"'), 0));
    }

    /// The words of an image are laid out in its place.
    void layOutWords(QStringView tag)
    {
        const QString words =
            VisibleText::decodedReferences(attributeOf(tag, "alt"_L1).value_or(QStringView()).toString());
        bool isBreakDue = false;
        for (const uint character : words.toUcs4()) {
            const TextBounds::Verdict verdict = m_bounds.next(character);
            m_hasEnded = m_hasEnded || verdict == TextBounds::Verdict::end;
            isBreakDue = isBreakDue || verdict == TextBounds::Verdict::breakBefore;
        }
        if (isBreakDue && !m_hasEnded) {
            m_isBroken = true;
            m_out += "<p>"_L1;
        }
    }

    void endTag(QStringView name)
    {
        const auto found = std::find_if(m_open.rbegin(), m_open.rend(),
                                        [name](const Element& element) { return element.name == name; });
        if (found == m_open.rend())
            return;
        if (!isOneOf(name, inlineTags)) {
            m_endsInSpace = true;
            m_bounds.beginParagraph();
        }
        if (found->isWritten)
            m_out += "</"_L1 + name.toString() + u'>';
        m_tableLevels -= name == "table"_L1 ? 1 : 0;
        m_listLevels -= isList(name) ? 1 : 0;
        m_open.erase(found.base() - 1);
    }

    /// Says what was left out, and closes what is open.
    void finish(const QString& rest)
    {
        const QString note = "<p>"_L1 + HTMLSanitizer::escapeHTML(rest) + "</p>"_L1;
        bool isNoted = false;
        while (!m_open.empty()) {
            const Element element = m_open.back();
            const bool isShell = element.name == "body"_L1 || element.name == "html"_L1;
            if (isShell && !std::exchange(isNoted, true))
                m_out += note;
            if (element.isWritten)
                m_out += "</"_L1 + element.name.toString() + u'>';
            m_open.pop_back();
        }
        if (!isNoted)
            m_out += note;
    }

    QStringView m_rest;
    QString m_out;
    TextBounds m_bounds;
    std::vector<Element> m_open;
    int m_tableLevels = 0;
    int m_listLevels = 0;
    qsizetype m_items = 0;
    qsizetype m_styleLength = 0;
    qsizetype m_styleRules = 0;
    bool m_endsInSpace = true; ///< more white space would add nothing
    bool m_isCut = false;
    bool m_isBroken = false;
    bool m_hasEnded = false;
};

} // namespace

Passed html(QStringView sanitized, const QString& rest, qsizetype effort)
{
    return Copy(sanitized, effort).passed(rest);
}

} // namespace Larkhaven::DraftGate
