#include "safety/PlainStyle.h"

#include "safety/RefusedStyles.h"
#include "safety/UnitScan.h"

#include <algorithm>
#include <array>

namespace Larkhaven::HTMLSanitizer {
namespace {

using RefusedStyles::refusedFunctions;
using RefusedStyles::rules;

/// Whether the text ends in the word, letters in any case. True of some other texts, too.
bool mayEndIn(QStringView text, QLatin1StringView word)
{
    if (text.size() < word.size())
        return false;
    const char16_t* const end = text.utf16() + text.size();
    for (qsizetype behind = 1; behind <= word.size(); ++behind) {
        const char16_t unit = end[-behind];
        // Beyond ASCII there are small letters in other shapes.
        if (unit >= 0x80)
            return true;
        if ((unit | 0x20) != word.data()[word.size() - behind])
            return false;
    }
    return true;
}

/// The words that are refused before this character.
template <char16_t follower>
constexpr auto wordsBefore()
{
    constexpr auto isBefore = [](const RefusedStyles::Rule& rule) { return rule.follower == follower; };
    constexpr std::size_t functions = follower == u'(' ? refusedFunctions.size() : 0;
    constexpr auto count = static_cast<std::size_t>(std::ranges::count_if(rules, isBefore));
    std::array<QLatin1StringView, functions + count> words;
    std::copy_n(refusedFunctions.begin(), functions, words.begin());
    std::size_t next = functions;
    for (const RefusedStyles::Rule& rule : rules) {
        if (isBefore(rule))
            words[next++] = rule.word;
    }
    return words;
}

/// Whether the text may end in a word that is refused before `follower`: in one, and what white space stands
/// behind it. More names than the refused ones end in these words, which costs time alone.
template <char16_t follower>
bool mayEndInRefusedName(QStringView text)
{
    static constexpr auto words = wordsBefore<follower>();
    while (!text.isEmpty() && text.back().unicode() <= u' ')
        text.chop(1);
    // Beyond ASCII there is more white space.
    if (!text.isEmpty() && text.back().unicode() >= 0x80)
        return true;
    return std::ranges::any_of(words, [text](QLatin1StringView word) { return mayEndIn(text, word); });
}

} // namespace

bool isPlainStyle(QStringView style)
{
    // What begins an escape, an "@" rule or a comment, what is always taken out, and what ends a name.
    const auto next = [style](qsizetype from) {
        return UnitScan::firstOf<u'\\', u'@', u'*', u'<', u'(', u':'>(style, from);
    };
    for (qsizetype mark = next(0); mark < style.size(); mark = next(mark + 1)) {
        const QStringView before = style.first(mark);
        const bool isPlain = style[mark] == u':'   ? !mayEndInRefusedName<u':'>(before)
                             : style[mark] == u'(' ? !mayEndInRefusedName<u'('>(before)
                                                   : false;
        if (!isPlain)
            return false;
    }
    return true;
}

} // namespace Larkhaven::HTMLSanitizer
