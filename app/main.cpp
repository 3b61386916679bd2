#include "views/main/Application.h"

#include <QTextStream>

#include <optional>

using namespace Larkhaven;

int main(int argc, char** argv)
{
    int result = 0;
    std::optional<Relaunch> next;
    {
        Application application(argc, argv);
        result = application.run();
        next = application.relaunch();
    }
    // By now the lock of the profile is free.
    if (next && !next->start()) {
        QTextStream(stderr) << "Larkhaven can't be started anew." << Qt::endl;
        return 1;
    }
    return result;
}
