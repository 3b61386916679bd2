#include "app/platform/DesktopEntry.h"
#include "support/QtPrinters.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What an installation of a build with these secrets tells the desktop.
class DesktopFilesTest : public testing::Test {
protected:
    void make(const QByteArray& secrets)
    {
        QFile file(folder.filePath(u"secrets"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(secrets);
        file.close();
        ASSERT_EQ(QProcess::execute(
                      u"cmake"_s, {u"-DSECRETS="_s + file.fileName(), u"-DPROGRAM=/opt/a b/larkhaven"_s,
                                   u"-DFOLDER="_s + folder.path(), u"-P"_s, QStringLiteral(DESKTOP_SCRIPT)}),
                  0);
        entry = read(u"com.tundra42.larkhaven.desktop"_s);
    }
    QByteArray read(const QString& name) const
    {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    bool hasLine(const QByteArray& line) const { return ('\n' + entry).contains('\n' + line + '\n'); }

    QTemporaryDir folder;
    QByteArray entry;
};

TEST_F(DesktopFilesTest, BringTheRedirectsOfBothServicesBack)
{
    make("GOOGLE_CLIENT_ID = 12-Ab..apps.x.com\n");
    EXPECT_TRUE(hasLine("MimeType=x-scheme-handler/mailto;x-scheme-handler/com.x.apps.12-ab;"
                        "x-scheme-handler/msauth.com.tundra42.larkhaven;"))
        << entry.constData();
}

TEST_F(DesktopFilesTest, LeaveGoogleOutWhereTheBuildHasNoClient)
{
    for (const char* value : {"", "$(GOOGLE_CLIENT_ID)", "a;b=c"}) {
        make(QByteArray("GOOGLE_CLIENT_ID = ") + value + '\n');
        EXPECT_TRUE(
            hasLine("MimeType=x-scheme-handler/mailto;x-scheme-handler/msauth.com.tundra42.larkhaven;"))
            << value;
    }
}

TEST_F(DesktopFilesTest, StartTheInstalledProgramOverTheBusOrByItself)
{
    make({});
    EXPECT_TRUE(hasLine("DBusActivatable=true"));
    const std::optional<DesktopEntry> parsed = DesktopEntry::parse(entry);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(DesktopEntry::commandLine(parsed->exec, u"x:y"_s),
              (QStringList{u"/opt/a b/larkhaven"_s, u"x:y"_s}));
    EXPECT_EQ(read(u"com.tundra42.larkhaven.service"_s),
              "[D-BUS Service]\nName=com.tundra42.larkhaven\nExec=\"/opt/a b/larkhaven\" --dbus-service\n");
}

} // namespace
} // namespace Larkhaven
