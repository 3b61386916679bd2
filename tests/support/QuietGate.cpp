#include "support/QuietGate.h"

#include <QAbstractEventDispatcher>

#include <algorithm>
#include <chrono>
#include <tuple>

namespace Larkhaven {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds tick = 2ms;
/// Whoever is woken sooner had something to do.
constexpr qint64 shortSleep = 1'000'000;
/// Longer than a tick: the timer alone has woken the thread in between.
constexpr qint64 quiet = 2'500'000;

auto orderOf(const WebRequest& request)
{
    return std::tie(request.host, request.target, request.method);
}

} // namespace

QuietGate::QuietGate(WebServer& server, Choose choose)
    : m_server(server)
    , m_choose(std::move(choose))
{
    const QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, [this] { m_blocked.start(); });
    connect(dispatcher, &QAbstractEventDispatcher::awake, this, [this] {
        if (!m_blocked.isValid())
            return;
        const qint64 slept = m_blocked.nsecsElapsed();
        m_blocked.invalidate();
        m_quiet = slept < shortSleep ? 0 : m_quiet + slept;
    });
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(tick);
    connect(&m_timer, &QTimer::timeout, this, &QuietGate::release);
    m_server.setGate([this](const WebRequest& request, std::function<void()> answer) {
        hold(request, std::move(answer));
    });
}

QuietGate::~QuietGate()
{
    m_server.setGate({});
}

void QuietGate::hold(const WebRequest& request, std::function<void()> answer)
{
    const auto place = std::ranges::upper_bound(
        m_waiting, orderOf(request), {}, [](const Waiting& waiting) { return orderOf(waiting.request); });
    m_waiting.insert(place, {request, std::move(answer)});
    m_quiet = 0;
    m_timer.start();
}

void QuietGate::release()
{
    if (m_quiet < quiet)
        return;
    QList<WebRequest> requests;
    for (const Waiting& waiting : m_waiting)
        requests.append(waiting.request);
    const Waiting chosen = m_waiting.takeAt(m_choose(requests));
    m_quiet = 0;
    if (m_waiting.isEmpty())
        m_timer.stop();
    chosen.answer();
}

} // namespace Larkhaven
