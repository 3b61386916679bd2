#include "app/platform/DesktopEntry.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QByteArray browser = R"([Desktop Entry]
# a comment = x
Type=Application
Name=Browser
Exec = /usr/bin/browser "a \"b\" \\$c" %u --icon %i 100%%
Exec[de]=/usr/bin/other
TryExec=/usr/bin/browser
Actions=new-window;gone;new-private-window;

[Desktop Action new-private-window]
Exec=browser --private %U

[Desktop Action new-window]
Exec=browser --new
)";

TEST(DesktopEntry, GivesTheCommandAndTheActionsInTheirOrder)
{
    const std::optional<DesktopEntry> entry = DesktopEntry::parse(browser);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->tryExec, u"/usr/bin/browser");
    EXPECT_EQ(entry->actions,
              (QList<DesktopEntry::Action>{{u"new-window"_s, u"browser --new"_s},
                                           {u"new-private-window"_s, u"browser --private %U"_s}}));
    EXPECT_EQ(DesktopEntry::commandLine(entry->exec, u"https://x"_s),
              (QStringList{u"/usr/bin/browser"_s, u"a \"b\" $c"_s, u"https://x"_s, u"--icon"_s, u"100%"_s}));
}

TEST(DesktopEntry, IsNoneWhereTheFileDescribesNoApplication)
{
    for (const char* bytes :
         {"", "[Desktop Entry]\nType=Link\nExec=x\n", "[Desktop Entry]\nType=Application\n",
          "[Desktop Entry]\nType=Application\nExec=x\nHidden=true\n", "[Other]\nType=Application\nExec=x\n",
          "Type=Application\nExec=x\n"})
        EXPECT_FALSE(DesktopEntry::parse(bytes)) << bytes;
}

TEST(DesktopEntry, ReadsTheEscapesOfAValue)
{
    const std::optional<DesktopEntry> entry =
        DesktopEntry::parse("[Desktop Entry]\nType=Application\nExec=a\\sb\\tc\\nd\\re\\\\f\\xg\\\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->exec, u"a b\tc\nd\re\\f\\xg\\");
}

TEST(DesktopEntry, HasNoCommandWhereAQuoteIsOpenOrTheProgramIsMissing)
{
    for (const QString& exec : {u"browser \"x"_s, u""_s, u"  "_s, u"\"\" x"_s, u"%i"_s})
        EXPECT_FALSE(DesktopEntry::commandLine(exec, u"u"_s)) << qPrintable(exec);
}

TEST(DesktopEntry, PutsTheAddressWhereAnyCodeForFilesOrAddressesStands)
{
    for (const QString& code : {u"%u"_s, u"%U"_s, u"%f"_s, u"%F"_s}) {
        EXPECT_EQ(DesktopEntry::commandLine(u"b --at="_s + code, u"https://x y"_s),
                  (QStringList{u"b"_s, u"--at=https://x y"_s}));
        EXPECT_TRUE(DesktopEntry::takesURL(u"b "_s + code));
    }
    for (const QString& exec : {u"b"_s, u"b %i %c %k"_s, u"b %%u"_s, u"b \"x"_s})
        EXPECT_FALSE(DesktopEntry::takesURL(exec)) << qPrintable(exec);
}

TEST(DesktopEntry, LeavesAnArgumentEmptyThatIsWrittenSo)
{
    EXPECT_EQ(DesktopEntry::commandLine(u"b \"\" c"_s, {}), (QStringList{u"b"_s, u""_s, u"c"_s}));
}

} // namespace
} // namespace Larkhaven
