#pragma once

#include "app/platform/BrowserProfile.h"

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QTimer>

#include <chrono>
#include <memory>

namespace Larkhaven {

/// The processes of one `PrivateBrowser`, which may outlive it for as long as they take to end. It deletes
/// itself when they have, and their profile is gone. Without a profile of ours the browser is the user's own,
/// which may hold other windows by now: it is let go, and no signal is ever sent to it. Main thread.
class BrowserProcess : public QObject {
    Q_OBJECT

public:
    struct Times {
        std::chrono::milliseconds handOver;
        std::chrono::milliseconds patience;
    };

    /// `profile` may be null.
    BrowserProcess(QStringList line, std::shared_ptr<BrowserProfile> profile, Times times);
    ~BrowserProcess() override;

    void start();
    /// Asks the group to end, and makes it end once the patience is over; lets it go where it is the user's.
    void end();
    /// As `end`, but returns when the group has ended and the profile is gone; within twice the patience.
    void endNow();

Q_SIGNALS:
    void closed();
    void failed();

private:
    enum class Phase {
        running,
        handedOver, ///< to a browser that runs already
        ending,
        over,
    };

    void watch();
    /// The group has ended by itself.
    void conclude();
    bool isGroupThere();
    void signalGroup(int signal);
    /// The browser goes on without us.
    void letGo();
    void removeProfile();

    const QStringList m_line;
    std::shared_ptr<BrowserProfile> m_profile;
    const Times m_times;
    QProcess* m_process; ///< the application's where it is let go
    QTimer m_watch;
    QElapsedTimer m_clock; ///< since the start, and then since the end was asked for
    Phase m_phase = Phase::running;
    qint64 m_group = 0; ///< 0 once no process of it is left
    bool m_hasExited = false;
    bool m_hasExitedWell = false;
    bool m_isForced = false;
};

} // namespace Larkhaven
