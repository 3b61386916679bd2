#pragma once

#include <QHash>
#include <QList>
#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

#include <memory>
#include <optional>

namespace Larkhaven {

class ImageFetcher;

/// Gives the engine, which has no network, the remote images of the message on screen. The engine is led from
/// the URL of an image to an address of the scheme "larkhaven-image", which is asked for here, and fetched
/// from there by an `ImageFetcher`. Main thread; outlives the profile that it is installed in.
class RemoteImages : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    static constexpr const char* scheme = "larkhaven-image";

    /// URLs of a message that are led on; whoever writes more has written no newsletter.
    static constexpr qsizetype mostImages = 2000;

    explicit RemoteImages(QObject* parent = nullptr);
    ~RemoteImages() override;

    /// Before `QApplication` exists.
    static void registerScheme();

    /// Begins with another opening: what is under way ends, and nothing is kept of it.
    void begin();

    /// The address that the engine is led to for an image; invalid where the message has more than it may.
    QUrl address(const QUrl& image);
    /// Whether this address was given out since the last `begin`.
    bool isKnown(const QUrl& address) const { return imageAt(address).has_value(); }

    /// Images that were refused or cut off, for safety, since the last `begin`.
    int refused() const { return m_refused; }

    void requestStarted(QWebEngineUrlRequestJob* job) override;

Q_SIGNALS:
    void refusedChanged();

private:
    std::optional<QString> imageAt(const QUrl& address) const;
    QUrl addressOf(qsizetype place) const;
    void refuse();

    ImageFetcher& fetcher();

    std::unique_ptr<ImageFetcher> m_fetcher; ///< made for the first image of an opening
    QList<QString> m_images;
    QHash<QString, qsizetype> m_places; ///< of each URL in the list
    quint64 m_opening = 0;              ///< stands in each address, so that one of before is known as that
    int m_refused = 0;
    bool m_isChangeUnderWay = false; ///< of `m_refused`, to be announced
};

} // namespace Larkhaven
