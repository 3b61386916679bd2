#include "app/platform/Relaunch.h"

#include <QCoreApplication>
#include <QProcess>

#include <utility>

namespace Larkhaven {

Relaunch Relaunch::ofProgram()
{
    return Relaunch(QCoreApplication::applicationFilePath());
}

Relaunch::Relaunch(QString program, QStringList arguments)
    : m_program(std::move(program))
    , m_arguments(std::move(arguments))
{}

bool Relaunch::start() const
{
    return QProcess::startDetached(m_program, m_arguments);
}

} // namespace Larkhaven
