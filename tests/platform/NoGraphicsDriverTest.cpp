#include "app/platform/NoGraphicsDriver.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Larkhaven {
namespace {

constexpr const char* variable = "QT_XCB_GL_INTEGRATION";

QStringList heard;

void hear(QtMsgType, const QMessageLogContext&, const QString& text)
{
    heard.append(text);
}

class NoGraphicsDriverTest : public testing::Test {
protected:
    void SetUp() override
    {
        heard.clear();
        qunsetenv(variable);
        m_before = qInstallMessageHandler(hear);
    }
    void TearDown() override
    {
        qInstallMessageHandler(m_before);
        qunsetenv(variable);
    }

private:
    QtMessageHandler m_before = nullptr;
};

TEST_F(NoGraphicsDriverTest, TellsThePlatformPluginAndNoProgramThatIsStartedLater)
{
    {
        const NoGraphicsDriver lives;
        EXPECT_EQ(qgetenv(variable), "none");
    }
    EXPECT_FALSE(qEnvironmentVariableIsSet(variable));
}

TEST_F(NoGraphicsDriverTest, LeavesWhatTheUserHasSet)
{
    qputenv(variable, "xcb_egl");
    {
        const NoGraphicsDriver lives;
        EXPECT_EQ(qgetenv(variable), "xcb_egl");
    }
    EXPECT_EQ(qgetenv(variable), "xcb_egl");
}

TEST_F(NoGraphicsDriverTest, KeepsTheOneMessageThatItBringsAboutFromTheTerminal)
{
    constexpr const char* missing =
        "QXcbIntegration: Cannot create platform OpenGL context, neither GLX nor EGL are enabled";
    {
        const NoGraphicsDriver lives;
        qWarning(missing);
        qWarning("could not connect to display");
    }
    EXPECT_EQ(heard, QStringList(u"could not connect to display"_s));
    qWarning(missing);
    EXPECT_EQ(heard.size(), 2) << "what comes later is none of its business";
}

} // namespace
} // namespace Larkhaven
