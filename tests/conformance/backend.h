#pragma once

#include <gtest/gtest.h>

#include <QDateTime>
#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <memory>
#include <vector>

#include "outlook/item_fields.h"
#include "outlook/object_model.h"

// The object model's conformance suite runs against every backend through this description.
namespace tf::conformance {

struct MailSpec {
    QString subject;
    QString sender;
    QDateTime received;
    bool unread = false;
    QString body;
};

// path: folder names joined by '/', below the store's top folder ("Inbox/Projects").
struct FolderSpec {
    QString path;
    std::vector<MailSpec> mails;  // in delivery order
};

// A top-level "Inbox" is the store's default Inbox (6) and a top-level "Deleted Items" its
// Deleted Items (3), whatever a backend calls them on disk. Every parent is listed before its
// children.
struct StoreSpec {
    QString name;
    std::vector<FolderSpec> folders;
};

// A folder path taken apart: its parent's path (empty at the top), its own name, and the
// default-folder number it stands for (0 for a user folder).
struct FolderPlace {
    QString parent;
    QString name;
    long defaultFolder = 0;
};
FolderPlace placeOf(const FolderSpec& folder);
// A described mail as a backend stores it.
outlook::ItemFields fieldsOf(const MailSpec& mail);

class Backend {
  public:
    virtual ~Backend() = default;
    // Writes the store into the empty folder dir and opens it.
    virtual outlook::StorePtr create(const StoreSpec& spec, const QString& dir) = 0;
    // Opens what create() wrote again, as a fresh process would.
    virtual outlook::StorePtr reopen(const QString& dir) = 0;
};

struct BackendParam {
    const char* name;
    std::function<std::unique_ptr<Backend>()> make;
};

inline void PrintTo(const BackendParam& param, std::ostream* out) {
    *out << param.name;
}

inline std::string backendName(const ::testing::TestParamInfo<BackendParam>& info) {
    return info.param.name;
}

// A backend joins the suite with one line in its own source file:
//   INSTANTIATE_TEST_SUITE_P(Name, ObjectModelConformance,
//                            ::testing::Values(BackendParam{"Name", factory}), backendName);
class ObjectModelConformance : public ::testing::TestWithParam<BackendParam> {
  protected:
    void SetUp() override;

    QTemporaryDir dir_;
    std::unique_ptr<Backend> backend_;
    outlook::StorePtr store_;
};

// The store every case starts from.
StoreSpec standardStore();

}  // namespace tf::conformance
