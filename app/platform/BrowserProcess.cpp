#include "app/platform/BrowserProcess.h"

#include "app/platform/ProcessPrivacy.h"
#include "platform/Tasks.h"

#include <QCoreApplication>
#include <QThread>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace Larkhaven {

namespace {

constexpr std::chrono::milliseconds watchInterval{50};

/// A browser of the user's, which the end of this object isn't the end of.
class UsersBrowser final : public QProcess {
public:
    using QProcess::QProcess;
    ~UsersBrowser() override { setProcessState(QProcess::NotRunning); }
};

} // namespace

BrowserProcess::BrowserProcess(QStringList line, std::shared_ptr<BrowserProfile> profile, Times times)
    : m_line(std::move(line))
    , m_profile(std::move(profile))
    , m_times(times)
    , m_process(m_profile ? new QProcess(this) : new UsersBrowser(this))
{
    m_process->setProgram(m_line.first());
    m_process->setArguments(m_line.mid(1));
    m_process->setStandardInputFile(QProcess::nullDevice());
    m_process->setStandardOutputFile(QProcess::nullDevice());
    m_process->setStandardErrorFile(QProcess::nullDevice());
    m_process->setChildProcessModifier([isOurs = m_profile != nullptr] {
        ::setpgid(0, 0);
        ProcessPrivacy::giveBack();
        // The browser of a sign-in that nobody waits for any more ends with the program, however that ends.
        if (isOurs)
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    });
    m_watch.setInterval(watchInterval);
    connect(&m_watch, &QTimer::timeout, this, &BrowserProcess::watch);
    connect(m_process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        m_hasExited = true;
        m_hasExitedWell = status == QProcess::NormalExit && code == 0;
        m_watch.start();
        watch();
    });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        // Whoever started it hears of this from the event loop, as of every other end.
        m_hasExited = true;
        m_watch.start();
    });
    connect(qApp, &QCoreApplication::aboutToQuit, this, &BrowserProcess::endNow);
}

BrowserProcess::~BrowserProcess() = default;

void BrowserProcess::start()
{
    m_clock.start();
    m_process->start();
    m_group = m_process->processId();
}

bool BrowserProcess::isGroupThere()
{
    // The number of a group stays its own as long as a process of it is left. Once none is, it may become
    // another's, and isn't used any more.
    if (m_group > 0 && m_hasExited && ::kill(static_cast<pid_t>(-m_group), 0) != 0)
        m_group = 0;
    return m_group > 0;
}

void BrowserProcess::signalGroup(int signal)
{
    if (!isGroupThere())
        return;
    // Before the first process has made its group, it is alone.
    if (::kill(static_cast<pid_t>(-m_group), signal) != 0 && !m_hasExited)
        ::kill(static_cast<pid_t>(m_group), signal);
}

void BrowserProcess::watch()
{
    const bool isGone = m_hasExited && !isGroupThere();
    if (m_phase == Phase::running && isGone) {
        conclude();
    } else if (m_phase == Phase::ending) {
        if (!m_isForced && !isGone && m_clock.hasExpired(m_times.patience.count())) {
            m_isForced = true;
            signalGroup(SIGKILL);
        }
        // What not even that ends is left to the system.
        if (isGone || m_clock.hasExpired(2 * m_times.patience.count()))
            removeProfile();
    }
}

void BrowserProcess::conclude()
{
    m_watch.stop();
    const bool isAtOnce = !m_clock.hasExpired(m_times.handOver.count());
    m_phase = Phase::handedOver;
    // A browser on a profile of its own has nobody to hand over to.
    if (isAtOnce && m_hasExitedWell && !m_profile)
        return;
    if (isAtOnce && !m_hasExitedWell)
        Q_EMIT failed();
    else
        Q_EMIT closed();
}

void BrowserProcess::letGo()
{
    m_watch.stop();
    m_phase = Phase::over;
    m_process->disconnect(this);
    // Somebody has to wait for the process when it ends, as long as the program is there.
    m_process->setParent(QCoreApplication::instance());
    if (m_process->state() == QProcess::NotRunning)
        m_process->deleteLater();
    else
        connect(m_process, &QProcess::finished, m_process, &QObject::deleteLater);
    deleteLater();
}

void BrowserProcess::end()
{
    if (m_phase == Phase::ending || m_phase == Phase::over)
        return;
    if (!m_profile) {
        letGo();
        return;
    }
    m_phase = Phase::ending;
    m_clock.start();
    signalGroup(SIGTERM);
    m_watch.start();
    watch();
}

void BrowserProcess::endNow()
{
    if (m_phase == Phase::over)
        return;
    if (!m_profile) {
        letGo();
        return;
    }
    m_watch.stop();
    m_process->disconnect(this);
    const auto waitForEnd = [this](int signal) {
        signalGroup(signal);
        const QDeadlineTimer deadline(m_times.patience);
        while (!deadline.hasExpired() && (!m_hasExited || isGroupThere())) {
            if (!m_hasExited)
                m_hasExited = m_process->waitForFinished(static_cast<int>(watchInterval.count())) ||
                              m_process->state() == QProcess::NotRunning;
            else
                QThread::msleep(static_cast<unsigned long>(watchInterval.count()));
        }
    };
    for (const int signal : {SIGTERM, SIGKILL})
        waitForEnd(signal);
    m_phase = Phase::over;
    m_profile->remove();
    deleteLater();
}

void BrowserProcess::removeProfile()
{
    m_watch.stop();
    m_phase = Phase::over;
    const auto remove = [profile = m_profile] { profile->remove(); };
    spawn(runOnWorker(remove), dropFailure);
    deleteLater();
}

} // namespace Larkhaven
