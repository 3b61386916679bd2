#include "app/platform/Relaunch.h"

#include "app/platform/ProcessPrivacy.h"

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
    // QProcess asks no modifier where it starts something that is to outlive it; by now this process has
    // nothing left to keep.
    ProcessPrivacy::giveBack();
    return QProcess::startDetached(m_program, m_arguments);
}

} // namespace Larkhaven
