#include "Gallery.h"

#include "Gestures.h"
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

QList<MessageSummary> sampleRows(const Account& account)
{
    QList<MessageSummary> rows = ModelFixture::rows(account, 40);
    const QStringList senders{u"Ada Lovelace"_s, u"The Quarterly Journal of Engineering"_s, u"Grace"_s,
                              u"ليلى حداد"_s};
    const QStringList subjects{u"Minutes of the meeting"_s,
                               u"A subject that goes on for so long that nothing of its preview fits beside "
                               "it, however wide the window may be made by whoever reads it"_s,
                               u"Re: gyp, jig & query"_s, QString()};
    for (qsizetype index = 0; index < rows.size(); ++index) {
        rows[index].from = EmailAddress(senders[index % 4], u"a@example.com"_s);
        rows[index].subject = subjects[index % 4];
        rows[index].snippet = u"The preview of the message, which tells how it begins and goes on."_s;
        rows[index].isRead = index % 3 != 0;
        rows[index].isStarred = index % 5 == 1;
        rows[index].hasAttachments = index % 4 == 2;
    }
    return rows;
}

QByteArray sampleMessage()
{
    return "From: Ada Lovelace <ada@example.com>\r\nTo: Mia <mia@example.org>, Bob <bob@example.org>\r\n"
           "Cc: carl@example.org\r\nSubject: The quarterly journal, gyp and jig\r\n"
           "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/html\r\n\r\n"
           "<h2>Good morning</h2><p>Some text with a <a href=\"https://a.example/\">link</a>.</p>"
           "<img src=\"https://img.example/a.png\" width=\"200\" height=\"80\">"
           "<img src=\"https://t.example/open.gif\" width=\"1\" height=\"1\">\r\n"
           "--b\r\nContent-Type: application/pdf\r\nContent-Disposition: attachment; "
           "filename=\"A report with a name that is far too long for its chip.pdf\"\r\n\r\nPDF\r\n"
           "--b\r\nContent-Type: image/png\r\nContent-Disposition: attachment; filename=pig.png\r\n\r\nx\r\n"
           "--b--\r\n";
}

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
        fill();
}

Gallery::~Gallery()
{
    m_mail.reset();
    Style::shared().setHighContrast(false);
    Style::shared().setScheme(Style::Scheme::light);
    Style::shared().setTextSize(Style::standardTextSize);
}

void Gallery::fill()
{
    FakeMailProvider& provider = m_mail->fixture.provider(0);
    provider.setLabels(
        {{u"w"_s, u"Work"_s}, {u"wp"_s, u"Work/Plans"_s}, {u"t"_s, u"Travel with a rather long name"_s}});
    provider.setCounts({{u"system:inbox"_s, 1234}, {u"label:wp"_s, 3}});
    provider.setRaw(u"2"_s, sampleMessage());
    m_mail->fill(sampleRows(m_mail->fixture.account(0)));
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
