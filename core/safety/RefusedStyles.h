#pragma once

#include <QLatin1StringView>

#include <array>

/// What is taken out of styles, for the filters that look for it (`HTMLSanitizer::sanitizeCSS`, then
/// `safeStyle`), and for `isPlainStyle`, which spares most styles both.
namespace Larkhaven::HTMLSanitizer::RefusedStyles {

using namespace Qt::StringLiterals;

inline constexpr auto positionName = "position"_L1;

/// The replacements of one round, in their order, and what each pattern begins with. White space is
/// Unicode's.
enum Pattern : unsigned {
    comment,    ///< slash, star, anything, star, slash: removed
    importRule, ///< @import[^;]*;?                               removed
    fontFace,   ///< @font-face\s*\{[^}]*\}                       removed
    url,        ///< url\s*\([^)]*\)?                             "none"
    imageSet,   ///< image-set\s*\([^)]*\)?                       "none"
    expression, ///< expression\s*\(                              "("
    behavior,   ///< behavior\s*:                                 "x:"
    mozBinding, ///< -moz-binding\s*:                             "x:"
    javascript, ///< javascript\s*:                               removed
    position,   ///< position\s*:\s*(fixed|sticky|absolute)       "position:static"
    patternCount,
    commentEnd = patternCount, ///< no pattern: where a comment can end
    headCount,
};

/// A pattern that begins with a word: the word in lower case, the character that follows it behind white
/// space (none: 0), the character through which the match runs on (none: 0), and what takes its place.
struct Rule {
    QLatin1StringView word;
    char16_t follower;
    char16_t end;
    QLatin1StringView replacement;
};

inline constexpr std::array<Rule, patternCount> rules{{
    {{}, 0, 0, {}},
    {"@import"_L1, 0, u';', {}},
    {"@font-face"_L1, u'{', u'}', {}},
    {"url"_L1, u'(', u')', "none"_L1},
    {"image-set"_L1, u'(', u')', "none"_L1},
    {"expression"_L1, u'(', 0, "("_L1},
    {"behavior"_L1, u':', 0, "x:"_L1},
    {"-moz-binding"_L1, u':', 0, "x:"_L1},
    {"javascript"_L1, u':', 0, {}},
    {positionName, u':', 0, "position:static"_L1},
}};

/// What loads or copies a picture by other names than `url`, vendor prefixes apart.
inline constexpr std::array refusedFunctions{"image"_L1, "image-set"_L1, "cross-fade"_L1, "src"_L1,
                                             "url"_L1,   "element"_L1,   "paint"_L1};

} // namespace Larkhaven::HTMLSanitizer::RefusedStyles
