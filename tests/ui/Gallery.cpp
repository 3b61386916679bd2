#include "Gallery.h"

#include "Gestures.h"
#include "SampleMail.h"
#include "domain/MailError.h"
#include "platform/Wakeup.h"
#include "views/compose/ComposeWindows.h"
#include "views/reader/SourceWindows.h"
#include "views/setup/DisclosureButton.h"
#include "views/setup/IMAPSetupView.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>

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
    static const QStringList names{u"list"_s,          u"reader"_s,      u"plainMessage"_s,  u"richMessage"_s,
                                   u"accountsPane"_s,  u"generalPane"_s, u"composingPane"_s, u"privacyPane"_s,
                                   u"setup"_s,         u"signIn"_s,      u"welcome"_s,       u"newLabel"_s,
                                   u"labelDeletion"_s, u"errorAlert"_s,  u"linkAlert"_s,     u"saveSheet"_s,
                                   u"source"_s};
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
    m_mail->open();
    AppModel& model = m_mail->model();
    switch (m_scene) {
    case Scene::list:
        ASSERT_TRUE(waitUntil([&] { return !model.counts(m_mail->fixture.account(0).id).isEmpty(); }));
        model.report(std::make_exception_ptr(MailError::notSignedIn()), m_mail->fixture.account(0).id);
        model.report(std::make_exception_ptr(MailError::notSignedIn()), m_mail->fixture.account(1).id);
        model.setSelection({u"2"_s});
        m_window = m_mail->window.get();
        break;
    case Scene::welcome:
        m_window = m_mail->window.get();
        break;
    case Scene::reader:
        openMessage();
        m_window = m_mail->window.get();
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
    case Scene::errorAlert:
    case Scene::linkAlert:
        openAlert();
        break;
    case Scene::source:
        openSource();
        break;
    }
    ASSERT_TRUE(m_window);
    ASSERT_TRUE(waitUntil([this] { return m_window->isVisible(); }));
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
    m_mail->window->openSettings(m_scene == Scene::accountsPane    ? Pane::accounts
                                 : m_scene == Scene::generalPane   ? Pane::general
                                 : m_scene == Scene::composingPane ? Pane::composing
                                                                   : Pane::privacy);
    ASSERT_TRUE(waitUntil([] { return visibleWindow<SettingsView>(); }));
    auto* const settings = visibleWindow<SettingsView>();
    if (m_scene == Scene::accountsPane)
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
    if (m_scene == Scene::errorAlert) {
        m_mail->model().report(std::make_exception_ptr(MailError::protocolError(
            u"imap.a-rather-long-name.mail.example.org doesn’t speak SSL/TLS on port 143."_s)));
        ASSERT_TRUE(waitUntil([this] { return m_mail->window->findChild<QDialog*>(u"errorAlert"_s); }));
        m_window = m_mail->window->findChild<QDialog*>(u"errorAlert"_s);
        return;
    }
    openMessage();
    m_mail->window->reader().followLink(
        link(u"https://evil.example/a/path?with=values&that=go&on=1"_s, u"https://bank.example/"_s));
    m_window = m_mail->window->findChild<QDialog*>(u"linkAlert"_s);
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
