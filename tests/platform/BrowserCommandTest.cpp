#include "app/platform/BrowserCommand.h"

#include "ScriptedBrowsers.h"
#include "support/QtPrinters.h"

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Family = BrowserCommand::Family;

const QString url = u"https://x.example/?a=b%20c&d=100%"_s;

class DefaultBrowser : public testing::Test {
protected:
    std::optional<BrowserCommand> command() const
    {
        return BrowserCommand::ofDefaultBrowser(desktop.folders);
    }
    /// The arguments, behind the program.
    QStringList line() const
    {
        const std::optional<BrowserCommand> found = command();
        return found ? found->line(url, u"/p"_s).mid(1) : QStringList();
    }

    ScriptedBrowsers desktop;
};

// --- Which one it is

TEST_F(DefaultBrowser, IsTheFirstOfTheUsersOwnListThatIsInstalled)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.addEntry(u"c.desktop"_s, desktop.addProgram(u"chromium"_s));
    desktop.setDefault("a.desktop;b.desktop;c.desktop");
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->family, Family::firefox);
}

TEST_F(DefaultBrowser, IsThatOfTheRunningDesktopBeforeThatOfAll)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.addEntry(u"c.desktop"_s, desktop.addProgram(u"chromium"_s));
    desktop.setDefault("b.desktop");
    desktop.write(
        u"config/x-y-mimeapps.list"_s,
        "[Default Applications]\nx-scheme-handler/http=b.desktop\nx-scheme-handler/https=c.desktop\n");
    desktop.folders.desktops = {u"none"_s, u"x-y"_s};
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->family, Family::chromium);
}

TEST_F(DefaultBrowser, IsFoundInAListThatWasWrittenByHand)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.write(u"config/mimeapps.list"_s,
                  "[Default Applications]\n x-scheme-handler/https = b.desktop ;\n");
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->family, Family::firefox);
}

TEST_F(DefaultBrowser, IsNoneWhereOnlyAScriptStartsItBehindWalls)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s, "exec /snap/bin/firefox \"$@\""));
    desktop.setDefault("b.desktop");
    EXPECT_FALSE(command()) << "it can't reach a profile of ours";
}

TEST_F(DefaultBrowser, IsThatOfTheUserBeforeThatOfTheSystem)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.addEntry(u"c.desktop"_s, desktop.addProgram(u"chromium"_s));
    desktop.write(u"data/applications/mimeapps.list"_s,
                  "[Default Applications]\nx-scheme-handler/https=c.desktop\n");
    EXPECT_EQ(command()->family, Family::chromium);
    desktop.setDefault("b.desktop");
    EXPECT_EQ(command()->family, Family::firefox);
}

TEST_F(DefaultBrowser, IsReadFromNoOtherGroup)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.write(u"config/mimeapps.list"_s, "[Removed Associations]\nx-scheme-handler/https=b.desktop\n"
                                             "[Default Applications]\ntext/html=b.desktop\n");
    EXPECT_FALSE(command());
}

TEST_F(DefaultBrowser, IsOneThatSaysSoOfItselfWhereNobodyHasChosen)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.write(u"data/applications/mimeinfo.cache"_s, "[MIME Cache]\nx-scheme-handler/https=b.desktop;\n");
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->family, Family::firefox);
}

TEST_F(DefaultBrowser, IsThatOfTheEnvironmentWhereTheDesktopKnowsNone)
{
    desktop.addProgram(u"chromium"_s);
    desktop.folders.preferredBrowser = u"chromium"_s;
    EXPECT_EQ(command()->family, Family::chromium);
    const QString firefox = desktop.addProgram(u"firefox-esr"_s);
    desktop.folders.preferredBrowser.clear();
    ASSERT_TRUE(QFile::link(firefox, desktop.path(u"bin/x-www-browser"_s)));
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->start, QStringList(firefox));
    EXPECT_EQ(command()->family, Family::firefox);
}

TEST_F(DefaultBrowser, LiesInAFolderThatADashStandsFor)
{
    desktop.addEntry(u"kde/a-b.desktop"_s, desktop.addProgram(u"firefox"_s));
    desktop.setDefault("kde-a-b.desktop");
    EXPECT_TRUE(command());
}

TEST_F(DefaultBrowser, IsNoneThatIsMarkedAsRemovedOrWhoseProgramIsMissing)
{
    desktop.addEntry(u"b.desktop"_s, desktop.addProgram(u"firefox"_s), "Hidden=true\n");
    desktop.setDefault("b.desktop");
    EXPECT_FALSE(command());
    desktop.addEntry(u"b.desktop"_s, desktop.path(u"bin/firefox"_s), "TryExec=missing\n");
    EXPECT_FALSE(command());
    desktop.addEntry(u"b.desktop"_s, desktop.path(u"bin/firefox-missing"_s));
    EXPECT_FALSE(command());
}

TEST_F(DefaultBrowser, IsNoFileOutsideTheFoldersOfApplications)
{
    desktop.write(u"out.desktop"_s, "[Desktop Entry]\nType=Application\nExec=" +
                                        desktop.addProgram(u"firefox"_s).toUtf8() + "\n");
    desktop.setDefault("../../out.desktop;" + desktop.path(u"out.desktop"_s).toUtf8());
    EXPECT_FALSE(command());
}

TEST(DesktopFolders, AreThoseOfTheEnvironment)
{
    const auto set = [](const char* name, const QByteArray& value) {
        const QByteArray before = qgetenv(name);
        const bool wasSet = qEnvironmentVariableIsSet(name);
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
        return qScopeGuard([=] { wasSet ? qputenv(name, before) : qunsetenv(name); });
    };
    const auto home = set("HOME", "/h");
    const auto config = set("XDG_CONFIG_HOME", "/c");
    const auto configs = set("XDG_CONFIG_DIRS", "/d1:relative:/d2");
    const auto data = set("XDG_DATA_HOME", {});
    const auto datas = set("XDG_DATA_DIRS", "");
    const auto names = set("XDG_CURRENT_DESKTOP", "Ubuntu:GNOME");
    const auto browser = set("BROWSER", "firefox:chromium");
    const DesktopFolders folders = DesktopFolders::ofEnvironment();
    EXPECT_EQ(folders.config, (QStringList{u"/c"_s, u"/d1"_s, u"/d2"_s}));
    EXPECT_EQ(folders.data, (QStringList{u"/h/.local/share"_s, u"/usr/local/share"_s, u"/usr/share"_s}));
    EXPECT_EQ(folders.desktops, (QStringList{u"ubuntu"_s, u"gnome"_s}));
    EXPECT_EQ(folders.preferredBrowser, u"firefox");
    EXPECT_FALSE(folders.searchPath.isEmpty());
}

// --- How it is started

TEST_F(DefaultBrowser, OfTheFirefoxFamilyGetsAProfileAndAPrivateWindow)
{
    for (const QString& name : {u"firefox"_s, u"firefox-esr"_s, u"librewolf"_s, u"floorp"_s}) {
        desktop.useBrowser(name);
        EXPECT_EQ(line(),
                  (QStringList{u"--no-remote"_s, u"--profile"_s, u"/p"_s, u"--private-window"_s, url}))
            << qPrintable(name);
        EXPECT_TRUE(command()->usesProfile());
    }
}

TEST_F(DefaultBrowser, OfTheChromiumFamilyGetsAProfileAndAPrivateWindow)
{
    for (const QString& name : {u"chromium"_s, u"chromium-browser"_s, u"google-chrome-stable"_s,
                                u"brave-browser"_s, u"vivaldi-stable"_s}) {
        desktop.useBrowser(name);
        EXPECT_EQ(line(), (QStringList{u"--user-data-dir=/p"_s, u"--incognito"_s, u"--no-first-run"_s,
                                       u"--no-default-browser-check"_s, u"--password-store=basic"_s, url}))
            << qPrintable(name);
    }
    desktop.useBrowser(u"microsoft-edge"_s);
    EXPECT_EQ(line(), (QStringList{u"--user-data-dir=/p"_s, u"--inprivate"_s, u"--no-first-run"_s,
                                   u"--no-default-browser-check"_s, u"--password-store=basic"_s, url}));
}

TEST_F(DefaultBrowser, KeepsWhatItsEntrySetsForIt)
{
    const QString program = desktop.addProgram(u"firefox"_s);
    desktop.addProgram(u"env"_s);
    desktop.addEntry(u"b.desktop"_s, u"env A=1 B=2 "_s + program + u" --name x %u"_s);
    desktop.setDefault("b.desktop");
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->start, (QStringList{u"env"_s, u"A=1"_s, u"B=2"_s, program}));
}

TEST_F(DefaultBrowser, OfAnotherKindIsStartedByItsActionForAPrivateWindow)
{
    const QString program = desktop.addProgram(u"epiphany"_s);
    for (const QByteArray& id :
         {QByteArray("new-private-window"), QByteArray("Incognito"), QByteArray("NewPrivateWindow")}) {
        desktop.addEntry(
            u"b.desktop"_s, program + u" %u"_s,
            "Actions=new-window;" + id + ";\n[Desktop Action new-window]\nExec=" + program.toUtf8() +
                " --new %u\n[Desktop Action " + id + "]\nExec=" + program.toUtf8() + " --quiet %U --end\n");
        desktop.setDefault("b.desktop");
        EXPECT_EQ(line(), (QStringList{u"--quiet"_s, url, u"--end"_s})) << id.constData();
        EXPECT_FALSE(command()->usesProfile());
    }
}

TEST_F(DefaultBrowser, GetsTheAddressAtTheEndWhereItsActionHasNoPlaceForIt)
{
    desktop.useBrowser(u"epiphany"_s, {},
                       "Actions=p-private;\n[Desktop Action p-private]\nExec=" +
                           desktop.path(u"bin/epiphany"_s).toUtf8() + " --private\n");
    EXPECT_EQ(line(), (QStringList{u"--private"_s, url}));
}

TEST_F(DefaultBrowser, IsNoneWhereItCannotBePrivate)
{
    desktop.useBrowser(u"konqueror"_s);
    EXPECT_FALSE(command());
    desktop.useBrowser(u"other"_s, {},
                       "Actions=new-private-window-with-tor;\n[Desktop Action new-private-window-with-tor]\n"
                       "Exec=" +
                           desktop.path(u"bin/other"_s).toUtf8() + "\n");
    EXPECT_FALSE(command());
    desktop.useBrowser(u"firefoxes"_s);
    EXPECT_FALSE(command()) << "another program's name";
}

TEST_F(DefaultBrowser, IsTheNextOfTheListWhereTheFirstCannotBePrivate)
{
    desktop.useBrowser(u"konqueror"_s);
    desktop.addEntry(u"c.desktop"_s, desktop.addProgram(u"chromium"_s));
    desktop.setDefault("browser.desktop;c.desktop");
    ASSERT_TRUE(command());
    EXPECT_EQ(command()->family, Family::chromium);
}

TEST_F(DefaultBrowser, BehindWallsIsStartedByItsActionAsItCannotReachAProfile)
{
    const QString flatpak = desktop.addProgram(u"flatpak"_s);
    const QString run = flatpak + u" run --command=firefox --file-forwarding org.x"_s;
    desktop.addEntry(u"b.desktop"_s, run + u" @@u %u @@"_s,
                     "Actions=new-private-window;\n[Desktop Action new-private-window]\nExec=" +
                         run.toUtf8() + " --private-window @@u %u @@\n");
    desktop.setDefault("b.desktop");
    EXPECT_EQ(line(), (QStringList{u"run"_s, u"--command=firefox"_s, u"--file-forwarding"_s, u"org.x"_s,
                                   u"--private-window"_s, u"@@u"_s, url, u"@@"_s}));
    // A Snap's program is a link to the one that starts all of them.
    const QString snap = desktop.addProgram(u"snap"_s);
    ASSERT_TRUE(QFile::link(snap, desktop.path(u"bin/firefox"_s)));
    const QString firefox = desktop.path(u"bin/firefox"_s);
    desktop.addEntry(u"b.desktop"_s, firefox + u" %u"_s);
    EXPECT_FALSE(command());
    desktop.addEntry(u"b.desktop"_s, firefox + u" %u"_s,
                     "Actions=new-private-window;\n[Desktop Action new-private-window]\nExec=" +
                         firefox.toUtf8() + " --private-window\n");
    EXPECT_EQ(line(), (QStringList{u"--private-window"_s, url}));
}

} // namespace
} // namespace Larkhaven
