#include "app/platform/BusSignal.h"
#include "app/platform/ContinuousClock.h"
#include "app/platform/DesktopAppearance.h"
#include "app/platform/LauncherBadge.h"
#include "app/platform/WakeMonitor.h"
#include "platform/KWalletBackend.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QMutex>
#include <QSemaphore>
#include <QSignalSpy>
#include <QThread>

#include <gtest/gtest.h>
#include <time.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A service on the bus of this session, in a thread of its own, as what asks it may wait for the answer.
class Service : public QDBusVirtualObject {
public:
    using Answer = std::function<QVariantList(const QString& member, const QVariantList& arguments)>;

    /// An empty list of answers is a refusal.
    Service(const QString& name, const QString& path, Answer answer)
        : m_answer(std::move(answer))
        , m_path(path)
        , m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"double of "_s + name))
        , m_name(name)
    {
        EXPECT_TRUE(m_bus.registerVirtualObject(path, this, QDBusConnection::SubPath));
        moveToThread(&m_thread);
        m_thread.start();
        EXPECT_TRUE(m_bus.registerService(name));
    }
    ~Service() override
    {
        m_bus.unregisterService(m_name);
        m_bus.unregisterObject(m_path, QDBusConnection::UnregisterTree);
        QDBusConnection::disconnectFromBus(u"double of "_s + m_name);
        m_thread.quit();
        m_thread.wait();
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QMutexLocker lock(&m_mutex);
        m_calls.append(message.member());
        const QVariantList answer = m_answer(message.member(), message.arguments());
        return connection.send(answer.isEmpty() ? message.createErrorReply(m_refusal, u"no"_s)
                                                : message.createReply(answer));
    }

    void emitSignal(const QString& interface, const QString& name, const QVariantList& arguments)
    {
        QDBusMessage signal = QDBusMessage::createSignal(m_path, interface, name);
        signal.setArguments(arguments);
        EXPECT_TRUE(m_bus.send(signal));
    }
    QStringList calls() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_calls;
    }
    /// The name of the error that a refusal is.
    void refuseAs(const QString& name)
    {
        const QMutexLocker lock(&m_mutex);
        m_refusal = name;
    }

private:
    Answer m_answer;
    QString m_refusal = u"org.example.Refused"_s;
    QString m_path;
    QDBusConnection m_bus;
    QString m_name;
    mutable QMutex m_mutex;
    QStringList m_calls;
    QThread m_thread;
};

// --- Signals

/// What is logged while it lives.
class Log {
public:
    Log() { s_lines.clear(); }
    ~Log() { qInstallMessageHandler(m_before); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    static QStringList lines() { return s_lines; }

private:
    static void take(QtMsgType, const QMessageLogContext& context, const QString& text)
    {
        s_lines.append(QString::fromLatin1(context.category) + u": "_s + text);
    }

    static inline QStringList s_lines;
    QtMessageHandler m_before = qInstallMessageHandler(take);
};

TEST(BusSignal, LogsWhatABusRefuses)
{
    const Log log;
    QObject receiver;
    const BusSignal signal{u"org.example.Service"_s, u"/org/example"_s, u"org.example.Interface"_s,
                           u"Changed"_s};
    EXPECT_FALSE(signal.follow(QDBusConnection::sessionBus(), &receiver, SLOT(nobody(QString))));
    const QStringList ours = Log::lines().filter(u"larkhaven"_s);
    EXPECT_EQ(ours, QStringList(u"larkhaven.desktop: The signal Changed of org.example.Interface can't be "
                                "followed"_s));
}

TEST(BusSignal, IsQuietWhereItIsFollowedAndWhereThereIsNoBus)
{
    const Log log;
    QObject receiver;
    const BusSignal signal{u"org.example.Service"_s, u"/org/example"_s, u"org.example.Interface"_s,
                           u"Changed"_s};
    EXPECT_TRUE(signal.follow(QDBusConnection::sessionBus(), &receiver, SLOT(deleteLater())));
    EXPECT_FALSE(signal.follow(QDBusConnection(u"no such bus"_s), &receiver, SLOT(deleteLater())));
    EXPECT_EQ(Log::lines(), QStringList());
}

// Each of them has the bus where its signal comes from; without a bus both are quiet.
TEST(BusSignal, IsFollowedByWhateverStandsOnABus)
{
    const Log log;
    const DesktopAppearance looks;
    const WakeMonitor monitor;
    settle();
    EXPECT_EQ(Log::lines(), QStringList());
}

// --- Appearance

class DesktopAppearanceTest : public testing::Test {
protected:
    static constexpr auto settings = "org.freedesktop.portal.Settings"_L1;
    static constexpr auto appearance = "org.freedesktop.appearance"_L1;

    std::unique_ptr<Service> portal()
    {
        return std::make_unique<Service>(
            u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s,
            [this](const QString& member, const QVariantList& arguments) -> QVariantList {
                if (gate)
                    gate->acquire();
                if (member != "Read"_L1 || arguments.value(0).toString() != appearance)
                    return {};
                const QVariant value = values.value(arguments.value(1).toString());
                // The portal wraps it once more than it says.
                return value.isValid() ? QVariantList{QVariant::fromValue(
                                             QDBusVariant(QVariant::fromValue(QDBusVariant(value))))}
                                       : QVariantList();
            });
    }
    static void change(Service& service, const QString& name, const QString& key, const QVariant& value)
    {
        service.emitSignal(settings, u"SettingChanged"_s,
                           {name, key, QVariant::fromValue(QDBusVariant(value))});
    }
    static QVariant color(double red, double green, double blue)
    {
        QDBusArgument argument;
        argument.beginStructure();
        argument << red << green << blue;
        argument.endStructure();
        return QVariant::fromValue(argument);
    }

    QVariantMap values{{u"color-scheme"_s, 1U}, {u"contrast"_s, 1U}};
    QSemaphore* gate = nullptr; ///< what each answer waits for
};

// It runs first in a process of its own as well, in which nothing else has used the bus before.
TEST_F(DesktopAppearanceTest, FollowsAPortalThatStartsLater)
{
    const DesktopAppearance looks;
    settle();
    const auto service = portal();
    change(*service, appearance, u"color-scheme"_s, 1U);
    EXPECT_TRUE(waitUntil([&] { return looks.scheme() == DesktopAppearance::Scheme::dark; }));
}

TEST_F(DesktopAppearanceTest, HasNoOpinionWithoutAPortal)
{
    DesktopAppearance looks;
    settle();
    looks.takeAnswers();
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::noPreference);
    EXPECT_FALSE(looks.wantsHighContrast());
    EXPECT_FALSE(looks.accent());
}

TEST_F(DesktopAppearanceTest, ReadsWhatThePortalSays)
{
    const auto service = portal();
    values.insert(u"accent-color"_s, color(0.25, 0, 1));
    const DesktopAppearance dark;
    EXPECT_TRUE(waitUntil([&] { return dark.scheme() == DesktopAppearance::Scheme::dark; }));
    EXPECT_TRUE(waitUntil([&] { return dark.wantsHighContrast(); }));
    EXPECT_TRUE(waitUntil([&] { return dark.accent().has_value(); }));
    EXPECT_EQ(dark.accent(), DesktopAppearance::Color({0.25, 0, 1}));
    values = {{u"color-scheme"_s, 2U}};
    const DesktopAppearance light;
    EXPECT_TRUE(waitUntil([&] { return light.scheme() == DesktopAppearance::Scheme::light; }));
    EXPECT_FALSE(light.wantsHighContrast());
}

TEST_F(DesktopAppearanceTest, TakesAValueThatItDoesNotKnowForNoPreference)
{
    values = {{u"color-scheme"_s, 0U}, {u"contrast"_s, 7U}, {u"accent-color"_s, color(0, 1, 0)}};
    const auto service = portal();
    const DesktopAppearance looks;
    // Answers come in the order of the questions.
    ASSERT_TRUE(waitUntil([&] { return looks.accent().has_value(); }));
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::noPreference);
    EXPECT_FALSE(looks.wantsHighContrast());
}

TEST_F(DesktopAppearanceTest, WaitsForNoAnswerAndTakesItWhenItComes)
{
    QSemaphore answers;
    gate = &answers;
    const auto service = portal();
    DesktopAppearance looks;
    const QSignalSpy changes(&looks, &DesktopAppearance::changed);
    // The portal holds its answers back while this goes on.
    settle();
    looks.takeAnswers();
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::noPreference);
    EXPECT_TRUE(changes.isEmpty());
    answers.release(100);
    EXPECT_TRUE(waitUntil([&] { return looks.wantsHighContrast(); }));
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::dark);
    EXPECT_EQ(changes.size(), 2);
}

TEST_F(DesktopAppearanceTest, TakesAnAnswerThatIsThereBeforeTheFirstPicture)
{
    const auto service = portal();
    DesktopAppearance looks;
    // No event is handled here: the answers have come, and nobody has been told.
    const QDeadlineTimer patience(std::chrono::seconds(10));
    while (!looks.wantsHighContrast() && !patience.hasExpired()) {
        QThread::msleep(1);
        looks.takeAnswers();
    }
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::dark);
    EXPECT_TRUE(looks.wantsHighContrast());
}

TEST_F(DesktopAppearanceTest, AnAnswerThatAChangeHasOvertakenIsOld)
{
    const auto service = portal();
    DesktopAppearance looks;
    ASSERT_TRUE(waitUntil([&] { return service->calls().size() == 3; }));
    change(*service, appearance, u"color-scheme"_s, 2U);
    change(*service, appearance, u"contrast"_s, 0U);
    ASSERT_TRUE(waitUntil([&] { return looks.scheme() == DesktopAppearance::Scheme::light; }));
    settle();
    EXPECT_EQ(looks.scheme(), DesktopAppearance::Scheme::light);
}

TEST_F(DesktopAppearanceTest, FollowsAChangeWhileItRuns)
{
    const auto service = portal();
    DesktopAppearance looks;
    ASSERT_TRUE(waitUntil([&] { return looks.wantsHighContrast(); }));
    const QSignalSpy changes(&looks, &DesktopAppearance::changed);
    change(*service, appearance, u"color-scheme"_s, 2U);
    ASSERT_TRUE(waitUntil([&] { return looks.scheme() == DesktopAppearance::Scheme::light; }));
    EXPECT_EQ(changes.size(), 1);
    change(*service, appearance, u"contrast"_s, 0U);
    ASSERT_TRUE(waitUntil([&] { return !looks.wantsHighContrast(); }));
    EXPECT_EQ(changes.size(), 2);
    // The same again, and what is of another namespace or another key, changes nothing.
    change(*service, appearance, u"color-scheme"_s, 2U);
    change(*service, u"org.example"_s, u"color-scheme"_s, 1U);
    change(*service, appearance, u"accent-color"_s, 1U);
    change(*service, appearance, u"color-scheme"_s, 0U);
    ASSERT_TRUE(waitUntil([&] { return looks.scheme() == DesktopAppearance::Scheme::noPreference; }));
    EXPECT_EQ(changes.size(), 3);
}

TEST_F(DesktopAppearanceTest, TakesAnAccentOutOfBoundsForNone)
{
    const auto service = portal();
    DesktopAppearance looks;
    const auto follow = [&](const QVariant& value) {
        change(*service, appearance, u"accent-color"_s, color(1, 0, 0));
        EXPECT_TRUE(waitUntil([&] { return looks.accent() == DesktopAppearance::Color({1, 0, 0}); }));
        change(*service, appearance, u"accent-color"_s, value);
        return waitUntil([&] { return looks.accent() != DesktopAppearance::Color({1, 0, 0}); });
    };
    for (const QVariant& none : {color(-1, 0, 0), color(0, 1.01, 0), color(0, 0, qQNaN()),
                                 color(-0.001, 0, 0), QVariant(1U), QVariant(u"blue"_s)}) {
        EXPECT_TRUE(follow(none));
        EXPECT_FALSE(looks.accent());
    }
    EXPECT_TRUE(follow(color(0, 1, 1)));
    EXPECT_EQ(looks.accent(), DesktopAppearance::Color({0, 1, 1}));
}

// --- Waking

TEST(WakeMonitor, TellsOfWakingAndNotOfFallingAsleep)
{
    Service logind(u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
                   [](const QString&, const QVariantList&) { return QVariantList(); });
    const WakeMonitor monitor;
    QSignalSpy wakings(&monitor, &WakeMonitor::woke);
    const auto tell = [&logind](bool isFallingAsleep) {
        logind.emitSignal(u"org.freedesktop.login1.Manager"_s, u"PrepareForSleep"_s, {isFallingAsleep});
    };
    tell(true);
    tell(false);
    ASSERT_TRUE(waitUntil([&] { return !wakings.isEmpty(); }));
    tell(true);
    logind.emitSignal(u"org.freedesktop.login1.Manager"_s, u"PrepareForShutdown"_s, {false});
    tell(false);
    ASSERT_TRUE(waitUntil([&] { return wakings.size() > 1; }));
    EXPECT_EQ(wakings.size(), 2);
}

// --- The badge

class Listener : public QObject {
    Q_OBJECT

public:
    Listener()
    {
        EXPECT_TRUE(m_bus.connect({}, {}, u"com.canonical.Unity.LauncherEntry"_s, u"Update"_s, this,
                                  SLOT(take(QString, QVariantMap))));
    }
    ~Listener() override { QDBusConnection::disconnectFromBus(u"listener"_s); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    QList<std::pair<QString, QVariantMap>> updates;

private Q_SLOTS:
    void take(const QString& application, const QVariantMap& values)
    {
        updates.append({application, values});
    }

private:
    QDBusConnection m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"listener"_s);
};

TEST(LauncherBadge, ShowsTheCountAndHidesItAtNone)
{
    Listener listener;
    const qint64 large = 9'999;
    for (const qint64 count : {large, qint64(0), qint64(-1)})
        LauncherBadge::show(count);
    ASSERT_TRUE(waitUntil([&] { return listener.updates.size() == 3; }));
    for (const auto& [application, values] : std::as_const(listener.updates))
        EXPECT_EQ(application, u"application://com.tundra42.larkhaven.desktop"_s);
    EXPECT_EQ(listener.updates[0].second, QVariantMap({{u"count"_s, large}, {u"count-visible"_s, true}}));
    EXPECT_FALSE(listener.updates[1].second.value(u"count-visible"_s).toBool());
    EXPECT_FALSE(listener.updates[2].second.value(u"count-visible"_s).toBool());
}

// --- The clock

TEST(ContinuousClock, CountsFromTheStartOfTheMachine)
{
    timespec time{};
    ASSERT_EQ(clock_gettime(CLOCK_BOOTTIME, &time), 0);
    const std::chrono::milliseconds now = ContinuousClock::now();
    EXPECT_GE(now, std::chrono::seconds(time.tv_sec));
    EXPECT_LT(now, std::chrono::seconds(time.tv_sec + 60));
}

TEST(ContinuousClock, SleepsAtLeastAsLongAsItIsTold)
{
    const std::chrono::milliseconds start = ContinuousClock::now();
    EXPECT_TRUE(await(ContinuousClock::sleepFor(std::chrono::milliseconds(30), {})));
    EXPECT_GE(ContinuousClock::now() - start, std::chrono::milliseconds(30));
    EXPECT_TRUE(await(ContinuousClock::sleepFor(std::chrono::milliseconds(0), {})));
}

TEST(ContinuousClock, WakesWhenItIsStopped)
{
    std::stop_source stop;
    QMetaObject::invokeMethod(
        qApp, [stop]() mutable { stop.request_stop(); }, Qt::QueuedConnection);
    EXPECT_FALSE(await(ContinuousClock::sleepFor(std::chrono::hours(1), stop.get_token())));
}

// --- KWallet

/// A wallet service of one generation, with the items of the folder "Larkhaven".
class WalletDouble {
public:
    explicit WalletDouble(int generation)
        : service(u"org.kde.kwalletd%1"_s.arg(generation), u"/modules/kwalletd%1"_s.arg(generation),
                  [this](const QString& member, const QVariantList& arguments) {
                      return answer(member, arguments);
                  })
    {}

    bool isEnabled = true;
    int handle = 7;
    int writing = 0; ///< what a change ends in
    QString refused; ///< a call that fails
    QMap<QString, QByteArray> items;
    bool hasFolder = false;
    Service service;

private:
    QVariantList answer(const QString& member, const QVariantList& arguments)
    {
        if (member == refused)
            return {};
        if (member == "isEnabled"_L1)
            return {isEnabled};
        if (member == "networkWallet"_L1)
            return {u"net"_s};
        if (member == "open"_L1)
            return arguments == QVariantList{u"net"_s, qlonglong(0), u"Larkhaven"_s} ? QVariantList{handle}
                                                                                     : QVariantList();
        if (arguments.value(0) != QVariant(handle))
            return {};
        if (member == "close"_L1)
            return {0};
        if (arguments.value(1) != QVariant(u"Larkhaven"_s))
            return {};
        if (member == "createFolder"_L1)
            return {hasFolder = true};
        const QString key = arguments.value(2).toString();
        if (member == "hasEntry"_L1)
            return {items.contains(key)};
        if (member == "readEntry"_L1)
            return {items.value(key)};
        if (member == "writeEntry"_L1 && hasFolder && writing == 0)
            items.insert(key, arguments.value(3).toByteArray());
        if (member == "removeEntry"_L1 && writing == 0)
            items.remove(key);
        return {writing};
    }
};

class KWalletBackendTest : public testing::Test {
protected:
    KeychainBackend::ReadResult read() { return backend.read(u"service"_s, u"account"_s); }

    KWalletBackend backend;
    const QString key = u"service/account"_s;
};

TEST_F(KWalletBackendTest, IsNotThereWithoutAServiceOrWhereItIsSwitchedOff)
{
    EXPECT_EQ(read().status, KeychainStatus::notAvailable);
    WalletDouble wallet(6);
    wallet.isEnabled = false;
    EXPECT_EQ(read().status, KeychainStatus::notAvailable);
    EXPECT_EQ(wallet.service.calls(), QStringList(u"isEnabled"_s));
}

TEST_F(KWalletBackendTest, AServiceThatDoesNotAnswerIsNoMissingService)
{
    WalletDouble older(5);
    WalletDouble newer(6);
    older.items.insert(key, "old");
    newer.refused = u"isEnabled"_s;
    for (const char* const error : {"NoReply", "Timeout", "TimedOut", "Failed", "UnknownObject"}) {
        newer.service.refuseAs(u"org.freedesktop.DBus.Error."_s + QLatin1StringView(error));
        EXPECT_EQ(read().status, KeychainStatus::failed) << error;
    }
    EXPECT_TRUE(older.service.calls().isEmpty());
    for (const char* const error : {"ServiceUnknown", "AccessDenied", "Spawn.ExecFailed"}) {
        newer.service.refuseAs(u"org.freedesktop.DBus.Error."_s + QLatin1StringView(error));
        EXPECT_EQ(read().data, QByteArray("old")) << error;
    }
}

TEST_F(KWalletBackendTest, KeepsAnItemUntilItIsRemoved)
{
    for (const int generation : {5, 6}) {
        WalletDouble wallet(generation);
        EXPECT_EQ(read().status, KeychainStatus::itemNotFound);
        EXPECT_EQ(backend.update(u"service"_s, u"account"_s, "x"), KeychainStatus::itemNotFound);
        EXPECT_EQ(backend.add(u"service"_s, u"account"_s, QByteArray("a\0b", 3), u"label"_s),
                  KeychainStatus::success);
        EXPECT_EQ(wallet.items.value(key), QByteArray("a\0b", 3));
        EXPECT_EQ(read().data, QByteArray("a\0b", 3));
        EXPECT_EQ(backend.update(u"service"_s, u"account"_s, "c"), KeychainStatus::success);
        EXPECT_EQ(read().data, QByteArray("c"));
        EXPECT_EQ(backend.remove(u"service"_s, u"account"_s), KeychainStatus::success);
        EXPECT_TRUE(wallet.items.isEmpty());
        EXPECT_EQ(backend.remove(u"service"_s, u"account"_s), KeychainStatus::itemNotFound);
        EXPECT_EQ(wallet.service.calls().count(u"open"_s), wallet.service.calls().count(u"close"_s));
    }
}

TEST_F(KWalletBackendTest, PrefersTheNewerService)
{
    WalletDouble older(5);
    WalletDouble newer(6);
    newer.items.insert(key, "new");
    older.items.insert(key, "old");
    EXPECT_EQ(read().data, QByteArray("new"));
    EXPECT_TRUE(older.service.calls().isEmpty());
}

TEST_F(KWalletBackendTest, AWalletThatIsNotOpenedIsNoMissingItem)
{
    WalletDouble wallet(6);
    wallet.handle = -1;
    EXPECT_EQ(read().status, KeychainStatus::interactionNotAllowed);
    wallet.refused = u"open"_s;
    EXPECT_EQ(read().status, KeychainStatus::interactionNotAllowed);
}

TEST_F(KWalletBackendTest, AQuestionThatFailsIsNoMissingItem)
{
    WalletDouble wallet(6);
    wallet.items.insert(key, "x");
    wallet.refused = u"hasEntry"_s;
    EXPECT_EQ(read().status, KeychainStatus::failed);
    EXPECT_EQ(backend.update(u"service"_s, u"account"_s, "y"), KeychainStatus::failed);
    EXPECT_EQ(backend.remove(u"service"_s, u"account"_s), KeychainStatus::failed);
    wallet.refused = u"readEntry"_s;
    EXPECT_EQ(read().status, KeychainStatus::failed);
    EXPECT_EQ(wallet.items.value(key), "x");
}

TEST_F(KWalletBackendTest, TellsOfAChangeThatIsRefused)
{
    WalletDouble wallet(6);
    wallet.items.insert(key, "x");
    wallet.writing = -1;
    EXPECT_EQ(backend.update(u"service"_s, u"account"_s, "y"), KeychainStatus::failed);
    EXPECT_EQ(backend.add(u"service"_s, u"other"_s, "y", {}), KeychainStatus::failed);
    EXPECT_EQ(backend.remove(u"service"_s, u"account"_s), KeychainStatus::failed);
    wallet.writing = 0;
    wallet.refused = u"writeEntry"_s;
    EXPECT_EQ(backend.update(u"service"_s, u"account"_s, "y"), KeychainStatus::failed);
}

} // namespace
} // namespace Larkhaven

#include "DesktopServicesTest.moc"
