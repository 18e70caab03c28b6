#include <map>

#include "outlook/constants.h"
#include "tests/conformance/backend.h"
#include "tests/support/memory_store.h"

// The logic tests' in-memory store is held to the same contract as the real backends, so that a
// rule tested over it holds over them too.
namespace tf::conformance {

namespace {

class MemoryBackend : public Backend {
  public:
    outlook::StorePtr create(const StoreSpec& spec, const QString&) override {
        using namespace outlook;
        store_ = testing::MemoryStore::create(spec.name, QStringLiteral("MEMORY-STORE"));
        std::map<QString, testing::MemoryStore::Folder> folders{{QString(), store_->top()}};
        for (const FolderSpec& folder : spec.folders) {
            const FolderPlace place = placeOf(folder);
            const auto added = store_->addFolder(folders.at(place.parent), place.name, olMailItem,
                                                 place.defaultFolder);
            folders[folder.path] = added;
            for (const MailSpec& mail : folder.mails) {
                store_->addItem(added, fieldsOf(mail));
            }
        }
        return store_;
    }

    // Memory outlives nothing: reopening finds the store as it was left.
    outlook::StorePtr reopen(const QString&) override { return store_; }

  private:
    std::shared_ptr<testing::MemoryStore> store_;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Memory, ObjectModelConformance,
                         ::testing::Values(BackendParam{
                             "Memory", [] { return std::make_unique<MemoryBackend>(); }}),
                         backendName);

}  // namespace tf::conformance
