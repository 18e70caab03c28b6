#include "help/application_info.h"

#include <QCoreApplication>

namespace tf {

ApplicationInfo tidyfoldApplication() {
    ApplicationInfo info;
    info.Title = QStringLiteral("Tidyfold");
    info.Major = TIDYFOLD_VERSION_MAJOR;
    info.Minor = TIDYFOLD_VERSION_MINOR;
    info.Revision = TIDYFOLD_VERSION_PATCH;
    info.LegalCopyright = QStringLiteral(
        "Copyright (C) The Tidyfold developers.\n\n"
        "Tidyfold is provided as is, without warranty of any kind. It removes mail for good when "
        "you ask it to: check what is marked before you press Clean, and keep a backup of any "
        "store you cannot afford to lose.");
    info.HelpFile = QStringLiteral(TIDYFOLD_BUILD_HELP_FILE);
    if (QCoreApplication::instance() != nullptr) {
        info.Path = QCoreApplication::applicationDirPath();
    }
    return info;
}

}  // namespace tf
