#include "Hostile.h"
#include "safety/HTMLSanitizer.h"
#include "safety/ImageLook.h"
#include "safety/TextComparison.h"
#include "safety/VisibleText.h"

// HTML and plain texts on their way to the screen, and what of them is seen there.

using namespace Qt::StringLiterals;

namespace Larkhaven::Bench {

namespace {

/// A start, and pieces behind it.
Made<QString> behind(const QString& name, const QString& start, const QString& piece)
{
    return {name, [=](qsizetype size) { return start + filled(piece, size - start.size()); }};
}

std::vector<Made<QString>> pages()
{
    std::vector<Made<QString>> texts{
        behind(u"attributes"_s, u"<p "_s, u"a=\"b\" "_s),
        behind(u"attributes, one known"_s, u"<p "_s, u"title=\"b\" "_s),
        behind(u"styles in one tag"_s, u"<p "_s, u"style=\"color:red\" "_s),
        behind(u"an attribute without end"_s, u"<p title=\""_s, u"a "_s),
        behind(u"end tags that close nothing"_s, u"<div>"_s.repeated(256), u"</b>"_s),
        behind(u"end tags below open elements"_s, u"<p>"_s + u"<b>"_s.repeated(250), u"</p><p>"_s),
        behind(u"links in open elements"_s, u"<div>"_s.repeated(250), u"<a href=https://x.example>y</a>"_s),
        behind(u"line breaks in open elements"_s, u"<div>"_s.repeated(250), u"<br>"_s),
        behind(u"images in open elements"_s, u"<div style='width:1%'>"_s.repeated(250),
               u"<img src=https://x.example/a>"_s),
        behind(u"a link around links' texts"_s, u"<a href=https://x.example>"_s, u"<b>y</b> z"_s),
        behind(u"a table of cells"_s, u"<table><tr>"_s, u"<td>"_s),
        behind(u"list items in open elements"_s, u"<ol>"_s + u"<div>"_s.repeated(250), u"<li>"_s),
        {u"names of attributes"_s,
         [](qsizetype size) {
             return u"<p "_s + numberedText(size - 3, [](int number) { return u"a%1=b "_s.arg(number); });
         }},
        {u"names of tags"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"<t%1>"_s.arg(number); });
         }},
        {u"a name without end"_s, [](qsizetype size) { return u"<"_s + QString(size - 1, u'a'); }},
        {u"a name of letters without small ones"_s,
         [](qsizetype size) { return u"<a"_s + QString(size - 2, QChar(0x130)); }},
        {u"images that came with it, none there"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"<img src='cid:%1'>"_s.arg(number); });
         }},
        {u"an image in the page"_s,
         [](qsizetype size) {
             return u"<img src=\"data:image/png;base64,"_s + QString(size - 40, u'A') + u"\">"_s;
         }},
        {u"a link without end"_s,
         [](qsizetype size) {
             return u"<a href=\"https://x.example/"_s + QString(size - 40, u'a') + u"\">y</a>"_s;
         }},
        {u"a class of many names"_s,
         [](qsizetype size) { return u"<p class=\""_s + filled(u"a b "_s, size - 12) + u"\">"_s; }},
    };
    for (const QString& piece : {u"<"_s,
                                 u">"_s,
                                 u"\""_s,
                                 u"<!"_s,
                                 u"<!--"_s,
                                 u"<!-- -"_s,
                                 u"<!-->"_s,
                                 u"<![CDATA["_s,
                                 u"<?"_s,
                                 u"</"_s,
                                 u"</b"_s,
                                 u"</b>"_s,
                                 u"<b"_s,
                                 u"<b "_s,
                                 u"<b x='"_s,
                                 u"<b x=\""_s,
                                 u"<b x="_s,
                                 u"<b/"_s,
                                 u"<b>"_s,
                                 u"<p>"_s,
                                 u"<b><i></b></i>"_s,
                                 u"<b><p></b>"_s,
                                 u"<a><a>"_s,
                                 u"<p><b>"_s,
                                 u"<table><b>"_s,
                                 u"<td>"_s,
                                 u"<li>"_s,
                                 u"<ol><li>"_s,
                                 u"<font color=red>"_s,
                                 u"<div style='color:red'>"_s,
                                 u"<div style=''>"_s,
                                 u"<div class=a>"_s,
                                 u"<script>"_s,
                                 u"<script></"_s,
                                 u"<script><!--"_s,
                                 u"<style>"_s,
                                 u"<style></"_s,
                                 u"<style></style>"_s,
                                 u"<style>a{}</style>"_s,
                                 u"<title>"_s,
                                 u"<svg>"_s,
                                 u"<math>"_s,
                                 u"<textarea>"_s,
                                 u"<head>"_s,
                                 u"<body>"_s,
                                 u"<html>"_s,
                                 u"<br>"_s,
                                 u"<img>"_s,
                                 u"<img src=cid:a>"_s,
                                 u"<img src=https://x/a>"_s,
                                 u"<img alt=a>"_s,
                                 u"<a href=mailto:a>"_s,
                                 u"<a href=https://x>y</a>"_s,
                                 u"<a href=https://x>"_s,
                                 u"<details>"_s,
                                 u"<summary>"_s,
                                 u"&"_s,
                                 u"&#"_s,
                                 u"&#0"_s,
                                 u"&#x"_s,
                                 u"&#38;"_s,
                                 u"&amp;"_s,
                                 u"&amp"_s,
                                 u"&a"_s,
                                 u"&lt"_s,
                                 u"&#9999999999;"_s,
                                 u" "_s,
                                 u"\n"_s,
                                 u"\u0130"_s,
                                 u"\u0301"_s,
                                 u"\u202e"_s,
                                 u"\0"_s,
                                 u"\U0001f468\u200d"_s,
                                 u"a"_s,
                                 u"a "_s,
                                 u"x.example "_s,
                                 u"https://x.example/ "_s})
        texts.push_back(many(piece));
    texts.push_back(many(QString(QChar(0))));
    texts.push_back(many(QString(QChar(0xd800))));
    return texts;
}

std::vector<Made<QString>> plainTexts()
{
    std::vector<Made<QString>> texts;
    for (const QString& piece : {u"http"_s,      u"http://"_s,     u"https://x "_s, u"https://x.example/a "_s,
                                 u"http://."_s,  u"mailto:"_s,     u"mailto:a "_s,  u"https://x@"_s,
                                 u"https://%"_s, u"<https://x>"_s, u"h"_s,          u"m"_s,
                                 u">"_s,         u"> "_s,          u"\n"_s,         u"\""_s,
                                 u"&"_s,         u"."_s,           u"\u0130"_s,     u"\u0301"_s})
        texts.push_back(many(piece));
    texts.push_back(behind(u"a link of punctuation"_s, u"https://x"_s, u"."_s));
    texts.push_back(behind(u"links of punctuation alone"_s, {}, u"http://........ "_s));
    return texts;
}

/// Words that are all different, or that repeat.
std::vector<Made<QString>> comparedTexts()
{
    std::vector<Made<QString>> texts{
        {u"words"_s,
         [](qsizetype size) { return numberedText(size, [](int number) { return u"w%1 "_s.arg(number); }); }},
        {u"brackets with words"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"[w%1] "_s.arg(number); });
         }},
        {u"numbers of links"_s,
         [](qsizetype size) {
             return numberedText(size, [](int number) { return u"[%1] https://x/%1\n"_s.arg(number); });
         }},
    };
    for (const QString& piece :
         {u"a "_s,          u"a b "_s,   u"a"_s,        u"["_s,       u"[a"_s,         u"[image: "_s,
          u"[image: a] "_s, u"<"_s,      u"<http://"_s, u"http://"_s, u"https://x "_s, u"(https://x) "_s,
          u"[1] "_s,        u"1. "_s,    u"\u6f22"_s,   u"\u0130"_s,  u"\u0130 "_s,    u"\u0301"_s,
          u"a\u0301 "_s,    u"\ufdfa"_s, u"\ufdfa "_s,  u"\uac00"_s,  u"\u00df "_s,    u"\u200b"_s,
          u"\n"_s,          u"> "_s,     u"(a) "_s,     u"www.a "_s,  u"a@b "_s})
        texts.push_back(many(piece));
    return texts;
}

qsizetype sizeOf(const SanitizedHTML& page)
{
    qsizetype size = page.document.size();
    for (const LinkRecord& link : page.links) {
        size += link.url.absoluteString().size() + link.text.size();
        for (const QString& reading : link.readings)
            size += reading.size();
    }
    return size;
}

SanitizerOptions openOptions()
{
    SanitizerOptions options;
    options.allowRemoteImages = true;
    options.indirectLinks = true;
    options.inlineImages.insert(u"a"_s, {u"image/png"_s, QByteArray(100, 'x')});
    return options;
}

SanitizerOptions editorOptions()
{
    SanitizerOptions options;
    options.keepsOnlyWordsOfImages = true;
    return options;
}

void addTexts(Families& families)
{
    const std::vector<Made<QString>> texts = comparedTexts();
    constexpr qsizetype longest = TextComparison::longestText;
    families.addText(
        u"TextComparison, to itself"_s,
        [](const QString& text) {
            return qsizetype{TextComparison::saysSomethingElse(text, text, {u"a"_s}) ? 1 : 0};
        },
        texts, longest);
    families.addText(
        u"TextComparison, to one word"_s,
        [](const QString& text) {
            return qsizetype{TextComparison::saysSomethingElse(text, u"a"_s) ? 1 : 0};
        },
        texts, longest);
    families.addText(
        u"TextComparison, to words of images"_s,
        [](const QString& text) {
            const QStringList words(VisibleText::mostImages, u"a b c"_s);
            return qsizetype{TextComparison::saysSomethingElse(text, text, words) ? 1 : 0};
        },
        {many(u"[a b c] "_s), many(u"[a"_s), many(u"[a b] "_s), many(u"["_s)}, longest);
    families.addText(
        u"TextComparison, beyond longestText"_s,
        [](const QString& text) { return qsizetype{TextComparison::saysSomethingElse(text, text) ? 1 : 0}; },
        {many(u"a "_s), many(u"\ufdfa"_s)});
    const std::vector<Made<QString>> references{
        many(u"&"_s),   many(u"&#"_s),    many(u"&#0"_s),     many(u"&#x"_s),   many(u"&amp;"_s),
        many(u"&am"_s), many(u"&nbsp"_s), many(u"&\u0130"_s), many(u"&&#1;"_s), many(u";"_s)};
    families.addText(
        u"HTMLSanitizer::decodeEntities"_s,
        [](const QString& text) { return HTMLSanitizer::decodeEntities(text).size(); }, references);
    families.addText(
        u"VisibleText::decodedReferences"_s,
        [](const QString& text) { return VisibleText::decodedReferences(text).size(); }, references);
}

} // namespace

} // namespace Larkhaven::Bench

int main(int argc, char** argv)
{
    using namespace Larkhaven;
    using namespace Larkhaven::Bench;
    Families families;
    const std::vector<Made<QString>> texts = pages();
    families.addText(
        u"HTMLSanitizer::sanitize, images and links"_s,
        [](const QString& text) { return sizeOf(HTMLSanitizer::sanitize(text, openOptions())); }, texts);
    families.addText(
        u"sanitize for an editor, VisibleText::shownOf"_s,
        [](const QString& text) {
            const QString page = HTMLSanitizer::sanitize(text, editorOptions()).document;
            return VisibleText::shownOf(page, TextComparison::longestText).text.size();
        },
        texts);
    const std::vector<Made<QString>> plain = plainTexts();
    families.addText(
        u"HTMLSanitizer::plainText"_s,
        [](const QString& text) { return sizeOf(HTMLSanitizer::plainText(text)); }, plain);
    families.addText(
        u"HTMLSanitizer::sections"_s,
        [](const QString& text) {
            HTMLSanitizer::Section outer;
            outer.html = text;
            HTMLSanitizer::Section inner;
            inner.depth = 1;
            inner.name = text.first(text.size() / 4);
            inner.heading = {{u"From"_s, text.first(text.size() / 4)}};
            inner.text = text;
            return sizeOf(HTMLSanitizer::sections({outer, inner}, {}));
        },
        plain);
    addTexts(families);
    return measure(argc, argv, families);
}
