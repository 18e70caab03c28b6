#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "outlook/application_source.h"
#include "outlook/object_model.h"

namespace tf::store {

namespace imap {
class Keyring;
class PasswordPrompt;
}  // namespace imap

// Where a server account's password comes from when the account names no command for it: the
// keyring (none: not looked in), then the prompt (none: never asks, as a front end without a
// window).
struct ServerCredentials {
    imap::Keyring* keyring = nullptr;
    imap::PasswordPrompt* prompt = nullptr;
    // Lets a window run its events between the chunks of a server's long fetches and commands
    // (none: nothing runs meanwhile).
    std::function<void()> yield;
};

// Opens the stores at a location as the user writes it: "local:FILE" or a plain FILE path for the
// embedded store file (which may hold several stores), "maildir:FOLDER" or "maildir:FOLDER#NAME"
// for a Maildir++ tree (one store, called NAME or after the folder). Throws a Failure that names
// the location and the reason.
std::vector<outlook::StorePtr> openStores(const QString& location,
                                          const ServerCredentials& credentials = {});

// One kind of location, as --help and the manual list it.
struct LocationKind {
    QString form;     // "maildir:FOLDER[#NAME]"
    QString meaning;  // "a Maildir++ folder ..."
};
// Every kind of location openStores knows, in the order --help lists them.
const std::vector<LocationKind>& locationKinds();

// The location with its path absolute and its links resolved ("local:/home/ann/a.tidystore"),
// so that two spellings of one store read the same. Locations of other kinds come back as given.
QString canonicalLocation(const QString& location);

// Where the default store lives: default.tidystore in the user's data folder for Tidyfold.
QString defaultStorePath();

// The session's source for the program: the stores named on the command line, else the default
// store, made with sample content the first time. A failure names the store and the reason.
class StoreApplicationSource : public ApplicationSource {
  public:
    StoreApplicationSource(QStringList locations, QString defaultStore,
                           ServerCredentials credentials = {});
    outlook::ApplicationPtr GetObject() override;
    outlook::ApplicationPtr CreateObject() override;

  private:
    outlook::ApplicationPtr openNamedStores() const;

    QStringList locations_;
    QString defaultStore_;
    ServerCredentials credentials_;
};

}  // namespace tf::store
