#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

#include "window/control_ids.h"

namespace tf::cleanings {

// The version this program writes; files of a later version are refused, not guessed at.
inline constexpr int kFormatVersion = 1;

// A marked folder, by where its store lives and its names from the store's top folder down
// ({"Personal Folders", "Inbox", "Projects"}), so that it is found again after the store has
// changed.
struct FolderRef {
    QString store;
    QStringList path;
    friend bool operator==(const FolderRef&, const FolderRef&) = default;
};

// The cut-off of the date filter: an age that moves with the day the cleaning runs, or a date.
struct Cutoff {
    enum class Kind { OlderThanDays, FixedDate };
    Kind kind = Kind::FixedDate;
    int days = 0;  // with OlderThanDays: items dated more than this many days before today
    QDate date;    // with FixedDate: items dated on this day or before
    // The date picker's value on the given day: the last day that counts as older.
    QDate dateOn(const QDate& today) const {
        return kind == Kind::FixedDate ? date : today.addDays(-(days + 1));
    }
    friend bool operator==(const Cutoff&, const Cutoff&) = default;
};

// One saved cleaning: what the window had marked and every option that decides what a run takes.
struct Cleaning {
    std::vector<FolderRef> folders;
    std::vector<std::pair<Control, int>> options;  // check boxes: 1 on, 0 off
    QString subject;
    std::optional<Cutoff> cutoff;

    // The option's saved value; none when the cleaning leaves it as it is.
    std::optional<int> option(Control box) const;
    void setOption(Control box, int value);
    friend bool operator==(const Cleaning&, const Cleaning&) = default;
};

// The check boxes a cleaning keeps, in the order they are put back: the plain options first, the
// ones whose click forces others last. Select By Row is not among them: the rows it runs on are
// picked by hand and cannot be saved.
const std::vector<Control>& savedOptions();
// The name an option has in the file: "permanentDelete" for chkPermanentDelete.
QString optionKey(Control box);

// A saved cleaning that cannot be used: the one message says which file and why.
class CleaningError : public std::exception {
  public:
    explicit CleaningError(QString message)
        : message_(std::move(message)), what_(message_.toStdString()) {}
    const QString& message() const { return message_; }
    const char* what() const noexcept override { return what_.c_str(); }

  private:
    QString message_;
    std::string what_;
};

QByteArray toJson(const Cleaning& cleaning);
// Reads a file's contents; a damaged, unknown or newer file throws a CleaningError naming fileName.
Cleaning fromJson(const QByteArray& json, const QString& fileName);

// Where saved cleanings live: Tidyfold/cleanings in the user's config folder.
QString cleaningsFolder();
// The file of a cleaning given by name ("monthly") or as a path ("./monthly.json").
QString cleaningFile(const QString& nameOrFile);
Cleaning load(const QString& file);
// Written aside and renamed into place, so that a crash never leaves half a file.
void save(const Cleaning& cleaning, const QString& file);

// A store's location as it may be written down: a password in it is left out.
QString withoutCredentials(const QString& location);

}  // namespace tf::cleanings
