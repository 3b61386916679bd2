#pragma once

#include <QDBusConnection>
#include <QLockFile>
#include <QObject>
#include <QStringList>

#include <chrono>

namespace Larkhaven {

/// One running program for each profile: two would erase each other's texts.
///
/// A lock in the profile's folder decides. Its file may outlive its process, and may come from another
/// machine in a backup or a shared home; only a file that the system still locks for a process holds anybody
/// up. The session bus carries the arguments of a later start to the first one: over the application's own
/// name, or, where that belongs to the program of another profile, over a name made from the profile's path.
/// Of programs that can't lock anything, as on a disk that is full, the one that has this name is the first.
///
/// Under the application's own name the desktop starts it as well, as `ActivatableApplication`.
///
/// What comes over the bus is from a program of the same user and session, and is passed on as it is within
/// the bounds; whoever takes it treats it as untrusted. Main thread.
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.tundra42.larkhaven.Instance")

public:
    enum class Role {
        first,   ///< this process is the program
        later,   ///< the first one has taken the arguments: nothing is left to do
        refused, ///< another process holds the lock or the name and doesn't answer
    };

    static constexpr qsizetype maxArguments = 100;
    static constexpr qsizetype maxArgumentLength = 100'000; ///< in UTF-16 units; longer ones are dropped

    /// `profile` is the folder of the settings, which is made where it is missing.
    explicit SingleInstance(QString profile, QDBusConnection bus = QDBusConnection::sessionBus());
    ~SingleInstance() override;

    /// Takes the lock, or hands the arguments to whoever has it. Waits for one that is about to end, as after
    /// a restart, for at most `patience`.
    Role enter(const QStringList& arguments, std::chrono::milliseconds patience = std::chrono::seconds(10));

    /// Passes the arguments of a later start on, within the bounds.
    void take(const QStringList& arguments);

public Q_SLOTS:
    /// For the bus: whether the arguments were taken, which only those of the same profile are.
    Q_SCRIPTABLE bool Activate(const QString& profile, const QStringList& arguments);

Q_SIGNALS:
    /// The program was started again.
    void activated(const QStringList& arguments);

private:
    /// Whether the first program has taken the arguments.
    bool handOver(const QStringList& arguments);
    /// Takes the profile's name on the bus; false where another process has it. No bus is no hindrance.
    bool listen();
    QString profileName() const;

    const QString m_profile;
    QDBusConnection m_bus;
    QLockFile m_lock;
    bool m_isFirst = false;
};

} // namespace Larkhaven
