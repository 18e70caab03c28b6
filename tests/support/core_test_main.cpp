#include <gtest/gtest.h>

#include <QCoreApplication>

// The entry point of test programs that need Qt's event loop without a display: local event
// loops, child processes and sockets run under one application object for all their tests.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
