// Runs tests with the application object that Qt's processes and SQL drivers want, though
// no event loop runs.
#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
