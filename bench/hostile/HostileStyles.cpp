#include "Hostile.h"
#include "safety/CSSValues.h"
#include "safety/HTMLSanitizer.h"
#include "safety/ImageLook.h"
#include "safety/StyleMeasure.h"
#include "safety/StyleRules.h"
#include "safety/TextComparison.h"
#include "safety/VisibleText.h"

// Style sheets, and what they mean for the elements of a page.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

Made<QString> nested(const QString& open, const QString& close)
{
    return {many(open).name + u" and "_s + many(close).name, [=](qsizetype size) {
                const qsizetype depth = size / (open.size() + close.size());
                return open.repeated(depth) + close.repeated(depth);
            }};
}

Made<QString> behind(const QString& name, const QString& start, const QString& piece)
{
    return {name, [=](qsizetype size) { return start + filled(piece, size - start.size()); }};
}

std::vector<Made<QString>> sheets()
{
    std::vector<Made<QString>> texts{
        nested(u"java"_s, u"script:"_s),
        nested(u"javascript"_s, u":"_s),
        nested(u"@im"_s, u"port"_s),
        nested(u"url("_s, u")"_s),
        nested(u"u"_s, u"rl(a)"_s),
        nested(u"/*"_s, u"*/"_s),
        nested(u"/"_s, u"*a*/"_s),
        nested(u"calc("_s, u")"_s),
        nested(u"@font-face{"_s, u"javascript:"_s),
        nested(u"@media all{"_s, u"}"_s),
        nested(u"expres"_s, u"sion("_s),
        nested(u"behav"_s, u"ior:"_s),
        nested(u"position:"_s, u"fixed"_s),
        nested(u"<"_s, u"!--"_s),
        behind(u"a selector without end"_s, {}, u"a>b "_s),
        behind(u"values in one rule"_s, u"a{"_s, u"color:red;"_s),
        behind(u"values with var() in one rule"_s, u"a{"_s, u"color:var(--a);"_s),
        behind(u"a value without end"_s, u"a{color:"_s, u"red "_s),
        behind(u"a font-face that is never closed"_s, u"@font-face{"_s, u"src:url(a);"_s),
        behind(u"an import that is never closed"_s, u"@import "_s, u"a "_s),
        {u"rules"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u".c%1{display:none}"_s.arg(number); });
         }},
        {u"custom properties"_s,
         [](qsizetype size) {
             return u"a{"_s + numberedText(size - 3, [](int number) { return u"--v%1:a;"_s.arg(number); }) +
                    u"}"_s;
         }},
        {u"a chain of custom properties"_s,
         [](qsizetype size) {
             return u"a{"_s +
                    numberedText(
                        size - 3,
                        [](int number) { return u"--v%1:var(--v%2);"_s.arg(number).arg(number + 1); }) +
                    u"}"_s;
         }},
    };
    for (const QString& piece : {u"\\"_s,
                                 u"\\6a "_s,
                                 u"\\00006a"_s,
                                 u"\\0"_s,
                                 u"\\\n"_s,
                                 u"/"_s,
                                 u"/*"_s,
                                 u"*/"_s,
                                 u"/**/"_s,
                                 u"/*/"_s,
                                 u"/javascript:* *javascript:/ "_s,
                                 u"@"_s,
                                 u"@import"_s,
                                 u"@import;"_s,
                                 u"@import\""_s,
                                 u"@font-face"_s,
                                 u"@font-face{"_s,
                                 u"@font-face{}"_s,
                                 u"@media{"_s,
                                 u"@media print{a{b:c}}"_s,
                                 u"@charset;"_s,
                                 u"url("_s,
                                 u"url(\""_s,
                                 u"url()"_s,
                                 u"u\\72l("_s,
                                 u"image-set("_s,
                                 u"image-set(a)"_s,
                                 u"cross-fade("_s,
                                 u"src("_s,
                                 u"javascript:"_s,
                                 u"expression("_s,
                                 u"behavior:"_s,
                                 u"-moz-binding:"_s,
                                 u"position:fixed;"_s,
                                 u"position:"_s,
                                 u"position:var(--a);"_s,
                                 u"a{position:fixed}"_s,
                                 u"{"_s,
                                 u"}"_s,
                                 u"{}"_s,
                                 u"a{"_s,
                                 u"a{}"_s,
                                 u"a{b:c}"_s,
                                 u"a,"_s,
                                 u"a,b{c:d}"_s,
                                 u";"_s,
                                 u":"_s,
                                 u"a:b;"_s,
                                 u"\""_s,
                                 u"'"_s,
                                 u"\"\""_s,
                                 u"("_s,
                                 u")"_s,
                                 u"["_s,
                                 u"<"_s,
                                 u"</"_s,
                                 u"<!--"_s,
                                 u"-->"_s,
                                 u"!"_s,
                                 u"!important"_s,
                                 u"var("_s,
                                 u"var(--a)"_s,
                                 u"var(--a,"_s,
                                 u"--a:b;"_s,
                                 u"calc("_s,
                                 u"calc(1px+"_s,
                                 u"min(1px,"_s,
                                 u"rgb("_s,
                                 u"rgb(1,2,3) "_s,
                                 u"#fff "_s,
                                 u"1px "_s,
                                 u"1"_s,
                                 u"1e9"_s,
                                 u"a "_s,
                                 u"a>"_s,
                                 u".a"_s,
                                 u"\u0130"_s,
                                 u"\u0130{}"_s,
                                 u"\u212a"_s,
                                 u"\u0301"_s,
                                 u"\n"_s,
                                 u" "_s})
        texts.push_back(many(piece));
    return texts;
}

/// So many rules, and elements behind them up to the size.
Made<QString> page(const QString& name, const std::function<QString(qsizetype size)>& rules,
                   const QString& start, const QString& element)
{
    return {name, [=](qsizetype size) {
                const QString sheet = u"<style>"_s + rules(size / 2) + u"</style>"_s + start;
                return sheet + filled(element, size - sheet.size());
            }};
}

std::vector<Made<QString>> pages()
{
    const auto same = [](const QString& rule) {
        return [rule](qsizetype size) { return filled(rule, size); };
    };
    const auto numberedRules = [](const QString& rule) {
        return [rule](qsizetype size) {
            return numberedText(
                size, [rule](int number) { return QString(rule).replace(u'#', QString::number(number)); });
        };
    };
    const QString deep = u"<div class=a>"_s.repeated(200);
    return {
        page(u"rules of one tag, elements"_s, same(u"p{display:block}"_s), {}, u"<p>x</p>"_s),
        page(u"rules of classes, elements"_s, numberedRules(u".c#{display:block}"_s), {},
             u"<p class=c7>x</p>"_s),
        page(u"rules of descendants, deep elements"_s, same(u".b .b .b p{color:red}"_s), deep, u"<p>x</p>"_s),
        page(u"rules of descendants that almost match"_s, same(u".a .a .a .a .a .b p{color:red}"_s), deep,
             u"<p>x</p>"_s),
        page(u"rules of children that almost match"_s, same(u".b>.a .a>.a .a>p{color:red}"_s), deep,
             u"<p>x</p>"_s),
        page(u"rules for any, elements of many classes"_s, same(u"*{color:red}"_s), {},
             u"<p class='"_s + u"c d "_s.repeated(25) + u"'>x</p>"_s),
        page(u"rules of many classes, elements of many"_s, numberedRules(u".c#.d#{color:red}"_s), {},
             u"<p class='c1 c2 c3 c4 c5 c6 c7 d1'>x</p>"_s),
        page(u"custom properties, deep elements"_s, numberedRules(u"div{--v#:a b c d e f}"_s),
             u"<div style='--x:y'>"_s.repeated(200), u"<p style='color:var(--v1)'>x</p>"_s),
        page(u"values with var(), elements"_s, same(u"p{color:var(--a,var(--b,red))}"_s), {}, u"<p>x</p>"_s),
        page(u"custom properties that refer, elements"_s, numberedRules(u"p{--v#:var(--v1) var(--v2)}"_s), {},
             u"<p style='color:var(--v3)'>x</p>"_s),
        page(u"rules for images, images"_s, numberedRules(u".c#{width:1px}"_s), {},
             u"<img class='c1 c2' src=https://x.example/a>"_s),
        page(u"long styles of deep elements"_s, same(u"p{color:red}"_s), deep,
             u"<p style='"_s + u"opacity:.5;"_s.repeated(20) + u"'>x</p>"_s),
        page(u"gradients of gradients"_s,
             same(u"div{background:linear-gradient(#fff,#000,rgb(1,2,3),red)}"_s), deep,
             u"<div style='background:linear-gradient(#fff,#000)'>x</div>"_s),
    };
}

qsizetype sizeOf(const std::vector<StyleDeclaration>& declarations)
{
    qsizetype size = 0;
    for (const StyleDeclaration& one : declarations)
        size += one.value.size() + one.name.size();
    return size;
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    const std::vector<Made<QString>> texts = sheets();
    families.addText(
        u"HTMLSanitizer::safeStyle, sanitizeCSS"_s,
        [](const QString& text) { return HTMLSanitizer::safeStyle(text).size(); }, texts);
    families.addText(
        u"StyleDeclaration::read, ImageLook::ofStyle"_s,
        [](const QString& text) {
            return sizeOf(StyleDeclaration::read(text)) + (ImageLook::ofStyle(text).hides ? 1 : 0);
        },
        texts);
    families.addText(
        u"StyleRules and ImageLookRules::addSheet"_s,
        [](const QString& text) {
            StyleRules rules;
            rules.addSheet(text);
            ImageLookRules images;
            images.addSheet(text);
            return qsizetype{images.of("p"_L1, u"a").hides ? 1 : 0};
        },
        texts);
    families.addText(
        u"CSSValues, StyleMeasure"_s,
        [](const QString& text) {
            return CSSValues::pieces(text).size() + CSSValues::colorsIn(text).size() +
                   StyleMeasure::allPixels(text).size() + (CSSValues::length(text, {}) ? 1 : 0) +
                   (StyleMeasure::pixels(text) ? 1 : 0) + (CSSValues::color(text) ? 1 : 0) +
                   (CSSValues::legacyColor(text) ? 1 : 0) + (CSSValues::number(text) ? 1 : 0);
        },
        texts);
    families.addText(
        u"a page's styles: sanitize and shownOf"_s,
        [](const QString& text) {
            const QString page = HTMLSanitizer::sanitize(text, {}).document;
            return VisibleText::shownOf(page, TextComparison::longestText).text.size();
        },
        pages());
    return measure(argc, argv, families);
}
