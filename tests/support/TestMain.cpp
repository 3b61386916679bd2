#include <QCoreApplication>
#include <QEvent>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    QCoreApplication application(argc, argv);
    const int result = RUN_ALL_TESTS();
    // What was to be deleted later has no event loop anymore, and isn't a leak.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return result;
}
