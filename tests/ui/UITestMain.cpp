#include "SanitizerOptions.h"
#include "app/platform/Translations.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QCursor>
#include <QLocale>
#include <QScreen>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

/// Nothing of the user's own is read or written.
void useFolder(const QTemporaryDir& folder)
{
    const auto path = [&folder](QLatin1StringView name) { return folder.filePath(name).toUtf8(); };
    if (!qEnvironmentVariableIsSet("LARKHAVEN_TEST_KEEPS_HOME"))
        qputenv("HOME", path("home"_L1));
    qputenv("XDG_CONFIG_HOME", path("config"_L1));
    qputenv("XDG_CACHE_HOME", path("cache"_L1));
    qputenv("XDG_DATA_HOME", path("data"_L1));
    if (!qEnvironmentVariableIsSet("LARKHAVEN_TEST_KEEPS_BUS"))
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path("no-bus"_L1));
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests))
        return RUN_ALL_TESTS();
    const QTemporaryDir folder;
    useFolder(folder);
    qputenv("TZ", "Europe/Berlin");
    // The engine refuses to make a sandbox for root.
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    Larkhaven::SecureMessageView::prepareEngine();
    QApplication application(argc, argv);
    const Larkhaven::Translations translations;
    QApplication::setQuitOnLastWindowClosed(false);
    // Where a window opens under the display's own mouse, its events mix with those of a test.
    QCursor::setPos(QGuiApplication::primaryScreen()->geometry().bottomRight());
    const int result = RUN_ALL_TESTS();
    const bool hasRun = testing::UnitTest::GetInstance()->test_to_run_count() > 0;
    return hasRun ? result : 1;
}
