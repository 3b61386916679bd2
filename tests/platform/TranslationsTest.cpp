#include "app/platform/Translations.h"

#include "support/QtPrinters.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

QString cancelled()
{
    return QCoreApplication::translate("MailError", "Cancelled.");
}

QString blocked(int count)
{
    return QCoreApplication::translate("Larkhaven::ReaderBanner", "%n tracking images blocked", nullptr,
                                       count);
}

TEST(Translations, SpeakTheLanguageOfTheUser)
{
    const Translations translations(QLocale(QLocale::German, QLocale::Austria));
    EXPECT_EQ(translations.language(), u"de");
    EXPECT_EQ(cancelled(), u"Abgebrochen.");
    EXPECT_EQ(blocked(1), u"1 Zählbild blockiert");
    EXPECT_EQ(blocked(2), u"2 Zählbilder blockiert");
}

TEST(Translations, HaveQtSpeakTheSameLanguage)
{
    const auto close = [] { return QCoreApplication::translate("QPlatformTheme", "Close"); };
    {
        const Translations translations(QLocale(QLocale::German, QLocale::Germany));
        EXPECT_EQ(close(), u"Schließen");
    }
    const Translations translations(QLocale(QLocale::French, QLocale::France));
    EXPECT_EQ(close(), u"Close") << "no window speaks two languages";
}

TEST(Translations, AreEnglishWhereTheProgramLacksTheLanguage)
{
    const Translations translations(QLocale(QLocale::French, QLocale::France));
    EXPECT_EQ(translations.language(), u"en");
    EXPECT_EQ(cancelled(), u"Cancelled.");
    EXPECT_EQ(blocked(1), u"1 tracking image blocked");
    EXPECT_EQ(blocked(0), u"0 tracking images blocked");
    EXPECT_EQ(blocked(2), u"2 tracking images blocked");
}

TEST(Translations, KeepEnglishWhereItIsPreferredToWhatTheProgramHas)
{
    const Translations translations(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(translations.language(), u"en");
    EXPECT_EQ(cancelled(), u"Cancelled.");
}

TEST(Translations, EndWithTheirOwner)
{
    {
        const Translations translations(QLocale(QLocale::German, QLocale::Germany));
    }
    EXPECT_EQ(cancelled(), u"Cancelled.");
}

} // namespace
} // namespace Larkhaven
