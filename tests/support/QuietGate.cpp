#include "support/QuietGate.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <tuple>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds interval = 1ms;
/// A round of the event loop with nothing but the timer in it takes less, in ns of processors.
constexpr qint64 littleWork = 300'000;
/// Rounds like that before a request is served. Each of them has looked for other events first, so a busy
/// machine makes it wait longer and not serve too early.
constexpr int calmTicks = 3;

/// Of all threads of the program, in ns.
qint64 workDone()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return qint64{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// Whether another thread of the program runs, or would run if the machine let it.
bool isAnyoneWorking()
{
    const QByteArray self = QByteArray::number(gettid());
    const QStringList threads = QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::ranges::any_of(threads, [&](const QString& thread) {
        QFile file(u"/proc/self/task/"_s + thread + u"/stat"_s);
        if (thread.toLatin1() == self || !file.open(QIODevice::ReadOnly))
            return false;
        // The state stands behind the name of the program, in brackets.
        const QByteArray stat = file.readAll();
        return !stat.sliced(stat.lastIndexOf(')') + 1).startsWith(" S");
    });
}

auto orderOf(const WebRequest& request)
{
    return std::tie(request.host, request.target, request.method);
}

} // namespace

QuietGate::QuietGate(WebServer& server, Choose choose)
    : m_server(server)
    , m_choose(std::move(choose))
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, &QuietGate::tick);
    m_server.setGate(
        [this](const WebRequest& request, const WebServer::Serve& serve) { hold(request, serve); });
}

QuietGate::~QuietGate()
{
    m_server.setGate({});
}

void QuietGate::hold(const WebRequest& request, const WebServer::Serve& serve)
{
    const auto place = std::ranges::upper_bound(
        m_waiting, orderOf(request), {}, [](const Waiting& waiting) { return orderOf(waiting.request); });
    m_waiting.insert(place, {request, serve});
    m_calm = 0;
    if (!m_timer.isActive())
        m_timer.start();
}

void QuietGate::tick()
{
    const bool isCalm = workDone() - m_worked < littleWork && !isAnyoneWorking();
    m_calm = isCalm ? m_calm + 1 : 0;
    if (m_calm >= calmTicks)
        release();
    m_worked = workDone();
}

void QuietGate::release()
{
    QList<WebRequest> requests;
    for (const Waiting& waiting : m_waiting)
        requests.append(waiting.request);
    const Choice choice = m_choose(requests);
    m_calm = 0;
    Waiting chosen = m_waiting.takeAt(choice.index);
    if (!chosen.send) {
        chosen.send = chosen.serve();
        if (choice.isHeldBack) {
            m_waiting.insert(choice.index, chosen);
            return;
        }
    }
    if (m_waiting.isEmpty())
        m_timer.stop();
    chosen.send();
}

} // namespace Larkhaven
