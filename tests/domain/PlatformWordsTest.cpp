#include "domain/PlatformWords.h"

#include "support/QtPrinters.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Platform = PlatformWords::Platform;
using Text = PlatformWords::Text;

/// Every text of the platform, in the order of the table.
QStringList texts(Platform platform)
{
    QStringList texts;
    for (int number = 0; number < PlatformWords::count; ++number)
        texts.append(PlatformWords::text(static_cast<Text>(number), platform));
    return texts;
}

TEST(PlatformWords, NameNothingOfAnotherPlatform)
{
    const QStringList linuxTexts = texts(Platform::linuxDesktop);
    ASSERT_EQ(linuxTexts.size(), 11);
    for (const QString& text : linuxTexts) {
        for (const QString& word :
             {u"Mac"_s, u"macOS"_s, u"Keychain"_s, u"Dock"_s, u"System Settings"_s, u"⌘"_s, u"⇧"_s})
            EXPECT_FALSE(text.contains(word)) << text.toStdString();
    }
}

TEST(PlatformWords, HaveBothWordingsOfEachText)
{
    const QStringList mac = texts(Platform::macOS);
    const QStringList linuxTexts = texts(Platform::linuxDesktop);
    for (qsizetype index = 0; index < mac.size(); ++index)
        EXPECT_NE(mac[index], linuxTexts[index]);
    EXPECT_EQ(QSet<QString>(mac.begin(), mac.end()).size(), mac.size());
    EXPECT_EQ(QSet<QString>(linuxTexts.begin(), linuxTexts.end()).size(), linuxTexts.size());
}

TEST(PlatformWords, AreThoseOfTheDesktopHere)
{
    EXPECT_EQ(PlatformWords::here(), Platform::linuxDesktop);
    EXPECT_EQ(PlatformWords::text(Text::onThisComputer), u"On This Computer");
    EXPECT_EQ(PlatformWords::text(Text::credentialsPlace), u"Stored in this computer's keyring");
    EXPECT_EQ(PlatformWords::text(Text::getNewMailHelp), u"Get New Mail (Ctrl+Shift+N)");
    EXPECT_EQ(PlatformWords::text(Text::credentialsPlace, Platform::macOS), u"Stored in this Mac's Keychain");
    EXPECT_EQ(
        PlatformWords::text(Text::accentRestart, Platform::macOS),
        u"macOS applies an app's accent color when it opens. Unsent messages in open New Message windows "
        "will be closed.");
}

} // namespace
} // namespace Larkhaven
