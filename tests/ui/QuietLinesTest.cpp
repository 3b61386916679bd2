#include "Gestures.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "protocols/StreamTransport.h"
#include "support/QtPrinters.h"
#include "views/list/CheckStrips.h"
#include "views/list/SearchLine.h"
#include "views/list/UndoLine.h"
#include "views/main/SearchField.h"
#include "views/style/QuietLine.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

using namespace Qt::StringLiterals;

// What is said beside the list without taking anything from the user.

namespace Larkhaven {
namespace {

const auto listMessages = u"listMessages"_s;

StreamError refused()
{
    return {QAbstractSocket::ConnectionRefusedError, u"imap.example.org: Connection refused"_s};
}

class QuietLinesTest : public testing::Test {
protected:
    QList<QuietLine*> strips() { return mail.window->findChildren<QuietLine*>(u"checkStrip"_s); }
    QList<QuietLine*> shownStrips()
    {
        QList<QuietLine*> shown = strips();
        shown.removeIf([](const QuietLine* strip) { return strip->isHidden(); });
        return shown;
    }
    QMessageBox* alert() { return mail.window->findChild<QMessageBox*>(u"errorAlert"_s); }
    FakeMailProvider& provider() { return mail.fixture.provider(); }

    MailWindow mail;
};

TEST_F(QuietLinesTest, SaysWhichServerCannotBeReachedUntilItAnswers)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
    mail.open();
    EXPECT_TRUE(shownStrips().isEmpty());
    provider().failAlways(listMessages, refused());
    mail.fixture.endSleeps();
    ASSERT_TRUE(waitUntil([this] { return shownStrips().size() == 1; }));
    const QString text = shownStrips().first()->text();
    EXPECT_TRUE(text.startsWith(u"Can’t reach imap.example.org. Last checked "_s)) << text.toStdString();
    EXPECT_TRUE(text.endsWith(u'.'));
    EXPECT_FALSE(alert());
    EXPECT_EQ(QApplication::focusWidget(), &mail.table());
    takeScreenshot(*mail.window, u"check-strip"_s);
    provider().heal();
    QTest::mouseClick(&shownStrips().first()->button(), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return shownStrips().isEmpty(); }));
}

TEST_F(QuietLinesTest, CutsWhatAServerSaysToOneLineWithoutInvisibleCharacters)
{
    provider().failAlways(listMessages,
                          MailError::protocolError(u"a\u202eb\nc\u200b "_s + QString(5000, u'x')));
    mail.open();
    ASSERT_TRUE(waitUntil([this] { return shownStrips().size() == 1; }));
    const QString text = shownStrips().first()->text();
    EXPECT_LE(text.size(), 1001);
    for (const QChar character : {QChar(u'\n'), QChar(0x202e), QChar(0x200b)})
        EXPECT_FALSE(text.contains(character));
    EXPECT_LE(mail.window->width(), ContentView::defaultSize.width());
}

TEST_F(QuietLinesTest, TellsTheTimeOfTheLastCheckLikeTheListDoes)
{
    const QDateTime now(QDate(2026, 3, 15), QTime(12, 0));
    const CheckResults::Failure never{QUuid::createUuid(), u"Can’t reach a."_s, {}};
    EXPECT_EQ(CheckStrips::textOf(never, now), u"Can’t reach a.");
    CheckResults::Failure known = never;
    known.lastChecked = now.addSecs(-600).toUTC();
    EXPECT_EQ(CheckStrips::textOf(known, now), u"Can’t reach a. Last checked %1."_s.arg(
                                                   QLocale().toString(QTime(11, 50), QLocale::ShortFormat)));
    known.lastChecked = now.addDays(-1).toUTC();
    EXPECT_EQ(CheckStrips::textOf(known, now), u"Can’t reach a. Last checked Yesterday.");
}

TEST_F(QuietLinesTest, OffersToUndoForEightSecondsWithoutTakingTheFocus)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
    provider().setCanPutBack(true);
    mail.open();
    UndoLine& line = mail.child<UndoLine>("undoLine");
    EXPECT_TRUE(line.isHidden());
    mail.model().setSelection({u"1"_s});
    QTest::keyClicks(&mail.table(), u"e"_s);
    ASSERT_TRUE(waitUntil([&] { return line.isVisible(); }));
    EXPECT_EQ(line.text(), u"Archived.");
    EXPECT_EQ(line.button().text(), u"Undo");
    EXPECT_EQ(QApplication::focusWidget(), &mail.table());
    takeScreenshot(*mail.window, u"undo-line"_s);
    QTest::mouseClick(&line.button(), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([&] { return line.isHidden() && mail.model().messages().size() == 3; }));
    EXPECT_EQ(AppModel::undoTime, std::chrono::seconds(8));
    EXPECT_EQ(QApplication::focusWidget(), &mail.table());
}

TEST_F(QuietLinesTest, SelectsTheRowThatTakesThePlaceInTheOrderOnScreen)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 4));
    mail.open();
    mail.model().setSortOrder({{SortField::date, Qt::AscendingOrder}});
    // Oldest first: 4 3 2 1.
    mail.model().setSelection({u"3"_s});
    QTest::keyClicks(&mail.table(), u"e"_s);
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"2"_s});
    QTest::keyClicks(&mail.table(), u"e"_s);
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"1"_s});
    QTest::keyClicks(&mail.table(), u"e"_s);
    EXPECT_EQ(mail.model().selection(), QSet<QString>{u"4"_s}) << "the last one at the end";
    settle();
    QTest::keyClick(&mail.table(), Qt::Key_Return);
    EXPECT_EQ(mail.model().path(), QStringList(u"4"_s));
}

TEST_F(QuietLinesTest, SaysWhatASearchShows)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 30));
    provider().setListing(MailboxRef::system(Mailbox::inbox), ModelFixture::rows(mail.fixture.account(), 12),
                          u"boat"_s);
    mail.open();
    SearchLine& line = mail.child<SearchLine>("searchLine");
    EXPECT_TRUE(line.isHidden());
    SearchField& field = mail.child<SearchField>("searchField");
    field.setFocus();
    provider().hold(listMessages);
    QTest::keyClicks(&field, u"boat"_s);
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(line.text(), u"Searching for “boat” in Inbox…");
    EXPECT_EQ(mail.model().pagerText(), u"") << "old rows have no numbers in the new listing";
    provider().stopHolding(listMessages);
    provider().completeAll();
    ASSERT_TRUE(waitUntil([&] { return line.text() == u"12 results for “boat” in Inbox"_s; }));
    takeScreenshot(*mail.window, u"search-line"_s);
    QTest::mouseClick(&line.button(), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return mail.model().messages().size() == 25; }));
    EXPECT_TRUE(line.isHidden());
    EXPECT_TRUE(field.text().isEmpty());
}

TEST_F(QuietLinesTest, SaysThatThereAreNoMessagesOnlyWhereTheServiceSaidSo)
{
    provider().failAlways(listMessages, refused());
    mail.open();
    ASSERT_TRUE(mail.table().emptyState());
    EXPECT_EQ(mail.table().emptyState()->title, u"Messages Not Loaded");
    provider().heal();
    mail.model().start(mail.model().tryAgain());
    ASSERT_TRUE(waitUntil([this] { return mail.model().isListingAnswered(); }));
    EXPECT_EQ(mail.table().emptyState()->title, u"No Messages");
}

// --- The alert

TEST_F(QuietLinesTest, NeverTakesTheKeyboardFromAnotherWindow)
{
    mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
    mail.open();
    provider().failAlways(u"archive"_s, MailError::protocolError(u"no"_s));
    provider().hold(u"archive"_s);
    mail.model().archive(mail.model().messages().first(1));
    QTextEdit other;
    show(other);
    other.setFocus();
    QTest::keyClicks(&focusedWidget(), u"Dear "_s);
    provider().completeAll();
    ASSERT_TRUE(waitUntil([this] { return mail.model().errorMessage().has_value(); }));
    QTest::keyClicks(&focusedWidget(), u"Ann, how "_s);
    settle();
    EXPECT_FALSE(alert());
    EXPECT_TRUE(other.isActiveWindow());
    QTest::keyClicks(&focusedWidget(), u"are you?"_s);
    EXPECT_EQ(other.toPlainText(), u"Dear Ann, how are you?");
    other.close();
    mail.window->activateWindow();
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    EXPECT_EQ(alert()->informativeText(), u"Mail protocol error: no");
}

TEST_F(QuietLinesTest, ShowsTheFailureOfAnotherWindowOnceTheOneOnScreenHasBeenRead)
{
    mail.open();
    QWidget other;
    show(other);
    const auto failure = [](const QString& text) {
        return std::make_exception_ptr(MailError::protocolError(text));
    };
    mail.window->activateWindow();
    ASSERT_TRUE(waitUntil([this] { return mail.window->isActiveWindow(); }));
    mail.model().report(failure(u"one"_s), std::nullopt, mail.window.get());
    ASSERT_TRUE(waitUntil([this] { return alert() && alert()->isVisible(); }));
    mail.model().report(failure(u"two"_s), std::nullopt, &other);
    settle();
    EXPECT_EQ(alert()->informativeText(), u"Mail protocol error: one");
    QTest::keyClick(alert(), Qt::Key_Return);
    ASSERT_TRUE(waitUntil([this] { return !alert(); }));
    other.activateWindow();
    const auto ofOther = [&other] { return other.findChild<QMessageBox*>(u"errorAlert"_s); };
    ASSERT_TRUE(waitUntil([&] { return ofOther() && ofOther()->isVisible(); }));
    EXPECT_EQ(ofOther()->informativeText(), u"Mail protocol error: two");
    QTest::keyClick(ofOther(), Qt::Key_Return);
    EXPECT_TRUE(waitUntil([this] { return !mail.model().errorMessage(); }));
}

} // namespace
} // namespace Larkhaven
