#pragma once

#include <QDate>
#include <QStringList>
#include <vector>

#include "app/main_window_logic.h"
#include "cleanings/cleaning_file.h"

namespace tf::cleanings {

// A folder of the open tree and where it lives.
struct OpenFolder {
    int node = 0;
    FolderRef ref;
};

// Every node that stands for a real folder, in the tree's index order.
std::vector<OpenFolder> openFolders(const RemoveItemsLogic& logic);
// "Personal Folders/Inbox/Projects": a folder as the user writes it.
QString pathText(const QStringList& path);

// What the window has marked and set now. The cut-off is kept as the fixed date unless an age is
// asked for, in which case it is the picker's distance from today.
Cleaning capture(const RemoveItemsLogic& logic, bool cutoffAsAge, const QDate& today);

// How the marks of a cleaning are put back.
enum class MarkMode {
    // Exactly the folders listed: sub-folders the ticks carried along are unticked again.
    Exactly,
    // The folders listed, and with Mark Sub-Folders on everything below them.
    AsTicked,
};

struct ApplyResult {
    QStringList missing;     // folders of the cleaning that are not in the tree
    QStringList refused;     // folders whose tick the marking rules refused
    QStringList overridden;  // options the interlocks set to another value than the cleaning's
    bool changed() const { return missing.isEmpty(); }
};

// Puts a cleaning into the window: the options through their click handlers, then every folder's
// tick through the marking rules, as the user's own clicks would go; a refused tick shows the
// rule's own message. With a folder missing nothing is changed. anyStore: the folders are looked
// for by their path alone, for a cleaning run on other stores than it was saved with.
ApplyResult apply(RemoveItemsLogic& logic, const Cleaning& cleaning, const QDate& today,
                  MarkMode mode, bool anyStore);

// File > Save Cleaning As: with the date filter on, asks whether the cut-off is kept as an age or
// as the fixed date, then writes the file. A failure is told in one message; false then.
bool Save_Cleaning(RemoveItemsLogic& logic, Prompter& prompter, const QString& file,
                   const QDate& today);
// File > Open Cleaning: reads the file and puts it into the window. A file that cannot be used,
// or one whose folders are not all open, is told in one message and changes nothing.
bool Open_Cleaning(RemoveItemsLogic& logic, Prompter& prompter, const QString& file,
                   const QDate& today);

// What a run would take from one marked folder, counted as the run's gate counts.
struct FolderPreview {
    int node = 0;
    FolderRef ref;
    long items = 0;     // items in the folder now
    long selected = 0;  // items the run would take (with Delete Folders: 1, the folder)
    bool loaded = true;
};
std::vector<FolderPreview> previewRun(const RemoveItemsLogic& logic);

}  // namespace tf::cleanings
