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

// One item of any class: mail, appointment, contact, task, note, journal entry, meeting message.
class Item {
  public:
    virtual ~Item() = default;

    virtual long Class() const = 0;
    virtual QString Subject() const = 0;
    virtual QString EntryID() const = 0;
    virtual QString Body() const = 0;
    virtual MapiObjectPtr MAPIOBJECT() const = 0;
    // Dates; kNoDate where the item has none. A class that lacks the property throws
    // Failure(err::kNotSupported), as the late-bound call on the real object would.
    virtual OleDate ReceivedTime() const = 0;
    virtual OleDate LastModificationTime() const = 0;
    virtual OleDate DateCompleted() const = 0;
    virtual OleDate DueDate() const = 0;
    virtual OleDate End() const = 0;
    virtual bool UnRead() const = 0;
    // The folder that holds the item now.
    virtual FolderPtr Parent() const = 0;
    // Moves the item to the end of its store's "Deleted Items" folder; deletes it for good when it
    // already lies there.
    virtual void Delete() = 0;
    // Opens the item in the read-only item window.
    virtual void Display() = 0;
};

class Items {
  public:
    virtual ~Items() = default;
    virtual long Count() const = 0;
    virtual ItemPtr Item(long index) const = 0;
    // Deletes the index-th item for good.
    virtual void Remove(long index) = 0;
};

class Folders {
  public:
    virtual ~Folders() = default;
    virtual long Count() const = 0;
    virtual FolderPtr Item(long index) const = 0;
    // Deletes the index-th folder for good, with its sub-folders and items.
    virtual void Remove(long index) = 0;
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
