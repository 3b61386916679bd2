#include "ComposeSupport.h"
#include "UITestSupport.h"
#include "support/QtPrinters.h"
#include "support/WaitUntil.h"
#include "views/compose/ComposeWindows.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A message that is open in the window, and the answers to it.
class ComposeQuotedTextTest : public testing::Test {
protected:
    void read(const QByteArray& plain, const QByteArray& html)
    {
        mail.fill(ModelFixture::rows(mail.fixture.account(), 3));
        mail.fixture.provider().setRaw(
            u"1"_s, "From: Eve <eve@x.example>\r\nTo: mia@example.org\r\nSubject: Lunch\r\n"
                    "Content-Type: multipart/alternative; boundary=b\r\n\r\n--b\r\n\r\n" +
                        plain + "\r\n--b\r\nContent-Type: text/html; charset=utf-8\r\n\r\n" + html +
                        "\r\n--b--\r\n");
        mail.open();
        mail.read(u"1"_s);
    }

    /// The compose window on the screen; null for none.
    static ComposeWindow* composing()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const window = qobject_cast<ComposeWindow*>(widget);
            if (window && window->isVisible())
                return window;
        }
        return nullptr;
    }

    /// The window that the chord brings up.
    ComposeWindow* pressed(const QString& chord)
    {
        EXPECT_TRUE(QTest::qWaitForWindowActive(mail.window.get()));
        QTest::keySequence(mail.window.get(), QKeySequence(chord));
        EXPECT_TRUE(waitUntil([] { return composing() != nullptr; }));
        return composing();
    }

    static QString text(const ComposeWindow& window)
    {
        return window.findChild<ComposeTextView*>(u"composeText"_s)->toPlainText();
    }
    static QLabel& notices(const ComposeWindow& window) { return *window.findChild<QLabel*>(u"notices"_s); }

    MailWindow mail;
};

TEST_F(ComposeQuotedTextTest, AnAnswerHasWhatWasOnScreenAndSaysSo)
{
    for (const bool isRich : {false, true}) {
        mail.fixture.defaults().set(DefaultsKey::composeRichText, isRich);
        if (!isRich)
            read("I agree to pay 5000 euro", "<p>Shall we have lunch?</p>");
        ComposeWindow* const window = pressed(u"Ctrl+R"_s);
        ASSERT_TRUE(window);
        EXPECT_TRUE(text(*window).contains(u"Shall we have lunch?"_s)) << text(*window).toStdString();
        EXPECT_FALSE(text(*window).contains(u"5000"_s)) << text(*window).toStdString();
        EXPECT_TRUE(notices(*window).isVisible());
        EXPECT_EQ(notices(*window).text(),
                  u"The message holds two different texts; the quote is the one that is shown."_s);
        window->view().discard();
        ASSERT_TRUE(waitUntil([] { return !composing(); }));
    }
}

TEST_F(ComposeQuotedTextTest, AForwardHasWhatWasOnScreenAndSaysSo)
{
    read("I agree to pay 5000 euro",
         "<div style='text-indent:-9999px'>I agree to pay 5000 euro</div><p>Shall we have lunch?</p>");
    ComposeWindow* const window = pressed(u"Ctrl+Shift+F"_s);
    ASSERT_TRUE(window);
    EXPECT_TRUE(text(*window).endsWith(u"Shall we have lunch?"_s)) << text(*window).toStdString();
    EXPECT_FALSE(text(*window).contains(u"5000"_s)) << text(*window).toStdString();
    EXPECT_EQ(notices(*window).text(),
              u"The message holds two different texts; only the one that is shown is forwarded."_s);
}

TEST_F(ComposeQuotedTextTest, AnAnswerToAnHonestMessageSaysNothing)
{
    read("Shall we *have lunch*?", "<p>Shall we <b>have lunch</b>?</p>");
    ComposeWindow* const window = pressed(u"Ctrl+R"_s);
    ASSERT_TRUE(window);
    EXPECT_TRUE(text(*window).contains(u"Shall we *have lunch*?"_s)) << text(*window).toStdString();
    EXPECT_FALSE(notices(*window).isVisible());
}

} // namespace
} // namespace Larkhaven
