#include "app/platform/SpellChecker.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

TEST(SpellChecker, KnowsTheInstalledLanguages)
{
    const SpellChecker checker;
    EXPECT_TRUE(checker.languages().contains(u"en_US"_s));
    EXPECT_TRUE(checker.languages().contains(u"de_DE"_s));
    EXPECT_EQ(checker.language(), u""_s);
}

TEST(SpellChecker, TellsRightFromWrong)
{
    SpellChecker checker;
    checker.setLanguage(u"en_US"_s);
    EXPECT_TRUE(checker.isCorrect(u"world"_s));
    EXPECT_TRUE(checker.isCorrect(u"don't"_s));
    EXPECT_FALSE(checker.isCorrect(u"wrold"_s));
    EXPECT_TRUE(checker.suggestions(u"wrold"_s).contains(u"world"_s));
    EXPECT_LE(checker.suggestions(u"wrold"_s).size(), SpellChecker::mostSuggestions);
}

TEST(SpellChecker, TakesAnotherLanguage)
{
    SpellChecker checker;
    checker.setLanguage(u"de_DE"_s);
    EXPECT_EQ(checker.language(), u"de_DE"_s);
    EXPECT_TRUE(checker.isCorrect(u"Straße"_s));
    EXPECT_FALSE(checker.isCorrect(u"wrold"_s));
}

TEST(SpellChecker, WithoutADictionaryEveryWordIsRight)
{
    SpellChecker checker;
    EXPECT_TRUE(checker.isCorrect(u"wrold"_s));
    checker.setLanguage(u"xx_XX"_s);
    EXPECT_EQ(checker.language(), u""_s);
    EXPECT_TRUE(checker.isCorrect(u"wrold"_s));
    EXPECT_TRUE(checker.suggestions(u"wrold"_s).isEmpty());
}

TEST(SpellChecker, RemembersWhatIsIgnoredUntilTheEnd)
{
    SpellChecker checker;
    checker.setLanguage(u"en_US"_s);
    checker.ignore(u"wrold"_s);
    EXPECT_TRUE(checker.isCorrect(u"wrold"_s));
    SpellChecker another;
    another.setLanguage(u"en_US"_s);
    EXPECT_FALSE(another.isCorrect(u"wrold"_s));
}

TEST(SpellChecker, RemembersWhatIsAddedBeyondTheEnd)
{
    {
        SpellChecker checker;
        checker.setLanguage(u"en_US"_s);
        checker.add(u"larkhavenish"_s);
    }
    SpellChecker checker;
    checker.setLanguage(u"en_US"_s);
    EXPECT_TRUE(checker.isCorrect(u"larkhavenish"_s));
}

TEST(SpellChecker, LongAndOddWordsAreNeverLookedUp)
{
    SpellChecker checker;
    checker.setLanguage(u"en_US"_s);
    EXPECT_FALSE(checker.isCorrect(QString(SpellChecker::longestWord, u'q')));
    EXPECT_TRUE(checker.isCorrect(QString(SpellChecker::longestWord + 1, u'q')));
    EXPECT_TRUE(checker.isCorrect(QString()));
    EXPECT_TRUE(checker.isCorrect(u"a\u0000b"_s));
    EXPECT_TRUE(checker.suggestions(QString(SpellChecker::longestWord + 1, u'q')).isEmpty());
    checker.add(QString());
    checker.ignore(u"a\u0000b"_s);
}

TEST(SpellChecker, ChoosesTheLanguageThatFitsTheFirstLocale)
{
    const QStringList installed{u"de_AT"_s, u"de_DE"_s, u"en_GB"_s, u"en_US"_s, u"pt_BR"_s};
    EXPECT_EQ(SpellChecker::bestLanguage(installed, {u"de_AT"_s}), u"de_AT"_s);
    EXPECT_EQ(SpellChecker::bestLanguage(installed, {u"de-CH"_s}), u"de_DE"_s);
    EXPECT_EQ(SpellChecker::bestLanguage(installed, {u"pt_PT"_s}), u"pt_BR"_s);
    EXPECT_EQ(SpellChecker::bestLanguage(installed, {u"fr_FR"_s, u"en_US"_s}), u"en_US"_s);
    EXPECT_EQ(SpellChecker::bestLanguage(installed, {u"C"_s, u"fr"_s}), u""_s);
    EXPECT_EQ(SpellChecker::bestLanguage({}, {u"de_DE"_s}), u""_s);
}

} // namespace
} // namespace Larkhaven
