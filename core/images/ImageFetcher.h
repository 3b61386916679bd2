#pragma once

#include "domain/LocalizedError.h"
#include "domain/MailProvider.h"
#include "images/ImageFile.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QHostAddress>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace Larkhaven {

/// An image that isn't shown because of what it is or where it lies. Holds nothing that its sender chose.
class ImageRefusal : public LocalizedError {
    Q_DECLARE_TR_FUNCTIONS(ImageRefusal)

public:
    enum class Reason {
        notAllowed,       ///< a URL that may not be asked for, as a source or as what a redirect leads to
        notPublic,        ///< a host that isn't on the public internet, or whose name leads nowhere
        tooManyRedirects, ///< and the last one leads on
        notAnImage,       ///< none of the formats that are shown
        tooLarge,         ///< in bytes or in pixels
        overBudget,       ///< the message has used up its bytes or its time
    };

    explicit ImageRefusal(Reason reason)
        : m_reason(reason)
    {}

    Reason reason() const { return m_reason; }
    QString localizedText() const override;

private:
    Reason m_reason;
};

/// Fetches the remote images of one opening of one message, so that a message engine needs no network. Over
/// HTTPS on port 443 alone, to hosts of the public internet and to the very addresses that were judged, with
/// no cookie, referrer, credential or cache. Connections, TLS sessions and answers about names are shared by
/// the images of one fetcher, and by nothing else: to the hosts one opening is not the next.
///
/// Main thread. Fetches that run when it is destroyed end as cancelled.
class ImageFetcher {
public:
    struct Limits {
        qsizetype bytes = 20 * 1024 * 1024;        ///< of an image
        qint64 pixels = 50'000'000;                ///< of an image, on its whole canvas
        qsizetype messageBytes = 50 * 1024 * 1024; ///< of all images
        std::chrono::milliseconds messageTime = std::chrono::seconds(60); ///< from the first fetch on
        std::chrono::milliseconds silence = std::chrono::seconds(20);     ///< without a byte from a server
        int redirects = 5;                                                ///< of one image
        int atOnceOfHost = 6;
        int atOnce = 24;
    };

    /// Whether a URL may be asked for, beside what the fetcher judges by itself: source and redirects.
    using Judge = std::function<bool(const QString& url)>;
    /// The addresses of a host; none where it leads nowhere.
    using Lookup = std::function<Task<QList<QHostAddress>>(QByteArray host, std::stop_token stop)>;

    struct Image {
        ImageFile::Format format = ImageFile::Format::png;
        QByteArray data;
    };

    explicit ImageFetcher(Judge judge);
    ImageFetcher(Judge judge, Lookup lookup, Limits limits);
    ~ImageFetcher();
    ImageFetcher(const ImageFetcher&) = delete;
    ImageFetcher& operator=(const ImageFetcher&) = delete;

    /// The image that a URL leads to. Fails with `ImageRefusal`; with `HTTPError` where no response came;
    /// with `MailError::http` where a server has no image; with `MailError::cancelled`.
    Task<Image> fetch(QString url);

private:
    struct Opening;

    std::shared_ptr<Opening> m_opening;
};

} // namespace Larkhaven
