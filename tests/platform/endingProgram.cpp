#include "platform/Tasks.h"

#include <QCoreApplication>
#include <QSemaphore>

#include <cstdio>
#include <thread>

/// Ends while a worker computes, and says when the worker was done.
int main(int argc, char** argv)
{
    using namespace Larkhaven;
    {
        QCoreApplication application(argc, argv);
        QSemaphore hasBegun;
        const auto work = [&hasBegun] {
            std::puts("begun");
            hasBegun.release();
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            std::puts("done");
        };
        spawn(runOnWorker(work), dropFailure);
        hasBegun.acquire();
    }
    std::puts("left");
    return 0;
}
