#pragma once

#include <QString>
#include <cstdint>

namespace tf {

// What the program knows about itself: the About window's texts and where its help file is.
struct ApplicationInfo {
    QString Title;
    std::int16_t Major = 0;
    std::int16_t Minor = 0;
    std::int16_t Revision = 0;
    QString LegalCopyright;
    // The help file's path: as built at first, then wherever it was found.
    QString HelpFile;
    // The folder the program's files come from: its installed data folder, else the folder it
    // runs from.
    QString Path;
};

// Where the program in programFolder keeps its data files: the installed data folder
// (share/tidyfold beside bin) when there is one, otherwise programFolder itself.
QString programFilesFolder(const QString& programFolder);

// Tidyfold's own: its version, and the help file at the path the build wrote it to.
ApplicationInfo tidyfoldApplication();

}  // namespace tf
