#include "model/DraftGate.h"

#include "safety/HTMLSanitizer.h"
#include "safety/VisibleText.h"
#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QString rest = u"[rest]"_s;

DraftGate::Passed passed(const QString& text)
{
    return DraftGate::text(text, rest);
}

DraftGate::Passed passedHTML(const QString& html)
{
    SanitizerOptions options;
    options.keepsOnlyWordsOfImages = true;
    return DraftGate::html(HTMLSanitizer::sanitize(html, options).document, rest);
}

QString bodyOf(const QString& document)
{
    const qsizetype start = document.indexOf(u"<body>"_s) + 6;
    return document.sliced(start, document.lastIndexOf(u"</body>"_s) - start);
}

/// The longest line of the text, and how many lines it has.
qsizetype longestLine(const QString& text)
{
    qsizetype longest = 0;
    for (const QString& line : text.split(u'\n'))
        longest = std::max(longest, line.size());
    return longest;
}

// --- Plain text

TEST(DraftGate, LetsOrdinaryTextThroughAsItIs)
{
    for (const QString& text : {u""_s, u"Hi\n\n> Jörg, 漢字 and 😀\t👩🏽‍🚀\n-- \nAda"_s,
                                u"שלום abc, مرحبا 12"_s, u"क्षत्रिय"_s, u"a\u200eb"_s}) {
        const DraftGate::Passed result = passed(text);
        EXPECT_EQ(result.text, text);
        EXPECT_TRUE(result.isWhole()) << text.toStdString();
    }
}

TEST(DraftGate, WritesEveryLineEndAsOneKindAndControlsAsSpaces)
{
    EXPECT_EQ(passed(u"a\r\nb\rc\u2028d\u2029e\u0085f\vg\fh"_s).text, u"a\nb\nc\nd\ne\nf\ng\nh");
    EXPECT_EQ(passed(QStringLiteral("a\0b\x1b[0m\x7f\u009f.")).text, u"a b [0m  .");
    EXPECT_EQ(passed(QStringLiteral("a\ufffc\ufdd0\ufdef\uffff\ufffe\xd800.")).text,
              u"a\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd.");
    EXPECT_TRUE(passed(u"a\r\nb"_s).isWhole());
}

TEST(DraftGate, CutsATextAtItsLengthAndSaysSo)
{
    const QString words = u"word "_s.repeated(1'000) + u'\n';
    const QString longest = words.repeated(100).first(DraftGate::mostCharacters);
    // Line ends aren't counted as characters, but these don't reach the bound.
    const QString line = QString(99, u'x') + u'\n';
    const QString whole = line.repeated(2'525) + QString(DraftGate::mostCharacters - 2'525 * 99, u'y');
    EXPECT_EQ(whole.count(u'x') + whole.count(u'y'), DraftGate::mostCharacters);
    EXPECT_EQ(passed(whole).text, whole);
    EXPECT_TRUE(passed(whole).isWhole());
    EXPECT_EQ(passed(whole + u'z').text, QString(whole + u"\n[rest]"_s));
    EXPECT_TRUE(passed(whole + u'z').isCut);
    EXPECT_FALSE(passed(whole + u'z').isBroken);
    EXPECT_EQ(passed(longest).text.size(), longest.size());
}

TEST(DraftGate, CutsATextAtItsLinesAndSaysSo)
{
    const QString whole = u"a\n"_s.repeated(DraftGate::mostLines - 1) + u"b"_s;
    EXPECT_EQ(passed(whole).text, whole);
    EXPECT_EQ(passed(whole + u"\nc"_s).text, QString(whole + u"\n[rest]"_s));
    EXPECT_TRUE(passed(whole + u"\nc"_s).isCut);
}

TEST(DraftGate, BreaksALongLineAtASpaceAndLosesNothing)
{
    const QString line = u"word "_s.repeated(10'000);
    const DraftGate::Passed result = passed(line);
    EXPECT_TRUE(result.isBroken);
    EXPECT_FALSE(result.isCut);
    EXPECT_LE(longestLine(result.text), DraftGate::longestLine);
    for (const QString& piece : result.text.split(u'\n'))
        EXPECT_TRUE(piece.endsWith(u"word "_s));
    EXPECT_EQ(QString(result.text).remove(u'\n'), line);
    EXPECT_TRUE(passed(u"word "_s.repeated(1'000)).isWhole());
}

TEST(DraftGate, BreaksAnEndlessWord)
{
    const DraftGate::Passed result = passed(QString(40'000, u'w'));
    EXPECT_EQ(longestLine(result.text), DraftGate::longestRun);
    EXPECT_EQ(result.text.count(u'w'), 40'000);
    EXPECT_FALSE(result.isCut);
    EXPECT_TRUE(passed(QString(DraftGate::longestRun, u'w')).isWhole());
    EXPECT_TRUE(passed(QString(DraftGate::longestRun + 1, u'w')).isBroken);
    EXPECT_TRUE(passed(u"a\u00a0"_s.repeated(DraftGate::longestRun / 2 + 1)).isBroken)
        << "nothing breaks there";
    EXPECT_TRUE(passed(QString(DraftGate::longestRun + 100, u'漢')).isWhole()) << "a line may end anywhere";
}

TEST(DraftGate, LeavesOutMarksThatNoLetterCanCarry)
{
    const QString marks(100'000, QChar(0x301));
    const DraftGate::Passed result = passed(u'e' + marks + u'a');
    EXPECT_EQ(result.text, QString(u'e' + marks.first(DraftGate::mostMarks) +
                                   u"a\n[Marks beyond what a letter can carry are left out.]"_s));
    EXPECT_TRUE(result.isCut);
    EXPECT_TRUE(passed(u'e' + marks.first(DraftGate::mostMarks)).isWhole());
    EXPECT_TRUE(passed(marks.repeated(100)).text.endsWith(u"\n[rest]"_s)) << "it comes to an end";
}

TEST(DraftGate, BoundsTheEffortOfMixedTexts)
{
    // Each letter begins a new stretch of the text engine.
    for (const QString& part : {u"aא"_s, u"aб"_s, u"1م"_s, u"\u200f\u200e"_s, u"\ue000"_s, u"\u0378"_s,
                                u"👨‍👩‍👧 "_s, u"ᄀ"_s}) {
        const DraftGate::Passed result = passed(part.repeated(250'000 / part.size()));
        EXPECT_LT(result.text.size(), DraftGate::mostCharacters / 2) << part.toStdString();
        EXPECT_LT(longestLine(result.text), DraftGate::longestLine / 2) << part.toStdString();
        EXPECT_TRUE(result.text.endsWith(u"[rest]"_s));
    }
    for (const QString& part : {u"a"_s, u"漢"_s, u"ש"_s, u"あ"_s, u"б"_s})
        EXPECT_FALSE(passed(part.repeated(4'000) + u'\n').isCut);
}

TEST(DraftGate, WeighsWhatTheTextEngineTakesLongFor)
{
    EXPECT_EQ(DraftGate::effort(u"hello, world 12"), 15);
    EXPECT_EQ(DraftGate::effort(u"漢字"), 2 + 24);
    EXPECT_EQ(DraftGate::effort(u"漢あ漢"), 3 + 24 + 3 + 3);
    EXPECT_EQ(DraftGate::effort(u"aאa"), 3 + 24 + 24);
    EXPECT_EQ(DraftGate::effort(u"e\u0301\u0301\u0301"), 1 + 6 + 6 + 12);
    EXPECT_EQ(DraftGate::effort(u"\u200d"), 240);
    EXPECT_EQ(DraftGate::effort(u"\u200e"), 24);
    EXPECT_EQ(DraftGate::effort(u"\ue000"), 250);
    EXPECT_EQ(DraftGate::effort(u"א1א"), 3 + 24 + 24 + 24);
    EXPECT_EQ(DraftGate::effort(u"각"), 3 + 24) << "a syllable";
    EXPECT_EQ(DraftGate::effort(u"ᄀᄀᄀ"), (1 + 24) + 40 + 40);
    EXPECT_EQ(DraftGate::effort(QString(300'000, u'a')), DraftGate::unbounded);
    EXPECT_EQ(DraftGate::effort(u'a' + QString(DraftGate::mostMarks + 1, QChar(0x301))),
              DraftGate::unbounded);
}

// --- One line

TEST(DraftGate, SaysWhetherALineIsCut)
{
    EXPECT_TRUE(DraftGate::line(u"abc", 3).isWhole());
    EXPECT_TRUE(DraftGate::line(u"ab…", 3).isWhole());
    EXPECT_TRUE(DraftGate::line(u"abcd", 3).isCut);
    EXPECT_TRUE(DraftGate::line(u"abcd…", 3).isCut);
    EXPECT_EQ(DraftGate::line(u"a\nb\u202e", 3).text, u"a b");
}

// --- Pastes

TEST(DraftGate, SaysInAPasteWhatIsLeftOut)
{
    EXPECT_EQ(DraftGate::pasted(u"a\r\nb"), u"a\nb");
    const QString note = u"[The rest of what was pasted is left out.]"_s;
    EXPECT_TRUE(DraftGate::pasted(u"word\n"_s.repeated(300'000)).endsWith(note));
    const QString html = HTMLSanitizer::sanitize(u"<p>word</p>"_s.repeated(300'000), {}).document;
    EXPECT_TRUE(DraftGate::pastedHTML(html).endsWith(u"<p>"_s + note + u"</p></body></html>"_s));
}

// --- HTML

TEST(DraftGate, LetsAnOrdinaryDocumentThrough)
{
    const QString html =
        u"<div style=\"color: red\">a &lt;b&gt; <b>c</b></div><table><tr><td>d</td></tr></table>"
        "<ul><li>e</li></ul><pre>f\n  g</pre>"_s;
    const DraftGate::Passed result = passedHTML(html);
    EXPECT_EQ(bodyOf(result.text), html);
    EXPECT_TRUE(result.isWhole());
    EXPECT_TRUE(result.text.startsWith(u"<!DOCTYPE html><html><head>"_s));
    EXPECT_TRUE(result.text.endsWith(u"</body></html>"_s));
}

TEST(DraftGate, RunsWhiteSpaceTogetherWhereItMeansNothing)
{
    EXPECT_EQ(bodyOf(passedHTML(u"<p>a \n\t b</p>\n\n<p>c <b> d</b></p>"_s).text),
              u"<p>a b</p><p>c <b>d</b></p>");
    EXPECT_EQ(bodyOf(passedHTML(u"<p style=\"white-space: pre\">a \n b</p>"_s).text),
              u"<p style=\"white-space: pre\">a \n b</p>");
    EXPECT_EQ(bodyOf(passedHTML(u"a <img alt=x> b"_s).text), u"a <img alt=\"x\"> b");
}

TEST(DraftGate, CutsADocumentAndClosesWhatIsOpen)
{
    const DraftGate::Passed result =
        passedHTML(u"<div><b>"_s + u"word<br>"_s.repeated(100'000) + u"</b></div>"_s);
    EXPECT_TRUE(result.isCut);
    EXPECT_TRUE(result.text.endsWith(u"</b></div><p>[rest]</p></body></html>"_s))
        << result.text.right(80).toStdString();
    EXPECT_LE(result.text.count(u"<br>"_s), DraftGate::mostLines);
    EXPECT_GT(result.text.count(u"word"_s), 5'000);
}

TEST(DraftGate, SeesMarksAndWordsThroughReferences)
{
    EXPECT_EQ(bodyOf(passedHTML(u"a"_s + u"&#x301;"_s.repeated(1'000)).text),
              QString(u"a"_s + u"\u0301"_s.repeated(DraftGate::mostMarks)));
    EXPECT_TRUE(passedHTML(u"a"_s + u"&#769;"_s.repeated(1'000)).isCut);
    const DraftGate::Passed word = passedHTML(QString(12'000, u'w'));
    EXPECT_TRUE(word.isBroken);
    EXPECT_EQ(word.text.count(u"<p>"_s), 5);
    EXPECT_EQ(bodyOf(passedHTML(u"&amp;lt;&lt;&quot;&nbsp;x"_s).text), u"&amp;lt;&lt;&quot;\u00a0x");
}

TEST(DraftGate, BeginsAParagraphWhereOneIsTooLong)
{
    // To the text engine lines of one paragraph are one text.
    const QString lines = u"word word<br>"_s.repeated(5'000);
    EXPECT_TRUE(
        passedHTML(u"<div>"_s + lines.first(13 * 4'000) + u"</div>"_s + lines.first(13 * 4'000)).isWhole());
    EXPECT_TRUE(passedHTML(u"word word<br>"_s.repeated(5'000)).isWhole());
    EXPECT_TRUE(passedHTML(u"word word<br>"_s.repeated(6'000)).isBroken);
    EXPECT_TRUE(passedHTML(u"<p>word word word</p>"_s.repeated(4'000)).isWhole());
}

TEST(DraftGate, BoundsTheElementsOfADocument)
{
    for (const QString& part : {u"<b>a</b> "_s, u"<li>a</li>"_s, u"<table><tr><td>a</td></tr></table>"_s,
                                u"<p>a</p>"_s, u"<hr>"_s, u"<img src=\"data:image/png;base64,x\">"_s}) {
        const DraftGate::Passed result = passedHTML(part.repeated(50'000));
        EXPECT_TRUE(result.isCut) << part.toStdString();
        EXPECT_LT(result.text.size(), part.size() * 10'001 + 2'000) << part.toStdString();
    }
    EXPECT_TRUE(
        passedHTML(u"<ul>"_s + u"<li>a</li>"_s.repeated(DraftGate::mostItems) + u"</ul>"_s).isWhole());
    EXPECT_TRUE(
        passedHTML(u"<ul>"_s + u"<li>a</li>"_s.repeated(DraftGate::mostItems + 1) + u"</ul>"_s).isCut);
}

TEST(DraftGate, TakesEachLineEndOfKeptSpaceForOne)
{
    for (const QString& text : {u"-- \r\nAnn\r\n"_s, u"-- &#13;\nAnn&#13;&#10;"_s, u"-- \fAnn\n"_s}) {
        const DraftGate::Passed result = passedHTML(u"<pre>"_s + text + u"</pre>"_s);
        EXPECT_TRUE(result.isWhole());
        EXPECT_TRUE(result.text.contains(u"<pre>-- \nAnn\n</pre>"_s)) << result.text.toStdString();
    }
    EXPECT_TRUE(passedHTML(u"<p>a\r\nb\fc</p>"_s).text.contains(u"<p>a b c</p>"_s));
}

TEST(DraftGate, TakesTablesApartThatAreTooDeep)
{
    const auto nested = [](int levels) {
        return u"<table><tr><td>"_s.repeated(levels) + u"x"_s + u"</td></tr></table>"_s.repeated(levels);
    };
    const DraftGate::Passed result = passedHTML(nested(20) + nested(2));
    EXPECT_TRUE(result.isBroken);
    EXPECT_EQ(bodyOf(result.text), nested(DraftGate::mostTableLevels) + nested(2));
    EXPECT_TRUE(passedHTML(nested(DraftGate::mostTableLevels)).isWhole());
}

TEST(DraftGate, TakesElementsApartThatAreTooDeep)
{
    // A sanitizer would take away the paragraphs that the gate begins.
    const DraftGate::Passed result =
        passedHTML(u"<blockquote>"_s.repeated(200) + u"word "_s.repeated(40'000));
    EXPECT_TRUE(result.isBroken);
    EXPECT_EQ(result.text.count(u"<blockquote>"_s), 98) << "and the document and its body";
    const QString again = HTMLSanitizer::sanitize(result.text, {}).document;
    EXPECT_EQ(again.count(u"<p>"_s), result.text.count(u"<p>"_s));
    EXPECT_GT(again.count(u"<p>"_s), 15);
}

TEST(DraftGate, WeighsTextWithinTablesByTheirDepth)
{
    const auto kept = [](int levels) {
        const QString words = u"word "_s.repeated(100'000);
        return passedHTML(u"<table><tr><td>"_s.repeated(levels) + words).text.count(u"word"_s);
    };
    EXPECT_NEAR(static_cast<double>(kept(1)), 49'000, 1'500);
    EXPECT_NEAR(static_cast<double>(kept(2)), 24'500, 1'000);
    EXPECT_NEAR(static_cast<double>(kept(3)), 9'800, 500);
}

TEST(DraftGate, TakesListsApartThatAreTooDeep)
{
    const auto nested = [](int levels) {
        return u"<ul><li>"_s.repeated(levels) + u"x"_s + u"</li></ul>"_s.repeated(levels);
    };
    EXPECT_TRUE(passedHTML(nested(DraftGate::mostListLevels)).isWhole());
    const DraftGate::Passed result =
        passedHTML(nested(DraftGate::mostListLevels + 3) + u"<ol><li>y</li></ol>"_s);
    EXPECT_TRUE(result.isBroken);
    EXPECT_FALSE(result.isCut);
    EXPECT_EQ(result.text.count(u"<ul>"_s), DraftGate::mostListLevels);
    EXPECT_TRUE(result.text.contains(u"<ol><li>y</li></ol>"_s));
}

TEST(DraftGate, WeighsALetterByTheRunThatItStandsIn)
{
    EXPECT_EQ(DraftGate::effort(QString(250, u'w')), 250);
    EXPECT_EQ(DraftGate::effort(QString(500, u'w')), 250 + 2 * 250);
    EXPECT_EQ(DraftGate::effort(QString(250, u'w') + u' ' + QString(250, u'w')), 502);
    EXPECT_TRUE(passed(QString(DraftGate::mostCharacters, u'w')).isCut);
}

TEST(DraftGate, TakesAttributesAwayThatAreTooMuch)
{
    EXPECT_EQ(bodyOf(passedHTML(u"<td colspan=101>a</td><td colspan=100>b</td><td rowspan=-1>c</td>"_s).text),
              u"<td>a</td><td colspan=\"100\">b</td><td>c</td>");
    const QString style = u"<p style=\""_s + u"color:red;"_s.repeated(500) + u"\">a</p>"_s;
    EXPECT_EQ(bodyOf(passedHTML(style).text), u"<p>a</p>");
    EXPECT_TRUE(passedHTML(style).isBroken);
}

TEST(DraftGate, WeighsTheWordsOfImages)
{
    const auto image = [](qsizetype length) {
        return u"<img alt=\""_s + u"x "_s.repeated(length / 2) + u"\">"_s;
    };
    EXPECT_EQ(bodyOf(passedHTML(image(4'000)).text), image(4'000));
    EXPECT_TRUE(passedHTML(image(4'000)).isWhole());
    EXPECT_EQ(bodyOf(passedHTML(image(5'000)).text), u"<img>");
    EXPECT_TRUE(passedHTML(image(5'000)).isBroken);
    const DraftGate::Passed broken = passedHTML(image(4'000).repeated(3));
    EXPECT_EQ(bodyOf(broken.text), image(4'000).repeated(2) + u"<p>"_s + image(4'000));
    EXPECT_TRUE(broken.isBroken);
    const DraftGate::Passed cut = passedHTML(image(4'000).repeated(100));
    EXPECT_TRUE(cut.isCut);
    EXPECT_EQ(cut.text.count(u"<img"_s), 48) << "4,000 letters, the tag and an image each";
}

TEST(DraftGate, BoundsStyleSheets)
{
    EXPECT_EQ(bodyOf(passedHTML(u"<style>p{color:red}</style>a"_s).text), u"<style>p{color:red}</style>a");
    EXPECT_EQ(
        bodyOf(passedHTML(u"<style>"_s + u"p{}"_s.repeated(DraftGate::mostStyleRules + 1) + u"</style>a"_s)
                   .text),
        u"a");
    EXPECT_TRUE(passedHTML(u"<style>p{"_s + QString(9'000, u'x') + u"}</style>a"_s).isBroken);
}

TEST(DraftGate, EndsOnHostileDocuments)
{
    for (const QString& part : {u"<div>"_s, u"&"_s, u"<b>"_s, u"</b>"_s, u"<table>"_s, u" "_s, u"\u0301"_s,
                                u"<br>"_s, u"<a href=https://x>"_s, u"<style></style>"_s, u"<pre>\n"_s})
        EXPECT_LE(passedHTML(part.repeated(2'000'000 / part.size())).text.size(),
                  DraftGate::mostHTML + 100'000)
            << part.toStdString();
}

} // namespace
} // namespace Larkhaven
