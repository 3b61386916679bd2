#include "safety/HTMLSanitizer.h"
#include "support/QtPrinters.h"

#include <QRegularExpression>

#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using HTMLSanitizer::sanitizeCSS;

TEST(SanitizeCSS, ReplacesURLs)
{
    EXPECT_EQ(sanitizeCSS(u"background:url(http://x/a.png)"_s), u"background:none");
    EXPECT_EQ(sanitizeCSS(u"a:URL \t( x );b:url(y"_s), u"a:none;b:none");
    EXPECT_EQ(sanitizeCSS(u"a:image-set(url(x) 1x)"_s), u"a:none");
    EXPECT_EQ(sanitizeCSS(u"a:image-set (x) 1x)"_s), u"a:none 1x)");
}

TEST(SanitizeCSS, UndoesEscapesFirst)
{
    EXPECT_EQ(sanitizeCSS(u"background:\\75rl(x)"_s), u"background:none");
    EXPECT_EQ(sanitizeCSS(u"\\000075 rl(x)"_s), u"none");
    EXPECT_EQ(sanitizeCSS(u"\\u\\r\\l(x)"_s), u"none");
    EXPECT_EQ(sanitizeCSS(u"u\\\nrl(x)"_s), u"none");
}

TEST(SanitizeCSS, ReadsAtMostSixDigitsAndSwallowsOneSpace)
{
    EXPECT_EQ(sanitizeCSS(u"\\0000411"_s), u"A1");
    EXPECT_EQ(sanitizeCSS(u"\\41  b\\41\tb\\41\nb\\41\rb\\41\fb"_s), u"A bAbAbA\rbA\fb");
    EXPECT_EQ(sanitizeCSS(u"\\1F600"_s), u"\U0001F600");
    EXPECT_EQ(sanitizeCSS(u"\\zx\\"_s), u"zx");
}

TEST(SanitizeCSS, AppendsNothingForNumbersThatAreNoCharacter)
{
    EXPECT_EQ(sanitizeCSS(u"a\\0 b\\d800 c\\DFFF d\\110000 e\\ffffff f"_s), u"abcdef");
    EXPECT_EQ(sanitizeCSS(u"\\D7FF\\E000\\10ffff"_s), u"\uD7FF\uE000\U0010FFFF");
}

TEST(SanitizeCSS, LeavesNoBackslash)
{
    EXPECT_EQ(sanitizeCSS(u"a\\\\62 c"_s), u"a62 c");
    EXPECT_EQ(sanitizeCSS(u"\\5c 75rl(x)"_s), u"75rl(x)");
    EXPECT_EQ(sanitizeCSS(u"\\\\\\\\"_s), u"");
}

TEST(SanitizeCSS, RemovesImportsThroughTheSemicolon)
{
    EXPECT_EQ(sanitizeCSS(u"@import url(x);"_s), u"");
    EXPECT_EQ(sanitizeCSS(u"@IMPORT 'x'"_s), u"");
    EXPECT_EQ(sanitizeCSS(u"a{}@import x;b{}@importing"_s), u"a{}b{}");
}

TEST(SanitizeCSS, RemovesFontFacesThatAreClosed)
{
    EXPECT_EQ(sanitizeCSS(u"a@Font-Face \n{src:x}b"_s), u"ab");
    EXPECT_EQ(sanitizeCSS(u"a@font-face{src:x"_s), u"a@font-face{src:x");
    EXPECT_EQ(sanitizeCSS(u"}@font-face{x@font-face{y"_s), u"}@font-face{x@font-face{y");
}

TEST(SanitizeCSS, PutsFlowedPositionsBack)
{
    EXPECT_EQ(sanitizeCSS(u"position:fixed;top:0"_s), u"position:static;top:0");
    EXPECT_EQ(sanitizeCSS(u"POSITION : ABSOLUTE"_s), u"position:static");
    EXPECT_EQ(sanitizeCSS(u"position:\u00a0\u2003sticky"_s), u"position:static");
    EXPECT_EQ(sanitizeCSS(u"position:relative"_s), u"position:relative");
}

TEST(SanitizeCSS, DefusesExpressions)
{
    EXPECT_EQ(sanitizeCSS(u"width:expression(alert(1))"_s), u"width:(alert(1))");
}

TEST(SanitizeCSS, RemovesEveryLessThanSign)
{
    EXPECT_EQ(sanitizeCSS(u"a<b</style><"_s), u"ab/style>");
    EXPECT_EQ(sanitizeCSS(u"u<rl(x)\\3c"_s), u"none");
}

TEST(SanitizeCSS, DefusesBehavioursBindingsAndScripts)
{
    EXPECT_EQ(sanitizeCSS(u"behavior:x;-MOZ-binding : y;a:JavaScript:z"_s), u"x:x;x: y;a:z");
}

TEST(SanitizeCSS, RemovesCommentsThatAreClosed)
{
    EXPECT_EQ(sanitizeCSS(u"a/* b */c/**/d/*e"_s), u"acd/*e");
    EXPECT_EQ(sanitizeCSS(u"/*/a*/b*/"_s), u"b*/");
}

TEST(SanitizeCSS, LooksAgainAtWhatARemovalJoins)
{
    EXPECT_EQ(sanitizeCSS(u"ur/**/l(x)"_s), u"none");
    EXPECT_EQ(sanitizeCSS(u"javajavascript:script:x"_s), u"x");
    EXPECT_EQ(sanitizeCSS(u"urlexpression(x)"_s), u"none");
    EXPECT_EQ(sanitizeCSS(u"/javascript:* x */"_s), u"");
    EXPECT_EQ(sanitizeCSS(u"url(a)xpression(b)"_s), u"non(b)");
    EXPECT_EQ(sanitizeCSS(u"posi@import;tion:fi/**/xed"_s), u"position:static");
}

TEST(SanitizeCSS, FindsEveryMatchThatARemovalCompletes)
{
    for (const QString& match : {u"@import x;"_s, u"@font-face {x}"_s, u"url (x)"_s, u"image-set (x)"_s,
                                 u"expression ("_s, u"behavior :"_s, u"-moz-binding :"_s, u"javascript :"_s,
                                 u"position : fixed"_s, u"position:sticky"_s, u"position : absolute"_s}) {
        const QString expected = sanitizeCSS(match);
        EXPECT_NE(expected, match);
        for (const QString& removed : {u"/**/"_s, u"javascript:"_s, u"javajavascript:script:"_s}) {
            for (qsizetype i = 1; i < match.size(); ++i) {
                const QString text = match.first(i) + removed + match.sliced(i);
                EXPECT_EQ(sanitizeCSS(text), expected) << text.toStdString();
            }
        }
    }
}

TEST(SanitizeCSS, FoldsOnlyASCIILetters)
{
    EXPECT_EQ(sanitizeCSS(u"expre\u017f\u017fion(x)"_s), u"expre\u017f\u017fion(x)");
    EXPECT_EQ(sanitizeCSS(u"position:stic\u212ay"_s), u"position:stic\u212ay");
}

/// The replacements as they are defined: regular expressions on the whole text, in rounds.
class ReferenceFilter {
public:
    ReferenceFilter()
    {
        const QString space =
            u"[\\t-\\r \\x{85}\\x{a0}\\x{1680}\\x{2000}-\\x{200a}\\x{2028}\\x{2029}\\x{202f}\\x{205f}\\x{3000}]*"_s;
        add(u"/\\*[\\s\\S]*?\\*/"_s, {});
        add(inAnyCase(u"@import"_s) + u"[^;]*;?"_s, {});
        add(inAnyCase(u"@font-face"_s) + space + u"\\{[^}]*\\}"_s, {});
        add(inAnyCase(u"url"_s) + space + u"\\([^)]*\\)?"_s, u"none"_s);
        add(inAnyCase(u"image-set"_s) + space + u"\\([^)]*\\)?"_s, u"none"_s);
        add(inAnyCase(u"expression"_s) + space + u"\\("_s, u"("_s);
        add(inAnyCase(u"behavior"_s) + space + u":"_s, u"x:"_s);
        add(inAnyCase(u"-moz-binding"_s) + space + u":"_s, u"x:"_s);
        add(inAnyCase(u"javascript"_s) + space + u":"_s, {});
        add(inAnyCase(u"position"_s) + space + u":"_s + space + u'(' + inAnyCase(u"fixed"_s) + u'|' +
                inAnyCase(u"sticky"_s) + u'|' + inAnyCase(u"absolute"_s) + u')',
            u"position:static"_s);
    }

    /// Raises `rounds` by the rounds that changed the text.
    QString filtered(QString text, int& rounds) const
    {
        for (;; ++rounds) {
            const QString before = text;
            for (const auto& [pattern, replacement] : m_replacements)
                text.replace(pattern, replacement);
            if (text == before)
                return text;
        }
    }

private:
    void add(const QString& pattern, const QString& replacement)
    {
        m_replacements.append(
            {QRegularExpression(pattern, QRegularExpression::UseUnicodePropertiesOption), replacement});
    }

    static QString inAnyCase(const QString& word)
    {
        QString pattern;
        for (const QChar letter : word)
            pattern += letter.isLetter() ? QString(u'[' + letter + letter.toUpper() + u']') : QString(letter);
        return pattern;
    }

    QList<QPair<QRegularExpression, QString>> m_replacements;
};

/// Whole tokens of the patterns and pieces of them, which removals join again.
const QStringList& tokens()
{
    static const QStringList list{u"/"_s,
                                  u"*"_s,
                                  u"/*"_s,
                                  u"*/"_s,
                                  u"@import"_s,
                                  u"@im"_s,
                                  u"port"_s,
                                  u";"_s,
                                  u"@font-face"_s,
                                  u"@font"_s,
                                  u"-face"_s,
                                  u"{"_s,
                                  u"}"_s,
                                  u"url"_s,
                                  u"UR"_s,
                                  u"l"_s,
                                  u"("_s,
                                  u")"_s,
                                  u"image-set"_s,
                                  u"image"_s,
                                  u"-SET"_s,
                                  u"expression"_s,
                                  u"expr"_s,
                                  u"ession"_s,
                                  u"xpression"_s,
                                  u"behavior"_s,
                                  u"behav"_s,
                                  u"ior"_s,
                                  u":"_s,
                                  u"-moz-binding"_s,
                                  u"-moz"_s,
                                  u"-binding"_s,
                                  u"javascript"_s,
                                  u"java"_s,
                                  u"script"_s,
                                  u"javascript:"_s,
                                  u"position"_s,
                                  u"posi"_s,
                                  u"tion"_s,
                                  u"fixed"_s,
                                  u"fix"_s,
                                  u"ed"_s,
                                  u"sticky"_s,
                                  u"ABSOLUTE"_s,
                                  u"abso"_s,
                                  u"lute"_s,
                                  u" "_s,
                                  u"\t"_s,
                                  u"\u2003"_s,
                                  u"url("_s,
                                  u"none"_s,
                                  u"mage-set("_s,
                                  u"\U0001F600"_s,
                                  u"x"_s,
                                  u"/**/"_s,
                                  u"expression("_s,
                                  u"behavior:"_s,
                                  u"position:"_s,
                                  u"position:fixed"_s,
                                  u"@import;"_s,
                                  u"i"_s,
                                  u"p"_s,
                                  u"@font-face{"_s,
                                  u"url()"_s};
    return list;
}

QString randomText(std::mt19937& random, const QStringList& vocabulary, int length)
{
    std::uniform_int_distribution<qsizetype> anyToken(0, vocabulary.size() - 1);
    QString text;
    for (int i = 0; i < length; ++i)
        text += vocabulary[anyToken(random)];
    return text;
}

TEST(SanitizeCSS, GivesWhatReplacingInRoundsGives)
{
    const ReferenceFilter reference;
    std::mt19937 random(42);
    int changedTexts = 0;
    for (int i = 0; i < 40'000; ++i) {
        const QString text = randomText(random, tokens(), 4 + i % 60);
        int rounds = 0;
        const QString expected = reference.filtered(text, rounds);
        changedTexts += rounds > 0;
        ASSERT_EQ(sanitizeCSS(text), expected) << text.toStdString();
    }
    EXPECT_GT(changedTexts, 10'000);
}

/// A text that takes many rounds: harmless pieces at first, into which whole matches are put in place of
/// nothing.
QString nestedText(std::mt19937& random, int depth)
{
    static const QStringList removable{u"/**/"_s,         u"@import;"_s, u"javascript:"_s,
                                       u"@font-face{}"_s, u"/*x*/"_s,    u"javascript :"_s};
    static const QStringList words{u"javascript:"_s,
                                   u"/**/"_s,
                                   u"@import;"_s,
                                   u"url("_s,
                                   u"expression("_s,
                                   u"image-set()"_s,
                                   u"behavior :"_s,
                                   u"position : fixed"_s,
                                   u"@font-face {}"_s,
                                   u"-moz-binding:"_s,
                                   u"position:sticky"_s,
                                   u"*/"_s,
                                   u")"_s,
                                   u"}"_s,
                                   u";"_s};
    QString text = words[static_cast<qsizetype>(random() % static_cast<unsigned>(words.size()))];
    for (int i = 0; i < depth; ++i) {
        const QStringList& pieces = random() % 4 == 0 ? words : removable;
        const QString piece = pieces[static_cast<qsizetype>(random() % static_cast<unsigned>(pieces.size()))];
        text.insert(static_cast<qsizetype>(random() % static_cast<unsigned>(text.size() + 1)), piece);
    }
    return text;
}

TEST(SanitizeCSS, GivesWhatReplacingInRoundsGivesOnNestedTexts)
{
    const ReferenceFilter reference;
    std::mt19937 random(43);
    int deepTexts = 0;
    for (int i = 0; i < 40'000; ++i) {
        const QString text = nestedText(random, 2 + i % 25);
        int rounds = 0;
        const QString expected = reference.filtered(text, rounds);
        deepTexts += rounds > 3;
        ASSERT_EQ(sanitizeCSS(text), expected) << text.toStdString();
    }
    EXPECT_GT(deepTexts, 500);
}

TEST(SanitizeCSS, GivesWhatReplacingInRoundsGivesOnDenseTexts)
{
    const ReferenceFilter reference;
    std::mt19937 random(44);
    const QList<QStringList> vocabularies{
        {u"/"_s, u"*"_s, u"javascript:"_s, u"@import;"_s},
        {u"java"_s, u"script"_s, u":"_s, u" "_s, u"url"_s, u"("_s, u")"_s},
        {u"position"_s, u":"_s, u" "_s, u"fixed"_s, u"/**/"_s, u"stic"_s, u"ky"_s},
        {u"@font-face"_s, u"{"_s, u"}"_s, u"/"_s, u"*"_s, u"@import"_s, u";"_s, u"\n"_s},
        {u"url("_s, u"expression"_s, u"("_s, u"xpression("_s, u"image-set"_s, u")"_s, u"url"_s},
    };
    for (int i = 0; i < 50'000; ++i) {
        const QString text = randomText(random, vocabularies[i % vocabularies.size()], 3 + i % 23);
        int rounds = 0;
        ASSERT_EQ(sanitizeCSS(text), reference.filtered(text, rounds)) << text.toStdString();
    }
}

TEST(SanitizeCSS, IsItsOwnFixedPoint)
{
    std::mt19937 random(45);
    for (int i = 0; i < 5'000; ++i) {
        const QString once = sanitizeCSS(randomText(random, tokens(), 30));
        ASSERT_EQ(sanitizeCSS(once), once);
    }
}

// Each of the texts below takes hours where a step is quadratic. They are compared without being printed.

constexpr qsizetype hostileSize = 10'000'000;

bool gives(const QString& css, const QString& expected)
{
    return sanitizeCSS(css) == expected;
}

TEST(SanitizeCSS, UnwrapsMillionsOfNestedWords)
{
    const qsizetype depth = 600'000;
    EXPECT_TRUE(gives(u"java"_s.repeated(depth) + u"script:"_s.repeated(depth) + u"x"_s, u"x"_s));
    EXPECT_TRUE(gives(u"expression"_s.repeated(depth) + u"("_s, u"("_s));
    EXPECT_TRUE(gives(u"/"_s.repeated(depth) + u"/**/"_s + u"*/"_s.repeated(depth),
                      u"/"_s.repeated(depth) + u"*"_s.repeated(depth / 3)));
    EXPECT_TRUE(gives(u"@im"_s.repeated(depth) + u"port;"_s.repeated(depth), QString()));
}

TEST(SanitizeCSS, UnwrapsNestedWordsBesideLongRunsOfSpace)
{
    const qsizetype depth = 200'000;
    const QString nest = u"java"_s.repeated(depth) + u"script:"_s.repeated(depth);
    const QString space(depth, u' ');
    EXPECT_TRUE(gives(u"url"_s + space + nest + space + u"x"_s, u"url"_s + space + space + u"x"_s));
    EXPECT_TRUE(gives(u"position"_s + space + nest + u":"_s + nest + space + nest + u"fixed"_s,
                      u"position:static"_s));
    EXPECT_TRUE(gives((space + u"javascript:"_s).repeated(20) + u":"_s, space.repeated(20) + u":"_s));
    EXPECT_TRUE(gives(u"behavior"_s + u" javascript:"_s.repeated(depth) + u":"_s, u"x:"_s));
}

TEST(SanitizeCSS, SearchesEndsThatAreNotThereOnce)
{
    for (const QString& token : {u"/* "_s, u"*/ "_s, u"/"_s, u"*"_s, u"@font-face {"_s, u"@font-face{ /* "_s,
                                 u"javascript "_s, u"position: "_s, u"url "_s, u"behavior"_s}) {
        const QString text = token.repeated(hostileSize / 4 / token.size());
        EXPECT_TRUE(gives(text, text)) << token.toStdString();
    }
    EXPECT_TRUE(gives(u"url("_s.repeated(hostileSize / 4), u"none"_s));
    EXPECT_TRUE(gives(u"@import"_s.repeated(hostileSize / 7), QString()));
    const QString spaced = u"expression"_s + QString(hostileSize, u' ');
    EXPECT_TRUE(gives(spaced, spaced));
}

TEST(SanitizeCSS, SearchesEndsThatAreNotThereOnceAlsoBetweenRounds)
{
    const qsizetype depth = 200'000;
    const QString nest = u"java"_s.repeated(depth) + u"script:"_s.repeated(depth);
    const QString unclosedFonts = u"@font-face{"_s.repeated(depth);
    const QString unclosed = u"/* "_s.repeated(depth);
    const QString unopened = u"*/ "_s.repeated(depth);
    EXPECT_TRUE(gives(unclosedFonts + nest, unclosedFonts));
    EXPECT_TRUE(gives(nest + unclosedFonts, unclosedFonts));
    EXPECT_TRUE(gives(unclosed + nest, unclosed));
    EXPECT_TRUE(gives(unopened + nest + unclosed, unopened + unclosed));
    EXPECT_TRUE(gives(u"/javascript:* *javascript:/ "_s.repeated(depth), u" "_s.repeated(depth)));
}

TEST(SanitizeCSS, ReplacesMillionsOfMatches)
{
    const qsizetype count = 500'000;
    EXPECT_TRUE(gives(u"url(x) "_s.repeated(count), u"none "_s.repeated(count)));
    EXPECT_TRUE(gives(u"position:fixed;"_s.repeated(count), u"position:static;"_s.repeated(count)));
    EXPECT_TRUE(gives(u"/**/"_s.repeated(count), QString()));
    EXPECT_TRUE(gives(u"\\75 "_s.repeated(count), u"u"_s.repeated(count)));
}

} // namespace
} // namespace Larkhaven
