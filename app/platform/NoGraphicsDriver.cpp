#include "app/platform/NoGraphicsDriver.h"

#include <QLoggingCategory>
#include <QString>

using namespace Qt::StringLiterals;

namespace Larkhaven {

namespace {

constexpr const char* variable = "QT_XCB_GL_INTEGRATION";

QtMessageHandler handlerBefore = nullptr;

/// The platform plugin, and later the web engine, write that there is no context, which is what was asked
/// for.
void tellOthers(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (!text.contains("Cannot create platform OpenGL context"_L1) &&
        !text.contains("No suitable graphics backend found"_L1))
        handlerBefore(type, context, text);
}

} // namespace

NoGraphicsDriver::NoGraphicsDriver()
    : m_isOurs(!qEnvironmentVariableIsSet(variable))
{
    if (!m_isOurs)
        return;
    qputenv(variable, "none");
    // Known before ours is called.
    handlerBefore = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(tellOthers);
}

NoGraphicsDriver::~NoGraphicsDriver()
{
    if (!m_isOurs)
        return;
    // The handler stays: the web engine starts later.
    qunsetenv(variable);
}

} // namespace Larkhaven
