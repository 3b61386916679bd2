#include "views/reader/ReaderView.h"

#include "app/platform/ProcessPrivacy.h"
#include "domain/FileName.h"
#include "format/MailEncoding.h"
#include "platform/Tasks.h"
#include "providers/FetchParsed.h"
#include "safety/AttachedFile.h"
#include "safety/LinkCleaner.h"
#include "safety/LinkWarnings.h"
#include "views/reader/AttachmentsRow.h"
#include "views/reader/MessageDocument.h"
#include "views/reader/ReaderBanner.h"
#include "views/reader/SavedFile.h"
#include "views/reader/SecureMessageView.h"
#include "views/style/AttachmentChip.h"
#include "views/style/DisplayText.h"
#include "views/style/EmptyStateView.h"
#include "views/style/NoticeBanner.h"
#include "views/style/PlainAlert.h"
#include "views/style/Roles.h"
#include "views/style/Style.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedLayout>
#include <QStandardPaths>
#include <QVBoxLayout>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// The sheet on which a message stands, white in both schemes; with a ring while the message has the
/// keyboard.
class Card : public QWidget {
public:
    Card(SecureMessageView& message, QWidget* parent)
        : QWidget(parent)
        , m_message(message)
    {
        auto* const layout = new QVBoxLayout(this);
        // The corners of the card stay free of the page, which has none.
        layout->setContentsMargins(Style::grid, Style::grid, Style::grid, Style::grid);
        layout->addWidget(&message);
        connect(qApp, &QApplication::focusChanged, this, qOverload<>(&QWidget::update));
        connect(&message, &SecureMessageView::troubleChanged, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Style::Colors& colors = Style::shared().colors();
        const bool hasKeyboard = m_message.isAncestorOf(QApplication::focusWidget());
        const double width = hasKeyboard ? Style::ring : 1;
        const double half = width / 2;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(hasKeyboard ? colors.accent : colors.hairline, width));
        painter.setBrush(m_message.hasSheet() ? colors.surface : QColor(Qt::white));
        painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), Style::cardRadius,
                                Style::cardRadius);
    }

private:
    SecureMessageView& m_message;
};

/// What loads faster needs no sign that it does.
constexpr std::chrono::milliseconds patience{150};

} // namespace

ReaderView::Desktop ReaderView::systemDesktop()
{
    return {[](const QUrl& url) {
                const ProcessPrivacy::UsersMask mask;
                QDesktopServices::openUrl(url);
            },
            [](QWidget* parent, const QString& suggestedName) {
                const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
                return QFileDialog::getSaveFileName(parent, QString(), folder + u'/' + suggestedName);
            }};
}

ReaderView::ReaderView(AppModel& model, Desktop desktop, QWidget* parent)
    : QWidget(parent)
    , m_model(model)
    , m_desktop(std::move(desktop))
    , m_states(new QStackedLayout(this))
    , m_error(new EmptyStateView)
    , m_scroll(new QScrollArea)
    , m_content(new QWidget)
    , m_headers(new ReaderHeaders)
    , m_banner(new ReaderBanner)
    , m_incomplete(new NoticeBanner(tr("Parts of this message could not be read."), tr("Show Source")))
    , m_body(new QStackedLayout)
    // Pages of a layout that has no widget yet are shown at once: without a parent as windows, which close
    // the menu that the user has open.
    , m_waiting(new QWidget(m_content))
    , m_progress(new QProgressBar)
    , m_message(new SecureMessageView)
    , m_card(new Card(*m_message, m_content))
    , m_attachments(new AttachmentsRow)
{
    setObjectName("reader"_L1);
    setAccessibleName(tr("Message"));
    m_message->setAccessibleName(tr("Text of the Message"));
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);
    m_progress->setFixedSize(160, Style::grid);
    m_progress->setAccessibleName(tr("Loading the message"));
    m_progress->hide();
    auto* const progressLayout = new QVBoxLayout(m_waiting);
    progressLayout->addWidget(m_progress, 0, Qt::AlignCenter);
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, m_progress, &QWidget::show);

    auto* const bannerLine = new QVBoxLayout;
    bannerLine->setContentsMargins(Style::largePadding, 0, Style::largePadding, Style::padding);
    bannerLine->setSpacing(Style::smallPadding);
    m_incomplete->setObjectName("incompleteBanner"_L1);
    bannerLine->addWidget(m_incomplete);
    bannerLine->addWidget(m_banner);
    auto* const cardLine = new QVBoxLayout;
    cardLine->setContentsMargins(Style::largePadding, 0, Style::largePadding, Style::padding);
    auto* const contentLayout = new QVBoxLayout(m_content);
    contentLayout->setContentsMargins(0, 0, 0, 0);
    contentLayout->setSpacing(0);
    contentLayout->addWidget(m_headers);
    contentLayout->addLayout(bannerLine);
    contentLayout->addLayout(cardLine, 1);
    contentLayout->addWidget(m_attachments);
    cardLine->addLayout(m_body, 1);
    m_body->addWidget(m_waiting);
    m_body->addWidget(m_card);
    m_states->addWidget(m_error);
    // Where headers and attachments leave no room for the message, the whole of it scrolls.
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(true);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setWidget(m_content);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_content->setAutoFillBackground(false);
    m_card->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Ignored);
    m_states->addWidget(m_scroll);

    connect(m_headers, &ReaderHeaders::backRequested, this, [this] { m_model.setPath({}); });
    connect(m_banner, &ReaderBanner::loadRequested, this, [this] { setShowRemote(true); });
    connect(m_incomplete, &NoticeBanner::clicked, this, &ReaderView::sourceRequested);
    connect(m_attachments, &AttachmentsRow::saveRequested, this,
            [this](const MailAttachment& attachment) { m_model.start(saveAttachment(attachment)); });
    connect(m_message, &SecureMessageView::linkActivated, this, &ReaderView::followLink);
    connect(m_message, &SecureMessageView::loadFinished, this, &ReaderView::shown);
    connect(m_message, &SecureMessageView::refusedImagesChanged, this, &ReaderView::showBanner);
    connect(m_message, &SecureMessageView::troubleChanged, this, &ReaderView::takeTrouble);
    connect(m_message, &SecureMessageView::textRequested, this, &ReaderView::showAsText);
    connect(m_message, &SecureMessageView::uncovered, this, [this] { passFocus(Qt::OtherFocusReason); });
    // The engine takes the keys in a child of its view; both come and go.
    m_message->installEventFilter(this);
    m_message->webView().installEventFilter(this);
    if (QWidget* const proxy = m_message->webView().focusProxy())
        proxy->installEventFilter(this);
    for (const auto signal : {&AppModel::messagesChanged, &AppModel::openMessageChanged})
        connect(&model, signal, this, &ReaderView::showMarks);
    // The Tab key leads to what is in it.
    setFocusPolicy(Qt::ClickFocus);
    setRole(*this, Role::surface);
    Style::shared().follow(this, [this] { measure(); });
}

ReaderView::~ReaderView() = default;

void ReaderView::measure()
{
    m_message->setZoom(static_cast<double>(Style::shared().textSize()) / Style::standardTextSize);
    m_card->setMinimumHeight(Style::shared().scaled(12));
}

// --- Loading and rendering

void ReaderView::showMessage(const QString& messageID)
{
    ++m_generation;
    m_messageID = messageID;
    m_parsed.reset();
    m_shownHeaders = {};
    m_shownSender = {};
    m_rendered.reset();
    m_loadError.reset();
    m_pendingLink.reset();
    dropQuestion();
    m_showRemote = m_model.defaults().boolean(DefaultsKey::loadRemoteContent);
    m_isText = false;
    // Whoever opens a message again that was stopped wants it tried again.
    if (m_message->trouble() != SecureMessageView::Trouble::none) {
        takeFocus();
        m_message->clear();
    }
    update();
    m_model.start(load(messageID));
}

void ReaderView::close()
{
    ++m_generation;
    dropQuestion();
    m_messageID.clear();
    m_parsed.reset();
    m_shownHeaders = {};
    m_shownSender = {};
    m_rendered.reset();
    m_message->clear();
    m_attachments->setFiles({});
}

void ReaderView::dropQuestion()
{
    for (const QPointer<QMessageBox>& question : {m_saveAlert, m_linkAlert}) {
        if (question)
            question->close();
    }
}

Task<> ReaderView::load(QString messageID)
{
    const QPointer<ReaderView> self(this);
    const quint64 generation = m_generation;
    const std::optional<MessageSummary> summary = m_model.message(messageID);
    const std::shared_ptr<MailProvider> provider = summary ? m_model.provider(summary->accountID) : nullptr;
    if (!provider) {
        setLoadError(tr("This message is no longer available."));
        co_return;
    }
    std::exception_ptr failure;
    try {
        ParsedMessage parsed = co_await fetchParsed(provider, messageID);
        const auto read = [headers = parsed.headers] { return ShownHeaders::read(headers); };
        ShownHeaders shownHeaders = co_await runOnWorker(read);
        const auto readSender = [headers = parsed.headers] { return ShownSender::read(headers); };
        ShownSender shownSender = co_await runOnWorker(readSender);
        const auto judge = [attachments = parsed.listedAttachments()] {
            return AttachmentsRow::judged(attachments);
        };
        QList<AttachmentsRow::File> files = co_await runOnWorker(judge);
        if (!self || m_generation != generation)
            co_return;
        m_parsed = std::move(parsed);
        m_shownHeaders = std::move(shownHeaders);
        m_shownSender = std::move(shownSender);
        m_files = std::move(files);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self || m_generation != generation)
        co_return;
    if (failure) {
        setLoadError(localizedText(failure));
        // What a provider of before a repair says of its sign-in is old.
        if (m_model.provider(summary->accountID) == provider)
            m_model.report(failure, summary->accountID);
        co_return;
    }
    m_model.setOpenParsed(m_parsed);
    co_await render();
}

Task<> ReaderView::render()
{
    const QPointer<ReaderView> self(this);
    const quint64 generation = m_generation;
    if (!m_parsed)
        co_return;
    const bool showRemote = m_showRemote;
    const bool isText = m_isText || m_lacksSandbox;
    const auto work = [message = *m_parsed, showRemote, isText] {
        return isText ? MessageDocument::makeText(message) : MessageDocument::make(message, showRemote);
    };
    SanitizedHTML result = co_await runOnWorker(work);
    if (!self || m_generation != generation || m_showRemote != showRemote ||
        isText != (m_isText || m_lacksSandbox))
        co_return;
    m_rendered = std::move(result);
    m_renderedBody = isText || MessageDocument::isText(*m_parsed) ? SecureMessageView::Body::text
                                                                  : SecureMessageView::Body::html;
    update();
}

void ReaderView::setLoadError(const QString& text)
{
    m_loadError = text;
    update();
}

void ReaderView::setShowRemote(bool isShown)
{
    if (m_showRemote == isShown)
        return;
    m_showRemote = isShown;
    // The button goes, and the document gives way to another, which gets the keyboard.
    setFocus();
    m_model.start(render());
}

void ReaderView::showAsText()
{
    if (m_isText)
        return;
    m_isText = true;
    // The button goes; the text gets the keyboard.
    setFocus();
    m_model.start(render());
}

void ReaderView::takeTrouble()
{
    if (m_message->trouble() != SecureMessageView::Trouble::noSandbox || m_lacksSandbox)
        return;
    m_lacksSandbox = true;
    m_model.start(render());
}

QString ReaderView::title() const
{
    const std::optional<MessageSummary> summary = m_model.message(m_messageID);
    const QString subject = m_parsed ? m_shownHeaders.subject : summary ? summary->subject : QString();
    return subject.isEmpty() ? tr("(no subject)") : subject;
}

void ReaderView::update()
{
    Q_EMIT titleChanged();
    if (m_loadError) {
        m_error->setState({Symbol::warning, tr("Couldn't Load Message"), *m_loadError});
        m_states->setCurrentWidget(m_error);
        return;
    }
    showHeaders();
    showBody();
    m_states->setCurrentWidget(m_scroll);
}

void ReaderView::showHeaders()
{
    const std::optional<MessageSummary> summary = m_model.message(m_messageID);
    const ShownHeaders known = m_parsed  ? m_shownHeaders
                               : summary ? ShownHeaders::of(*summary)
                                         : ShownHeaders();
    m_headers->setHeaders(known, summary ? std::optional(summary->date) : std::nullopt);
    m_headers->setSender(m_parsed ? m_shownSender : summary ? ShownSender::of(*summary) : ShownSender());
    showMarks();
}

void ReaderView::showMarks()
{
    const std::optional<MessageSummary> summary = m_model.message(m_messageID);
    const qsizetype attachments = m_parsed ? m_parsed->listedAttachments().size() : 0;
    m_headers->setMarks({summary && summary->isStarred,
                         m_parsed ? attachments > 0 : summary && summary->hasAttachments, attachments});
}

void ReaderView::showBody()
{
    const bool isThere = m_parsed && m_rendered;
    showBanner();
    m_incomplete->setVisible(isThere && m_parsed->isIncomplete);
    m_attachments->setFiles(isThere ? m_files : QList<AttachmentsRow::File>());
    m_body->setCurrentWidget(isThere ? m_card : m_waiting);
    if (!isThere) {
        m_progress->hide();
        m_patience.start();
        return;
    }
    m_patience.stop();
    m_progress->hide();
    takeFocus();
    m_message->display(*m_rendered, m_showRemote && m_renderedBody == SecureMessageView::Body::html,
                       static_cast<double>(Style::shared().textSize()) / Style::standardTextSize,
                       DisplayText::bounded(title()), m_renderedBody);
    passFocus(Qt::OtherFocusReason);
}

void ReaderView::showBanner()
{
    const bool isThere = m_parsed && m_rendered;
    ReaderBanner::State state;
    if (isThere) {
        state.offersRemoteContent = m_rendered->blockedRemoteImages > 0 && !m_showRemote;
        state.trackers = m_rendered->trackers;
        state.refused = m_message->refusedImages();
        state.lacksSandbox = m_lacksSandbox && !MessageDocument::isText(*m_parsed);
    }
    m_banner->setState(state);
}

// --- Links

void ReaderView::followLink(const LinkRecord& link)
{
    if (link.url.scheme() == "mailto"_L1) {
        // More than a field can hold.
        constexpr qsizetype longestTarget = 1'000'000;
        const QString target =
            link.url.absoluteString().mid("mailto:"_L1.size(), longestTarget).section(u'?', 0, 0);
        const QByteArray decoded = QByteArray::fromPercentEncoding(target.toUtf8());
        // What the sender wrote goes into a field of one line.
        m_model.newMessage(
            MailEncoding::headerSafe(decoded.isValidUtf8() ? QString::fromUtf8(decoded) : target));
        return;
    }
    m_model.start(judgeLink(link));
}

Task<> ReaderView::judgeLink(LinkRecord link)
{
    // In UTF-16 code units. To read a million of them as hosts takes a second.
    constexpr qsizetype longestReadHere = 10'000;
    const QPointer<ReaderView> self(this);
    const quint64 generation = m_generation;
    const int click = ++m_linkClicks;
    const auto judge = [link] { return LinkWarnings::of(link); };
    QList<LinkCleaner::Warning> warnings;
    qsizetype length = link.text.size() + link.url.absoluteString().size();
    for (const QString& reading : link.readings)
        length += reading.size();
    if (length > longestReadHere)
        warnings = co_await runOnWorker(judge);
    else
        warnings = judge();
    if (!self || m_generation != generation || m_linkClicks != click)
        co_return;
    const bool isDeceptive = std::ranges::any_of(warnings, [](const LinkCleaner::Warning& warning) {
        return warning.kind != LinkCleaner::Warning::Kind::insecure;
    });
    if (m_model.defaults().boolean(DefaultsKey::warnSuspiciousLinks) && isDeceptive)
        confirmLink(link, warnings);
    else
        openLink(link);
}

MailURL ReaderView::destination(const LinkRecord& link) const
{
    const bool cleans = m_model.defaults().boolean(DefaultsKey::stripTrackingParams);
    return cleans ? LinkCleaner::clean(link.url) : link.url;
}

void ReaderView::confirmLink(const LinkRecord& link, const QList<LinkCleaner::Warning>& warnings)
{
    m_pendingLink = link;
    QStringList messages;
    QStringList hosts;
    for (const LinkCleaner::Warning& warning : warnings) {
        messages.append(warning.message());
        hosts.append({warning.shown, warning.actual, warning.host});
    }
    QMessageBox* const alert =
        makePlainAlert(tr("This link may be deceptive"),
                       messages.join(u'\n') + u"\n\n"_s + destination(link).absoluteString(),
                       QMessageBox::Cancel, this, hosts);
    alert->setObjectName("linkAlert"_L1);
    m_linkAlert = alert;
    QPushButton* const open = alert->addButton(tr("Open Anyway"), QMessageBox::AcceptRole);
    alert->setDefaultButton(QMessageBox::Cancel);
    connect(alert, &QMessageBox::finished, this, [this, alert, open] {
        const std::optional<LinkRecord> pending = std::exchange(m_pendingLink, std::nullopt);
        if (pending && alert->clickedButton() == open)
            openLink(*pending);
    });
    alert->open();
}

void ReaderView::openLink(const LinkRecord& link)
{
    const QString scheme = link.url.scheme();
    if (scheme != "http"_L1 && scheme != "https"_L1)
        return;
    m_desktop.openURL(destination(link).toQUrl());
}

// --- Attachments and keys

Task<bool> ReaderView::isToBeSaved(MailAttachment attachment)
{
    const QPointer<ReaderView> self(this);
    const quint64 generation = m_generation;
    const QString name = FileName::shown(attachment.filename);
    const auto judge = [name, data = attachment.data] { return AttachedFile::canRun(name, data); };
    const bool canRun = co_await runOnWorker(judge);
    if (!self || m_generation != generation)
        co_return false;
    if (!canRun)
        co_return true;
    const QString warning = AttachedFile::kindOf(name, attachment.mimeType, attachment.data).warning;
    QStringList lines{tr("Save it only if you expected it, and know what it does.")};
    if (!warning.isEmpty())
        lines.prepend(warning);
    const QFontMetrics metrics(Style::shared().font(Style::Type::body, Style::Weight::semibold));
    const QString shown = AttachmentChip::fitting(name, metrics, Style::shared().scaled(20));
    QMessageBox* const alert = makePlainAlert(tr("“%1” can run programs.").arg(shown), lines.join(u"\n\n"_s),
                                              QMessageBox::Cancel, this);
    alert->setObjectName("saveAlert"_L1);
    QPushButton* const save = alert->addButton(tr("Save"), QMessageBox::AcceptRole);
    alert->setDefaultButton(QMessageBox::Cancel);
    m_saveAlert = alert;
    const QList<QAbstractButton*> buttons{save};
    const qsizetype answer = co_await answerTo(alert, buttons);
    const bool isWanted = self && m_generation == generation && answer == 0;
    co_return isWanted;
}

Task<> ReaderView::saveAttachment(MailAttachment attachment)
{
    const QPointer<ReaderView> self(this);
    const quint64 generation = m_generation;
    if (m_asking == generation)
        co_return;
    m_asking = generation;
    const bool isWanted = co_await isToBeSaved(attachment);
    if (!self)
        co_return;
    if (m_asking == generation)
        m_asking.reset();
    if (!isWanted)
        co_return;
    const QString path = m_desktop.chooseSavePath(this, FileName::shown(attachment.filename));
    if (path.isEmpty())
        co_return;
    const auto work = [path, data = attachment.data] { SavedFile::write(path, data); };
    co_await runOnWorker(work);
}

void ReaderView::takeFocus()
{
    if (!m_message->isAncestorOf(QApplication::focusWidget()))
        return;
    const QScopedValueRollback keeping(m_keepsFocus, true);
    setFocus();
}

void ReaderView::passFocus(Qt::FocusReason reason)
{
    if (hasFocus() && !m_keepsFocus && !m_message->isCovered())
        m_message->webView().setFocus(reason);
}

bool ReaderView::handleKey(QKeyEvent* event)
{
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const bool isShortcut =
        event->text() == "u"_L1 && isPlain && m_model.defaults().boolean(DefaultsKey::gmailShortcuts);
    if (!isShortcut && event->key() != Qt::Key_Escape)
        return false;
    m_model.setPath({});
    return true;
}

bool ReaderView::scrollAround(const QKeyEvent& event)
{
    QScrollBar& bar = *m_scroll->verticalScrollBar();
    const bool isBack = event.modifiers() == Qt::ShiftModifier && event.key() == Qt::Key_Space;
    if (event.modifiers().testFlag(Qt::ControlModifier) || event.modifiers().testFlag(Qt::AltModifier))
        return false;
    const bool isAtTop = m_message->webView().page()->scrollPosition().y() <= 0;
    const int before = bar.value();
    if (event.key() == Qt::Key_Home || event.key() == Qt::Key_End) {
        // The message goes to the same end.
        bar.setValue(event.key() == Qt::Key_Home ? bar.minimum() : bar.maximum());
        return false;
    }
    if (event.key() == Qt::Key_PageDown || (event.key() == Qt::Key_Space && !isBack))
        bar.setValue(before + bar.pageStep());
    else if (event.key() == Qt::Key_Down)
        bar.setValue(before + bar.singleStep());
    else if (isAtTop && (event.key() == Qt::Key_PageUp || isBack))
        bar.setValue(before - bar.pageStep());
    else if (isAtTop && event.key() == Qt::Key_Up)
        bar.setValue(before - bar.singleStep());
    return bar.value() != before;
}

void ReaderView::keyPressEvent(QKeyEvent* event)
{
    if (!handleKey(event))
        QWidget::keyPressEvent(event);
}

void ReaderView::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    passFocus(event->reason());
}

bool ReaderView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ChildAdded) {
        // A view, or the engine's own widget in it, which gets the keys; each document has others.
        static_cast<QChildEvent*>(event)->child()->installEventFilter(this);
    }
    if (event->type() != QEvent::KeyPress || watched == m_message)
        return QWidget::eventFilter(watched, event);
    auto* const key = static_cast<QKeyEvent*>(event);
    return handleKey(key) || scrollAround(*key);
}

} // namespace Larkhaven
