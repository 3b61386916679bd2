#include "ReaderViewFixture.h"
#include "support/QtPrinters.h"
#include "views/reader/EngineAccessibility.h"

#include <QProcess>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

/// The objects of the message on screen as the accessibility bus has them, and the labels beside it.
QStringList objectsWith(const QString& word)
{
    QProcess walker;
    walker.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    walker.start(QStringLiteral(LARKHAVEN_PYTHON),
                 {QStringLiteral(MESSAGE_TREE), QString::number(QCoreApplication::applicationPid()), word});
    // The walker asks this process: its loop must run.
    if (!waitUntil([&walker] { return walker.state() == QProcess::NotRunning; }, std::chrono::seconds(60)))
        walker.kill();
    return QString::fromUtf8(walker.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

/// On a desktop whose accessibility is on.
class MessageOnTheAccessibilityBus : public ReaderViewTest {};

TEST_F(MessageOnTheAccessibilityBus, HasANameAndWords)
{
    ASSERT_TRUE(EngineAccessibility::isWanted());
    open(htmlMessage(u"<h1>Tide tables</h1><p>High water at noon.</p>"_s, u"Of boats"_s));
    const QStringList objects = objectsWith(u"High water at noon."_s);
    EXPECT_TRUE(objects.contains(u"document web\tOf boats"_s)) << objects.join(u'\n').toStdString();
    EXPECT_TRUE(objects.contains(u"heading\tTide tables"_s)) << objects.join(u'\n').toStdString();
    EXPECT_TRUE(objects.filter(u"High water at noon."_s).size() > 0);
    EXPECT_TRUE(objects.filter(u"label\tOf boats"_s).size() > 0) << "the labels of the window are seen";
    EXPECT_EQ(objects.filter(u"Unable to display this message safely."_s), QStringList());
}

TEST_F(MessageOnTheAccessibilityBus, TellsForwardedMessagesApart)
{
    open("Subject: x\r\nMIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n"
         "--b\r\n\r\nHave a look.\r\n"
         "--b\r\nContent-Type: message/rfc822\r\n\r\nFrom: carl@example.com\r\nSubject: Boats\r\n\r\n"
         "Two of them.\r\n--b--\r\n");
    const QStringList objects = objectsWith(u"Two of them."_s);
    EXPECT_EQ(objects.filter(u"\tForwarded message: Boats"_s).size(), 1) << objects.join(u'\n').toStdString();
}

/// On a desktop whose accessibility is off.
TEST(MessageOffTheAccessibilityBus, CostsTheEngineNothing)
{
    EXPECT_FALSE(EngineAccessibility::isWanted());
    EngineAccessibility::decide();
    EXPECT_FALSE(qgetenv("QTWEBENGINE_CHROMIUM_FLAGS").contains("--force-renderer-accessibility"));
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    EXPECT_TRUE(EngineAccessibility::isWanted());
    qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
}

} // namespace
} // namespace Larkhaven
