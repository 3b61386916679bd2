#include "images/ImageFetcher.h"

#include "domain/MailError.h"
#include "domain/Text.h"
#include "http/HTTPSession.h"
#include "images/NameLookup.h"
#include "images/PublicNetwork.h"
#include "platform/Tasks.h"
#include "platform/Turnstile.h"
#include "safety/MailURL.h"

#include <QTimer>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

using Reason = ImageRefusal::Reason;

constexpr int httpsPort = 443;
constexpr int found = 200;

bool isRedirect(int status)
{
    constexpr std::array redirects{301, 302, 303, 307, 308};
    return std::ranges::find(redirects, status) != redirects.end();
}

/// What is asked of the server is no part of the URL that a fragment is.
QByteArray requestURL(const MailURL& url)
{
    return url.absoluteString().section(u'#', 0, 0).toLatin1();
}

} // namespace

QString ImageRefusal::localizedText() const
{
    return tr("The image could not be loaded safely.");
}

/// What the fetches of a message share. Outlives the fetcher while one of them comes to its end.
struct ImageFetcher::Opening {
    Opening(Judge judgeOfCaller, Lookup lookupOfNames, Limits bounds)
        : judge(std::move(judgeOfCaller))
        , lookup(std::move(lookupOfNames))
        , limits(bounds)
        , session({.body = bounds.bytes, .connections = bounds.atOnceOfHost})
        , queue(bounds.atOnce)
    {
        deadline.setSingleShot(true);
        deadline.setInterval(bounds.messageTime);
        deadline.callOnTimeout([this] {
            isOver = true;
            stop.request_stop();
        });
    }

    struct Host {
        explicit Host(int width)
            : queue(width)
        {}

        Turnstile naming; ///< one asks for the addresses, the others wait for its answer
        Turnstile queue;
        std::optional<QList<QHostAddress>> addresses;
    };

    Host& host(const QString& name)
    {
        std::unique_ptr<Host>& found = hosts[name];
        if (!found)
            found = std::make_unique<Host>(limits.atOnceOfHost);
        return *found;
    }

    /// Fails where the message has used up its bytes or its time, or nobody wants its images any more.
    void goOn() const
    {
        if (isOver || bytes >= limits.messageBytes)
            throw ImageRefusal(Reason::overBudget);
        if (stop.stop_requested())
            throw MailError::cancelled();
    }

    MailURL judged(const QString& text) const;
    static Task<QList<QHostAddress>> addresses(std::shared_ptr<Opening> opening, QString name);
    static Task<HTTPResponse> ask(std::shared_ptr<Opening> opening, MailURL url);
    static Task<Image> fetch(std::shared_ptr<Opening> opening, QString text);
    Image read(const HTTPResponse& response) const;

    Judge judge;
    Lookup lookup;
    Limits limits;
    HTTPSession session;
    Turnstile queue;
    std::map<QString, std::unique_ptr<Host>> hosts;
    QTimer deadline;
    bool hasBegun = false;
    bool isOver = false;
    qsizetype bytes = 0; ///< that have come for all images
    std::stop_source stop;
};

/// The URL, where it may be asked for as far as that can be seen from it.
MailURL ImageFetcher::Opening::judged(const QString& text) const
{
    const std::optional<MailURL> url = MailURL::parse(text);
    const bool isAllowed = url && url->scheme() == "https"_L1 && !url->hasUserInfo() &&
                           url->port().value_or(httpsPort) == httpsPort && judge(url->absoluteString());
    if (!isAllowed)
        throw ImageRefusal(Reason::notAllowed);
    if (!PublicNetwork::isPublicName(url->host()))
        throw ImageRefusal(Reason::notPublic);
    return *url;
}

/// All of them are public: a name that leads to the user's own network as well isn't asked at all.
Task<QList<QHostAddress>> ImageFetcher::Opening::addresses(std::shared_ptr<Opening> opening, QString name)
{
    Host& host = opening->host(name);
    const Turnstile::Turn turn = co_await host.naming.enter();
    if (!host.addresses) {
        opening->goOn();
        const QList<QHostAddress> answer =
            co_await opening->lookup(name.toLatin1(), opening->stop.get_token());
        host.addresses = answer;
        opening->goOn();
    }
    const QList<QHostAddress> known = *host.addresses;
    if (known.isEmpty() || !std::ranges::all_of(known, PublicNetwork::isPublic))
        throw ImageRefusal(Reason::notPublic);
    co_return QList<QHostAddress>(known);
}

Task<HTTPResponse> ImageFetcher::Opening::ask(std::shared_ptr<Opening> opening, MailURL url)
{
    const QString name = Text::asciiLowered(url.host());
    const QList<QHostAddress> addresses = co_await Opening::addresses(opening, name);
    const Turnstile::Turn turn = co_await opening->host(name).queue.enter();
    const Turnstile::Turn place = co_await opening->queue.enter();
    opening->goOn();
    HTTPRequest request{requestURL(url)};
    request.headers = {{"User-Agent", "Mozilla/5.0"},
                       {"Accept", "image/avif,image/webp,image/png,image/jpeg,image/gif,image/bmp"}};
    request.addresses = addresses;
    request.mostBody = opening->limits.bytes;
    request.timeout = opening->limits.silence;
    std::optional<Reason> refusal;
    qsizetype counted = 0;
    request.isWanted = [&opening, &refusal, &counted](int status, QByteArrayView body) {
        opening->bytes += body.size() - std::exchange(counted, body.size());
        if (status == found && body.size() >= ImageFile::longestSignature && !ImageFile::format(body))
            refusal = Reason::notAnImage;
        else if (opening->bytes > opening->limits.messageBytes)
            refusal = Reason::overBudget;
        return !refusal;
    };
    const Outcome<HTTPResponse> outcome =
        co_await settled(opening->session.perform(request, opening->stop.get_token()));
    if (refusal)
        throw ImageRefusal(*refusal);
    if (!outcome.failure)
        co_return HTTPResponse(*outcome.value);
    opening->goOn();
    try {
        std::rethrow_exception(outcome.failure);
    } catch (const HTTPError& error) {
        if (error.kind() == HTTPError::Kind::tooLarge)
            throw ImageRefusal(Reason::tooLarge);
        throw;
    }
}

ImageFetcher::Image ImageFetcher::Opening::read(const HTTPResponse& response) const
{
    if (response.status != found)
        throw MailError::http(response.status, {});
    const std::optional<ImageFile::Format> format = ImageFile::format(response.body);
    const std::optional<ImageFile::Size> size =
        format ? ImageFile::size(*format, response.body) : std::nullopt;
    if (!size)
        throw ImageRefusal(Reason::notAnImage);
    if (size->width > limits.pixels / size->height)
        throw ImageRefusal(Reason::tooLarge);
    return {*format, response.body};
}

Task<ImageFetcher::Image> ImageFetcher::Opening::fetch(std::shared_ptr<Opening> opening, QString text)
{
    if (!std::exchange(opening->hasBegun, true))
        opening->deadline.start();
    for (int redirects = 0; redirects <= opening->limits.redirects; ++redirects) {
        opening->goOn();
        MailURL url = opening->judged(text);
        const HTTPResponse response = co_await ask(opening, url);
        if (!isRedirect(response.status) || response.location.isEmpty())
            co_return opening->read(response);
        text = QString::fromUtf8(response.location);
    }
    throw ImageRefusal(Reason::tooManyRedirects);
}

ImageFetcher::ImageFetcher(Judge judge)
    : ImageFetcher(std::move(judge), NameLookup::addresses, Limits())
{}

ImageFetcher::ImageFetcher(Judge judge, Lookup lookup, Limits limits)
    : m_opening(std::make_shared<Opening>(std::move(judge), std::move(lookup), limits))
{}

ImageFetcher::~ImageFetcher()
{
    m_opening->stop.request_stop();
}

Task<ImageFetcher::Image> ImageFetcher::fetch(QString url)
{
    return Opening::fetch(m_opening, std::move(url));
}

} // namespace Larkhaven
