#include "UITestSupport.h"
#include "model/AccentChoice.h"
#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

// The restart of the program, as a process of its own.

namespace Larkhaven {
namespace {

class RestartTest : public testing::Test {
protected:
    RestartTest()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& name :
             {u"XDG_CONFIG_HOME"_s, u"XDG_CACHE_HOME"_s, u"XDG_DATA_HOME"_s, u"XDG_RUNTIME_DIR"_s}) {
            const QString path = folder.filePath(name);
            QDir().mkpath(path);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            environment.insert(name, path);
        }
        environment.insert(u"RESTART_LOG"_s, folder.filePath(u"log"_s));
        program.setProcessEnvironment(environment);
        UserDefaults(settings()).set(DefaultsKey::accent, u"system"_s);
    }
    QString settings() const { return folder.filePath(u"XDG_CONFIG_HOME/larkhaven/larkhaven.ini"_s); }
    /// The last life ends before its folder goes.
    static void awaitEnd(const QString& process)
    {
        EXPECT_TRUE(
            waitUntil([&] { return !QFile::exists(u"/proc/"_s + process); }, std::chrono::seconds(60)));
    }
    QStringList lives() const
    {
        QFile log(folder.filePath(u"log"_s));
        return log.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
    }
    void set(const QString& name, const QString& value)
    {
        QProcessEnvironment environment = program.processEnvironment();
        environment.insert(name, value);
        program.setProcessEnvironment(environment);
    }
    void run()
    {
        program.start(QStringLiteral(RESTARTED_PROGRAM), {});
        ASSERT_TRUE(
            waitUntil([this] { return program.state() == QProcess::NotRunning; }, std::chrono::seconds(60)));
        EXPECT_EQ(program.exitCode(), 0);
    }

    QTemporaryDir folder;
    QProcess program;
};

TEST_F(RestartTest, StartsTheProgramAnewOnItsProfile)
{
    run();
    ASSERT_TRUE(waitUntil([this] { return lives().size() == 2; }, std::chrono::seconds(60)));
    const QStringList first = lives().first().split(u' ');
    const QStringList second = lives().last().split(u' ');
    EXPECT_EQ(first[1], u"first");
    EXPECT_EQ(second[1], u"first") << "the lock was free";
    EXPECT_NE(first[0], second[0]) << "it is another process";
    // The desktop has no accent here: its blue takes the place of ours.
    EXPECT_NE(second[2], u"#6a45d8");
    awaitEnd(second[0]);
    EXPECT_EQ(lives().size(), 2);
}

TEST_F(RestartTest, TheSizeOfTextCountsAtOnceAndAfterARestartAndOneThatIsNoneDoesNot)
{
    for (const auto& [size, taken] :
         {std::pair(u"20"_s, u"20"_s), std::pair(u"nonsense"_s, u"13"_s), std::pair(u"17"_s, u"13"_s)}) {
        QFile::remove(folder.filePath(u"log"_s));
        UserDefaults(settings()).set(DefaultsKey::textSize, 16);
        set(u"RESTART_TEXT_SIZE"_s, size);
        run();
        ASSERT_TRUE(waitUntil([this] { return lives().size() == 3; }, std::chrono::seconds(60)));
        EXPECT_EQ(lives()[0].section(u' ', 3), u"16");
        EXPECT_EQ(lives()[1], taken);
        EXPECT_EQ(lives()[2].section(u' ', 3), taken);
        awaitEnd(lives()[2].section(u' ', 0, 0));
    }
}

TEST_F(RestartTest, StaysWhereTheUserWantsToKeepWhatIsBeingWritten)
{
    set(u"RESTART_REFUSED"_s, u"1"_s);
    run();
    EXPECT_EQ(lives().size(), 2);
    EXPECT_EQ(lives().last(), u"stayed");
}

} // namespace
} // namespace Larkhaven
