#include "ReaderViewFixture.h"
#include "support/QtPrinters.h"
#include "views/reader/EngineProcess.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QWebEngineView>

#include <csignal>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr std::chrono::seconds patience{60};

/// A message that has loaded at once, and takes the engine minutes to draw.
QByteArray messageThatTakesLong()
{
    QStringList shadows;
    shadows.fill(u"0 0 99px red"_s, 3000);
    return htmlMessage(u"<style>b{text-shadow:%1}</style>%2<p>the end</p>"_s.arg(
        shadows.join(u','), u"<b>many words of one message</b> "_s.repeated(300)));
}

QByteArray greenMessage()
{
    return htmlMessage(u"<div style=\"background:#00ff00;height:900px\">two</div>"_s);
}

bool exists(qint64 process)
{
    return kill(static_cast<pid_t>(process), 0) == 0;
}

class TroubleTest : public ReaderViewTest {
protected:
    /// Opens the message that takes long and waits until the window says so.
    void openWhatTakesLong()
    {
        open(messageThatTakesLong());
        ASSERT_TRUE(waitUntil([this] { return trouble() == Trouble::takesLong; }, patience));
        ASSERT_TRUE(button("stopMessage").isVisible());
        ASSERT_TRUE(button("showAsText").isVisible());
    }

    using Trouble = SecureMessageView::Trouble;
    Trouble trouble() { return message().trouble(); }
    qint64 process() { return message().webView().page()->renderProcessPid(); }
    QString sentence() { return label("troubleSentence").text(); }
    QPushButton& button(const char* name) { return mail->child<QPushButton>(name); }
};

TEST_F(TroubleTest, SaysThatAMessageTakesLongAndShowsItAsItsText)
{
    openWhatTakesLong();
    EXPECT_EQ(sentence(), u"This message is taking long to show.");
    EXPECT_EQ(button("showAsText").text(), u"Show as Plain Text");
    EXPECT_EQ(button("stopMessage").text(), u"Stop");
    takeScreenshot(*mail->window, u"reader-takes-long"_s);
    Style::shared().setScheme(Style::Scheme::dark);
    takeScreenshot(*mail->window, u"reader-takes-long-dark"_s);
    Style::shared().setScheme(Style::Scheme::light);
    const qint64 before = process();
    QTest::mouseClick(&button("showAsText"), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return trouble() == Trouble::none; }));
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).contains(u"the end"); }, patience));
    EXPECT_FALSE(label("troubleSentence").isVisible());
    EXPECT_TRUE(waitUntil([before] { return !exists(before); }));
    EXPECT_TRUE(message().isAncestorOf(QApplication::focusWidget()));

    // The next message is shown as it came.
    mail->fixture.provider().setRaw(u"2"_s, greenMessage());
    mail->read(u"2"_s);
    EXPECT_TRUE(waitForColor(message(), QPoint(200, 200), QColor(0, 255, 0)));
}

TEST_F(TroubleTest, StopsAMessageThatTakesLong)
{
    openWhatTakesLong();
    const qint64 before = process();
    const int loads = message().loadCount();
    QTest::mouseClick(&button("stopMessage"), Qt::LeftButton);
    EXPECT_EQ(trouble(), Trouble::stopped);
    EXPECT_EQ(sentence(), u"This message was stopped.");
    EXPECT_FALSE(button("stopMessage").isVisible());
    EXPECT_TRUE(button("showAsText").isVisible());
    EXPECT_TRUE(waitUntil([before] { return !exists(before); }));
    // What changes around the message doesn't begin with it again.
    Q_EMIT mail->model().messagesChanged();
    settle();
    EXPECT_EQ(message().loadCount(), loads);
    EXPECT_EQ(trouble(), Trouble::stopped);
    QTest::mouseClick(&button("showAsText"), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).contains(u"the end"); }, patience));
}

TEST_F(TroubleTest, TriesAStoppedMessageAgainThatIsOpenedAgain)
{
    openWhatTakesLong();
    QTest::mouseClick(&button("stopMessage"), Qt::LeftButton);
    const int loads = message().loadCount();
    reader().showMessage(u"1"_s);
    EXPECT_TRUE(waitUntil([this, loads] { return message().loadCount() == loads + 1; }));
    EXPECT_EQ(trouble(), Trouble::none);
}

TEST_F(TroubleTest, ForgetsAMessageThatTakesLongWhenAnotherOneIsOpened)
{
    openWhatTakesLong();
    const qint64 before = process();
    mail->fixture.provider().setRaw(u"2"_s, greenMessage());
    mail->read(u"2"_s);
    EXPECT_EQ(trouble(), Trouble::none);
    EXPECT_FALSE(label("troubleSentence").isVisible());
    EXPECT_TRUE(waitForColor(message(), QPoint(200, 200), QColor(0, 255, 0)));
    EXPECT_TRUE(waitUntil([before] { return !exists(before); }));
}

TEST_F(TroubleTest, TakesTheKeyboardFromNobodyToSayThatAMessageTakesLong)
{
    open(messageThatTakesLong());
    QWidget* const focus = QApplication::focusWidget();
    ASSERT_TRUE(waitUntil([this] { return trouble() == Trouble::takesLong; }, patience));
    EXPECT_EQ(QApplication::focusWidget(), focus);
}

/// The view alone.
class MessageTroubleTest : public testing::Test {
protected:
    MessageTroubleTest()
    {
        view.resize(400, 400);
        show(view);
    }

    using Trouble = SecureMessageView::Trouble;
    qint64 process() { return view.webView().page()->renderProcessPid(); }
    SecureMessageView view;
};

TEST_F(MessageTroubleTest, TakesTheNoticeBackOnceTheMessageIsDrawn)
{
    view.display({filled(u"<p>words</p>"_s.repeated(20'000)), {}, 0, 0}, false, 1);
    ASSERT_TRUE(waitUntil([this] { return process() > 0; }));
    const qint64 held = process();
    ASSERT_EQ(kill(static_cast<pid_t>(held), SIGSTOP), 0);
    EXPECT_TRUE(waitUntil([this] { return view.trouble() == Trouble::takesLong; }));
    kill(static_cast<pid_t>(held), SIGCONT);
    EXPECT_TRUE(waitUntil([this] { return view.trouble() == Trouble::none; }));
    EXPECT_TRUE(waitForColor(view, QPoint(200, 395), QColor(0, 255, 0)));
    EXPECT_EQ(process(), held);
}

TEST_F(MessageTroubleTest, SaysNothingOfAnEmptyMessageThatHasLoaded)
{
    const QSignalSpy changes(&view, &SecureMessageView::troubleChanged);
    showDocument(view, u"<!DOCTYPE html><html><body></body></html>"_s);
    QTest::qWait(std::chrono::milliseconds(SecureMessageView::patience).count() + 500);
    EXPECT_TRUE(changes.isEmpty());
    EXPECT_EQ(view.trouble(), Trouble::none);
}

TEST_F(MessageTroubleTest, EndsAMessageThatTakesTooMuchMemory)
{
    view.display({filled(u"<p>x"_s.repeated(2'000'000)), {}, 0, 0}, false, 1);
    qint64 most = 0;
    const auto isEnded = [this, &most] {
        const EngineProcess::Memory memory = EngineProcess::memory(process());
        most = std::max(most, memory.resident);
        return view.trouble() == Trouble::tooLarge;
    };
    ASSERT_TRUE(waitUntil(isEnded, patience)) << static_cast<int>(view.trouble());
    std::cout << "The process had " << (most >> 20) << " MiB at most." << std::endl;
    EXPECT_LE(most, EngineProcess::mostMemory);
    EXPECT_EQ(view.findChild<QLabel*>(u"troubleSentence"_s)->text(),
              u"This message was stopped, because it took too much memory.");
    EXPECT_TRUE(view.findChild<QPushButton*>(u"showAsText"_s)->isVisible());
    takeScreenshot(view, u"message-too-large"_s);
    // The view is as good as before.
    showDocument(view, filled(u"one"_s));
    EXPECT_EQ(view.trouble(), Trouble::none);
    EXPECT_TRUE(waitForColor(view, QPoint(200, 395), QColor(0, 255, 0)));
}

TEST_F(MessageTroubleTest, SaysThatAMessageWhoseProcessEndedCannotBeShown)
{
    showDocument(view, filled(u"one"_s));
    EngineProcess::end(process());
    EXPECT_TRUE(waitUntil([this] { return view.trouble() == Trouble::ended; }));
    EXPECT_EQ(view.findChild<QLabel*>(u"troubleSentence"_s)->text(),
              u"Unable to display this message safely.");
}

TEST_F(MessageTroubleTest, EndsNoProcessOfItsOwn)
{
    EngineProcess::end(getpid());
    EngineProcess::end(0);
    EngineProcess::end(-1);
    EngineProcess::boundMemory(getpid());
    EXPECT_GT(EngineProcess::memory(getpid()).resident, 0);
    EXPECT_EQ(EngineProcess::memory(0).resident, 0);
}

} // namespace
} // namespace Larkhaven
