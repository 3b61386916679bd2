#include "app/platform/BrowserProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QThread>

#include <cstdio>

namespace {

/// Whether there is something in the file, within ten seconds.
bool isWritten(const QString& name)
{
    for (int i = 0; i < 1000; ++i) {
        if (QFile(name).size() > 0)
            return true;
        QThread::msleep(10);
    }
    return false;
}

} // namespace

/// Starts the user's browser, which writes to a file once it runs, and ends: `LeavingProgram browser file`.
int main(int argc, char** argv)
{
    using namespace Larkhaven;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("LeavingProgram browser file\n", stderr);
        return 2;
    }
    constexpr std::chrono::seconds time{5};
    // It deletes itself.
    auto* const process = new BrowserProcess({arguments[1]}, nullptr, {time, time});
    process->start();
    const bool isRunning = isWritten(arguments[2]);
    process->endNow();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return isRunning ? 0 : 1;
}
