#include "app/platform/SingleInstance.h"

#include <QCryptographicHash>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QDir>

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
    // Only the end of its process frees the lock, never its age.
    m_lock.setStaleLockTime(0);
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
    while (!m_lock.tryLock(lockInterval)) {
        if (m_lock.error() != QLockFile::LockFailedError)
            break; // The folder can't be written, and nothing in it can be erased either.
        if (handOver(arguments))
            return Role::later;
        if (deadline.hasExpired())
            return Role::refused;
    }
    listen();
    return Role::first;
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

void SingleInstance::listen()
{
    m_isFirst = true;
    m_bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
    m_bus.registerService(profileName());
    // It may belong to the program of another profile; then the other name serves.
    m_bus.registerService(applicationName);
}

bool SingleInstance::Activate(const QString& profile, const QStringList& arguments)
{
    if (profile != m_profile)
        return false;
    QStringList taken = arguments.first(std::min(arguments.size(), maxArguments));
    taken.removeIf([](const QString& argument) { return argument.size() > maxArgumentLength; });
    Q_EMIT activated(taken);
    return true;
}

} // namespace Larkhaven
