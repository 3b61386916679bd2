#include "ComposeSupport.h"
#include "domain/MailError.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/ComposeNotices.h"
#include "views/compose/ComposeWindow.h"
#include "views/style/FlatButton.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// What comes into a window, and what of it doesn't.
class ComposeGateTest : public ComposeWindowTest {};

// --- What replacing a stored draft loses

class ComposeLossTest : public ComposeWindowTest {
protected:
    ComposeWindow& stored(const QString& html)
    {
        ComposeDraft draft = addressed();
        draft.isRichText = true;
        draft.initialHTML = html;
        draft.draftMessageID = u"7"_s;
        ComposeWindow& window = open(draft);
        QTest::keyClicks(&text(window), u"x"_s);
        return window;
    }

    static inline const QString lossy =
        u"<style>p{color:red}</style><p>The <img src='https://a.example/' alt='logo'></p>"_s;
};

TEST_F(ComposeLossTest, IsToldBeforeTheOriginalIsReplaced)
{
    const QPointer<ComposeWindow> window = &stored(lossy);
    window->view().save();
    ASSERT_TRUE(waitUntil([&] { return alert(*window, "lossAlert"); }));
    QMessageBox& told = *alert(*window, "lossAlert");
    EXPECT_EQ(told.text(), u"Not all of this draft can be kept."_s);
    EXPECT_EQ(told.informativeText(),
              u"The stored draft holds images and style sheets, which will be lost when it is replaced."_s);
    takeScreenshot(told, u"compose-loss"_s);
    press(told, u"Cancel"_s);
    ASSERT_TRUE(waitUntil([&] { return !window->view().isDelivering(); }));
    EXPECT_TRUE(fixture.provider().savedDrafts().isEmpty());
    EXPECT_FALSE(window->view().isSending());
    window->view().save();
    ASSERT_TRUE(waitUntil([&] { return alert(*window, "lossAlert"); }));
    fixture.provider().failNext(u"saveDraft"_s, MailError::protocolError(u"Full."_s));
    press(*alert(*window, "lossAlert"), u"Save Anyway"_s);
    ASSERT_TRUE(waitUntil([&] { return alert(*window, "composeAlert"); }));
    // Once is enough.
    window->view().save();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    EXPECT_EQ(fixture.provider().savedDrafts().size(), 1);
}

TEST_F(ComposeLossTest, SendingReplacesItAsWell)
{
    ComposeWindow& window = stored(lossy);
    pressSend(window);
    ASSERT_TRUE(waitUntil([&] { return alert(window, "lossAlert"); }));
    press(*alert(window, "lossAlert"), u"Cancel"_s);
    settle();
    EXPECT_TRUE(fixture.provider().sent().isEmpty());
}

TEST_F(ComposeLossTest, WhatLosesNothingIsSavedAtOnce)
{
    const QPointer<ComposeWindow> window =
        &stored(u"<p>The</p><table><tr><td>text</td></tr></table><ol start=3><li>y</li></ol>"_s);
    window->view().save();
    ASSERT_TRUE(waitUntil([&] { return !window; }));
    const QString html = fixture.provider().savedDrafts().constFirst().message.htmlBody.value_or(QString());
    EXPECT_TRUE(html.contains("<table"_L1));
    EXPECT_TRUE(html.contains("<ol start=\"3\">"_L1));
}

// --- What is pasted and still being read

/// HTML that is so long that a worker reads it, with "the end" at its end.
void pasteLongHTML(ComposeTextView& text)
{
    auto* const data = new QMimeData;
    data->setHtml(u"<p>"_s + u"many words, and many more of them </p><p>"_s.repeated(1'500) +
                  u"the end</p>"_s);
    data->setText(u"plain"_s);
    QApplication::clipboard()->setMimeData(data);
    text.setFocus();
    QTest::keyClick(&text, Qt::Key_V, Qt::ControlModifier);
    ASSERT_FALSE(text.toPlainText().contains(u"the end"_s)) << "it comes in a moment later";
}

TEST_F(ComposeGateTest, ALongPasteGoesOutWithAMessageThatIsSentAtOnce)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    ComposeWindow& window = open(draft);
    pasteLongHTML(text(window));
    pressSend(window);
    ASSERT_TRUE(waitUntil([this] { return !fixture.provider().sent().isEmpty(); }));
    EXPECT_TRUE(fixture.provider().sent().constFirst().message.body.contains(u"the end"_s));
}

TEST_F(ComposeGateTest, ALongPasteIsAskedAboutWhereTheWindowClosesAtOnce)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    ComposeWindow& window = open(draft);
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    pasteLongHTML(text(window));
    EXPECT_TRUE(window.view().hasUnsavedChanges());
    window.close();
    ASSERT_TRUE(waitUntil([&] { return alert(window, "saveSheet"); }));
    press(*alert(window, "saveSheet"), u"Save"_s);
    ASSERT_TRUE(waitUntil([this] { return !fixture.provider().savedDrafts().isEmpty(); }));
    EXPECT_TRUE(fixture.provider().savedDrafts().constFirst().message.body.contains(u"the end"_s));
}

TEST_F(ComposeGateTest, ALongPasteComesAsPlainTextWhereTheTextHasBecomeOne)
{
    ComposeDraft draft = addressed();
    draft.isRichText = true;
    ComposeWindow& window = open(draft);
    pasteLongHTML(text(window));
    QTest::mouseClick(&child<QAbstractButton>(window, "plainText"), Qt::LeftButton);
    ASSERT_TRUE(waitUntil([&] { return text(window).toPlainText().contains(u"the end"_s); }));
    EXPECT_FALSE(text(window).document()->toHtml().contains(u"font-weight:700"_s));
}

// --- Notices

TEST_F(ComposeGateTest, TellsThatAReplyGoesElsewhere)
{
    const MessageSummary row = ModelFixture::row(fixture.account(), u"1"_s);
    fixture.provider().setRaw(u"1"_s, "From: Ceo <ceo@bank.example>\r\nReply-To: Ceo <ceo@evil.example>\r\n"
                                      "Subject: Pay\r\n\r\nPlease pay.");
    model().start(model().reply(row, false));
    ASSERT_TRUE(waitUntil([this] { return !windows->windows().isEmpty(); }));
    ComposeWindow& window = *windows->windows().first();
    ASSERT_TRUE(
        waitUntil([&] { return window.isVisible() && child<QLabel>(window, "notices").isVisible(); }));
    EXPECT_EQ(child<QLabel>(window, "notices").text(),
              u"Replies go to ceo@evil.example, not to the sender."_s);
    EXPECT_TRUE(field(window, "to").text().contains(u"ceo@evil.example"_s));
    EXPECT_FALSE(field(window, "to").text().contains(u"bank.example"_s));
    ASSERT_TRUE(waitUntilDrawn(window));
    takeScreenshot(window, u"compose-reply-elsewhere"_s);
}

TEST_F(ComposeGateTest, TellsWhatWasLeftOutAboveTheText)
{
    EXPECT_FALSE(child<QLabel>(open(), "notices").isVisible());
    ComposeDraft draft = addressed();
    draft.notices = {u"Left out: “Your Bank” <x@evil.example>"_s, u"<b>Left</b>\nout"_s};
    ComposeWindow& window = open(draft);
    QLabel& notices = child<QLabel>(window, "notices");
    EXPECT_TRUE(notices.isVisible());
    EXPECT_EQ(notices.textFormat(), Qt::PlainText);
    EXPECT_EQ(notices.text(), u"Left out: “Your Bank” <x@evil.example>\n<b>Left</b> out"_s);
    EXPECT_EQ(notices.palette().color(QPalette::WindowText), Style::shared().colors().secondary);
    EXPECT_EQ(notices.font().pixelSize(), Style::shared().font(Style::Type::caption).pixelSize());
    EXPECT_LT(notices.mapTo(&window, QPoint()).y(), text(window).mapTo(&window, QPoint()).y());
    EXPECT_FALSE(window.view().hasUnsavedChanges());
    takeScreenshot(window, u"compose-notices"_s);
}

TEST_F(ComposeGateTest, ManyOrLongNoticesAreBounded)
{
    ComposeDraft draft = addressed();
    for (qsizetype number = 0; number < ComposeNotices::mostNotices + 5; ++number)
        draft.notices.append(QString(1'000'000, u'x'));
    ComposeWindow& window = open(draft);
    const QStringList lines = child<QLabel>(window, "notices").text().split(u'\n');
    ASSERT_EQ(lines.size(), ComposeNotices::mostNotices + 1);
    EXPECT_EQ(lines.constLast(), u"And 5 more."_s);
    EXPECT_LE(lines.constFirst().size(), ComposeNotices::longestNotice + 1);
}

} // namespace
} // namespace Larkhaven
