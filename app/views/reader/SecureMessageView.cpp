#include "views/reader/SecureMessageView.h"

#include "domain/MailError.h"
#include "safety/HTMLSanitizer.h"
#include "views/reader/EngineAccessibility.h"
#include "views/reader/EngineProcess.h"
#include "views/reader/RemoteImages.h"
#include "views/reader/TroubleSheet.h"
#include "views/style/DisplayText.h"

#include <QAccessible>
#include <QApplication>
#include <QAuthenticator>
#include <QBuffer>
#include <QQuickWindow>
#include <QStackedLayout>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineFullScreenRequest>
#include <QWebEngineNewWindowRequest>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineUrlRequestInterceptor>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>
#include <QWebEngineUrlSchemeHandler>
#include <QWebEngineView>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The scheme under which the engine asks us for the document; a document given as a "data:" URL would be cut
/// at 2 MB.
constexpr const char* documentScheme = "larkhaven-message";

/// By which the document server knows the pages apart.
QUrl documentURL(int page)
{
    return QUrl(u"larkhaven-message:document/%1"_s.arg(page));
}

bool isDocument(const QUrl& url)
{
    return url.scheme() == QLatin1StringView(documentScheme) && url.path().startsWith("document/"_L1);
}

ContentBlocker::Resource resourceOf(QWebEngineUrlRequestInfo::ResourceType type)
{
    switch (type) {
    case QWebEngineUrlRequestInfo::ResourceTypeImage:
        return ContentBlocker::Resource::image;
    case QWebEngineUrlRequestInfo::ResourceTypeMainFrame:
        return ContentBlocker::Resource::document;
    default:
        return ContentBlocker::Resource::other;
    }
}

/// Before all of a document: no name is looked up for a link that might be clicked. The first word counts, so
/// that nothing in the document can allow it.
constexpr const char* noPrefetch =
    "<!DOCTYPE html><meta http-equiv=\"x-dns-prefetch-control\" content=\"off\">";

/// What is ours in every document, in a layer before all of the message's own styles: of two rules that are
/// important, the one in the earlier layer counts, however exact the other one is (CSS Cascading 5, 6.4.4).
/// As it has no name, nothing of a message can join it.
///
/// - Scroll bars as those of the windows; "all" leaves nothing of them to a message. Nor can it keep its page
///   from being scrolled. The colour is the light scheme's: the page is white in both.
/// - Where a link leads nowhere, it is text.
/// - This engine draws a broken image where a message's own style keeps a blocked one from being hidden.
constexpr const char* ownStyle =
    "<style>@layer{"
    "::-webkit-scrollbar{all:unset!important;width:8px!important;height:8px!important}"
    "::-webkit-scrollbar-button{all:unset!important;display:none!important}"
    "::-webkit-scrollbar-track,::-webkit-scrollbar-track-piece,::-webkit-scrollbar-corner,::-webkit-resizer"
    "{all:unset!important;background:#fff!important}"
    "::-webkit-scrollbar-thumb{all:unset!important;background:rgba(98,93,112,.4)!important;"
    "border-radius:4px!important;min-width:32px!important;min-height:32px!important}"
    "::-webkit-scrollbar-thumb:hover{background:rgb(98,93,112)!important}"
    "*{scrollbar-width:auto!important;scrollbar-color:auto!important}"
    "html{overflow:auto!important}body{overflow:visible!important}"
    "a:not([href]){color:inherit!important;text-decoration:none!important;cursor:inherit!important}"
    "img[data-lh-blocked]{display:none!important}"
    "}</style>";

/// The document behind what it can't take back. The title is what a screen reader calls it.
QByteArray framed(const QString& document, const QString& title)
{
    const QString named =
        title.isEmpty() ? QString() : u"<title>%1</title>"_s.arg(HTMLSanitizer::escapeHTML(title));
    const QByteArray before = noPrefetch + named.toUtf8() + ownStyle;
    const QByteArray content = document.toUtf8();
    QByteArray framed;
    framed.reserve(before.size() + content.size());
    framed += before;
    return framed += content;
}

/// Of `ownStyle`.
constexpr int scrollBarWidth = 8;

/// When the user looks at a message, the next page is made ready; not before, as that takes its own time.
constexpr std::chrono::milliseconds nextPageDelay{100};

/// How often it is asked again whether a message is drawn that takes long.
constexpr std::chrono::milliseconds drawInterval{500};

/// How often the memory of a process is looked at: while it lays the document out, and later, when what is
/// animated still may grow.
constexpr std::chrono::milliseconds loadingInterval{100};
constexpr std::chrono::seconds restingInterval{2};
constexpr std::chrono::seconds longestLayout{10};

/// A process that was just made needs a moment to get into its sandbox.
constexpr std::chrono::milliseconds sandboxInterval{5};
constexpr int mostLooks = 200;

/// Everything that a page could do beyond showing text, formatting and images.
constexpr std::array forbiddenFeatures{
    QWebEngineSettings::JavascriptEnabled,
    QWebEngineSettings::JavascriptCanOpenWindows,
    QWebEngineSettings::JavascriptCanAccessClipboard,
    QWebEngineSettings::JavascriptCanPaste,
    QWebEngineSettings::AllowWindowActivationFromJavaScript,
    QWebEngineSettings::LocalStorageEnabled,
    QWebEngineSettings::LocalContentCanAccessRemoteUrls,
    QWebEngineSettings::LocalContentCanAccessFileUrls,
    QWebEngineSettings::AllowRunningInsecureContent,
    QWebEngineSettings::AllowGeolocationOnInsecureOrigins,
    QWebEngineSettings::HyperlinkAuditingEnabled,
    QWebEngineSettings::PluginsEnabled,
    QWebEngineSettings::PdfViewerEnabled,
    QWebEngineSettings::FullScreenSupportEnabled,
    QWebEngineSettings::ScreenCaptureEnabled,
    QWebEngineSettings::WebGLEnabled,
    QWebEngineSettings::Accelerated2dCanvasEnabled,
    QWebEngineSettings::AutoLoadIconsForPage,
    QWebEngineSettings::TouchIconsEnabled,
    QWebEngineSettings::DnsPrefetchEnabled,
    QWebEngineSettings::ErrorPageEnabled,
    QWebEngineSettings::NavigateOnDropEnabled,
    QWebEngineSettings::FocusOnNavigationEnabled,
};

} // namespace

/// Hands the engine the document on screen.
class SecureMessageView::DocumentServer : public QWebEngineUrlSchemeHandler {
public:
    explicit DocumentServer(SecureMessageView& owner)
        : m_owner(owner)
    {}

    void requestStarted(QWebEngineUrlRequestJob* job) override { m_owner.takeRequest(job); }

private:
    SecureMessageView& m_owner;
};

/// Lets pass what the rule list allows, images from the network by way of `RemoteImages`.
class SecureMessageView::RequestFilter : public QWebEngineUrlRequestInterceptor {
public:
    explicit RequestFilter(RemoteImages& images)
        : m_images(images)
    {}

    void setRules(const ContentBlocker::RuleList* rules) { m_rules = rules; }
    /// From now on nothing passes, not even the document.
    void close() { m_isClosed = true; }

    void interceptRequest(QWebEngineUrlRequestInfo& info) override
    {
        if (m_isClosed) {
            info.block(true);
            return;
        }
        // The document itself is no request of the page; whether it may load is decided as a navigation.
        const bool isOwnDocument = info.resourceType() == QWebEngineUrlRequestInfo::ResourceTypeMainFrame &&
                                   isDocument(info.requestUrl());
        const ContentBlocker::Resource resource = resourceOf(info.resourceType());
        const bool isImage = resource == ContentBlocker::Resource::image;
        if (isOwnDocument || (isImage && m_images.isKnown(info.requestUrl())))
            return;
        const bool isBlocked = !m_rules || m_rules->verdict(info.requestUrl(), resource).isBlocked;
        const bool isRemoteImage = isImage && info.requestUrl().scheme() == "https"_L1;
        const QUrl address = !isBlocked && isRemoteImage ? m_images.address(info.requestUrl()) : QUrl();
        if (address.isValid())
            info.redirect(address);
        else
            info.block(isBlocked || isRemoteImage);
    }

private:
    RemoteImages& m_images;
    const ContentBlocker::RuleList* m_rules = nullptr;
    bool m_isClosed = false;
};

/// Shows one document and goes nowhere: of all navigations, the one that loads the document is allowed once.
class SecureMessageView::Page : public QWebEnginePage {
public:
    Page(QWebEngineProfile* profile, SecureMessageView& owner, int number)
        : QWebEnginePage(profile, profile)
        , m_owner(owner)
        , m_document(documentURL(number))
    {}

    const QUrl& document() const { return m_document; }

    /// Asks the server for the document, once in the page's life.
    void begin()
    {
        if (std::exchange(m_hasBegun, true))
            return;
        m_isNextLoadAllowed = true;
        load(m_document);
    }

protected:
    bool acceptNavigationRequest(const QUrl& url, NavigationType, bool isMainFrame) override
    {
        if (url.scheme() == HTMLSanitizer::linkScheme) {
            m_owner.followLink(url);
            return false;
        }
        if (!m_isNextLoadAllowed || !isMainFrame || url != m_document)
            return false;
        m_isNextLoadAllowed = false;
        return true;
    }

    QWebEnginePage* createWindow(WebWindowType) override { return nullptr; }
    QStringList chooseFiles(FileSelectionMode, const QStringList&, const QStringList&) override { return {}; }
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString&, int, const QString&) override
    {}

private:
    SecureMessageView& m_owner;
    const QUrl m_document;
    bool m_hasBegun = false;
    bool m_isNextLoadAllowed = false;
};

/// For a page that leaves: what it still asks for isn't the business of the next message.
class NothingPasses : public QWebEngineUrlRequestInterceptor {
public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;
    void interceptRequest(QWebEngineUrlRequestInfo& info) override { info.block(true); }
};

void SecureMessageView::DeletePageLater::operator()(Page* page) const
{
    // It may be what is calling us.
    page->disconnect();
    page->setUrlRequestInterceptor(new NothingPasses(page));
    page->triggerAction(QWebEnginePage::Stop);
    page->deleteLater();
}

namespace {

/// Gives the engine more of its switches.
void addFlags(const QByteArray& more)
{
    constexpr const char* variable = "QTWEBENGINE_CHROMIUM_FLAGS";
    qputenv(variable, (qgetenv(variable) + ' ' + more).trimmed());
}

/// The engine reaches nobody: no name leads anywhere, addresses go the way of names, and so does the proxy
/// that all connections, those to this machine among them, would have to take. What it shows comes from us.
void takeNetwork()
{
    addFlags("--host-resolver-rules=\"MAP * ~NOTFOUND\" --proxy-server=https://nowhere.invalid:1 "
             "--proxy-bypass-list=<-loopback> --disable-background-networking --disable-quic");
}

/// The engine writes its settings to the terminal when it starts, and later what troubles it and nobody can
/// do anything about. What ends it is written all the same; who wants more sets QT_LOGGING_RULES, which comes
/// later, or a log level of the engine's.
void keepEngineQuiet()
{
    QLoggingCategory::setFilterRules(u"qt.webenginecontext.info=false\nqt.webenginecontext.debug=false"_s);
    if (!qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").contains("--log-level"))
        addFlags("--log-level=3");
}

} // namespace

void SecureMessageView::prepareEngine()
{
    keepEngineQuiet();
    takeNetwork();
    // A view that draws on the graphics card makes its whole window be composed there, with the list and
    // while no message is shown, and gives what is sent to us a way to the card's drivers.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QWebEngineUrlScheme document(documentScheme);
    document.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    QWebEngineUrlScheme::registerScheme(document);
    RemoteImages::registerScheme();
    // NB: the scheme of links stays unknown to the engine. It refuses a page the way to a scheme that it
    // knows and that isn't safe for the web, by an empty page in place of the message, before it asks us.
}

SecureMessageView::SecureMessageView(QWidget* parent, RuleLists ruleLists)
    : QWidget(parent)
    , m_ruleLists(std::move(ruleLists))
    , m_server(std::make_unique<DocumentServer>(*this))
    , m_images(std::make_unique<RemoteImages>())
    , m_filter(std::make_unique<RequestFilter>(*m_images))
    , m_view(newView())
    , m_cover(new QWidget)
    , m_sheet(new TroubleSheet)
{
    EngineAccessibility::decide();
    connect(m_images.get(), &RemoteImages::refusedChanged, this, &SecureMessageView::refusedImagesChanged);
    makeProfile();
    showPage(newPage());
    // The page stays visible to its engine, which would else stop drawing; what stands on top is what the
    // user sees.
    auto* const layout = new QStackedLayout(this);
    layout->setStackingMode(QStackedLayout::StackAll);
    layout->addWidget(m_view);
    QPalette white = m_cover->palette();
    white.setColor(QPalette::Window, Qt::white);
    m_cover->setPalette(white);
    m_cover->setAutoFillBackground(true);
    layout->addWidget(m_cover);
    layout->addWidget(m_sheet);
    layout->setCurrentWidget(m_cover);
    m_sheet->hide();
    m_nextTimer.setSingleShot(true);
    m_nextTimer.setInterval(nextPageDelay);
    connect(&m_nextTimer, &QTimer::timeout, this, &SecureMessageView::prepareNext);
    connect(&m_drawTimer, &QTimer::timeout, this, &SecureMessageView::checkDrawn);
    connect(&m_watchTimer, &QTimer::timeout, this, &SecureMessageView::watch);
    connect(m_sheet, &TroubleSheet::stopRequested, this, &SecureMessageView::stop);
    connect(m_sheet, &TroubleSheet::textRequested, this, &SecureMessageView::textRequested);
}

SecureMessageView::~SecureMessageView()
{
    releaseFocus();
    // The engine does what it has left to do within the destructor of its profile, when the pages are gone.
    m_filter->close();
    m_profile->removeAllUrlSchemeHandlers();
    delete m_view;
    delete m_nextView;
    // The profile must not go before its pages.
    delete m_page.release();
    delete m_next.release();
    const QList<QWebEnginePage*> leaving = m_profile->findChildren<QWebEnginePage*>();
    qDeleteAll(leaving);
}

void SecureMessageView::releaseFocus()
{
    // A widget of the engine that is hidden while it has the keyboard sends a Tab to what is gone already.
    if (QWidget* const focus = QApplication::focusWidget(); focus && m_view->isAncestorOf(focus))
        focus->clearFocus();
}

void SecureMessageView::makeProfile()
{
    // Without a name it keeps nothing on disk.
    m_profile = std::make_unique<QWebEngineProfile>();
    m_profile->setHttpCacheType(QWebEngineProfile::NoCache);
    m_profile->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    m_profile->setHttpUserAgent(u"Mozilla/5.0"_s);
    m_profile->setHttpAcceptLanguage(u"en"_s);
    m_profile->setSpellCheckEnabled(false);
    m_profile->cookieStore()->setCookieFilter(
        [](const QWebEngineCookieStore::FilterRequest&) { return false; });
    m_profile->setUrlRequestInterceptor(m_filter.get());
    m_profile->installUrlSchemeHandler(documentScheme, m_server.get());
    m_profile->installUrlSchemeHandler(RemoteImages::scheme, m_images.get());
    connect(m_profile.get(), &QWebEngineProfile::downloadRequested, this,
            [](QWebEngineDownloadRequest* download) { download->cancel(); });
    for (const QWebEngineSettings::WebAttribute feature : forbiddenFeatures)
        m_profile->settings()->setAttribute(feature, false);
    m_profile->settings()->setAttribute(QWebEngineSettings::PlaybackRequiresUserGesture, true);
    m_profile->settings()->setAttribute(QWebEngineSettings::WebRTCPublicInterfacesOnly, true);
    // With this the engine asks the page about the scheme of our links, too. The page says no to all.
    m_profile->settings()->setUnknownUrlSchemePolicy(
        QWebEngineSettings::AllowUnknownUrlSchemesFromUserInteraction);
}

SecureMessageView::Page* SecureMessageView::newPage()
{
    Page* const page = new Page(m_profile.get(), *this, ++m_pageCount);
    page->setBackgroundColor(Qt::white);
    connect(page, &QWebEnginePage::newWindowRequested, this, [this](QWebEngineNewWindowRequest& request) {
        if (request.requestedUrl().scheme() == HTMLSanitizer::linkScheme)
            followLink(request.requestedUrl());
    });
    connect(page, &QWebEnginePage::featurePermissionRequested, page,
            [page](const QUrl& origin, QWebEnginePage::Feature feature) {
                page->setFeaturePermission(origin, feature, QWebEnginePage::PermissionDeniedByUser);
            });
    connect(page, &QWebEnginePage::fullScreenRequested, page,
            [](QWebEngineFullScreenRequest request) { request.reject(); });
    connect(page, &QWebEnginePage::authenticationRequired, page,
            [](const QUrl&, QAuthenticator* authenticator) { *authenticator = QAuthenticator(); });
    return page;
}

QWebEngineView* SecureMessageView::newView()
{
    auto* const view = new QWebEngineView(this);
    view->setContextMenuPolicy(Qt::NoContextMenu);
    view->setAcceptDrops(false);
    return view;
}

void SecureMessageView::showPage(Page* page)
{
    page->setZoomFactor(m_zoom);
    connect(page, &QWebEnginePage::loadFinished, this, &SecureMessageView::finishLoad);
    connect(page, &QWebEnginePage::renderProcessTerminated, this, &SecureMessageView::takeEnd);
    // Comes with the first picture of a document, which may be long behind its loading, or long before its
    // end or its remote images: what there is is shown at once. The empty page before it has a size as well.
    connect(page, &QWebEnginePage::contentsSizeChanged, this, [this] {
        if (m_page->url() != m_page->document())
            return;
        m_hasFrame = true;
        uncover();
        if (m_trouble == Trouble::takesLong)
            checkDrawn();
    });
    // The engine puts an empty page in the place of some that it refuses by itself.
    connect(page, &QWebEnginePage::urlChanged, this, [this](const QUrl& url) {
        if (!url.isEmpty() && url != m_page->document())
            setTrouble(Trouble::refused);
    });
    releaseFocus();
    const std::unique_ptr<Page, DeletePageLater> last = std::exchange(m_page, nullptr);
    m_page.reset(page);
    if (!m_nextView || m_nextView->page() != page) {
        m_view->setPage(page);
        return;
    }
    QWebEngineView* const view = std::exchange(m_view, std::exchange(m_nextView, nullptr));
    m_view->setEnabled(true);
    m_view->setAccessibleName(view->accessibleName());
    setTabOrder(view, m_view);
    view->hide();
    view->deleteLater();
}

void SecureMessageView::prepareNext()
{
    // An engine without its sandbox may have all its pages in one process, and no room for another.
    const bool isSafe =
        EngineProcess::mayShowWithoutSandbox() || EngineProcess::isSandboxed(m_page->renderProcessPid());
    if (m_next || !m_loaded || !isSafe)
        return;
    Page* const page = newPage();
    m_next.reset(page);
    // Whatever ends it: the next message gets another one then.
    const auto drop = [this, page] {
        if (m_next.get() != page)
            return;
        // The view goes before its page.
        if (m_nextView)
            std::exchange(m_nextView, nullptr)->deleteLater();
        m_next.reset();
    };
    connect(page, &QWebEnginePage::renderProcessTerminated, this, drop);
    connect(page, &QWebEnginePage::urlChanged, this, [page, drop](const QUrl& url) {
        if (!url.isEmpty() && url != page->document())
            drop();
    });
    // A view of its own, below the one on screen: a page that has its place in the window and has drawn
    // before shows the next message a quarter sooner. A screen reader would find the empty page.
    if (!QAccessible::isActive()) {
        m_nextView = newView();
        m_nextView->setEnabled(false);
        static_cast<QStackedLayout*>(layout())->insertWidget(0, m_nextView);
        m_nextView->setPage(page);
        m_nextView->show();
    }
    page->begin();
}

void SecureMessageView::display(const SanitizedHTML& content, bool allowRemoteImages, double zoom,
                                const QString& title, Body body)
{
    m_links = content.links;
    setZoom(zoom);
    m_view->setAccessibleName(DisplayText::bounded(title));
    // Compared and not hashed, which takes 200 ms of this thread for 25 MiB.
    Loaded wanted{content.document, title, allowRemoteImages, body};
    if (m_loaded == wanted)
        return;
    m_loaded = std::move(wanted);
    m_body = body;
    load(framed(content.document, title),
         allowRemoteImages ? ContentBlocker::Mode::httpsImagesOnly : ContentBlocker::Mode::blockAll);
}

void SecureMessageView::load(const QByteArray& document, ContentBlocker::Mode mode)
{
    setTrouble(Trouble::none);
    try {
        m_filter->setRules(&m_ruleLists(mode));
    } catch (const MailError&) {
        setTrouble(Trouble::refused);
        return;
    }
    // The rules are in force before anything loads.
    m_images->begin();
    cover();
    // A page for each document: nothing of the one before is left, not even its process.
    showPage(m_next ? m_next.release() : newPage());
    ++m_loadCount;
    m_document = document;
    m_hasFrame = false;
    m_isComplete = false;
    m_mostMemory = 0;
    m_sinceLoad.start();
    m_drawTimer.start(patience);
    m_watchTimer.start(loadingInterval);
    m_nextTimer.stop();
    m_page->begin();
    // The page was ready, and has asked already.
    if (const QPointer<QWebEngineUrlRequestJob> request = std::exchange(m_nextRequest, nullptr))
        takeRequest(request);
}

void SecureMessageView::takeRequest(QWebEngineUrlRequestJob* job)
{
    const QUrl url = job->requestUrl();
    if (url == m_page->document())
        answer(job, m_loadCount, 0);
    else if (m_next && url == m_next->document())
        m_nextRequest = job;
    else
        job->fail(QWebEngineUrlRequestJob::UrlNotFound);
}

void SecureMessageView::answer(const QPointer<QWebEngineUrlRequestJob>& job, int load, int looks)
{
    if (!job)
        return;
    if (load != m_loadCount || !m_loaded) {
        job->fail(QWebEngineUrlRequestJob::RequestAborted);
        return;
    }
    const qint64 process = m_page->renderProcessPid();
    const bool isSafe =
        m_body == Body::text || EngineProcess::mayShowWithoutSandbox() || EngineProcess::isSandboxed(process);
    if (process == 0 || !isSafe) {
        if (looks < mostLooks) {
            QTimer::singleShot(sandboxInterval, this,
                               [this, job, load, looks] { answer(job, load, looks + 1); });
            return;
        }
        setTrouble(process == 0 ? Trouble::ended : Trouble::noSandbox);
        job->fail(QWebEngineUrlRequestJob::RequestDenied);
        return;
    }
    EngineProcess::boundMemory(process);
    auto* const body = new QBuffer(job);
    body->setData(m_document);
    body->open(QIODevice::ReadOnly);
    job->reply("text/html; charset=utf-8", body);
}

void SecureMessageView::leavePage()
{
    m_images->begin();
    m_document.clear();
    m_drawTimer.stop();
    m_watchTimer.stop();
    m_nextTimer.stop();
    showPage(newPage());
}

void SecureMessageView::clear()
{
    m_links.clear();
    m_loaded.reset();
    setTrouble(Trouble::none);
    cover();
    leavePage();
}

void SecureMessageView::stop()
{
    if (!m_loaded)
        return;
    cover();
    leavePage();
    setTrouble(Trouble::stopped);
}

void SecureMessageView::cover()
{
    // The message before must not be seen under the headers of this one.
    m_cover->show();
    m_cover->raise();
}

void SecureMessageView::uncover()
{
    if (!m_loaded || m_cover->isHidden())
        return;
    m_cover->hide();
    Q_EMIT uncovered();
}

int SecureMessageView::refusedImages() const
{
    return m_images->refused();
}

bool SecureMessageView::hasSheet() const
{
    return !m_sheet->isHidden();
}

bool SecureMessageView::isCovered() const
{
    return !m_loaded || !m_cover->isHidden();
}

void SecureMessageView::finishLoad(bool isSuccess)
{
    if (!m_loaded)
        return;
    m_isComplete = true;
    uncover();
    m_nextTimer.start();
    Q_EMIT loadFinished(isSuccess);
}

void SecureMessageView::setTrouble(Trouble trouble)
{
    // What ended a message stays the reason when the engine reports more of its end.
    const bool isEnd = m_trouble != Trouble::none && m_trouble != Trouble::takesLong;
    if (m_trouble == trouble || (isEnd && trouble != Trouble::none && trouble != Trouble::stopped))
        return;
    m_trouble = trouble;
    if (trouble != Trouble::none && trouble != Trouble::takesLong) {
        m_drawTimer.stop();
        m_watchTimer.stop();
    }
    const bool isHTML = m_body == Body::html;
    switch (trouble) {
    case Trouble::none:
    case Trouble::noSandbox:
        m_sheet->tell({}, {});
        break;
    case Trouble::takesLong:
        m_sheet->tell(tr("This message is taking long to show."), {isHTML, true});
        break;
    case Trouble::stopped:
        m_sheet->tell(tr("This message was stopped."), {isHTML, false});
        break;
    case Trouble::tooLarge:
        m_sheet->tell(tr("This message was stopped, because it took too much memory."), {isHTML, false});
        break;
    case Trouble::ended:
    case Trouble::refused:
        m_sheet->tell(tr("Unable to display this message safely."), {isHTML, false});
        break;
    }
    Q_EMIT troubleChanged();
}

void SecureMessageView::watch()
{
    const qint64 process = m_page->renderProcessPid();
    const EngineProcess::Memory memory = EngineProcess::memory(process);
    m_mostMemory = std::max({m_mostMemory, memory.asked, memory.resident});
    if (memory.resident > EngineProcess::mostMemory)
        EngineProcess::end(process);
    if (std::chrono::milliseconds(m_sinceLoad.elapsed()) > longestLayout)
        m_watchTimer.start(restingInterval);
}

void SecureMessageView::takeEnd()
{
    // The kernel refuses what would pass the bound, and keeps no note of it.
    const bool wasNearBound = m_mostMemory > EngineProcess::mostMemory / 2;
    setTrouble(wasNearBound ? Trouble::tooLarge : Trouble::ended);
}

bool SecureMessageView::isDrawn() const
{
    if (!m_hasFrame || m_isComplete)
        return m_hasFrame;
    // What came of it so far may be nothing that can be seen. NB: the scroll bars aren't of the message.
    const QImage picture = m_view->grab(m_view->rect().adjusted(0, 0, -scrollBarWidth, -scrollBarWidth))
                               .toImage()
                               .convertToFormat(QImage::Format_RGB32);
    const QRgb first = picture.isNull() ? 0 : picture.pixel(0, 0);
    for (int y = 0; y < picture.height(); ++y) {
        const auto* const line = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        if (std::any_of(line, line + picture.width(), [first](QRgb pixel) { return pixel != first; }))
            return true;
    }
    return false;
}

void SecureMessageView::checkDrawn()
{
    if (isDrawn()) {
        m_drawTimer.stop();
        setTrouble(Trouble::none);
        return;
    }
    setTrouble(Trouble::takesLong);
    m_drawTimer.start(drawInterval);
}

void SecureMessageView::setZoom(double zoom)
{
    // What the engine accepts.
    m_zoom = std::clamp(zoom, 0.25, 5.0);
    m_page->setZoomFactor(m_zoom);
}

void SecureMessageView::followLink(const QUrl& url)
{
    const QString text = url.toString(QUrl::FullyEncoded);
    const QString digits = text.sliced(HTMLSanitizer::linkPrefix.size());
    const bool isNumber = !digits.isEmpty() && std::ranges::all_of(digits, [](QChar digit) {
        return digit >= u'0' && digit <= u'9';
    });
    bool isInRange = false;
    const qlonglong index = digits.toLongLong(&isInRange);
    if (isNumber && isInRange && index < m_links.size()) {
        // The handler may show another message.
        const LinkRecord link = m_links[index];
        Q_EMIT linkActivated(link);
    }
}

void SecureMessageView::copy()
{
    m_view->triggerPageAction(QWebEnginePage::Copy);
}

void SecureMessageView::selectAll()
{
    m_view->triggerPageAction(QWebEnginePage::SelectAll);
}

} // namespace Larkhaven
