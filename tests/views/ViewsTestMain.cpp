#include <QApplication>
#include <QIcon>
#include <QLocale>
#include <QStandardPaths>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Nothing of this is drawn, and dates have one reading.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("TZ", "Europe/Berlin");
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QApplication application(argc, argv);
    // A platform without a desktop doesn't know where icons are.
    QIcon::setThemeSearchPaths(QStandardPaths::locateAll(
        QStandardPaths::GenericDataLocation, QStringLiteral("icons"), QStandardPaths::LocateDirectory));
    return RUN_ALL_TESTS();
}
