#include "ComposeSupport.h"
#include "UITestSupport.h"
#include "domain/MailError.h"
#include "support/Await.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/style/FlatButton.h"

#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

// A message whose sending the server never confirmed.

namespace Larkhaven {
namespace {

class ComposeSendAgainTest : public ComposeWindowTest {
protected:
    /// A window whose message was sent without an answer.
    ComposeWindow& unconfirmed()
    {
        fixture.provider().failNext(u"send"_s, MailError::connectionSilent().afterHandingOver());
        ComposeWindow& window = open(addressed());
        pressSend(window);
        if (!waitUntil([&] { return alert(window, "composeAlert"); }))
            throw std::runtime_error("composeAlert");
        return window;
    }
    void sendAgain(ComposeWindow& window)
    {
        if (QMessageBox* const told = alert(window, "composeAlert"))
            press(*told, u"OK"_s);
        show(window);
        QTest::mouseClick(&child<FlatButton>(window, "send"), Qt::LeftButton);
        ASSERT_TRUE(waitUntil([&] { return alert(window, "sendAgainAlert"); }));
    }
    static QString messageID(const ComposeWindow& window)
    {
        return const_cast<ComposeWindow&>(window).view().draft().attempt->messageID;
    }
    static QStringList buttons(const QMessageBox& asked)
    {
        QStringList texts;
        for (const QAbstractButton* const button : asked.buttons())
            texts.append(button->text());
        texts.sort();
        return texts;
    }
};

TEST_F(ComposeSendAgainTest, SaysThatItMayHaveGoneOutAndKeepsTheText)
{
    ComposeWindow& window = unconfirmed();
    EXPECT_EQ(alert(window, "composeAlert")->text(), u"Message May Have Been Sent");
    takeScreenshot(window, u"compose-unconfirmed"_s);
    EXPECT_TRUE(window.view().draft().wasSending);
    EXPECT_FALSE(window.view().isSending());
    EXPECT_TRUE(fixture.provider().calls(u"wasSent"_s).isEmpty());
}

TEST_F(ComposeSendAgainTest, LooksInSentBeforeItOffersToSendAgain)
{
    ComposeWindow& window = unconfirmed();
    const QString id = messageID(window);
    EXPECT_TRUE(id.endsWith(u"@example.org"_s)) << id.toStdString();
    sendAgain(window);
    EXPECT_EQ(fixture.provider().calls(u"wasSent"_s), QStringList(u"wasSent "_s + id));
    QMessageBox& asked = *alert(window, "sendAgainAlert");
    EXPECT_EQ(buttons(asked), QStringList({u"Cancel"_s, u"Send Again"_s}));
    takeScreenshot(window, u"compose-send-again"_s);
    press(asked, u"Send Again"_s);
    ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }));
    ASSERT_EQ(fixture.provider().sent().size(), 1);
    EXPECT_EQ(fixture.provider().sent()[0].message.messageID, id)
        << "the same message for who has it already";
}

TEST_F(ComposeSendAgainTest, SendsAChangedTextAsAnotherMessage)
{
    ComposeWindow& window = unconfirmed();
    const QString id = messageID(window);
    press(*alert(window, "composeAlert"), u"OK"_s);
    QTest::keyClicks(&text(window), u"more"_s);
    sendAgain(window);
    EXPECT_EQ(fixture.provider().calls(u"wasSent"_s), QStringList(u"wasSent "_s + id));
    press(*alert(window, "sendAgainAlert"), u"Send Again"_s);
    ASSERT_TRUE(waitUntil([this] { return fixture.provider().sent().size() == 1; }));
    EXPECT_NE(fixture.provider().sent()[0].message.messageID, id);
}

TEST_F(ComposeSendAgainTest, ClosesTheWindowOfAMessageThatIsInSent)
{
    ComposeWindow& window = unconfirmed();
    fixture.provider().setSentIDs({messageID(window)});
    sendAgain(window);
    QMessageBox& asked = *alert(window, "sendAgainAlert");
    EXPECT_EQ(buttons(asked), QStringList({u"Cancel"_s, u"Close Message"_s, u"Send Again"_s}));
    press(asked, u"Close Message"_s);
    ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }));
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
    EXPECT_EQ(fixture.provider().calls(u"send"_s).size(), 1);
}

TEST_F(ComposeSendAgainTest, SendsNothingWhereTheUserCancels)
{
    ComposeWindow& window = unconfirmed();
    sendAgain(window);
    press(*alert(window, "sendAgainAlert"), u"Cancel"_s);
    settle();
    EXPECT_EQ(fixture.provider().calls(u"send"_s).size(), 1);
    EXPECT_EQ(windows->windows().size(), 1);
    sendAgain(window);
    EXPECT_EQ(fixture.provider().calls(u"wasSent"_s).size(), 2) << "it is asked anew each time";
}

TEST_F(ComposeSendAgainTest, TakesASearchThatFailsForNoAnswer)
{
    ComposeWindow& window = unconfirmed();
    fixture.provider().failNext(u"wasSent"_s, MailError::connectionSilent());
    sendAgain(window);
    const QString told = alert(window, "sendAgainAlert")->informativeText();
    EXPECT_TRUE(told.contains(u"can’t be searched"_s)) << told.toStdString();
}

TEST_F(ComposeSendAgainTest, AsksNothingAfterAPlainFailure)
{
    fixture.provider().failNext(u"send"_s, MailError::protocolError(u"No."_s));
    ComposeWindow& window = open(addressed());
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "composeAlert"); }));
    EXPECT_EQ(alert(window, "composeAlert")->text(), u"Message Not Sent");
    press(*alert(window, "composeAlert"), u"OK"_s);
    pressSend(window);
    ASSERT_TRUE(waitUntil([this] { return windows->windows().isEmpty(); }));
    EXPECT_TRUE(fixture.provider().calls(u"wasSent"_s).isEmpty());
}

TEST_F(ComposeSendAgainTest, LooksInSentAlsoAfterTheProcessHasEndedMeanwhile)
{
    fixture.provider().hold(u"send"_s);
    ComposeWindow& window = open(addressed());
    const QUuid id = window.view().draftID();
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return !fixture.provider().pending().isEmpty(); }));
    await(model().settleKeptTexts());
    windows.reset();
    fixture.restart();
    windows = std::make_unique<ComposeWindows>(fixture.model(), ComposeView::Desktop{}, contacts);
    await(model().recoverDrafts());
    ASSERT_TRUE(windows->window(id));
    fixture.provider().stopHolding(u"send"_s);
    sendAgain(*windows->window(id));
    EXPECT_EQ(fixture.provider().calls(u"wasSent"_s).size(), 1);
}

} // namespace
} // namespace Larkhaven
