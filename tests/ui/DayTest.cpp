#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/style/FlatButton.h"

#include <QApplication>
#include <QDialog>
#include <QProcess>

#include <utility>

using namespace Qt::StringLiterals;

// A day at a desk, whose server comes and goes while somebody writes. The keys are those of the display: they
// go to whatever has the keyboard there.

namespace Larkhaven {
namespace {

const auto listMessages = u"listMessages"_s;
const auto inbox = MailboxRef::system(Mailbox::inbox);

StreamError refused()
{
    return {QAbstractSocket::ConnectionRefusedError, u"imap.example.org: Connection refused"_s};
}

class DayTest : public testing::Test {
protected:
    DayTest()
        : mail({ModelFixture::imapAccount(), ModelFixture::googleAccount()})
    {
        for (const Account& account : {mail.fixture.account(0), mail.fixture.account(1)})
            provider(account).setListing(inbox, ModelFixture::rows(account, 30));
        provider().setRaw(u"2"_s, htmlMessage(u"<p>Shall we?</p>"_s));
        provider().setLabels({label});
        provider().setListing(MailboxRef::label(label), ModelFixture::rows(mail.fixture.account(), 5));
    }

    AppModel& model() { return mail.model(); }
    FakeMailProvider& provider() { return mail.fixture.provider(); }
    FakeMailProvider& provider(const Account& account)
    {
        return mail.fixture.provider(account.id == mail.fixture.account(0).id ? 0 : 1);
    }

    ComposeWindow& compose(const QString& subject)
    {
        ComposeDraft draft;
        draft.id = QUuid::createUuid();
        draft.accountID = mail.fixture.account().id;
        draft.to = u"ada@example.com"_s;
        draft.subject = subject;
        draft.body = u"A text."_s;
        model().openCompose(draft);
        ComposeWindow* const window = mail.window->composeWindows().window(draft.id);
        if (!window || !waitUntil([&] { return window->isActiveWindow(); }))
            throw std::runtime_error("the compose window isn't active");
        return *window;
    }

    template <typename Widget>
    static Widget& child(const QWidget& parent, const char* name)
    {
        auto* const found = parent.findChild<Widget*>(QLatin1StringView(name));
        if (!found)
            throw std::runtime_error(name);
        return *found;
    }

    /// Types while the program goes on.
    static void type(const QString& words)
    {
        QProcess keyboard;
        keyboard.start(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"15"_s, words});
        ASSERT_TRUE(waitUntil([&] { return keyboard.state() == QProcess::NotRunning; }));
        ASSERT_EQ(keyboard.exitCode(), 0);
    }

    static QStringList openDialogs()
    {
        QStringList open;
        for (const QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && qobject_cast<const QDialog*>(window))
                open.append(window->objectName());
        }
        return open;
    }

    const MailLabel label{u"Work"_s, u"Work"_s};
    MailWindow mail;
};

TEST_F(DayTest, TakesNothingFromAWindowInWhichTheUserTypes)
{
    mail.open();
    model().select(SidebarItem{mail.fixture.account().id, MailboxRef::label(label)});
    ASSERT_TRUE(waitUntil([this] { return model().messages().size() == 5 && !model().isLoading(); }));

    // What was asked for before, and is answered while the user is elsewhere.
    provider().hold(u"fetchRaw"_s);
    provider().hold(u"archive"_s);
    provider().hold(u"send"_s);
    provider().hold(u"createLabel"_s);
    provider().failNext(u"archive"_s, MailError::protocolError(u"Archive is full."_s));
    provider().failNext(u"send"_s, MailError::protocolError(u"First."_s));
    provider().failNext(u"send"_s, MailError::protocolError(u"Second."_s));
    provider().failNext(u"createLabel"_s, MailError::protocolError(u"No such thing."_s));
    model().start(model().reply(*model().message(u"2"_s), false));
    model().start(model().reply(*model().message(u"2"_s), false));
    model().archive(model().messages().last(1));
    const AppModel::LabelEdit play{QUuid::createUuid(), mail.fixture.account().id,
                                   AppModel::LabelEdit::Create{}, mail.fixture.account().mailboxIdentity()};
    model().start(model().applyLabelEdit(play, u"Play"_s));
    const QPointer<ComposeWindow> failing = &compose(u"Fails in its window"_s);
    leftClick(child<FlatButton>(*failing, "send"));
    ASSERT_TRUE(waitUntil([&] { return provider().pending().filter(u"send"_s).size() == 1; }));
    const QPointer<ComposeWindow> closed = &compose(u"Fails behind a closed window"_s);
    leftClick(child<FlatButton>(*closed, "send"));
    ASSERT_TRUE(waitUntil([&] { return provider().pending().filter(u"send"_s).size() == 2; }));
    closed->close();
    ASSERT_TRUE(waitUntil([&] { return !closed; }));

    ComposeWindow& writing = compose(u"A letter"_s);
    auto& text = child<ComposeTextView>(writing, "composeText");
    text.setFocus();
    text.selectAll();
    qsizetype windows = mail.window->composeWindows().windows().size();
    QString expected;
    const auto while_ = [&](const char* what, const std::function<void()>& happens,
                            const std::function<bool()>& hasHappened) {
        SCOPED_TRACE(what);
        const QString words = u"while "_s + QString::fromLatin1(what) + u" i write on "_s;
        happens();
        type(words);
        EXPECT_TRUE(waitUntil(hasHappened));
        settle();
        expected += words;
        EXPECT_EQ(text.toPlainText(), expected);
        EXPECT_EQ(QApplication::activeWindow(), &writing);
        EXPECT_EQ(QApplication::focusWidget(), &text);
        EXPECT_EQ(openDialogs(), QStringList());
    };

    while_(
        "the server goes",
        [this] {
            provider().failAlways(listMessages, refused());
            provider().failAlways(u"listLabels"_s, refused());
            provider().failAlways(u"counts"_s, refused());
            mail.fixture.endSleeps();
        },
        [this] { return model().failedChecks().size() == 1; });
    while_(
        "it stays away", [this] { mail.fixture.endSleeps(); },
        [this] { return mail.fixture.sleeps().size() >= 3; });
    while_(
        "it comes back without the folder",
        [this] {
            provider().heal();
            provider().setLabels({});
            mail.fixture.endSleeps();
        },
        [this] { return model().failedChecks().isEmpty() && model().sidebarSelection()->ref == inbox; });
    while_(
        "mail comes in",
        [this] {
            provider().receive(inbox, ModelFixture::row(mail.fixture.account(), u"new"_s));
            provider().setCounts({{inbox.id(), 17}});
            mail.fixture.endSleeps();
        },
        [this] { return model().message(u"new"_s).has_value() && model().badgeText() == u"17"; });
    while_(
        "the account has to sign in",
        [this] {
            provider().failNext(listMessages, MailError::notSignedIn());
            mail.fixture.endSleeps();
        },
        [this] { return !model().needsReauth().isEmpty(); });
    while_(
        "the keyring refuses",
        [this] {
            mail.fixture.textKeychain().writeFailure = KeychainStatus::failed;
            mail.fixture.textKeychain().readFailure = KeychainStatus::failed;
        },
        [] { return true; });
    mail.fixture.textKeychain().writeFailure = KeychainStatus::success;
    mail.fixture.textKeychain().readFailure = KeychainStatus::success;
    while_(
        "what was asked for is answered", [this] { provider().completeAll(); },
        [&] {
            // The reply, once, and the window that comes back with its failure.
            return provider().pending().isEmpty() &&
                   mail.window->composeWindows().windows().size() == windows + 2 &&
                   model().errorMessage().has_value();
        });
    windows = mail.window->composeWindows().windows().size();
    while_(
        "a text of another run is found",
        [this] {
            ComposeDraft lost;
            lost.id = QUuid::createUuid();
            lost.accountID = mail.fixture.account().id;
            lost.body = u"Lost and found."_s;
            const auto otherRun = std::make_shared<KeptTexts>(
                mail.fixture.keptTextsDirectory(),
                std::shared_ptr<KeychainStore>(std::shared_ptr<void>(), &mail.fixture.textKeys()));
            otherRun->keep(lost);
            await(otherRun->settle());
            model().start(model().recoverDrafts());
        },
        [&] { return mail.window->composeWindows().windows().size() == windows + 1; });
    takeScreenshot(writing, u"day-written"_s);

    // Everything is said where it belongs, once the user comes there.
    failing->activateWindow();
    EXPECT_TRUE(waitUntil([&] { return openDialogs() == QStringList(u"composeAlert"_s); }));
    takeScreenshot(*failing, u"day-failed"_s);
    EXPECT_EQ(QApplication::activeModalWidget()->parentWidget(), failing);
    QApplication::activeModalWidget()->close();
    mail.window->activateWindow();
    EXPECT_TRUE(waitUntil([&] { return openDialogs() == QStringList(u"errorAlert"_s); }));
    QApplication::activeModalWidget()->close();
    settle();
    EXPECT_EQ(openDialogs(), QStringList());
}

TEST_F(DayTest, OpensWhatTheUserWaitsForInFront)
{
    mail.open();
    provider().hold(u"fetchRaw"_s);
    model().start(model().reply(*model().message(u"2"_s), false));
    settle();
    provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return !mail.window->composeWindows().windows().isEmpty(); }));
    const ComposeWindow* const reply = mail.window->composeWindows().windows().first();
    EXPECT_TRUE(waitUntil([&] { return reply->isActiveWindow(); }));
    EXPECT_NE(QApplication::activeWindow(), mail.window.get());
}

} // namespace
} // namespace Larkhaven
