#include "model/UserDefaults.h"

#include "model/AccentChoice.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtNumeric>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

class UserDefaultsTest : public testing::Test {
protected:
    QString file() const { return m_folder.filePath(u"settings.ini"_s); }

    void write(const QByteArray& bytes) const
    {
        QFile stored(file());
        ASSERT_TRUE(stored.open(QIODevice::WriteOnly));
        stored.write(bytes);
    }

private:
    QTemporaryDir m_folder;
};

TEST_F(UserDefaultsTest, ReadsThePageSizeAndTheRefreshIntervalThatAreRegisteredWhereNothingIsStored)
{
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(defaults.integer(DefaultsKey::pageSize), 25);
    EXPECT_EQ(defaults.integer(DefaultsKey::refreshMinutes), 5);
}

TEST_F(UserDefaultsTest, ReadsATextWithCommasThatWasWrittenByHand)
{
    write("[General]\nsignature=Mia, Berlin, Home\n");
    const UserDefaults defaults(file());
    EXPECT_EQ(defaults.text(DefaultsKey::signature), u"Mia,Berlin,Home"_s);
}

TEST_F(UserDefaultsTest, RegistersADefaultForEverySetting)
{
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(defaults.text(DefaultsKey::defaultAccountID), u"");
    EXPECT_TRUE(defaults.boolean(DefaultsKey::showPreview));
    EXPECT_TRUE(defaults.boolean(DefaultsKey::gmailShortcuts));
    EXPECT_FALSE(defaults.boolean(DefaultsKey::loadRemoteContent));
    EXPECT_TRUE(defaults.boolean(DefaultsKey::stripTrackingParams));
    EXPECT_TRUE(defaults.boolean(DefaultsKey::warnSuspiciousLinks));
    EXPECT_FALSE(defaults.boolean(DefaultsKey::composeRichText));
    EXPECT_EQ(defaults.text(DefaultsKey::composeFontFamily), u"");
    EXPECT_EQ(defaults.real(DefaultsKey::composeFontSize), 13.0);
    EXPECT_EQ(defaults.text(DefaultsKey::signature), u"");
    EXPECT_TRUE(defaults.boolean(DefaultsKey::suggestFromContacts));
    EXPECT_TRUE(defaults.boolean(DefaultsKey::showDockBadge));
    EXPECT_EQ(defaults.text(DefaultsKey::accent), u"larkhaven");
    EXPECT_EQ(defaults.real(DefaultsKey::textSize), 13.0);
}

TEST_F(UserDefaultsTest, KeepsWhatIsSetAcrossLaunches)
{
    {
        UserDefaults defaults(file());
        defaults.set(DefaultsKey::pageSize, 50);
        defaults.set(DefaultsKey::accounts, QByteArray("[\"\xc3\xa9\"]"));
        defaults.set(DefaultsKey::signature, u"one\ntwo, \"three\""_s);
        defaults.set(DefaultsKey::showPreview, false);
    }
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(defaults.integer(DefaultsKey::pageSize), 50);
    EXPECT_EQ(defaults.data(DefaultsKey::accounts), QByteArray("[\"\xc3\xa9\"]"));
    EXPECT_EQ(defaults.text(DefaultsKey::signature), u"one\ntwo, \"three\"");
    EXPECT_FALSE(defaults.boolean(DefaultsKey::showPreview));
}

TEST_F(UserDefaultsTest, TellsAChangeOnceAndNotASetToTheSameValue)
{
    UserDefaults defaults(file());
    QStringList changes;
    QObject::connect(&defaults, &UserDefaults::changed,
                     [&changes](const QString& key) { changes.append(key); });
    defaults.set(DefaultsKey::pageSize, 50);
    defaults.set(DefaultsKey::pageSize, 50);
    EXPECT_EQ(changes, QStringList(u"pageSize"_s));
}

TEST_F(UserDefaultsTest, GivesTheRegisteredDefaultWhereTheStoredValueIsOfAnotherType)
{
    write("[General]\npageSize=many\nshowPreview=perhaps\n");
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(defaults.integer(DefaultsKey::pageSize), 25);
    EXPECT_TRUE(defaults.boolean(DefaultsKey::showPreview));
}

TEST_F(UserDefaultsTest, GivesTheDefaultWhereTheStoredValueIsNoneThatCanBeChosen)
{
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    for (const int size : {0, -25, 24, 26, 30, 99, 101, 1'000'000}) {
        defaults.set(DefaultsKey::pageSize, size);
        EXPECT_EQ(defaults.integer(DefaultsKey::pageSize), 25) << size;
    }
    for (const int size : {25, 50, 100}) {
        defaults.set(DefaultsKey::pageSize, size);
        EXPECT_EQ(defaults.integer(DefaultsKey::pageSize), size);
    }
    for (const double size : {0.0, -13.0, 7.9, 72.5, 1e300, qInf(), qQNaN()}) {
        defaults.set(DefaultsKey::composeFontSize, size);
        EXPECT_EQ(defaults.real(DefaultsKey::composeFontSize), 13.0) << size;
    }
    for (const double size : {8.0, 13.5, 72.0}) {
        defaults.set(DefaultsKey::composeFontSize, size);
        EXPECT_EQ(defaults.real(DefaultsKey::composeFontSize), size);
    }
}

TEST_F(UserDefaultsTest, HasTheAccentOfTheProgramWhereTheStoredTextIsUnknown)
{
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(accentChoice(defaults), AccentChoice::larkhaven);
    defaults.set(DefaultsKey::accent, u"system"_s);
    EXPECT_EQ(accentChoice(defaults), AccentChoice::system);
    for (const QString& text : {u"larkhaven"_s, u"System"_s, u""_s, u"mauve"_s, u"system "_s}) {
        defaults.set(DefaultsKey::accent, text);
        EXPECT_EQ(accentChoice(defaults), AccentChoice::larkhaven) << text.toStdString();
    }
    EXPECT_EQ(storedText(AccentChoice::larkhaven), u"larkhaven");
    EXPECT_EQ(storedText(AccentChoice::system), u"system");
    EXPECT_EQ(label(AccentChoice::larkhaven), u"Larkhaven Purple");
    EXPECT_EQ(label(AccentChoice::system), u"System Accent Color");
}

TEST_F(UserDefaultsTest, CountsAFileThatIsNoSettingsFileAsEmpty)
{
    write(QByteArray(4096, '\xff') + QByteArray("\0[[[=\n=\n", 9));
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    EXPECT_EQ(defaults.integer(DefaultsKey::refreshMinutes), 5);
    EXPECT_EQ(defaults.data(DefaultsKey::accounts), QByteArray());
}

TEST_F(UserDefaultsTest, CountsAFileThatCannotBeReadAsEmpty)
{
    ASSERT_TRUE(QDir().mkpath(file()));
    UserDefaults defaults(file());
    registerUserSettings(defaults);
    defaults.set(DefaultsKey::pageSize, 100);
    EXPECT_EQ(defaults.integer(DefaultsKey::refreshMinutes), 5);
}

} // namespace
} // namespace Larkhaven
