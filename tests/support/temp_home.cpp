#include "tests/support/temp_home.h"

#include <QDir>
#include <QStandardPaths>
#include <cstdlib>

namespace tf::testing {

namespace {
const char* const kVariables[4] = {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"};
}

TempHome::TempHome() {
    for (int i = 0; i < 4; ++i) {
        saved_[i] = qgetenv(kVariables[i]);
    }
    qputenv("HOME", dir_.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", dir_.filePath(QStringLiteral(".local/share")).toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", dir_.filePath(QStringLiteral(".config")).toLocal8Bit());
    qputenv("XDG_CACHE_HOME", dir_.filePath(QStringLiteral(".cache")).toLocal8Bit());
    QStandardPaths::setTestModeEnabled(false);
}

TempHome::~TempHome() {
    for (int i = 0; i < 4; ++i) {
        if (saved_[i].isNull()) {
            qunsetenv(kVariables[i]);
        } else {
            qputenv(kVariables[i], saved_[i]);
        }
    }
}

}  // namespace tf::testing
