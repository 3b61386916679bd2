#include "views/compose/SpellingLanguages.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QStringList installed{u"de_DE"_s, u"en_GB"_s, u"en_US"_s, u"ru_RU"_s, u"uk_UA"_s};

TEST(SpellingLanguages, AWordIsCheckedByTheDictionaryOfItsScript)
{
    const SpellingLanguages languages(installed, {u"en_US"_s, u"uk_UA"_s});
    EXPECT_EQ(languages.main(), u"en_US"_s);
    EXPECT_EQ(languages.of(u"world"), u"en_US"_s);
    EXPECT_EQ(languages.of(u"світ"), u"uk_UA"_s);
    EXPECT_EQ(languages.of(u"κόσμος"), QString());
    EXPECT_EQ(languages.missing(), QString());
}

TEST(SpellingLanguages, AScriptOfNobodysLocaleHasItsFirstDictionary)
{
    const SpellingLanguages languages(installed, {u"de_DE"_s});
    EXPECT_EQ(languages.of(u"мир"), u"ru_RU"_s);
    EXPECT_EQ(languages.of(u"Welt"), u"de_DE"_s);
}

TEST(SpellingLanguages, TheLanguageOfAComputerWithoutALocaleIsEnglish)
{
    const SpellingLanguages languages(installed, {u"C"_s, QString()});
    EXPECT_EQ(languages.main(), u"en_US");
    EXPECT_EQ(languages.of(u"world"), u"en_US");
    EXPECT_EQ(languages.missing(), QString());
}

TEST(SpellingLanguages, OfSeveralDictionariesInAnotherScriptEnglishIsTaken)
{
    const SpellingLanguages languages(installed, {u"ru_RU"_s});
    EXPECT_EQ(languages.main(), u"ru_RU");
    EXPECT_EQ(languages.of(u"world"), u"en_US");
}

TEST(SpellingLanguages, AWordOfSeveralScriptsIsLeftAlone)
{
    const SpellingLanguages languages(installed, {u"en_US"_s});
    EXPECT_EQ(languages.of(u"Qtшный"), QString());
    EXPECT_EQ(languages.of(u"don’t"), u"en_US"_s);
    EXPECT_EQ(languages.of(u"12’"), QString());
    EXPECT_EQ(languages.of({}), QString());
    // Letters beyond the first plane: Deseret and Gothic.
    EXPECT_EQ(languages.of(QString::fromUcs4(U"a\U00010400")), QString());
    EXPECT_EQ(languages.of(QString::fromUcs4(U"\U00010330")), QString());
}

TEST(SpellingLanguages, ALanguageWithoutADictionaryIsNotCheckedByThatOfAnother)
{
    const SpellingLanguages languages(installed, {u"fr_FR"_s, u"en_US"_s});
    EXPECT_EQ(languages.main(), QString());
    EXPECT_EQ(languages.of(u"monde"), QString());
    EXPECT_EQ(languages.of(u"мир"), u"ru_RU"_s);
    EXPECT_EQ(languages.missing(), u"fr_FR"_s);
}

TEST(SpellingLanguages, TheUsersChoiceGoesFirst)
{
    const SpellingLanguages languages(installed, {u"fr_FR"_s}, u"en_GB"_s);
    EXPECT_EQ(languages.main(), u"en_GB"_s);
    EXPECT_EQ(languages.of(u"monde"), u"en_GB"_s);
    EXPECT_EQ(languages.missing(), QString());
    const SpellingLanguages other(installed, {u"en_US"_s}, u"ru_RU"_s);
    EXPECT_EQ(other.of(u"мир"), u"ru_RU"_s);
    EXPECT_EQ(other.of(u"world"), u"en_US"_s);
}

TEST(SpellingLanguages, AComputerWithoutALocaleMissesNone)
{
    const SpellingLanguages languages({u"de_DE"_s}, {u"C"_s, QString()});
    EXPECT_EQ(languages.main(), QString());
    EXPECT_EQ(languages.missing(), QString());
    EXPECT_EQ(SpellingLanguages({}, {u"C"_s, u"en_US"_s}).missing(), u"en_US"_s);
    EXPECT_EQ(SpellingLanguages(), SpellingLanguages({}, {}));
}

} // namespace
} // namespace Larkhaven
