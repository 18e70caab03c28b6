#include "help/application_info.h"

#include <QCoreApplication>
#include <QDir>

namespace tf {

QString programFilesFolder(const QString& programFolder) {
    // Installed, the data files live in share/tidyfold beside bin; in a build tree there is no
    // such folder and they sit beside the program.
    const QDir installed(QDir(programFolder).filePath(QStringLiteral(TIDYFOLD_DATA_FROM_PROGRAM)));
    return installed.exists() ? installed.absolutePath() : programFolder;
}

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
        info.Path = programFilesFolder(QCoreApplication::applicationDirPath());
    }
    return info;
}

}  // namespace tf
