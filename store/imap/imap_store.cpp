#include "store/imap/imap_store.h"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

#include "common/failure.h"
#include "outlook/constants.h"
#include "store/imap/credentials.h"
#include "store/maildir/message_headers.h"

namespace tf::store::imap {

namespace {

using outlook::FolderPtr;
using outlook::FoldersPtr;
using outlook::ItemPtr;
using outlook::ItemsPtr;
using StatePtr = std::shared_ptr<ImapMailboxes>;

[[noreturn]] void folderGone(const QString& name) {
    throw Failure(
        err::kAutomation,
        QStringLiteral("The operation failed. The folder \"%1\" no longer exists.").arg(name));
}

const Mailbox& existing(const StatePtr& state, const QByteArray& key, const QString& name) {
    const Mailbox* box = state->folder(key);
    if (box == nullptr) {
        folderGone(name);
    }
    return *box;
}

FolderPtr makeFolder(const StatePtr& state, const Mailbox& box);

class ImapItem : public outlook::Item {
  public:
    ImapItem(StatePtr state, QByteArray folder, const MessageRow& row)
        : state_(std::move(state)), at_{std::move(folder), row.id}, row_(row) {}

  protected:
    long doClass() const override { return outlook::olMail; }
    QString doSubject() const override { return row_.subject; }
    QString doEntryID() const override { return at_.id; }
    QString doBody() const override {
        relocate();
        return maildir::messageBodyText(state_->messageText(at_));
    }
    std::optional<QString> doSender() const override { return row_.sender; }
    OleDate doReceivedTime() const override { return row_.received; }
    OleDate doLastModificationTime() const override { return row_.received; }
    OleDate doDateCompleted() const override { return kNoDate; }
    OleDate doDueDate() const override { return kNoDate; }
    OleDate doEnd() const override { return kNoDate; }
    bool doUnRead() const override { return row_.unread; }
    FolderPtr doParent() const override {
        relocate();
        return makeFolder(state_, existing(state_, at_.folder, {}));
    }
    void doDelete() override {
        relocate();
        if (std::optional<ImapMailboxes::Location> now = state_->deleteMessage(at_)) {
            at_ = std::move(*now);
        }
    }

  private:
    void relocate() const {
        std::optional<ImapMailboxes::Location> where = state_->locate(at_.id, at_.folder);
        if (!where) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. The message %1 no longer exists; "
                                         "it has been moved or deleted since it was read.")
                              .arg(at_.id));
        }
        at_ = std::move(*where);
    }

    StatePtr state_;
    mutable ImapMailboxes::Location at_;
    MessageRow row_;
};

class ImapItems : public outlook::Items {
  public:
    ImapItems(StatePtr state, QByteArray folder, QString name)
        : state_(std::move(state)), folder_(std::move(folder)), name_(std::move(name)) {}

  protected:
    long doCount() const override { return box().messages.count(); }
    ItemPtr doItem(long index) const override {
        return std::make_shared<ImapItem>(state_, folder_, box().messages.at(index - 1));
    }
    void doRemove(long index) override { state_->removeAt(folder_, index - 1); }

  private:
    Mailbox& box() const {
        if (state_->folder(folder_) == nullptr) {
            folderGone(name_);
        }
        return state_->messagesOf(folder_);
    }

    StatePtr state_;
    QByteArray folder_;
    QString name_;
};

class ImapFolders : public outlook::Folders {
  public:
    ImapFolders(StatePtr state, QByteArray parent, QString name)
        : state_(std::move(state)), parent_(std::move(parent)), name_(std::move(name)) {}

  protected:
    long doCount() const override { return static_cast<long>(node().children.size()); }
    FolderPtr doItem(long index) const override {
        const QByteArray key = node().children[static_cast<std::size_t>(index - 1)];
        return makeFolder(state_, existing(state_, key, name_));
    }
    void doRemove(long index) override { state_->removeFolder(parent_, index); }

  private:
    const Mailbox& node() const { return existing(state_, parent_, name_); }

    StatePtr state_;
    QByteArray parent_;
    QString name_;
};

class ImapFolder : public outlook::MAPIFolder {
  public:
    ImapFolder(StatePtr state, const Mailbox& box)
        : state_(std::move(state)), key_(box.key), name_(box.name) {}

    FolderPtr Parent() const override {
        const Mailbox& now = existing(state_, key_, name_);
        if (now.key == ImapMailboxes::kTopKey) {
            return nullptr;
        }
        const QByteArray parent = now.parent;
        return makeFolder(state_, existing(state_, parent, name_));
    }
    long DefaultItemType() const override { return outlook::olMailItem; }
    QString EntryID() const override {
        return state_->storeId() + QLatin1Char('/') + QString::fromLatin1(key_.toHex());
    }
    FoldersPtr Folders() const override {
        existing(state_, key_, name_);
        return std::make_shared<ImapFolders>(state_, key_, name_);
    }
    ItemsPtr Items() const override {
        existing(state_, key_, name_);
        state_->messagesOf(key_);
        return std::make_shared<ImapItems>(state_, key_, name_);
    }
    QString Name() const override { return name_; }
    QString StoreID() const override { return state_->storeId(); }

  private:
    StatePtr state_;
    QByteArray key_;
    QString name_;
};

FolderPtr makeFolder(const StatePtr& state, const Mailbox& box) {
    return std::make_shared<ImapFolder>(state, box);
}

class ImapStore : public outlook::Store {
  public:
    explicit ImapStore(StatePtr state) : state_(std::move(state)) {}

    FolderPtr TopFolder() const override {
        return makeFolder(state_, *state_->folder(ImapMailboxes::kTopKey));
    }
    FolderPtr GetDefaultFolder(long folderType) const override {
        const std::optional<QByteArray> key = state_->defaultFolder(folderType);
        if (!key) {
            throw Failure(
                err::kAutomation,
                QStringLiteral("The store has no default folder of type %1.").arg(folderType));
        }
        return makeFolder(state_, *state_->folder(*key));
    }
    ItemPtr GetItemFromID(const QString& entryID) const override {
        std::optional<ImapMailboxes::Location> where = state_->locate(entryID, lastFound_);
        if (!where) {
            throw Failure(err::kAutomation,
                          QStringLiteral("The operation failed. An object could not be found: "
                                         "the item %1 is not in the store; it may have been "
                                         "deleted.")
                              .arg(entryID));
        }
        lastFound_ = where->folder;
        const Mailbox& box = state_->messagesOf(where->folder);
        return std::make_shared<ImapItem>(state_, where->folder, *box.messages.find(where->id));
    }
    QString StoreID() const override { return state_->storeId(); }
    QString location() const override { return state_->account().location(); }
    void beginChanges() override { state_->beginChanges(); }
    void endChanges() override { state_->endChanges(); }
    QString takeReadNotes() override { return state_->takeNotes(); }

    const StatePtr& state() const { return state_; }

  private:
    StatePtr state_;
    mutable QByteArray lastFound_;
};

}  // namespace

QString movedIdsFile(const ImapAccount& account) {
    const QByteArray hash =
        QCryptographicHash::hash(account.location().toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation))
        .filePath(QStringLiteral("Tidyfold/imap/") + QString::fromLatin1(hash.left(16)) +
                  QStringLiteral(".ids"));
}

outlook::StorePtr openImapStore(std::unique_ptr<ImapConnection> connection, Batching batching,
                                std::function<void()> yield) {
    const QString ids = movedIdsFile(connection->account());
    auto state = std::make_shared<ImapMailboxes>(std::move(connection), ids, batching);
    state->setYield(std::move(yield));
    state->load();
    return std::make_shared<ImapStore>(std::move(state));
}

outlook::StorePtr openImapStore(const ImapAccount& account, Keyring* keyring,
                                PasswordPrompt* prompt, std::function<void()> yield) {
    // A password is asked for once, when the first connection signs in, and kept for reconnects.
    // An access token runs out within the hour, so every sign-in runs the token command again
    // (token helpers keep the token and renew it themselves).
    auto kept = std::make_shared<std::optional<Secret>>();
    auto remember = std::make_shared<bool>(false);
    SecretSource source = [account, keyring, prompt, kept, remember]() {
        if (!*kept || account.signIn() == SignInKind::OAuth2) {
            *kept = obtainSecret(account, keyring, prompt, remember.get());
        }
        const QByteArrayView bytes = (*kept)->bytes();
        return QByteArray(bytes.data(), bytes.size());
    };
    outlook::StorePtr store = openImapStore(
        std::make_unique<ImapConnection>(account, std::move(source)), Batching{}, std::move(yield));
    // Only a password the server accepted is kept in the keyring.
    if (*remember && keyring && *kept) {
        keyring->remember(account, **kept);
    }
    return store;
}

long imapCommandsSent(const outlook::StorePtr& store) {
    if (const auto* imap = dynamic_cast<const ImapStore*>(store.get())) {
        return imap->state()->commands();
    }
    return 0;
}

}  // namespace tf::store::imap
