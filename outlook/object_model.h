#pragma once

#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

#include "common/dates.h"

// The mail store's object model: the members the window uses and nothing else. Indexes are
// 1-based. Every failure is a tf::Failure carrying a number, a description and a source.
namespace tf::outlook {

class MAPIFolder;
class Folders;
class Items;
class Item;
using FolderPtr = std::shared_ptr<MAPIFolder>;
using FoldersPtr = std::shared_ptr<Folders>;
using ItemsPtr = std::shared_ptr<Items>;
using ItemPtr = std::shared_ptr<Item>;

// An item's underlying message as a property reader sees it.
class MapiObject {
  public:
    virtual ~MapiObject() = default;
    // One property's value, or nothing when the message does not carry it.
    virtual std::optional<QString> property(std::uint32_t tag) const = 0;
};
using MapiObjectPtr = std::shared_ptr<const MapiObject>;

class ItemWindow;

// The error every 1-based index outside 1..Count() raises.
[[noreturn]] void indexOutOfBounds();
// The error Folders::Remove raises for one of a store's standard folders, which stay.
[[noreturn]] void standardFolderNotRemovable(const QString& name);

// One item of any class: mail, appointment, contact, task, note, journal entry, meeting message.
// The public members apply the rules every backend shares (which class has which date, the
// property tags, what the item window shows); a backend answers the protected do... members.
class Item {
  public:
    virtual ~Item() = default;

    long Class() const { return doClass(); }
    QString Subject() const { return doSubject(); }
    QString EntryID() const { return doEntryID(); }
    QString Body() const { return doBody(); }
    // Answers PR_SENDER_NAME and PR_SUBJECT, each as an 8-bit or a Unicode string.
    MapiObjectPtr MAPIOBJECT() const;
    // Dates; kNoDate where the item has none. A class that lacks the property throws
    // Failure(err::kNotSupported), as the late-bound call on the real object would.
    OleDate ReceivedTime() const;
    OleDate LastModificationTime() const { return doLastModificationTime(); }
    OleDate DateCompleted() const;
    OleDate DueDate() const;
    OleDate End() const;
    bool UnRead() const { return doUnRead(); }
    // The folder that holds the item now.
    FolderPtr Parent() const { return doParent(); }
    // Moves the item to the end of its store's "Deleted Items" folder; deletes it for good when it
    // already lies there.
    void Delete() { doDelete(); }
    // Opens the item in the read-only item window.
    void Display(ItemWindow& window) const;

  protected:
    virtual long doClass() const = 0;
    virtual QString doSubject() const = 0;
    virtual QString doEntryID() const = 0;
    virtual QString doBody() const = 0;
    // The sender's display name; nothing when the item does not carry one. Asked only of the
    // classes that have a sender.
    virtual std::optional<QString> doSender() const = 0;
    // Each date is asked only of the classes that have it.
    virtual OleDate doReceivedTime() const = 0;
    virtual OleDate doLastModificationTime() const = 0;
    virtual OleDate doDateCompleted() const = 0;
    virtual OleDate doDueDate() const = 0;
    virtual OleDate doEnd() const = 0;
    // An appointment's start, for the item window only; no other reader needs it.
    virtual OleDate doStart() const { return kNoDate; }
    virtual bool doUnRead() const = 0;
    virtual FolderPtr doParent() const = 0;
    virtual void doDelete() = 0;
};

class Items {
  public:
    virtual ~Items() = default;
    long Count() const { return doCount(); }
    ItemPtr Item(long index) const;
    // Deletes the index-th item for good.
    void Remove(long index);

  protected:
    virtual long doCount() const = 0;
    // The highest index Item accepts: Count(), unless the backend knows it at less cost than a
    // fresh Count(), which may have to look for changes made elsewhere.
    virtual long doLastIndex() const { return doCount(); }
    // index lies within 1..doLastIndex().
    virtual ItemPtr doItem(long index) const = 0;
    // index lies within 1..Count().
    virtual void doRemove(long index) = 0;
};

class Folders {
  public:
    virtual ~Folders() = default;
    long Count() const { return doCount(); }
    FolderPtr Item(long index) const;
    // Deletes the index-th folder for good, with its sub-folders and items.
    void Remove(long index);

  protected:
    virtual long doCount() const = 0;
    // index lies within 1..Count().
    virtual FolderPtr doItem(long index) const = 0;
    virtual void doRemove(long index) = 0;
};

class MAPIFolder {
  public:
    virtual ~MAPIFolder() = default;
    // The folder above; empty for a store's top folder.
    virtual FolderPtr Parent() const = 0;
    virtual long DefaultItemType() const = 0;
    virtual QString EntryID() const = 0;
    virtual FoldersPtr Folders() const = 0;
    virtual ItemsPtr Items() const = 0;
    virtual QString Name() const = 0;
    virtual QString StoreID() const = 0;
};

// The "MAPI" namespace: every open store.
class NameSpace {
  public:
    virtual ~NameSpace() = default;
    // The information stores' top folders.
    virtual FoldersPtr Folders() const = 0;
    // A default folder (OlDefaultFolders) of the default store.
    virtual FolderPtr GetDefaultFolder(long folderType) const = 0;
    // Finds an item wherever it now lies in the store; throws when it is gone.
    virtual ItemPtr GetItemFromID(const QString& entryID, const QString& storeID) const = 0;
    // Between these two, a store may commit the changes in groups instead of one by one. Each
    // change stays atomic by itself, so a process killed in between leaves every item either
    // changed or where it was. endChanges commits what is left and may throw.
    virtual void beginChanges() {}
    virtual void endChanges() {}
    // What the stores passed over while they were read (messages that cannot be read, say), as a
    // message for the user; empty when there is nothing new to say since the last call.
    virtual QString takeReadNotes() { return {}; }
};
using NameSpacePtr = std::shared_ptr<NameSpace>;

class Application {
  public:
    virtual ~Application() = default;
    // Only "MAPI" is known.
    virtual NameSpacePtr GetNamespace(const QString& type) = 0;
};
using ApplicationPtr = std::shared_ptr<Application>;

// What a backend offers for one information store; the session joins several into a NameSpace.
class Store {
  public:
    virtual ~Store() = default;
    // The store's top folder; its name is the store's name in the tree.
    virtual FolderPtr TopFolder() const = 0;
    // One of the standard folders; throws when the store has none of that type.
    virtual FolderPtr GetDefaultFolder(long folderType) const = 0;
    virtual ItemPtr GetItemFromID(const QString& entryID) const = 0;
    virtual QString StoreID() const = 0;
    // Where the store lives, for messages ("local:/home/ann/mail.tidystore").
    virtual QString location() const = 0;
    // Grouped commits, as NameSpace::beginChanges describes; a store that commits every change
    // at once ignores them.
    virtual void beginChanges() {}
    virtual void endChanges() {}
    // As NameSpace::takeReadNotes, for this store.
    virtual QString takeReadNotes() { return {}; }
};
using StorePtr = std::shared_ptr<Store>;

}  // namespace tf::outlook
