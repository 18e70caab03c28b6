#include <QDir>
#include <map>

#include "outlook/constants.h"
#include "store/local/local_store.h"
#include "store/local/store_writer.h"
#include "tests/conformance/backend.h"

namespace tf::conformance {

namespace {

class LocalBackend : public Backend {
  public:
    outlook::StorePtr create(const StoreSpec& spec, const QString& dir) override {
        using namespace outlook;
        store::local::StoreWriter writer(file(dir));
        std::map<QString, qint64> ids;
        ids[QString()] = writer.addStore(spec.name);
        for (const FolderSpec& folder : spec.folders) {
            const FolderPlace place = placeOf(folder);
            const qint64 id =
                writer.addFolder(ids.at(place.parent), place.name, olMailItem, place.defaultFolder);
            ids[folder.path] = id;
            for (const MailSpec& mail : folder.mails) {
                writer.addItem(id, fieldsOf(mail));
            }
        }
        writer.finish();
        return reopen(dir);
    }

    outlook::StorePtr reopen(const QString& dir) override {
        return store::local::openLocalStores(file(dir)).at(0);
    }

  private:
    static QString file(const QString& dir) { return QDir(dir).filePath(QStringLiteral("t.tfs")); }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Local, ObjectModelConformance,
                         ::testing::Values(BackendParam{
                             "Local", [] { return std::make_unique<LocalBackend>(); }}),
                         backendName);

}  // namespace tf::conformance
