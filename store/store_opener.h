#pragma once

#include "outlook/server_account.h"
#include "outlook/store_opener.h"
#include "store/store_locator.h"

namespace tf::store {

// Opens the locations the window names with the backend each asks for; the sample store is
// made at its place the first time it is opened.
class LocatorStoreOpener : public outlook::StoreOpener {
  public:
    // credentials: where a server account's password comes from when it names no command.
    explicit LocatorStoreOpener(QString sampleStorePath, ServerCredentials credentials = {});
    std::vector<outlook::StorePtr> open(const QString& location) override;
    QString canonical(const QString& location) const override;
    QString sampleLocation() const override;

  private:
    void makeSample() const;

    QString samplePath_;
    ServerCredentials credentials_;
};

// The server kind until the backend for mail on a server is built: offered, but not usable.
class NoServerBackend : public outlook::ServerBackend {
  public:
    bool available() const override { return false; }
    QString unavailableReason() const override;
    outlook::ConnectionTest testConnection(const outlook::ServerAccount& account,
                                           const QString& password) override;
    QString location(const outlook::ServerAccount& account) const override;
};

}  // namespace tf::store
