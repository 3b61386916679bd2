#include "support/GoogleServices.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

const QByteArray gmailHost("gmail.googleapis.com");
const QByteArray googleTokenHost("oauth2.googleapis.com");
const QByteArray googlePagesHost("accounts.google.com");
const QByteArray microsoftHost("login.microsoftonline.com");

/// What a client that tells nothing of itself sends.
const QSet<QByteArray> knownHeaders{"host",          "user-agent",   "accept",        "accept-encoding",
                                    "authorization", "content-type", "content-length"};

QByteArray pathOf(const QByteArray& target)
{
    return target.first(target.contains('?') ? target.indexOf('?') : target.size());
}

/// The method, and the path below the user.
QByteArray nameOf(const WebRequest& request)
{
    const QByteArray below("users/me/");
    const qsizetype start = request.target.indexOf(below);
    return request.method + ' ' + (start < 0 ? request.target : request.target.sliced(start + below.size()));
}

} // namespace

const QByteArray GoogleServices::hosts =
    googlePagesHost + ',' + googleTokenHost + ',' + gmailHost + ',' + microsoftHost;

GoogleServices::GoogleServices(const QString& address)
    : m_google(OAuthDouble::google(u"1234-abcd.apps.googleusercontent.com"_s))
    , m_microsoft(
          OAuthDouble::microsoft(u"00000000-1111-2222-3333-444444444444"_s, u"com.tundra42.larkhaven"_s))
    , m_gmail(address)
    , m_server([this](const WebRequest& request) { return handle(request); })
{
    const auto count = [this](int step) {
        return [this, step](const WebRequest& request) {
            if (request.host == gmailHost)
                m_events.append({nameOf(request), step});
        };
    };
    m_server.setObservers(count(1), count(-1));
}

QByteArray GoogleServices::authorize(const QByteArray& url)
{
    return url.startsWith("https://" + microsoftHost + '/') ? m_microsoft.authorize(url)
                                                            : m_google.authorize(url);
}

// --- Serving

WebReply GoogleServices::handle(const WebRequest& request)
{
    if (m_before) {
        if (const std::optional<WebReply> reply = m_before(request))
            return *reply;
    }
    WebReply reply = serve(request);
    if (m_after)
        reply = m_after(request, std::move(reply));
    if (request.host == gmailHost && reply.delay == 0)
        reply.delay = m_delay;
    return reply;
}

WebReply GoogleServices::serve(const WebRequest& request)
{
    const QByteArray path = pathOf(request.target);
    if (request.host == gmailHost)
        return gmail(request);
    if (request.host == googlePagesHost && path == "/o/oauth2/v2/auth")
        return m_google.authorization(request);
    if (request.host == microsoftHost && path == "/consumers/oauth2/v2.0/authorize")
        return m_microsoft.authorization(request);
    checkHeaders(request);
    if (request.host == googleTokenHost && path == "/token")
        return m_google.token(request);
    if (request.host == googleTokenHost && path == "/revoke")
        return m_google.revocation(request);
    if (request.host == microsoftHost && path == "/consumers/oauth2/v2.0/token")
        return m_microsoft.token(request);
    m_gmail.note(u"nothing is there: "_s + QString::fromUtf8(request.host + request.target));
    return {.status = 404, .body = "<!DOCTYPE html><title>Not Found</title>"};
}

WebReply GoogleServices::gmail(const WebRequest& request)
{
    checkHeaders(request);
    const QByteArray name = nameOf(request);
    if (const std::optional<Failure> failure = nextFailure(name.sliced(name.indexOf(' ') + 1)))
        return fail(request, *failure);
    const GoogleError unauthorized{401, u"Request had invalid authentication credentials."_s,
                                   u"UNAUTHENTICATED"_s, u"authError"_s};
    const QByteArray bearer = request.header("authorization").value_or(QByteArray());
    const OAuthDouble::Token state =
        bearer.startsWith("Bearer ") ? m_google.state(bearer.sliced(7)) : OAuthDouble::Token::unknown;
    if (state == OAuthDouble::Token::unknown)
        m_gmail.note(u"no token that was given out: "_s + QString::fromUtf8(name));
    if (state != OAuthDouble::Token::valid)
        return unauthorized.reply();
    return m_gmail.answer(request);
}

/// A client tells nothing of itself but its name.
void GoogleServices::checkHeaders(const WebRequest& request)
{
    for (const auto& [name, value] : request.headers) {
        if (!knownHeaders.contains(name))
            m_gmail.note(u"header: "_s + QString::fromUtf8(name + ": " + value));
    }
    if (request.header("user-agent") != "Larkhaven")
        m_gmail.note(u"another name of the program"_s);
}

// --- Failures

void GoogleServices::failNext(int count, Failure failure, const QByteArray& prefix)
{
    m_failing.append({count, failure, prefix});
}

std::optional<GoogleServices::Failure> GoogleServices::nextFailure(const QByteArray& path)
{
    const auto failing =
        std::ranges::find_if(m_failing, [&](const Failing& entry) { return path.startsWith(entry.prefix); });
    if (failing == m_failing.end())
        return std::nullopt;
    const Failure failure = failing->failure;
    if (--failing->count == 0)
        m_failing.erase(failing);
    return failure;
}

WebReply GoogleServices::fail(const WebRequest& request, Failure failure)
{
    switch (failure) {
    case Failure::dropBefore:
        return {.end = WebReply::End::drop};
    case Failure::dropAfter:
        m_gmail.answer(request);
        return {.end = WebReply::End::drop};
    case Failure::serverError:
        return GoogleError{500, u"Internal error encountered."_s, u"INTERNAL"_s, u"backendError"_s}.reply();
    case Failure::tooMany:
        return GoogleError{429, u"Too many concurrent requests for user."_s, u"RESOURCE_EXHAUSTED"_s}.reply();
    case Failure::rateLimited:
        return GoogleError{403, u"User-rate limit exceeded."_s, u"PERMISSION_DENIED"_s,
                           u"userRateLimitExceeded"_s}
            .reply();
    case Failure::unauthorized:
        return GoogleError{401, u"Request had invalid authentication credentials."_s, u"UNAUTHENTICATED"_s}
            .reply();
    case Failure::cutJSON:
        break;
    }
    WebReply reply = m_gmail.answer(request);
    reply.body.truncate(reply.body.size() / 2);
    return reply;
}

// --- What is seen

QList<QByteArray> GoogleServices::requests() const
{
    QList<QByteArray> lines;
    for (const WebRequest& request : m_server.requests()) {
        if (request.host == gmailHost)
            lines.append(request.method + ' ' + request.target);
    }
    return lines;
}

qsizetype GoogleServices::count(const QByteArray& start) const
{
    const QList<QByteArray> lines = requests();
    return std::ranges::count_if(lines, [&](const QByteArray& line) { return line.startsWith(start); });
}

GoogleServices::Flights GoogleServices::flights(const QByteArray& start, const QByteArray& part) const
{
    Flights flights;
    for (const auto& [name, step] : m_events) {
        if (name.startsWith(start) && name.contains(part))
            flights.now += step;
        flights.most = std::max(flights.most, flights.now);
    }
    return flights;
}

int GoogleServices::inFlight(const QByteArray& start) const
{
    return flights(start, {}).now;
}

int GoogleServices::mostInFlight(const QByteArray& start, const QByteArray& part) const
{
    return flights(start, part).most;
}

void GoogleServices::forgetRequests()
{
    m_server.forget();
    m_events.clear();
}

QStringList GoogleServices::violations() const
{
    return m_gmail.violations() + m_google.violations() + m_microsoft.violations();
}

} // namespace Larkhaven
