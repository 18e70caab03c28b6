#include <gtest/gtest.h>

#include <QApplication>

// The entry point of the widget test programs: one application object for all their tests.
int main(int argc, char** argv) {
    // Also when ctest lists the tests: there is no display then.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
