#include "app/platform/SingleInstance.h"

#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <future>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using Role = SingleInstance::Role;
using namespace std::chrono_literals;

QDBusConnection newConnection()
{
    static int count = 0;
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"instance%1"_s.arg(++count));
}

class SingleInstanceTest : public testing::Test {
protected:
    /// A start of the program, as from another process: it must not block the first one.
    Role start(const QString& profile, const QStringList& arguments, std::chrono::milliseconds patience = 10s)
    {
        std::future<Role> role = std::async(std::launch::async, [&] {
            SingleInstance later(profile, newConnection());
            return later.enter(arguments, patience);
        });
        waitUntil([&role] { return role.wait_for(0s) == std::future_status::ready; }, 20s);
        return role.get();
    }
    /// A lock that says so and that nobody holds, or that its holder has written over.
    void leave(const QByteArray& words)
    {
        QFile file(profile(u"lock"_s));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(words);
    }
    QString profile(const QString& name) const { return folder.filePath(name); }

    QTemporaryDir folder;
};

TEST_F(SingleInstanceTest, HandsTheArgumentsOfASecondStartToTheFirst)
{
    SingleInstance first(profile(u"a"_s), newConnection());
    ASSERT_EQ(first.enter({}), Role::first);
    QStringList taken;
    QObject::connect(&first, &SingleInstance::activated,
                     [&taken](const QStringList& arguments) { taken = arguments; });
    EXPECT_EQ(start(profile(u"a"_s), {u"one"_s, u"two words"_s}), Role::later);
    EXPECT_EQ(taken, QStringList({u"one"_s, u"two words"_s}));
}

TEST_F(SingleInstanceTest, RunsBesideTheProgramOfAnotherProfile)
{
    SingleInstance one(profile(u"a"_s), newConnection());
    SingleInstance other(profile(u"b"_s), newConnection());
    ASSERT_EQ(one.enter({}), Role::first);
    ASSERT_EQ(other.enter({}), Role::first);
    QStringList taken;
    QObject::connect(&one, &SingleInstance::activated, [&taken] { taken.append(u"one"_s); });
    QObject::connect(&other, &SingleInstance::activated, [&taken] { taken.append(u"other"_s); });
    EXPECT_EQ(start(profile(u"b"_s), {}), Role::later);
    EXPECT_EQ(start(profile(u"a"_s), {}), Role::later);
    EXPECT_EQ(taken, QStringList({u"other"_s, u"one"_s}));
}

TEST_F(SingleInstanceTest, KnowsAProfileByWhateverPathItIsReached)
{
    SingleInstance first(profile(u"a"_s), newConnection());
    ASSERT_EQ(first.enter({}), Role::first);
    ASSERT_TRUE(QFile::link(profile(u"a"_s), profile(u"link"_s)));
    EXPECT_EQ(start(profile(u"link"_s), {}), Role::later);
}

TEST_F(SingleInstanceTest, WaitsForAProgramThatIsAboutToEnd)
{
    auto lock = std::make_unique<QLockFile>(profile(u"lock"_s));
    lock->setStaleLockTime(0);
    ASSERT_TRUE(lock->tryLock(0));
    QTimer::singleShot(400, [&lock] { lock.reset(); });
    EXPECT_EQ(start(folder.path(), {}), Role::first);
}

TEST_F(SingleInstanceTest, RunsNotASecondTimeWhereTheFirstDoesNotAnswer)
{
    QLockFile lock(profile(u"lock"_s));
    lock.setStaleLockTime(0);
    ASSERT_TRUE(lock.tryLock(0));
    EXPECT_EQ(start(folder.path(), {}, 300ms), Role::refused);
}

TEST_F(SingleInstanceTest, StartsAfterAProgramThatWasKilled)
{
    // The number of a process that is gone.
    QProcess gone;
    gone.start(u"true"_s, QStringList());
    const qint64 number = gone.processId();
    ASSERT_TRUE(gone.waitForFinished());
    {
        QLockFile lock(profile(u"lock"_s));
        ASSERT_TRUE(lock.tryLock(0));
        QFile file(profile(u"lock"_s));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().split('\n');
        file.close();
        QFile::copy(profile(u"lock"_s), profile(u"kept"_s));
        lock.unlock();
        QFile left(profile(u"lock"_s));
        ASSERT_TRUE(left.open(QIODevice::WriteOnly));
        QList<QByteArray> changed = lines;
        changed[0] = QByteArray::number(number);
        left.write(changed.join('\n'));
    }
    SingleInstance next(folder.path(), newConnection());
    EXPECT_EQ(next.enter({}, 300ms), Role::first);
}

TEST_F(SingleInstanceTest, StartsWhereTheLockIsOfAnotherMachine)
{
    leave("1\nlarkhaven\nelsewhere\n01234567-0123-0123-0123-0123456789ab\n"
          "76543210-3210-3210-3210-ba9876543210\n");
    SingleInstance next(folder.path(), newConnection());
    EXPECT_EQ(next.enter({}, 0ms), Role::first);
    EXPECT_EQ(start(folder.path(), {}), Role::later);
}

TEST_F(SingleInstanceTest, StartsWhereTheLockIsEmpty)
{
    leave({});
    SingleInstance next(folder.path(), newConnection());
    EXPECT_EQ(next.enter({}, 0ms), Role::first);
}

TEST_F(SingleInstanceTest, LeavesTheLockOfALivingProgramWhateverItSays)
{
    QLockFile lock(profile(u"lock"_s));
    lock.setStaleLockTime(0);
    ASSERT_TRUE(lock.tryLock(0));
    for (const char* const words : {"", "1\nlarkhaven\nelsewhere\n01234567\n76543210\n"}) {
        leave(words);
        EXPECT_EQ(start(folder.path(), {}, 300ms), Role::refused);
        EXPECT_TRUE(QFile::exists(profile(u"lock"_s)));
    }
}

TEST_F(SingleInstanceTest, AsksTheBusWhereNothingCanBeLocked)
{
    // No folder, and none can be made.
    QFile file(profile(u"a"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    SingleInstance first(profile(u"a"_s), newConnection());
    ASSERT_EQ(first.enter({}), Role::first);
    QStringList taken;
    QObject::connect(&first, &SingleInstance::activated,
                     [&taken](const QStringList& arguments) { taken = arguments; });
    EXPECT_EQ(start(profile(u"a"_s), {u"one"_s}), Role::later);
    EXPECT_EQ(taken, QStringList(u"one"_s));
}

TEST_F(SingleInstanceTest, RunsNotWhereAnotherHasTheNameOfTheProfileAndDoesNotAnswer)
{
    QString name;
    {
        const QDBusConnection bus = newConnection();
        SingleInstance first(folder.path(), bus);
        ASSERT_EQ(first.enter({}), Role::first);
        name = bus.interface()->registeredServiceNames().value().filter(u".larkhaven.p"_s).value(0);
    }
    QDBusConnection silent = newConnection();
    ASSERT_TRUE(silent.registerService(name));
    EXPECT_EQ(start(folder.path(), {}, 300ms), Role::refused);
    QTimer::singleShot(400, [&silent, name] { silent.unregisterService(name); });
    EXPECT_EQ(start(folder.path(), {}), Role::first);
}

TEST_F(SingleInstanceTest, RunsWithoutABus)
{
    const QDBusConnection none =
        QDBusConnection::connectToBus(u"unix:path="_s + profile(u"nowhere"_s), u"none"_s);
    SingleInstance first(folder.path(), none);
    EXPECT_EQ(first.enter({}), Role::first);
}

TEST_F(SingleInstanceTest, FreesTheProfileWhenItEnds)
{
    {
        SingleInstance first(folder.path(), newConnection());
        ASSERT_EQ(first.enter({}), Role::first);
    }
    SingleInstance second(folder.path(), newConnection());
    EXPECT_EQ(second.enter({}, 0ms), Role::first);
}

TEST_F(SingleInstanceTest, TakesNoMoreThanItsBounds)
{
    SingleInstance first(folder.path(), newConnection());
    ASSERT_EQ(first.enter({}), Role::first);
    QStringList taken;
    QObject::connect(&first, &SingleInstance::activated,
                     [&taken](const QStringList& arguments) { taken = arguments; });
    QStringList many(SingleInstance::maxArguments + 1, u"x"_s);
    many[0] = QString(SingleInstance::maxArgumentLength + 1, u'x');
    EXPECT_TRUE(first.Activate(QDir(folder.path()).canonicalPath(), many));
    EXPECT_EQ(taken.size(), SingleInstance::maxArguments - 1);
    taken.clear();
    EXPECT_FALSE(first.Activate(u"/elsewhere"_s, {u"x"_s}));
    EXPECT_TRUE(taken.isEmpty());
}

// --- As the desktop starts it

class ActivationTest : public SingleInstanceTest {
protected:
    ActivationTest()
    {
        EXPECT_EQ(first.enter({}), Role::first);
        QObject::connect(&first, &SingleInstance::activated,
                         [this](const QStringList& arguments) { taken.append(arguments); });
    }
    /// What another program of the session calls; whether it was answered.
    bool call(const QString& method, const QVariantList& arguments)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(u"com.tundra42.larkhaven"_s, u"/com/tundra42/larkhaven"_s,
                                           u"org.freedesktop.Application"_s, method);
        message.setArguments(arguments);
        const QDBusPendingCall pending = caller.asyncCall(message);
        EXPECT_TRUE(waitUntil([&pending] { return pending.isFinished(); }));
        return !pending.isError();
    }

    QDBusConnection caller = newConnection();
    SingleInstance first{profile(u"a"_s), newConnection()};
    QList<QStringList> taken;
};

TEST_F(ActivationTest, TakesTheAddressesThatTheDesktopOpens)
{
    const QVariantMap data{{u"desktop-startup-id"_s, u"x"_s}};
    EXPECT_TRUE(call(u"Open"_s, {QStringList{u"msauth.x://auth?code=1"_s, u"b"_s}, data}));
    EXPECT_EQ(taken, (QList<QStringList>{{u"msauth.x://auth?code=1"_s, u"b"_s}}));
}

TEST_F(ActivationTest, IsStartedAgainByActivateAndByAnyAction)
{
    EXPECT_TRUE(call(u"Activate"_s, {QVariantMap()}));
    EXPECT_TRUE(call(u"ActivateAction"_s, {u"new"_s, QVariantList(), QVariantMap()}));
    EXPECT_EQ(taken, (QList<QStringList>{{}, {}}));
}

TEST_F(ActivationTest, TakesNoMoreThanItsBounds)
{
    QStringList many(SingleInstance::maxArguments + 1, u"x"_s);
    many[0] = QString(SingleInstance::maxArgumentLength + 1, u'x');
    EXPECT_TRUE(call(u"Open"_s, {many, QVariantMap()}));
    ASSERT_EQ(taken.size(), 1);
    EXPECT_EQ(taken[0].size(), SingleInstance::maxArguments - 1);
}

TEST_F(ActivationTest, RefusesACallOfAnotherShape)
{
    EXPECT_FALSE(call(u"Open"_s, {u"msauth.x://auth?code=1"_s}));
    EXPECT_FALSE(call(u"take"_s, {QStringList()}));
    EXPECT_TRUE(taken.isEmpty());
}

} // namespace
} // namespace Larkhaven
