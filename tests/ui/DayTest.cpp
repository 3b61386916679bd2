#include "Gestures.h"
#include "UITestSupport.h"
#include "app/platform/WakeMonitor.h"
#include "domain/MailError.h"
#include "protocols/StreamTransport.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "views/compose/ComposeTextView.h"
#include "views/compose/ComposeWindows.h"
#include "views/setup/IMAPSetupView.h"
#include "views/style/FlatButton.h"
#include "views/style/QuietLine.h"

#include <QApplication>
#include <QDialog>
#include <QDirIterator>
#include <QLineEdit>
#include <QProcess>
#include <QTimer>

#include <array>
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

    /// Types while the program goes on. Something happens in the midst of it.
    static void type(const QString& words, const std::function<void()>& happens = {})
    {
        QProcess keyboard;
        keyboard.start(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"15"_s, words});
        bool hasHappened = !happens;
        if (happens) {
            QTimer::singleShot(std::chrono::milliseconds(100), &keyboard, [&] {
                happens();
                hasHappened = true;
            });
        }
        ASSERT_TRUE(waitUntil([&] { return keyboard.state() == QProcess::NotRunning && hasHappened; }));
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

// --- Wherever the user types

/// Where the user types, and what nobody has asked for fails meanwhile.
struct Moment {
    enum Place { search, setup, settings };
    enum Cause { start, wake };
    Place place;
    Cause cause;
};

class TypingDayTest : public DayTest, public testing::WithParamInterface<Moment> {
protected:
    /// Puts the keyboard there.
    QWidget& enter(Moment::Place place)
    {
        QWidget* window = mail.window.get();
        const char* name = "searchField";
        if (place == Moment::setup) {
            mail.window->openSetup();
            window = visibleWindow<IMAPSetupView>();
            name = "setupName";
        } else if (place == Moment::settings) {
            mail.window->openSettings(SettingsView::Pane::composing);
            window = visibleWindow<SettingsView>();
            name = "signature";
        }
        if (!window || !waitUntil([window] { return window->isActiveWindow(); }))
            throw std::runtime_error("the window isn't active");
        auto& field = child<QWidget>(*window, name);
        leftClick(field);
        if (!field.hasFocus())
            throw std::runtime_error(name);
        return field;
    }
    static QString textOf(const QWidget& field)
    {
        if (const auto* const line = qobject_cast<const QLineEdit*>(&field))
            return line->text();
        return field.property("plainText").toString();
    }
    /// What the strips above the list say.
    QStringList strips()
    {
        QStringList texts;
        for (const QuietLine* const strip : mail.window->findChildren<QuietLine*>(u"checkStrip"_s)) {
            if (strip->isVisible())
                texts.append(strip->text());
        }
        return texts;
    }
    void begin(Moment::Cause cause)
    {
        if (cause == Moment::wake) {
            mail.open();
            ASSERT_TRUE(waitUntil([this] { return model().messages().size() == 25; }));
        }
        provider().failAlways(listMessages, refused());
        provider().hold(listMessages);
        if (cause == Moment::start) {
            show(*mail.window);
        } else {
            auto* const monitor = model().findChild<WakeMonitor*>();
            ASSERT_TRUE(monitor);
            // As the bus has it: falling asleep and waking.
            for (const bool isFallingAsleep : {true, false})
                QMetaObject::invokeMethod(monitor, "handlePrepareForSleep", Q_ARG(bool, isFallingAsleep));
        }
        ASSERT_TRUE(waitUntil([this] { return !provider().pending().isEmpty(); }));
    }
};

TEST_P(TypingDayTest, LosesNoLetterWhereACheckFailsThatNobodyAskedFor)
{
    ASSERT_NO_FATAL_FAILURE(begin(GetParam().cause));
    QWidget& field = enter(GetParam().place);
    const QWidget* const window = QApplication::activeWindow();
    QString expected;
    const auto write = [&](const QString& words, const std::function<void()>& happens) {
        type(words, happens);
        settle();
        expected += words;
        EXPECT_EQ(textOf(field), expected);
        EXPECT_EQ(QApplication::activeWindow(), window);
        EXPECT_EQ(QApplication::focusWidget(), &field);
        EXPECT_EQ(openDialogs(), QStringList());
    };
    EXPECT_EQ(strips(), QStringList());
    write(u"the server is away and i write "_s, [this] {
        provider().stopHolding(listMessages);
        provider().completeAll();
    });
    ASSERT_TRUE(waitUntil([this] { return strips().size() == 1; }));
    EXPECT_TRUE(strips().first().startsWith(u"Can’t reach imap.example.org."_s))
        << strips().first().toStdString();
    write(u"it comes back and i go on"_s, [this] {
        provider().heal();
        mail.fixture.endSleeps();
    });
    EXPECT_TRUE(waitUntil([this] { return strips().isEmpty(); })) << strips().join(u'\n').toStdString();
    EXPECT_EQ(model().errorMessage(), std::nullopt);
}

std::string nameOfMoment(const testing::TestParamInfo<Moment>& moment)
{
    constexpr std::array places{"InSearch", "InSetup", "InSettings"};
    constexpr std::array causes{"AtStart", "AtWake"};
    return std::string(places.at(moment.param.place)) + causes.at(moment.param.cause);
}

INSTANTIATE_TEST_SUITE_P(
    Moments, TypingDayTest,
    testing::Values(Moment{Moment::search, Moment::start}, Moment{Moment::setup, Moment::start},
                    Moment{Moment::settings, Moment::start}, Moment{Moment::search, Moment::wake},
                    Moment{Moment::setup, Moment::wake}, Moment{Moment::settings, Moment::wake}),
    nameOfMoment);

TEST_F(DayTest, SaysInTheMainWindowThatTheKeyringRefusesWhileTheUserWrites)
{
    mail.fixture.textKeychain().readFailure = KeychainStatus::failed;
    mail.fixture.textKeychain().writeFailure = KeychainStatus::failed;
    mail.fixture.textKeychain().hesitates = true;
    mail.open();
    const auto isSaid = [this] { return mail.child<QWidget>("keptTextsBanner").isVisible(); };
    EXPECT_FALSE(isSaid());
    ComposeWindow& writing = compose(u"A letter"_s);
    auto& text = child<ComposeTextView>(writing, "composeText");
    text.setFocus();
    text.selectAll();
    type(u"while the keyring refuses i write on "_s,
         [this] { mail.fixture.textKeychain().hesitates = false; });
    EXPECT_TRUE(waitUntil(isSaid));
    const auto expectAllIn = [&](const QString& words) {
        EXPECT_EQ(text.toPlainText(), words);
        EXPECT_EQ(QApplication::activeWindow(), &writing);
        EXPECT_EQ(QApplication::focusWidget(), &text);
        EXPECT_EQ(openDialogs(), QStringList());
    };
    expectAllIn(u"while the keyring refuses i write on "_s);
    type(u"and then it opens for me"_s, [this] {
        mail.fixture.textKeychain().readFailure = KeychainStatus::success;
        mail.fixture.textKeychain().writeFailure = KeychainStatus::success;
        model().start(model().refresh());
    });
    EXPECT_TRUE(waitUntil([&] { return !isSaid(); }));
    expectAllIn(u"while the keyring refuses i write on and then it opens for me"_s);
    // What was written before the key could be read is kept now.
    EXPECT_TRUE(waitUntil([this] {
        QDirIterator kept(mail.fixture.keptTextsDirectory(), QDir::Files, QDirIterator::Subdirectories);
        return kept.hasNext();
    }));
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
