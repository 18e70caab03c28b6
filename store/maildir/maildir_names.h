#pragma once

#include <QString>
#include <QStringList>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// How Maildir++ spells things in file and folder names.
namespace tf::store::maildir {

// A message file's name taken apart at its info: "1700000000.M5P7Q1.host" and ":2,RS". The
// unique part stays the same when a client changes the flags or moves the file from new/ to cur/.
struct MessageName {
    std::string unique;
    std::string info;  // ":2,FLAGS", or empty when the file carries none (as in new/)
};
MessageName splitMessageName(std::string_view fileName);

// The EntryID of a unique name, and back. A name that is valid UTF-8 without a '%' is its own
// EntryID; any other name (a byte from another charset) is written with %XX escapes, so that
// every name has an EntryID that leads back to exactly it.
QString entryIdOf(const std::string& unique);
std::string uniqueOf(const QString& entryId);

// The unique part without mbsync's ",U=<uid>" field. mbsync keeps the server's UID in the name, and
// a file that carries it into another folder gives that folder a duplicate UID; the stem is what
// stays the same when mbsync adds or drops the field, so it names the message.
std::string stemOf(std::string_view unique);

// The flag letters of an info (":2,FRS" gives "FRS"); empty when it is not a version 2 info.
std::string_view flagsOf(std::string_view info);
// An info for the given flag letters, in the ASCII order Maildir keeps them in.
std::string infoWith(std::string flags);

// True when the info carries the S (seen) flag.
bool isSeen(std::string_view info);

// The delivery time that the unique part starts with (seconds and, from an "M" field, the
// microseconds), as a count of microseconds since 1970; nothing when it does not start with one.
std::optional<std::int64_t> deliveryMicros(std::string_view unique);

// Where a name sorts in delivery order: by the time in the unique name, names without a time
// after those with one. Names with equal keys sort by the name itself, so the order is total.
struct DeliveryKey {
    bool untimed = false;
    std::int64_t micros = 0;
    auto operator<=>(const DeliveryKey&) const = default;
};
DeliveryKey deliveryKey(std::string_view unique);
bool deliveredBefore(std::string_view a, std::string_view b);

// The folder path a Maildir++ directory name stands for (".Projects.2024" -> Projects, 2024), or
// nothing when the name is not a folder (no leading dot, an empty part, "." or "..").
std::optional<QStringList> folderPathOf(std::string_view dirName);

// A folder name part as users see it: Dovecot's modified UTF-7 ("Entw&APw-rfe") decoded. A part
// that is not valid modified UTF-7 is shown as it stands.
QString decodeFolderName(std::string_view part);

}  // namespace tf::store::maildir
