#pragma once

#include <QList>
#include <QString>
#include <optional>

namespace tf {

// A store the window opens at start: where it lives and what it is called. Never a password.
struct RememberedStore {
    QString location;
    QString name;
    bool operator==(const RememberedStore&) const = default;
};

// The stores opened at start, in the settings beside the numbered ones: the group "Stores" under
// the settings key, as an array of location and name. Kept apart from the numbered table, which
// holds single values only.
class RememberedStores {
  public:
    // None while the user has never opened or closed a store: the sample store is the default.
    std::optional<QList<RememberedStore>> load() const;
    void save(const QList<RememberedStore>& stores);
};

}  // namespace tf
