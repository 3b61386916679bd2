#include "Gestures.h"
#include "ReaderViewFixture.h"
#include "support/QtPrinters.h"
#include "support/TurnMeter.h"
#include "views/main/EditCommands.h"
#include "views/reader/AddressLabel.h"
#include "views/reader/ReaderView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMenu>
#include <QTest>

using namespace Qt::StringLiterals;

// What stands above an open message, and what is copied of it.

namespace Larkhaven {
namespace {

TEST_F(ReaderViewTest, ShowsTheHeadersOfAMessage)
{
    open("From: Ada Lovelace <ada@example.com>, Bob <bob@example.com>\r\n"
         "To: Mia <mia@example.org>\r\nCc: carl@example.org\r\nSubject: =?utf-8?q?Gr=C3=BC=C3=9Fe?=\r\n"
         "Date: Fri, 15 Mar 2024 11:00:00 +0000\r\n\r\nHello");
    EXPECT_EQ(label("readerSubject").text(), u"Grüße");
    EXPECT_EQ(label("readerFrom").text(), u"Ada Lovelace, Bob");
    EXPECT_EQ(label("readerTo").text(), u"Mia");
    EXPECT_EQ(label("readerCc").text(), u"carl");
    EXPECT_EQ(label("readerDate").text(), u"Friday, March 15, 2024 at 12:00 PM");
    EXPECT_EQ(mail->window->windowTitle(), u"Grüße");
    EXPECT_TRUE(label("readerFrom").textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    takeScreenshot(*mail->window, u"reader-headers"_s);
}

TEST_F(ReaderViewTest, SaysWhatIsMissingInTheHeaders)
{
    open("X-Nothing: 1\r\n\r\nHello");
    EXPECT_EQ(label("readerSubject").text(), u"(no subject)");
    EXPECT_EQ(label("readerFrom").text(), u"Unknown");
    EXPECT_EQ(label("readerTo").text(), u"Undisclosed recipients");
    EXPECT_FALSE(label("readerCc").isVisible());
    EXPECT_EQ(mail->window->windowTitle(), u"(no subject)");
}

TEST_F(ReaderViewTest, TakesTheDateOfTheRowWhereTheHeaderHasNone)
{
    open("Subject: x\r\nDate: soon\r\n\r\nHello");
    EXPECT_EQ(label("readerDate").text(), u"Friday, March 15, 2024 at 11:59 AM");
}

TEST_F(ReaderViewTest, ShowsHeadersAsPlainText)
{
    open("From: =?utf-8?q?=3Cb=3EAda=3C/b=3E?= <ada@example.com>\r\nSubject: <h1>Big</h1>\r\n\r\nHello");
    EXPECT_EQ(label("readerSubject").textFormat(), Qt::PlainText);
    EXPECT_EQ(label("readerSubject").text(), u"<h1>Big</h1>");
    EXPECT_EQ(label("readerFrom").textFormat(), Qt::PlainText);
    EXPECT_FALSE(label("readerFrom").toolTip().contains(u"<b>"));
}

TEST_F(ReaderViewTest, ShowsAddressesInTheTooltipAndCopiesThem)
{
    open("From: Ada <ada@example.com>\r\nTo: Mia <mia@example.org>, carl@example.org\r\n\r\nHello");
    QLabel& to = label("readerTo");
    EXPECT_EQ(to.text(), u"Mia, carl");
    EXPECT_EQ(to.toolTip(), u"Mia <mia@example.org>, carl@example.org");
    QTest::keySequence(&to, QKeySequence::Copy);
    EXPECT_EQ(QApplication::clipboard()->text(), u"mia@example.org, carl@example.org");
    QApplication::clipboard()->clear();
    QMenu* const menu = rightClick(to, QPoint(4, 4));
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().first()->text(), u"Copy");
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Return);
    EXPECT_EQ(QApplication::clipboard()->text(), u"mia@example.org, carl@example.org");
}

/// Copies what is selected of a label by each way there is; the texts that come of it.
QStringList copies(QLabel& label)
{
    QClipboard& clipboard = *QApplication::clipboard();
    QStringList taken{clipboard.text(QClipboard::Selection)};
    const auto take = [&](const std::function<void()>& copy) {
        clipboard.clear();
        copy();
        taken.append(clipboard.text());
    };
    take([&] { QTest::keySequence(&label, QKeySequence::Copy); });
    take([] { EditCommands::perform("copy"); });
    take([&] {
        QMenu* const menu = rightClick(label, label.rect().center());
        ASSERT_TRUE(menu);
        pressKey(Qt::Key_Down);
        pressKey(Qt::Key_Return);
    });
    return taken;
}

TEST_F(ReaderViewTest, CopiesWhatASubjectSaysByEachWay)
{
    const QString subject = QString(400, u'x') + u" and the end"_s;
    open("Subject: " + subject.toUtf8() + "\r\n\r\nHello");
    QLabel& shown = label("readerSubject");
    ASSERT_TRUE(waitUntil([&] { return shown.text().contains(QChar(0x200b)); }));
    ASSERT_TRUE(shown.text().endsWith(u'…'));
    const QRect lines = shown.contentsRect();
    const QPoint first = lines.topLeft() + QPoint(0, shown.fontMetrics().height() / 2);
    dragFrom(shown, first, shown, first + QPoint(200, 0));
    ASSERT_GT(shown.selectedText().size(), 4);
    EXPECT_EQ(copies(shown), QStringList(4, shown.selectedText()));
    // What is selected would be dragged.
    QTest::mouseClick(&shown, Qt::LeftButton, {}, first);
    dragFrom(shown, first, shown, lines.bottomRight() - QPoint(0, 4));
    ASSERT_TRUE(shown.selectedText().endsWith(u'…'));
    EXPECT_EQ(copies(shown), QStringList(4, subject));
}

TEST_F(ReaderViewTest, CopiesWhatNamesSayByEachWay)
{
    const QString arabic = u"\u0645\u062d\u0645\u062f"_s;
    const QString endless(190, u'y');
    open(u"From: Ada <ada@example.com>\r\n"
         "To: %1 <y@example.org>, %2 <m@example.org>, Mia <mia@example.org>\r\n\r\nHello"_s
             .arg(endless, arabic)
             .toUtf8());
    QLabel& to = label("readerTo");
    ASSERT_TRUE(waitUntil([&] { return to.text().contains(QChar(0x200b)); }));
    ASSERT_TRUE(to.text().contains(QChar(0x2068)));
    dragFrom(to, QPoint(1, to.fontMetrics().height() / 2), to, QPoint(to.width() - 1, to.height() - 2));
    EXPECT_EQ(copies(to), QStringList(4, endless + u", "_s + arabic + u", Mia"_s));
    // With nothing selected Copy takes the addresses.
    QTest::mouseClick(&to, Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_EQ(copies(to).sliced(1), QStringList(3, u"y@example.org, m@example.org, mia@example.org"_s));
}

/// Counts how often a widget gets a place.
class Placements : public QObject {
public:
    explicit Placements(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        count += event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest;
        return false;
    }
    int count = 0;
};

/// What is laid out, and how often, is bounded. How long that holds the main thread is printed.
TEST_F(ReaderViewTest, ShowsAMassMailingByItsFirstAddressesAndCopiesAll)
{
    const qsizetype count = 200'000;
    open("Subject: x\r\n\r\nHello");
    mail->fixture.provider().setRaw(u"2"_s,
                                    "From: ada@example.com\r\nTo: " + QByteArray("a@b,").repeated(count) +
                                        "\r\nSubject: many\r\n\r\nHello");
    QLabel& to = label("readerTo");
    Placements placements(to);
    constexpr int mostPlacements = 20;
    TurnMeter meter;
    meter.step([&] { mail->model().open(*mail->model().message(u"2"_s)); });
    ASSERT_TRUE(
        meter.until([&] { return label("readerSubject").text() == u"many"; }, std::chrono::seconds(60)));
    const TurnMeter::Turn turn = meter.takeLongest();
    std::printf("%lld addresses: longest turn %.0f ms\n", static_cast<long long>(count), turn.wall);
    EXPECT_LE(to.height(), 3 * to.fontMetrics().height());
    // Two lines of the window's width, and a tooltip of a screen.
    EXPECT_LT(to.text().size(), 500);
    EXPECT_LE(to.toolTip().size(), 1001);
    settle();
    std::printf("placed %d times\n", placements.count);
    EXPECT_GT(placements.count, 0);
    EXPECT_LE(std::exchange(placements.count, 0), mostPlacements);
    auto* const more = to.findChild<QAbstractButton*>(u"moreAddresses"_s);
    const qsizetype named = to.text().count(u'a');
    EXPECT_EQ(more->text(), u"and %1 more"_s.arg(QLocale().toString(count - named)));
    meter.step([&] { QTest::keyClick(more, Qt::Key_Space); });
    EXPECT_TRUE(meter.until([&] { return to.text().count(u'a') > 499; }, std::chrono::seconds(9)));
    constexpr qsizetype most = ShownAddresses::mostNames;
    EXPECT_EQ(to.text().count(u", "_s), most - 1);
    EXPECT_TRUE(to.text().endsWith(u"and %1 more"_s.arg(QLocale().toString(count - most))));
    settle();
    EXPECT_LE(placements.count, mostPlacements);
    std::printf("placed %d times\n", placements.count);
    std::printf("unfolding them: longest turn %.0f ms\n", meter.takeLongest().wall);
    EXPECT_EQ(mail->window->windowTitle(), u"many"_s);
    QTest::keySequence(&label("readerTo"), QKeySequence::Copy);
    EXPECT_EQ(QApplication::clipboard()->text().count(u'@'), count);
}

} // namespace
} // namespace Larkhaven
