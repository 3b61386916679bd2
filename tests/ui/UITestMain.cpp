#include "app/platform/Translations.h"
#include "views/reader/SecureMessageView.h"

#include <QApplication>
#include <QLocale>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

#if defined(__SANITIZE_ADDRESS__)
// What the sanitizers find in libraries that aren't ours, and only that.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    // The web engine frees some objects by the size of their base.
    return "new_delete_type_mismatch=0";
}
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt6WebEngineCore.so\nleak:libfontconfig.so\nleak:libudev.so\nleak:libgallium\nleak:_dri."
           "so\n"
           "leak:libGLX\nleak:libLLVM\nleak:libubsan.so\nleak:libasan.so\n";
}
#endif

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
    const int result = RUN_ALL_TESTS();
    const bool hasRun = testing::UnitTest::GetInstance()->test_to_run_count() > 0;
    return hasRun ? result : 1;
}
