#include "safety/HTMLSanitizer.h"
#include "safety/UTF8.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Larkhaven::HTMLSanitizer {
namespace {

struct NamedEntity {
    QLatin1StringView name;
    char16_t character;
};

constexpr std::array namedEntities{
    NamedEntity{"amp"_L1, u'&'},        NamedEntity{"apos"_L1, u'\''},
    NamedEntity{"colon"_L1, u':'},      NamedEntity{"copy"_L1, u'\u00a9'},
    NamedEntity{"gt"_L1, u'>'},         NamedEntity{"hellip"_L1, u'\u2026'},
    NamedEntity{"ldquo"_L1, u'\u201c'}, NamedEntity{"lpar"_L1, u'('},
    NamedEntity{"lsquo"_L1, u'\u2018'}, NamedEntity{"lt"_L1, u'<'},
    NamedEntity{"mdash"_L1, u'\u2014'}, NamedEntity{"nbsp"_L1, u'\u00a0'},
    NamedEntity{"ndash"_L1, u'\u2013'}, NamedEntity{"newline"_L1, u'\n'},
    NamedEntity{"period"_L1, u'.'},     NamedEntity{"quot"_L1, u'"'},
    NamedEntity{"rdquo"_L1, u'\u201d'}, NamedEntity{"reg"_L1, u'\u00ae'},
    NamedEntity{"rpar"_L1, u')'},       NamedEntity{"rsquo"_L1, u'\u2019'},
    NamedEntity{"sol"_L1, u'/'},        NamedEntity{"tab"_L1, u'\t'},
};
static_assert(namedEntities.size() == 22);

/// A character reference that was read: the character, and how many code units behind the "&" belong to it.
struct Reference {
    char32_t character = 0;
    qsizetype length = 0;
};

/// What stands behind the "&" and may belong to the reference.
QStringView collectedAt(QStringView text)
{
    const qsizetype limit = std::min(text.size(), maximumEntityLength);
    qsizetype end = 0;
    while (end < limit && text[end] != u';' && text[end] != u'&' && text[end] != u'<' && !text[end].isSpace())
        ++end;
    return text.first(end);
}

std::optional<Reference> numberIn(QStringView collected)
{
    const bool isHex = collected.size() > 1 && (collected[1] == u'x' || collected[1] == u'X');
    const qsizetype start = isHex ? 2 : 1;
    const unsigned base = isHex ? 16 : 10;
    char32_t value = 0;
    qsizetype end = start;
    for (; end < collected.size(); ++end) {
        const char16_t unit = collected[end].unicode();
        if (!UTF8::isHexDigit(unit) || UTF8::hexValue(unit) >= base)
            break;
        // Once above the last code point it stays there, and can't overflow.
        if (value <= QChar::LastValidCodePoint)
            value = value * base + UTF8::hexValue(unit);
    }
    if (end == start || value > QChar::LastValidCodePoint || QChar::isSurrogate(value))
        return std::nullopt;
    return Reference{value, end};
}

std::optional<Reference> nameIn(QStringView collected)
{
    const auto isSame = [collected](const NamedEntity& entity) {
        return entity.name.size() == collected.size() &&
               std::ranges::equal(collected, entity.name, [](QChar character, char letter) {
                   const char16_t unit = character.unicode();
                   return (unit >= u'A' && unit <= u'Z' ? unit + 0x20 : unit) == static_cast<uchar>(letter);
               });
    };
    const auto found = std::ranges::find_if(namedEntities, isSame);
    if (found == namedEntities.end())
        return std::nullopt;
    return Reference{found->character, collected.size()};
}

std::optional<Reference> referenceAt(QStringView text)
{
    const QStringView collected = collectedAt(text);
    std::optional<Reference> reference = collected.startsWith(u'#') ? numberIn(collected) : nameIn(collected);
    if (reference && reference->length < text.size() && text[reference->length] == u';')
        ++reference->length;
    return reference;
}

} // namespace

QString decodeEntities(const QString& text)
{
    return UnitScan::holds<u'&'>(text) ? decodeEntities(QStringView(text)) : text;
}

QString decodeEntities(QStringView text)
{
    QString result;
    decodeEntities(text, result);
    return result;
}

void decodeEntities(QStringView source, QString& result)
{
    // No reference is shorter than what it stands for.
    result.resize(source.size());
    QChar* output = result.data();
    qsizetype position = 0;
    while (position < source.size()) {
        const qsizetype ampersand = UnitScan::firstOf<u'&'>(source, position);
        output = std::copy(source.begin() + position, source.begin() + ampersand, output);
        position = ampersand;
        if (position == source.size())
            break;
        ++position;
        const std::optional<Reference> reference = referenceAt(source.sliced(position));
        const char32_t character = reference ? reference->character : u'&';
        position += reference ? reference->length : 0;
        if (QChar::requiresSurrogates(character)) {
            *output++ = QChar(QChar::highSurrogate(character));
            *output++ = QChar(QChar::lowSurrogate(character));
        } else {
            *output++ = QChar(character);
        }
    }
    result.truncate(output - result.constData());
}

} // namespace Larkhaven::HTMLSanitizer
