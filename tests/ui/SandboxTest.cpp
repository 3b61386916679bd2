#include "ReaderViewFixture.h"
#include "views/reader/EngineProcess.h"

#include <QFile>
#include <QLabel>
#include <QSignalSpy>
#include <QWebEngineView>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// A HTML message with a picture and words, of which some are hidden.
QByteArray sampleMessage(const QString& words)
{
    return htmlMessage(
        u"<div style=\"background:#00ff00;height:900px\">"
        "<p style=\"color:#ff0000\">Shown <b>%1</b></p>"
        "<p style=\"display:none\">Hidden words</p><img src=\"https://img.local/a.png\"></div>"_s.arg(words));
}

/// As the program runs it.
using SandboxTest = ReaderViewTest;

TEST_F(SandboxTest, ShowsMessagesInAProcessThatTheKernelHoldsBack)
{
    open(sampleMessage(u"words"_s));
    EXPECT_EQ(message().trouble(), SecureMessageView::Trouble::none);
    EXPECT_TRUE(waitForColor(message(), QPoint(200, 200), QColor(0, 255, 0)));
    EXPECT_FALSE(label("bannerSandbox").isVisible());
    const qint64 process = message().webView().page()->renderProcessPid();
    EXPECT_TRUE(EngineProcess::isSandboxed(process));
    EXPECT_FALSE(EngineProcess::isSandboxed(getpid()));
    EXPECT_FALSE(EngineProcess::isSandboxed(0));
    // A process of ours is none of the engine's.
    EXPECT_FALSE(EngineProcess::isSandboxed(getppid()));
}

TEST_F(SandboxTest, HoldsTheProcessToItsMemory)
{
    open(sampleMessage(u"words"_s));
    QFile limits(u"/proc/%1/limits"_s.arg(message().webView().page()->renderProcessPid()));
    ASSERT_TRUE(limits.open(QIODevice::ReadOnly));
    const QByteArray text = limits.readAll();
    const QByteArray line = text.sliced(text.indexOf("Max data size")).split('\n').first().simplified();
    EXPECT_EQ(line, "Max data size 1073741824 1073741824 bytes");
}

TEST_F(SandboxTest, ShowsAPlainTextWithoutANotice)
{
    open("Subject: x\r\n\r\nHello");
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).trimmed() == u"Hello"; }));
    EXPECT_FALSE(label("bannerSandbox").isVisible());
}

/// Where an option or a variable has turned the sandbox off.
using NoSandboxTest = ReaderViewTest;

TEST_F(NoSandboxTest, ShowsTheTextAloneAndSaysWhy)
{
    open(sampleMessage(u"words"_s));
    QLabel& notice = label("bannerSandbox");
    ASSERT_TRUE(waitUntil([&notice] { return notice.isVisible(); }));
    EXPECT_EQ(notice.text(),
              u"Only the text is shown: the sandbox that would hold this message is off on this system.");
    ASSERT_TRUE(waitUntil([this] { return pageText(message()).trimmed() == u"Shown words"; }))
        << pageText(message()).toStdString();
    ASSERT_TRUE(waitUntilDrawn(message()));
    // Neither its colours nor its images.
    EXPECT_EQ(message().trouble(), SecureMessageView::Trouble::none);
    EXPECT_EQ(pixel(message(), QPoint(200, 200)), QColor(Qt::white));
    EXPECT_FALSE(label("bannerRemote").isVisible());
    takeScreenshot(*mail->window, u"reader-without-sandbox"_s);

    // The next one knows.
    mail->fixture.provider().setRaw(u"2"_s, sampleMessage(u"others"_s));
    const int loads = message().loadCount();
    mail->read(u"2"_s);
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).trimmed() == u"Shown others"; }));
    EXPECT_EQ(message().loadCount(), loads + 1);
    EXPECT_TRUE(notice.isVisible());
}

TEST_F(NoSandboxTest, ShowsAPlainTextWithoutANotice)
{
    open("Subject: x\r\n\r\nHello");
    EXPECT_TRUE(waitUntil([this] { return pageText(message()).trimmed() == u"Hello"; }));
    EXPECT_FALSE(label("bannerSandbox").isVisible());
}

TEST_F(NoSandboxTest, GivesTheEngineNoHTMLByTheViewAlone)
{
    SecureMessageView view;
    show(view);
    const QSignalSpy loads(&view, &SecureMessageView::loadFinished);
    view.display({filled(u"<p>HACKED</p>"_s), {}, 0, 0}, false, 1);
    ASSERT_TRUE(waitUntil([&loads] { return !loads.isEmpty(); }));
    EXPECT_FALSE(loads.first().first().toBool());
    EXPECT_EQ(view.trouble(), SecureMessageView::Trouble::noSandbox);
    EXPECT_EQ(pageText(view), QString());
}

} // namespace
} // namespace Larkhaven
