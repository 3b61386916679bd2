#pragma once

#include "safety/LinkRecord.h"
#include "safety/SanitizedHTML.h"
#include "views/reader/ContentBlocker.h"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QLabel;
class QUrl;
class QWebEngineProfile;
class QWebEngineView;

namespace Larkhaven {

class RemoteImages;

/// The sandbox in which a sanitised message is shown; the second line of defence, which holds even if hostile
/// HTML gets through the first. No script runs, nothing is kept, nothing loads that the rule list doesn't
/// allow, the engine has no network (images come through `RemoteImages`), and nothing navigates: a click on a
/// link arrives as "larkhaven-link:" and its index, is refused as a navigation, and is handed out as a
/// `LinkRecord`.
///
/// Main thread. `prepareEngine` is called once before the application object exists.
class SecureMessageView : public QWidget {
    Q_OBJECT

public:
    /// Makes the private scheme known under which the engine asks for the document, has the engine draw
    /// without the graphics card, and keeps it from writing about itself to the terminal.
    static void prepareEngine();

    /// Gives the rule list of a mode, or fails with `MailError`.
    using RuleLists = std::function<const ContentBlocker::RuleList&(ContentBlocker::Mode)>;

    explicit SecureMessageView(QWidget* parent = nullptr, RuleLists ruleLists = ContentBlocker::ruleList);
    ~SecureMessageView() override;

    /// Shows the message. The same document under the same setting is not loaded again; links and zoom are in
    /// force at once. The title names the document to assistive technology; it is bounded by the caller.
    void display(const SanitizedHTML& content, bool allowRemoteImages, double zoom,
                 const QString& title = {});
    /// 1 is 100%.
    void setZoom(double zoom);
    /// Leaves an empty page.
    void clear();

    /// Whether no document can be seen.
    bool isCovered() const;
    /// Images of the message on screen that were refused or cut off, for safety.
    int refusedImages() const;
    /// How often a document was loaded.
    int loadCount() const { return m_loadCount; }
    QWebEngineView& webView() const { return *m_view; }

public Q_SLOTS:
    /// Copies what is selected of the message.
    void copy();
    void selectAll();

Q_SIGNALS:
    void linkActivated(const Larkhaven::LinkRecord& link);
    /// The document can be seen and takes keys; its remote images may still be on their way.
    void uncovered();
    void refusedImagesChanged();
    /// The document of the last `display` is complete.
    void loadFinished(bool isSuccess);

private:
    class DocumentServer;
    class Page;
    class RequestFilter;
    struct DeletePageLater {
        void operator()(Page* page) const;
    };

    void makeProfile();
    void makePage();
    void load(const QByteArray& document, ContentBlocker::Mode mode);
    void finishLoad(bool isSuccess);
    void cover();
    void uncover();
    void followLink(const QUrl& url);
    void showRefusal();

    RuleLists m_ruleLists;
    // The profile outlives the page, which uses it to its end.
    std::unique_ptr<DocumentServer> m_server;
    std::unique_ptr<RemoteImages> m_images;
    std::unique_ptr<RequestFilter> m_filter;
    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<Page, DeletePageLater> m_page;
    QWebEngineView* m_view;
    QWidget* m_cover; ///< hides the last message until the next one is drawn
    QLabel* m_refusal;
    QList<LinkRecord> m_links;
    QString m_loadedKey; ///< which document and setting was loaded last; empty: none
    QTimer m_uncoverTimer;
    double m_zoom = 1;
    int m_loadCount = 0;
};

} // namespace Larkhaven
