#include "app/platform/NoGraphicsDriver.h"

#include <QStringList>

#include <gtest/gtest.h>
#include <optional>

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
        m_own = qEnvironmentVariableIsSet(variable) ? std::optional(qgetenv(variable)) : std::nullopt;
        qunsetenv(variable);
        m_before = qInstallMessageHandler(hear);
    }
    void TearDown() override
    {
        qInstallMessageHandler(m_before);
        if (m_own)
            qputenv(variable, *m_own);
        else
            qunsetenv(variable);
    }

private:
    QtMessageHandler m_before = nullptr;
    std::optional<QByteArray> m_own; ///< of whom runs the tests
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

TEST_F(NoGraphicsDriverTest, KeepsTheMessagesThatItBringsAboutFromTheTerminalAndNoOther)
{
    {
        const NoGraphicsDriver lives;
        qWarning("QXcbIntegration: Cannot create platform OpenGL context, neither GLX nor EGL are enabled");
        qWarning("could not connect to display");
    }
    EXPECT_EQ(heard, QStringList(u"could not connect to display"_s));
    // The web engine starts when the application has long been made.
    qWarning("No suitable graphics backend found\n");
    qWarning("something else");
    EXPECT_EQ(heard, QStringList({u"could not connect to display"_s, u"something else"_s}));
}

} // namespace
} // namespace Larkhaven
