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
            const qsizetype cut = folder.path.lastIndexOf(QLatin1Char('/'));
            const QString parent = cut < 0 ? QString() : folder.path.left(cut);
            const QString name = folder.path.mid(cut + 1);
            long type = 0;
            if (cut < 0 && name == QLatin1String("Inbox")) {
                type = olFolderInbox;
            } else if (cut < 0 && name == QLatin1String("Deleted Items")) {
                type = olFolderDeletedItems;
            }
            const qint64 id = writer.addFolder(ids.at(parent), name, olMailItem, type);
            ids[folder.path] = id;
            for (const MailSpec& mail : folder.mails) {
                store::local::ItemData item;
                item.itemClass = olMail;
                item.subject = mail.subject;
                item.sender = mail.sender;
                item.body = mail.body;
                item.received = toOleDate(mail.received);
                item.modified = item.received;
                item.unread = mail.unread;
                writer.addItem(id, item);
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
