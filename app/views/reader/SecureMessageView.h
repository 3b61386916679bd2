#pragma once

#include "safety/LinkRecord.h"
#include "safety/SanitizedHTML.h"
#include "views/reader/ContentBlocker.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QUrl;
class QWebEngineProfile;
class QWebEngineUrlRequestJob;
class QWebEngineView;

namespace Larkhaven {

class RemoteImages;
class TroubleSheet;

/// The sandbox in which a sanitised message is shown; the second line of defence, which holds even if hostile
/// HTML gets through the first. No script runs, nothing is kept, nothing loads that the rule list doesn't
/// allow, the engine has no network (images come through `RemoteImages`), and nothing navigates: a click on a
/// link arrives as "larkhaven-link:" and its index, is refused as a navigation, and is handed out as a
/// `LinkRecord`. The process that draws it has a bound of memory (`EngineProcess`), and gets nothing but
/// plain text where it isn't in the engine's own sandbox.
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

    /// What a document holds of what its sender wrote.
    enum class Body {
        html,
        text, ///< nothing but characters, as `HTMLSanitizer::plainText` writes them
    };

    /// Shows the message. The same document under the same setting is not loaded again; links and zoom are in
    /// force at once. The title names the document to assistive technology; it is bounded by the caller.
    void display(const SanitizedHTML& content, bool allowRemoteImages, double zoom, const QString& title = {},
                 Body body = Body::html);
    /// 1 is 100%.
    void setZoom(double zoom);
    /// Leaves an empty page.
    void clear();

    /// Why the message on screen isn't shown, or not yet.
    enum class Trouble {
        none,
        takesLong, ///< nothing of it is drawn after `patience`; goes when something is
        stopped,   ///< by the user, or by `stop`
        tooLarge,  ///< its process had more memory than it may
        ended,     ///< its process ended by itself
        refused,   ///< the engine left it, or there are no rules to show it by
        noSandbox, ///< the engine's sandbox is off, and it isn't plain text
    };
    static constexpr std::chrono::seconds patience{5};
    Trouble trouble() const { return m_trouble; }
    /// Whether a sheet in the colours of the windows says so, in the place of the page, which is white.
    bool hasSheet() const;
    /// Ends the process of the message on screen, however busy it is.
    void stop();

    /// Whether no document can be seen.
    bool isCovered() const;
    /// Images of the message on screen that were refused or cut off, for safety.
    int refusedImages() const;
    /// How often a document was loaded.
    int loadCount() const { return m_loadCount; }
    /// The view of the page on screen; another message may have another.
    QWebEngineView& webView() const { return *m_view; }

public Q_SLOTS:
    /// Copies what is selected of the message.
    void copy();
    void selectAll();

Q_SIGNALS:
    void linkActivated(const Larkhaven::LinkRecord& link);
    /// The beginning of the document can be seen and takes keys; its end and its remote images may still be
    /// on their way.
    void uncovered();
    void refusedImagesChanged();
    void troubleChanged();
    /// The message on screen is asked for as its text alone.
    void textRequested();
    /// The document of the last `display` is complete.
    void loadFinished(bool isSuccess);

private:
    class DocumentServer;
    class Page;
    class RequestFilter;
    struct DeletePageLater {
        void operator()(Page* page) const;
    };

    void releaseFocus();
    void makeProfile();
    /// Without a page.
    QWebEngineView* newView();
    /// A page of its own, with a process of its own once it loads.
    Page* newPage();
    /// Puts the page into the window, in the place of the one before; with its view, if it has one.
    void showPage(Page* page);
    /// Makes a page and a process ready for the next message, which the engine takes longer for than for most
    /// messages.
    void prepareNext();
    void load(const QByteArray& document, ContentBlocker::Mode mode);
    void leavePage();
    void finishLoad(bool isSuccess);
    void cover();
    void uncover();
    void followLink(const QUrl& url);
    /// A page asks for its document: the one on screen gets it, one that is ready for the next waits.
    void takeRequest(QWebEngineUrlRequestJob* job);
    /// Gives the engine the document, once its process is known for what it has to be.
    void answer(const QPointer<QWebEngineUrlRequestJob>& job, int load, int looks);
    void setTrouble(Trouble trouble);
    void watch();
    void takeEnd();
    bool isDrawn() const;
    void checkDrawn();

    RuleLists m_ruleLists;
    // The profile outlives the page, which uses it to its end.
    std::unique_ptr<DocumentServer> m_server;
    std::unique_ptr<RemoteImages> m_images;
    std::unique_ptr<RequestFilter> m_filter;
    std::unique_ptr<QWebEngineProfile> m_profile;
    std::unique_ptr<Page, DeletePageLater> m_page;
    std::unique_ptr<Page, DeletePageLater> m_next;   ///< for the next message; null until it is made ready
    QPointer<QWebEngineUrlRequestJob> m_nextRequest; ///< of `m_next`
    QWebEngineView* m_view;
    QWebEngineView* m_nextView = nullptr; ///< of `m_next`; null where it is made ready without one
    QWidget* m_cover;                     ///< hides the last message until the next one is drawn
    TroubleSheet* m_sheet;
    QList<LinkRecord> m_links;
    /// A document and how it is shown. The text is the caller's, and costs no copy.
    struct Loaded {
        QString document;
        QString title;
        bool allowsRemoteImages = false;
        Body body = Body::html;

        bool operator==(const Loaded&) const = default;
    };
    std::optional<Loaded> m_loaded; ///< last; absent: none
    QByteArray m_document;
    Body m_body = Body::html;
    Trouble m_trouble = Trouble::none;
    QTimer m_nextTimer;  ///< until the next page is made ready
    QTimer m_drawTimer;  ///< until it is asked whether anything is drawn
    QTimer m_watchTimer; ///< until the memory of the process is looked at
    QElapsedTimer m_sinceLoad;
    qint64 m_mostMemory = 0;   ///< that the process has asked for, as far as it was seen
    bool m_hasFrame = false;   ///< a picture of the document has come
    bool m_isComplete = false; ///< the document has loaded
    double m_zoom = 1;
    int m_loadCount = 0;
    int m_pageCount = 0;
};

} // namespace Larkhaven
