#include "views/reader/RemoteImages.h"

#include "images/ImageFetcher.h"
#include "platform/Tasks.h"
#include "safety/HTMLSanitizer.h"

#include <QBuffer>
#include <QPointer>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

#include <functional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// Fetches the image for the engine, which may have given it up by then.
Task<> answer(ImageFetcher* fetcher, QString image, QPointer<QWebEngineUrlRequestJob> job,
              std::function<void()> refused)
{
    const Outcome<ImageFetcher::Image> outcome = co_await settled(fetcher->fetch(std::move(image)));
    if (outcome.value) {
        if (!job)
            co_return;
        auto* const body = new QBuffer(job);
        body->setData(outcome.value->data);
        body->open(QIODevice::ReadOnly);
        job->reply(ImageFile::mediaType(outcome.value->format), body);
        co_return;
    }
    if (job)
        job->fail(QWebEngineUrlRequestJob::RequestFailed);
    try {
        std::rethrow_exception(outcome.failure);
    } catch (const ImageRefusal&) {
        refused();
    } catch (const LocalizedError&) {
        // The engine shows the words of the image.
    }
}

} // namespace

RemoteImages::RemoteImages(QObject* parent)
    : QWebEngineUrlSchemeHandler(parent)
{}

RemoteImages::~RemoteImages() = default;

void RemoteImages::registerScheme()
{
    QWebEngineUrlScheme images(scheme);
    images.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    // The policy of the documents allows "https:" alone, as it would where the engine fetched them.
    images.setFlags(QWebEngineUrlScheme::ContentSecurityPolicyIgnored);
    QWebEngineUrlScheme::registerScheme(images);
}

void RemoteImages::begin()
{
    ++m_opening;
    m_images.clear();
    m_places.clear();
    m_refused = 0;
    m_fetcher.reset();
    Q_EMIT refusedChanged();
}

ImageFetcher& RemoteImages::fetcher()
{
    // A redirect may lead to a tracker that the sanitizer has never seen.
    if (!m_fetcher) {
        m_fetcher = std::make_unique<ImageFetcher>(
            [](const QString& url) { return !HTMLSanitizer::leadsToTracker(url); });
    }
    return *m_fetcher;
}

QUrl RemoteImages::address(const QUrl& image)
{
    const QString url = image.toString(QUrl::FullyEncoded);
    auto place = m_places.constFind(url);
    if (place == m_places.constEnd()) {
        if (m_images.size() >= mostImages) {
            refuse();
            return {};
        }
        place = m_places.insert(url, m_images.size());
        m_images.append(url);
    }
    return addressOf(*place);
}

std::optional<QString> RemoteImages::imageAt(const QUrl& address) const
{
    const QString path = address.path();
    bool isNumber = false;
    const qulonglong place = path.section(u'/', 1).toULongLong(&isNumber);
    const bool isKnown = isNumber && place < static_cast<qulonglong>(m_images.size()) &&
                         address == addressOf(static_cast<qsizetype>(place));
    return isKnown ? std::optional(m_images.at(static_cast<qsizetype>(place))) : std::nullopt;
}

QUrl RemoteImages::addressOf(qsizetype place) const
{
    return QUrl(u"%1:%2/%3"_s.arg(QLatin1StringView(scheme)).arg(m_opening).arg(place));
}

void RemoteImages::requestStarted(QWebEngineUrlRequestJob* job)
{
    const std::optional<QString> image = imageAt(job->requestUrl());
    if (!image) {
        job->fail(QWebEngineUrlRequestJob::UrlNotFound);
        return;
    }
    const std::function<void()> refused = [self = QPointer(this), opening = m_opening] {
        if (self && self->m_opening == opening)
            self->refuse();
    };
    spawn(answer(&fetcher(), *image, job, refused), dropFailure);
}

void RemoteImages::refuse()
{
    ++m_refused;
    // A hostile message may have thousands of them refused in one turn.
    if (std::exchange(m_isChangeUnderWay, true))
        return;
    const auto announce = [this] {
        m_isChangeUnderWay = false;
        Q_EMIT refusedChanged();
    };
    QMetaObject::invokeMethod(this, announce, Qt::QueuedConnection);
}

} // namespace Larkhaven
