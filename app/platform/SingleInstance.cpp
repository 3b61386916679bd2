#include "app/platform/SingleInstance.h"

#include "app/platform/ActivatableApplication.h"

#include <QCryptographicHash>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QDir>
#include <QThread>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

const QString applicationName = u"com.tundra42.larkhaven"_s;
const QString objectPath = u"/com/tundra42/larkhaven"_s;
const QString interfaceName = u"com.tundra42.larkhaven.Instance"_s;
constexpr std::chrono::milliseconds answerTime{2'000};
constexpr std::chrono::milliseconds lockInterval{100};

/// The folder under the one name that all processes have for it.
QString madeFolder(const QString& profile)
{
    QDir().mkpath(profile);
    const QString canonical = QDir(profile).canonicalPath();
    return canonical.isEmpty() ? profile : canonical;
}

} // namespace

SingleInstance::SingleInstance(QString profile, QDBusConnection bus)
    : m_profile(madeFolder(profile))
    , m_bus(std::move(bus))
    , m_lock(m_profile + u"/lock"_s)
{
    // The age of a lock says nothing: a program may run for months.
    m_lock.setStaleLockTime(0);
    new ActivatableApplication(*this);
}

SingleInstance::~SingleInstance()
{
    if (!m_isFirst)
        return;
    m_bus.unregisterObject(objectPath);
    m_bus.unregisterService(applicationName);
    m_bus.unregisterService(profileName());
}

QString SingleInstance::profileName() const
{
    const QByteArray digest = QCryptographicHash::hash(m_profile.toUtf8(), QCryptographicHash::Sha256);
    return applicationName + u".p"_s + QString::fromLatin1(digest.toHex().first(16));
}

SingleInstance::Role SingleInstance::enter(const QStringList& arguments, std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    while (true) {
        // Where nothing can be locked, the bus alone decides: what is kept may lie where it can be erased.
        const bool isFree = m_lock.tryLock(lockInterval) || m_lock.error() != QLockFile::LockFailedError;
        if (isFree && listen())
            return Role::first;
        m_lock.unlock();
        if (handOver(arguments))
            return Role::later;
        // What another machine or a full disk left behind never counts as stale. It is removed only where no
        // process holds the system's lock on it.
        const bool isLeftBehind = !isFree && m_lock.removeStaleLockFile();
        if (!isLeftBehind && deadline.hasExpired())
            return Role::refused;
        if (isFree)
            QThread::msleep(lockInterval.count());
    }
}

bool SingleInstance::handOver(const QStringList& arguments)
{
    for (const QString& name : {applicationName, profileName()}) {
        QDBusMessage call = QDBusMessage::createMethodCall(name, objectPath, interfaceName, u"Activate"_s);
        call.setAutoStartService(false);
        call << m_profile << arguments;
        const QDBusReply<bool> reply = m_bus.call(call, QDBus::Block, static_cast<int>(answerTime.count()));
        if (reply.isValid() && reply.value())
            return true;
    }
    return false;
}

bool SingleInstance::listen()
{
    // A call that comes as soon as the name is there finds the object.
    m_bus.registerObject(objectPath, this,
                         QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAdaptors);
    QDBusConnectionInterface* const names = m_bus.interface();
    if (names) {
        const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
            names->registerService(profileName());
        if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceNotRegistered) {
            m_bus.unregisterObject(objectPath);
            return false;
        }
    }
    m_isFirst = true;
    // It may belong to the program of another profile; then the other name serves.
    m_bus.registerService(applicationName);
    return true;
}

bool SingleInstance::Activate(const QString& profile, const QStringList& arguments)
{
    if (profile != m_profile)
        return false;
    take(arguments);
    return true;
}

void SingleInstance::take(const QStringList& arguments)
{
    QStringList taken = arguments.first(std::min(arguments.size(), maxArguments));
    taken.removeIf([](const QString& argument) { return argument.size() > maxArgumentLength; });
    // What was dropped is no wish to see the window.
    if (arguments.isEmpty() || !taken.isEmpty())
        Q_EMIT activated(taken);
}

} // namespace Larkhaven
