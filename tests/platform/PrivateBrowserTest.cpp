#include "app/platform/PrivateBrowser.h"

#include "ScriptedBrowsers.h"
#include "app/platform/BrowserProfile.h"
#include "support/Await.h"
#include "support/QtPrinters.h"

#include <QEventLoop>
#include <QProcess>
#include <QTimer>

#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace Larkhaven {
namespace {

const QByteArray url = "https://x.example/authorize?state=s&code_challenge=c";

class PrivateBrowserTest : public testing::Test {
protected:
    PrivateBrowser::Setting setting() const
    {
        return {desktop.folders, desktop.runtime(), handOverTime, patience};
    }
    /// A browser that is known by the action of its desktop entry alone.
    void useOther(const QByteArray& script)
    {
        desktop.useBrowser(u"epiphany"_s, script,
                           "Actions=new-private-window;\n[Desktop Action new-private-window]\nExec=" +
                               desktop.path(u"bin/epiphany"_s).toUtf8() + " --incognito\n");
    }
    /// Opens the browser and waits until it has noted its arguments.
    void open()
    {
        session = await(PrivateBrowser::open(url, setting()));
        QObject::connect(session.get(), &BrowserSession::closed, [this] { ++closed; });
        QObject::connect(session.get(), &BrowserSession::failed, [this] { ++failed; });
        ASSERT_TRUE(waitUntil([this] { return QFile::exists(desktop.noted()); }));
    }
    /// Ends the session as the running program does, from its event loop, and waits until the profile is
    /// gone.
    void endFromEventLoop()
    {
        QEventLoop loop;
        QTimer::singleShot(0, [this] { session.reset(); });
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, &loop, [this, &loop] {
            if (!session && desktop.profiles().isEmpty())
                loop.quit();
        });
        look.start(10ms);
        QTimer::singleShot(10s, &loop, &QEventLoop::quit);
        loop.exec();
    }
    /// Whether the process whose number is in the file runs. (One that nobody has waited for counts not.)
    bool runs(const QString& file) const
    {
        const QByteArray number = desktop.read(file).trimmed();
        QFile status(u"/proc/%1/stat"_s.arg(QString::fromLatin1(number)));
        if (number.isEmpty() || !status.open(QIODevice::ReadOnly))
            return false;
        const QByteArray line = status.readAll();
        return line.mid(line.lastIndexOf(')') + 2, 1) != "Z";
    }
    QByteArray noteOf(const char* name) const { return desktop.path(QString::fromLatin1(name)).toUtf8(); }

    ScriptedBrowsers desktop;
    std::chrono::milliseconds handOverTime = 5s;
    std::chrono::milliseconds patience = 3s;
    std::shared_ptr<BrowserSession> session;
    int closed = 0;
    int failed = 0;
};

TEST_F(PrivateBrowserTest, OpensFirefoxOnAProfileThatOnlyTheUserCanRead)
{
    desktop.useBrowser(u"firefox"_s);
    open();
    const QStringList arguments = desktop.arguments();
    ASSERT_EQ(arguments.size(), 5);
    const QString profile = arguments[2];
    EXPECT_EQ(arguments, (QStringList{u"--no-remote"_s, u"--profile"_s, profile, u"--private-window"_s,
                                      QString::fromLatin1(url)}));
    EXPECT_TRUE(profile.startsWith(desktop.runtime() + u"/larkhaven/sign-in-"_s)) << qPrintable(profile);
    const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;
    EXPECT_FALSE(QFile::permissions(profile) & others);
    EXPECT_FALSE(QFile::permissions(desktop.runtime() + u"/larkhaven"_s) & others);
    QFile preferences(profile + u"/user.js"_s);
    ASSERT_TRUE(preferences.open(QIODevice::ReadOnly));
    EXPECT_TRUE(preferences.readAll().contains("\"browser.aboutwelcome.enabled\", false"));
}

TEST_F(PrivateBrowserTest, OpensChromiumOnAProfileOfItsOwnEachTime)
{
    desktop.useBrowser(u"chromium"_s);
    open();
    const QStringList first = desktop.arguments();
    ASSERT_EQ(first.size(), 6);
    session.reset();
    QFile::remove(desktop.noted());
    open();
    EXPECT_NE(desktop.arguments()[0], first[0]);
    EXPECT_EQ(desktop.arguments().mid(1), first.mid(1));
}

TEST_F(PrivateBrowserTest, OpensAnyOtherByItsActionWithoutAProfile)
{
    desktop.useBrowser(u"epiphany"_s, "exec sleep 2",
                       "Actions=new-private-window;\n[Desktop Action new-private-window]\nExec=" +
                           desktop.path(u"bin/epiphany"_s).toUtf8() + " --incognito\n");
    open();
    EXPECT_EQ(desktop.arguments(), (QStringList{u"--incognito"_s, QString::fromLatin1(url)}));
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, SaysThatItCannotOpenWhereNoneCanBePrivate)
{
    const QString refusal = u"Could not open the sign-in window."_s;
    expectMailError(PrivateBrowser::open(url, setting()), MailError::Kind::authFailed, refusal);
    desktop.useBrowser(u"konqueror"_s);
    expectMailError(PrivateBrowser::open(url, setting()), MailError::Kind::authFailed, refusal);
    EXPECT_FALSE(QFile::exists(desktop.noted()));
}

TEST_F(PrivateBrowserTest, SaysThatItCannotOpenWhereThereIsNoPlaceForAProfile)
{
    desktop.useBrowser(u"firefox"_s);
    ASSERT_TRUE(QDir(desktop.runtime()).removeRecursively());
    expectMailError(PrivateBrowser::open(url, setting()), MailError::Kind::authFailed,
                    u"Could not open the sign-in window."_s);
}

TEST_F(PrivateBrowserTest, GetsTheUsersOwnEnvironment)
{
    qputenv("LARKHAVEN_TEST_MARK", "mine");
    desktop.useBrowser(u"firefox"_s, "echo \"$LARKHAVEN_TEST_MARK\" > " + noteOf("mark") + "\nexec sleep 60");
    open();
    EXPECT_TRUE(waitUntil([this] { return desktop.read(u"mark"_s) == "mine\n"; }));
    qunsetenv("LARKHAVEN_TEST_MARK");
}

// --- The end

TEST_F(PrivateBrowserTest, EndsWithAllOfItsGroupAndNoOtherProcess)
{
    desktop.useBrowser(u"firefox"_s, "sleep 61 &\necho $! > " + noteOf("child") + "\necho $$ > " +
                                         noteOf("main") + "\nwait");
    open();
    QProcess bystander;
    bystander.start(u"sleep"_s, {u"62"_s});
    ASSERT_TRUE(waitUntil([this] { return runs(u"child"_s) && runs(u"main"_s); }));
    ASSERT_EQ(desktop.profiles().size(), 2) << "the folder and its lock";
    endFromEventLoop();
    EXPECT_FALSE(runs(u"child"_s));
    EXPECT_FALSE(runs(u"main"_s));
    EXPECT_EQ(bystander.state(), QProcess::Running);
    EXPECT_TRUE(desktop.profiles().isEmpty());
    EXPECT_EQ(closed + failed, 0) << "nobody but us has ended it";
    bystander.kill();
    bystander.waitForFinished();
}

TEST_F(PrivateBrowserTest, IsMadeToEndWhereItDoesNotWantTo)
{
    desktop.useBrowser(u"firefox"_s,
                       "trap '' TERM\necho $$ > " + noteOf("main") + "\nwhile :; do sleep 0.05; done");
    patience = 200ms;
    open();
    ASSERT_TRUE(waitUntil([this] { return runs(u"main"_s); }));
    endFromEventLoop();
    EXPECT_FALSE(runs(u"main"_s));
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, EndsBeforeTheProgramDoesWhereNoEventsAreHandledAnyMore)
{
    desktop.useBrowser(u"firefox"_s,
                       "trap '' TERM\necho $$ > " + noteOf("main") + "\nwhile :; do sleep 0.05; done");
    patience = 200ms;
    open();
    ASSERT_TRUE(waitUntil([this] { return runs(u"main"_s); }));
    session.reset();
    EXPECT_FALSE(runs(u"main"_s));
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, LeavesNoProfileWhereItEndsWhileTheProgramQuits)
{
    desktop.useBrowser(u"firefox"_s,
                       "trap '' TERM\necho $$ > " + noteOf("main") + "\nwhile :; do sleep 0.05; done");
    patience = 300ms;
    open();
    ASSERT_TRUE(waitUntil([this] { return runs(u"main"_s); }));
    // It is asked to end, and the program quits before it has.
    QTimer::singleShot(0, [this] { session.reset(); });
    QTimer::singleShot(50, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_FALSE(runs(u"main"_s));
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, TellsThatTheUserHasClosedIt)
{
    handOverTime = 100ms;
    for (const char* ending : {"exit 0", "exit 3", "kill -9 $$"}) {
        desktop.useBrowser(u"firefox"_s, QByteArray("sleep 0.3\n") + ending);
        closed = 0;
        open();
        EXPECT_TRUE(waitUntil([this] { return closed == 1; })) << ending;
        EXPECT_EQ(failed, 0);
        session.reset();
        QFile::remove(desktop.noted());
    }
}

TEST_F(PrivateBrowserTest, TakesAnEndWithinTheFirstSecondsForHandingOver)
{
    useOther("exit 0");
    open();
    EXPECT_FALSE(waitUntil([this] { return closed + failed > 0; }, 400ms));
}

TEST_F(PrivateBrowserTest, IsClosedHoweverSoonItEndsOnAProfileOfItsOwn)
{
    desktop.useBrowser(u"firefox"_s, "exit 0");
    open();
    EXPECT_TRUE(waitUntil([this] { return closed > 0; }));
    EXPECT_EQ(failed, 0);
    session.reset();
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, LeavesABrowserAloneThatIsTheUsersOwn)
{
    useOther("echo $$ > \"" + desktop.path(u"pid"_s).toUtf8() + "\"\nexec sleep 3");
    open();
    ASSERT_TRUE(waitUntil([this] { return runs(u"pid"_s); }));
    session.reset();
    settle();
    EXPECT_TRUE(runs(u"pid"_s)) << "it may hold other windows by now";
    EXPECT_EQ(qApp->findChildren<QProcess*>().size(), 1) << "somebody waits for it";
    EXPECT_TRUE(waitUntil([this] { return !runs(u"pid"_s); })) << "it ends by itself";
    EXPECT_TRUE(waitUntil([] { return qApp->findChildren<QProcess*>().isEmpty(); }));
}

TEST_F(PrivateBrowserTest, LeavesABrowserThatIsTheUsersOwnToGoOnWhereTheProgramEnds)
{
    const QString browser = desktop.addProgram(u"other"_s, "echo $$ > " + noteOf("pid") + "\nexec sleep 60");
    QProcess program;
    program.start(QString::fromLatin1(LEAVING_PROGRAM), {browser, desktop.path(u"pid"_s)});
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0) << program.readAllStandardError().constData();
    EXPECT_TRUE(runs(u"pid"_s));
    ::kill(desktop.read(u"pid"_s).trimmed().toInt(), SIGKILL);
}

TEST_F(PrivateBrowserTest, TellsThatItHasFailedWhereItEndsAtOnceWithAnError)
{
    for (const char* ending : {"exit 1", "kill -9 $$"}) {
        desktop.useBrowser(u"firefox"_s, ending);
        failed = 0;
        open();
        EXPECT_TRUE(waitUntil([this] { return failed == 1; })) << ending;
        EXPECT_EQ(closed, 0);
        session.reset();
        QFile::remove(desktop.noted());
    }
}

TEST_F(PrivateBrowserTest, TellsThatItHasFailedWhereItCannotBeStarted)
{
    // A script for an interpreter that isn't there.
    desktop.useBrowser(u"firefox"_s);
    desktop.write(u"bin/firefox"_s, "#!/nowhere/sh\n");
    session = await(PrivateBrowser::open(url, setting()));
    QObject::connect(session.get(), &BrowserSession::failed, [this] { ++failed; });
    EXPECT_TRUE(waitUntil([this] { return failed == 1; }));
    session.reset();
    EXPECT_TRUE(desktop.profiles().isEmpty());
}

TEST_F(PrivateBrowserTest, LastsAsLongAsWhatItsScriptHasStarted)
{
    handOverTime = 100ms;
    desktop.useBrowser(u"firefox"_s, "sleep 0.6 &\nexit 0");
    open();
    EXPECT_FALSE(waitUntil([this] { return closed + failed > 0; }, 300ms));
    EXPECT_TRUE(waitUntil([this] { return closed == 1; }));
    EXPECT_EQ(failed, 0);
}

// --- What a crash leaves

TEST_F(PrivateBrowserTest, RemovesProfilesThatNobodyUsesAndNoOther)
{
    desktop.useBrowser(u"firefox"_s);
    open();
    const QStringList used = desktop.profiles();
    desktop.write(u"runtime/larkhaven/sign-in-0011223344556677/cookies"_s, "x");
    desktop.write(u"runtime/larkhaven/other/file"_s, "x");
    await(PrivateBrowser::removeLeftovers(setting()));
    EXPECT_EQ(desktop.profiles(), QStringList(u"other"_s) + used);
}

} // namespace
} // namespace Larkhaven
