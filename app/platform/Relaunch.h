#pragma once

#include <QString>
#include <QStringList>

namespace Larkhaven {

/// Starts this program anew, in the same environment and thus on the same profile. It is prepared while the
/// application object lives, and started when that has gone and with it all that only one process may hold.
class Relaunch {
public:
    /// Of the program that runs.
    static Relaunch ofProgram();
    explicit Relaunch(QString program, QStringList arguments = {});

    /// Starts it as a process of its own; false where it can't be.
    bool start() const;

private:
    QString m_program;
    QStringList m_arguments;
};

} // namespace Larkhaven
