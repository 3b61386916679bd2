#include "app/signin/WebAuthenticator.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "platform/Tasks.h"
#include "platform/Wakeup.h"

#include <QPointer>

#include <exception>
#include <optional>

namespace Larkhaven {

namespace {

/// Redirects of more sign-ins than this that come late are taken for strange ones.
constexpr qsizetype mostEndedStates = 100;

/// The first item of that name in the query; absent where there is none.
std::optional<QByteArray> itemOf(const QByteArray& url, const QByteArray& name)
{
    const QByteArray query = url.mid(url.indexOf('?') + 1).split('#').first();
    for (const QByteArray& item : query.split('&')) {
        const qsizetype equals = (item + '=').indexOf('=');
        if (QByteArray::fromPercentEncoding(item.first(equals)) == name)
            return QByteArray::fromPercentEncoding(item.mid(equals + 1));
    }
    return std::nullopt;
}

/// The state that an authorization URL or a redirect holds (RFC 6749, 4.1); empty where it holds none.
QByteArray stateOf(const QByteArray& url)
{
    return itemOf(url, "state").value_or(QByteArray());
}

bool holdsError(const QByteArray& url)
{
    return itemOf(url, "error").has_value();
}

} // namespace

/// What a sign-in and those who may end it share.
struct WebAuthenticator::Session {
    QString scheme;
    QByteArray state;
    std::shared_ptr<BrowserSession> browser;
    std::stop_source stop; ///< for the opening of the browser
    Wakeup decided;
    bool isDecided = false;
    QByteArray redirect;
    std::exception_ptr failure;

    /// The first outcome counts.
    void decide(const QByteArray& url, const std::exception_ptr& why)
    {
        if (std::exchange(isDecided, true))
            return;
        redirect = url;
        failure = why;
        stop.request_stop();
        decided.notify();
    }
    void cancel() { decide({}, std::make_exception_ptr(MailError::cancelled())); }
    void fail(const std::exception_ptr& why) { decide({}, why); }
};

WebAuthenticator::WebAuthenticator(Open open, std::chrono::milliseconds patience, QObject* parent)
    : QObject(parent)
    , m_open(std::move(open))
    , m_patience(patience)
{}

WebAuthenticator::~WebAuthenticator()
{
    if (!m_session)
        return;
    m_session->cancel();
    // Whoever waits may never go on, as where the program ends.
    m_session->browser.reset();
}

Task<QByteArray> WebAuthenticator::authenticate(QByteArray url, QString callbackScheme, std::stop_token stop)
{
    if (m_session)
        throw MailError::cancelled();
    const QPointer<WebAuthenticator> self(this);
    const auto session = std::make_shared<Session>();
    session->scheme = callbackScheme;
    session->state = stateOf(url);
    m_session = session;
    const std::stop_callback cancel(stop, [session] { session->cancel(); });
    if (!session->isDecided)
        spawn(openBrowser(m_open, session, url),
              [session](const std::exception_ptr& failure) { session->fail(failure); });
    const Wakeup::Outcome outcome = co_await session->decided.wait(m_patience);
    if (outcome == Wakeup::Outcome::timedOut)
        session->cancel();
    if (self) {
        m_session.reset();
        remember(session->state);
    }
    session->browser.reset();
    if (session->failure)
        std::rethrow_exception(session->failure);
    co_return QByteArray(session->redirect);
}

Task<> WebAuthenticator::openBrowser(Open open, std::shared_ptr<Session> session, QByteArray url)
{
    const std::stop_token stop = session->stop.get_token();
    const std::shared_ptr<BrowserSession> browser = co_await open(url, stop);
    if (session->isDecided)
        co_return;
    session->browser = browser;
    const std::weak_ptr<Session> weak = session;
    QObject::connect(browser.get(), &BrowserSession::closed, browser.get(), [weak] {
        if (const std::shared_ptr<Session> known = weak.lock())
            known->cancel();
    });
    QObject::connect(browser.get(), &BrowserSession::failed, browser.get(), [weak] {
        if (const std::shared_ptr<Session> known = weak.lock())
            known->fail(
                std::make_exception_ptr(MailError::authFailed(tr("Could not open the sign-in window."))));
    });
}

bool WebAuthenticator::takeRedirect(const QByteArray& url)
{
    const qsizetype colon = url.indexOf(':');
    if (!m_session || m_session->isDecided || url.size() > longestRedirect || colon < 1)
        return false;
    if (!Text::isSameKeyword(QString::fromLatin1(url.first(colon)), m_session->scheme))
        return false;
    // Another state than ours goes on to whoever validates it: the user learns that something strange came.
    // A late redirect of a sign-in that has ended is nothing strange; and words or a cancel of whoever
    // doesn't know the state are no answer of the service.
    const QByteArray state = stateOf(url);
    if (m_endedStates.contains(state) || (holdsError(url) && state != m_session->state))
        return false;
    m_session->decide(url, nullptr);
    return true;
}

void WebAuthenticator::remember(const QByteArray& state)
{
    m_endedStates.append(state);
    if (m_endedStates.size() > mostEndedStates)
        m_endedStates.removeFirst();
}

} // namespace Larkhaven
