#include "Gallery.h"

#include "Gestures.h"
#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "protocols/StreamTransport.h"
#include "views/compose/ComposeWindows.h"
#include "views/reader/SourceWindows.h"
#include "views/setup/DisclosureButton.h"
#include "views/setup/IMAPSetupView.h"
#include "views/style/ToolTips.h"

#include <QApplication>
#include <QDialog>
#include <QHelpEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

/// A browser that says nothing.
Task<SignInService::SignedIn> waitForever(std::stop_token stop)
{
    Wakeup end;
    const std::stop_callback giveUp(stop, [&end] { end.notify(); });
    co_await end.wait(std::chrono::minutes(5));
    throw MailError::cancelled();
}

QList<Account> accountsOf(Gallery::Scene scene)
{
    if (scene == Gallery::Scene::welcome || scene == Gallery::Scene::signIn)
        return {};
    Account work = ModelFixture::imapAccount();
    work.nickname = u"Work"_s;
    work.displayName = u"Mia Larsen"_s;
    return {work, ModelFixture::googleAccount()};
}

} // namespace

QString Gallery::nameOf(Scene scene)
{
    static const QStringList names{
        u"list"_s,          u"quietLines"_s,    u"skeleton"_s,       u"noResults"_s,    u"reader"_s,
        u"readerError"_s,   u"plainMessage"_s,  u"richMessage"_s,    u"accountsPane"_s, u"generalPane"_s,
        u"composingPane"_s, u"privacyPane"_s,   u"setup"_s,          u"signIn"_s,       u"welcome"_s,
        u"newLabel"_s,      u"labelDeletion"_s, u"accountRemoval"_s, u"errorAlert"_s,   u"linkAlert"_s,
        u"about"_s,         u"saveSheet"_s,     u"source"_s,         u"menuOfBar"_s,    u"contextMenu"_s,
        u"toolTip"_s};
    return names.at(static_cast<qsizetype>(scene));
}

Gallery::Gallery(Scene scene)
    : m_scene(scene)
    , m_mail(std::make_unique<MailWindow>(accountsOf(scene), ModelFixture::info()))
{
    Style::shared().setHighContrast(false);
    Style::shared().setAccent(std::nullopt);
    if (!m_mail->model().accounts().isEmpty())
        fillWithSamples(*m_mail);
}

Gallery::~Gallery()
{
    m_mail.reset();
    Style::shared().setHighContrast(false);
    Style::shared().setScheme(Style::Scheme::light);
    Style::shared().setTextSize(Style::standardTextSize);
}

void Gallery::open()
{
    if (m_scene == Scene::quietLines)
        m_mail->fixture.textKeychain().readFailure = KeychainStatus::interactionNotAllowed;
    if (m_scene == Scene::skeleton) {
        m_mail->fixture.provider(0).hold(u"listMessages"_s);
        show(*m_mail->window);
        ASSERT_TRUE(waitUntil([this] { return m_mail->model().isLoading(); }));
    } else {
        m_mail->open();
    }
    m_window = m_mail->window.get();
    openScene();
    ASSERT_TRUE(m_window);
    // A window that says that it is visible may not be on the screen yet.
    ASSERT_TRUE(waitUntil([this] {
        const QWindow* const handle = m_window->window()->windowHandle();
        return m_window->isVisible() && handle && handle->isExposed();
    }));
}

void Gallery::openScene()
{
    switch (m_scene) {
    case Scene::welcome:
    case Scene::skeleton:
        break;
    case Scene::list:
        openList();
        break;
    case Scene::quietLines:
        openQuietLines();
        break;
    case Scene::noResults:
        openSearch(u"a word that no message has"_s);
        break;
    case Scene::readerError:
        m_mail->model().setPath({u"gone"_s});
        break;
    case Scene::reader:
        openMessage();
        break;
    case Scene::plainMessage:
    case Scene::richMessage:
    case Scene::saveSheet:
        openCompose(m_scene == Scene::richMessage);
        break;
    case Scene::accountsPane:
    case Scene::generalPane:
    case Scene::composingPane:
    case Scene::privacyPane:
        openSettings();
        break;
    case Scene::setup:
        openSetup();
        break;
    case Scene::signIn:
        openSignIn();
        break;
    case Scene::newLabel:
    case Scene::labelDeletion:
        openLabelDialogs();
        break;
    case Scene::accountRemoval:
        openQuestion();
        break;
    case Scene::errorAlert:
    case Scene::linkAlert:
    case Scene::about:
        openAlert();
        break;
    case Scene::source:
        openSource();
        break;
    case Scene::menuOfBar:
    case Scene::contextMenu:
        openMenu();
        break;
    case Scene::toolTip:
        openToolTip();
        break;
    }
}

void Gallery::refresh()
{
    if (m_scene == Scene::toolTip)
        openToolTip();
    else if (m_scene == Scene::quietLines && !m_mail->model().undoOffer())
        archive();
}

bool Gallery::hasEngine() const
{
    return m_window && m_window->findChild<SecureMessageView*>() &&
           m_window->findChild<SecureMessageView*>()->isVisible();
}

void Gallery::openList()
{
    AppModel& model = m_mail->model();
    ASSERT_TRUE(waitUntil([&] { return !model.counts(m_mail->fixture.account(0).id).isEmpty(); }));
    model.report(std::make_exception_ptr(MailError::notSignedIn()), m_mail->fixture.account(0).id);
    model.report(std::make_exception_ptr(MailError::notSignedIn()), m_mail->fixture.account(1).id);
    model.setSelection({u"2"_s});
}

void Gallery::openSearch(const QString& words)
{
    AppModel& model = m_mail->model();
    model.setSearchText(words);
    model.start(model.applySearch());
    ASSERT_TRUE(waitUntil([&model] { return model.listedQuery() && !model.isLoading(); }));
}

/// A check that failed, the results of a search, what was just archived, and texts that can't be kept.
void Gallery::openQuietLines()
{
    FakeMailProvider& provider = m_mail->fixture.provider(0);
    provider.setCanPutBack(true);
    provider.setListing(MailboxRef::system(Mailbox::inbox), sampleRows(m_mail->fixture.account(0)),
                        u"boat"_s);
    openSearch(u"boat"_s);
    provider.failAlways(u"listMessages"_s,
                        StreamError(QAbstractSocket::ConnectionRefusedError, u"Connection refused"_s));
    m_mail->fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return m_mail->model().failedChecks().size() == 1; }));
    ASSERT_TRUE(waitUntil([this] { return m_mail->child<QWidget>("keptTextsBanner").isVisible(); }));
    archive();
}

void Gallery::archive()
{
    AppModel& model = m_mail->model();
    model.archive(model.messages().first(1));
    ASSERT_TRUE(waitUntil([&model] { return model.undoOffer().has_value(); }));
}

void Gallery::openMessage()
{
    m_mail->read(u"2"_s);
}

void Gallery::openCompose(bool isRich)
{
    ComposeDraft draft;
    draft.id = QUuid::createUuid();
    draft.accountID = m_mail->fixture.account().id;
    draft.to = u"Ada Lovelace <ada@example.com>, "_s;
    draft.cc = u"grace@example.com"_s;
    draft.subject = u"The quarterly journal, gyp and jig"_s;
    draft.isRichText = isRich;
    draft.body = u"Good morning,\n\nhere it is.\n\n-- \nMia"_s;
    draft.initialHTML =
        u"<div>Good <b>morning</b>, <i>see</i> the page.</div><ul><li>First point</li></ul>"_s;
    draft.notices = {u"An image of the draft was left out."_s};
    draft.attachments = {
        {QUuid::createUuid(), u"A report.pdf"_s, u"application/pdf"_s, QByteArray(15'000'000, 'x')}};
    m_mail->model().openCompose(draft);
    ComposeWindow* const compose = m_mail->window->composeWindows().window(draft.id);
    ASSERT_TRUE(compose);
    show(*compose);
    m_window = compose;
    if (m_scene != Scene::saveSheet)
        return;
    compose->findChild<QLineEdit*>(u"subject"_s)->insert(u", changed"_s);
    compose->close();
    ASSERT_TRUE(waitUntil([&] { return compose->findChild<QDialog*>(u"saveSheet"_s); }));
    m_window = compose->findChild<QDialog*>(u"saveSheet"_s);
}

void Gallery::openSettings()
{
    using Pane = SettingsView::Pane;
    m_mail->fixture.defaults().set(DefaultsKey::signature, u"Mia Larsen\nLarkhaven"_s);
    const bool isOfAccounts = m_scene == Scene::accountsPane || m_scene == Scene::accountRemoval;
    m_mail->window->openSettings(isOfAccounts                      ? Pane::accounts
                                 : m_scene == Scene::generalPane   ? Pane::general
                                 : m_scene == Scene::composingPane ? Pane::composing
                                                                   : Pane::privacy);
    ASSERT_TRUE(waitUntil([] { return visibleWindow<SettingsView>(); }));
    auto* const settings = visibleWindow<SettingsView>();
    if (isOfAccounts)
        settings->open(m_mail->fixture.account().id);
    show(*settings);
    m_window = settings;
}

void Gallery::openSetup()
{
    m_mail->window->openSetup();
    ASSERT_TRUE(waitUntil([] { return visibleWindow<IMAPSetupView>(); }));
    m_window = visibleWindow<IMAPSetupView>();
    leftClick(*m_window->findChild<DisclosureButton*>());
}

void Gallery::openSignIn()
{
    m_mail->fixture.setSignIn([](ProviderKind, const QUuid&, const std::optional<QString>&,
                                 const std::stop_token& stop) { return waitForever(stop); });
    leftClick(m_mail->child<QPushButton>("signInGoogle"));
    m_window = &m_mail->child<QWidget>("signInWindow");
}

void Gallery::openLabelDialogs()
{
    AppModel& model = m_mail->model();
    const Account& account = m_mail->fixture.account();
    if (m_scene == Scene::newLabel) {
        model.beginCreateLabel(account.id);
        m_window = m_mail->window->findChild<QDialog*>(u"labelSheet"_s);
    } else {
        model.beginDeleteLabel({u"w"_s, u"Work"_s}, account.id);
        m_window = m_mail->window->findChild<QDialog*>(u"labelDeletion"_s);
    }
}

void Gallery::openAlert()
{
    const auto opened = [this](const QString& name) {
        EXPECT_TRUE(waitUntil([&] { return m_mail->window->findChild<QDialog*>(name); }))
            << name.toStdString();
        return m_mail->window->findChild<QDialog*>(name);
    };
    if (m_scene == Scene::errorAlert) {
        m_mail->model().report(std::make_exception_ptr(MailError::protocolError(
            u"imap.a-rather-long-name.mail.example.org doesn’t speak SSL/TLS on port 143."_s)));
        m_window = opened(u"errorAlert"_s);
    } else if (m_scene == Scene::about) {
        openMenuOfBar(*m_mail->window, u"Help"_s);
        chooseByKeys({u"About Larkhaven"_s});
        m_window = opened(u"about"_s);
    } else {
        openMessage();
        m_mail->window->reader().followLink(
            link(u"https://evil.example/a/path?with=values&that=go&on=1"_s, u"https://bank.example/"_s));
        m_window = opened(u"linkAlert"_s);
    }
}

void Gallery::openQuestion()
{
    openSettings();
    leftClick(*m_window->findChild<QWidget*>(u"accountsRemove"_s));
    const QWidget* const settings = m_window;
    ASSERT_TRUE(waitUntil([settings] { return settings->findChild<QDialog*>(u"removeQuestion"_s); }));
    m_window = settings->findChild<QDialog*>(u"removeQuestion"_s);
}

void Gallery::openMenu()
{
    m_mail->model().setSelection({u"2"_s});
    MessageTable& table = m_mail->table();
    m_window = m_scene == Scene::menuOfBar
                   ? openMenuOfBar(*m_mail->window, u"Message"_s)
                   : rightClick(*table.viewport(), table.visualRect(table.model()->index(1, 0)).center());
    pressKey(Qt::Key_Down);
}

/// Those of two buttons take turns, since a tip that says the same as before stays as it is. By the event
/// that a mouse at rest brings about.
void Gallery::openToolTip()
{
    m_hovered = m_hovered == "getMail"_L1 ? "toggleSidebar"_L1 : "getMail"_L1;
    auto& button = m_mail->child<QToolButton>(m_hovered.data());
    const QPoint place = button.rect().center();
    QHelpEvent rest(QEvent::ToolTip, place, button.mapToGlobal(place));
    QApplication::sendEvent(&button, &rest);
    m_window = visibleWindow<QLabel>(u"qtooltip_label"_s);
    ASSERT_TRUE(m_window);
    EXPECT_EQ(qobject_cast<QLabel*>(m_window)->text(), ToolTips::shown(button.toolTip()));
}

void Gallery::openSource()
{
    SourceWindows& sources = m_mail->window->sourceWindows();
    const std::optional<MessageSummary> row = m_mail->model().message(u"2"_s);
    ASSERT_TRUE(row);
    sources.open(*row);
    ASSERT_TRUE(waitUntil([&] { return sources.window(row->accountID, row->id); }));
    m_window = sources.window(row->accountID, row->id);
}

} // namespace Larkhaven
