#include "outlook/object_model.h"

#include "common/failure.h"
#include "outlook/item_fields.h"
#include "outlook/item_properties.h"
#include "outlook/item_window.h"

namespace tf::outlook {

namespace {

// What an item's message says, read when MAPIOBJECT is asked for.
class ItemMessage : public MapiObject {
  public:
    ItemMessage(std::optional<QString> sender, QString subject)
        : sender_(std::move(sender)), subject_(std::move(subject)) {}
    std::optional<QString> property(std::uint32_t tag) const override {
        switch (tag) {
            case PR_SENDER_NAME:
            case PR_SENDER_NAME_W:
                return sender_;
            case PR_SUBJECT:
            case PR_SUBJECT_W:
                return subject_;
            default:
                return std::nullopt;
        }
    }

  private:
    std::optional<QString> sender_;
    QString subject_;
};

void checkIndex(long index, long count) {
    if (index < 1 || index > count) {
        indexOutOfBounds();
    }
}

}  // namespace

void indexOutOfBounds() {
    throw Failure(err::kAutomation, QStringLiteral("Array index out of bounds."));
}

void standardFolderNotRemovable(const QString& name) {
    throw Failure(
        err::kAutomation,
        QStringLiteral("Cannot delete this folder. \"%1\" is a standard folder of the store.")
            .arg(name));
}

MapiObjectPtr Item::MAPIOBJECT() const {
    std::optional<QString> sender;
    if (hasSender(Class())) {
        sender = doSender();
    }
    return std::make_shared<ItemMessage>(std::move(sender), Subject());
}

OleDate Item::ReceivedTime() const {
    if (!hasReceivedTime(Class())) {
        notSupported();
    }
    return doReceivedTime();
}

OleDate Item::DateCompleted() const {
    if (!hasTaskDates(Class())) {
        notSupported();
    }
    return doDateCompleted();
}

OleDate Item::DueDate() const {
    if (!hasTaskDates(Class())) {
        notSupported();
    }
    return doDueDate();
}

OleDate Item::End() const {
    if (!hasEnd(Class())) {
        notSupported();
    }
    return doEnd();
}

void Item::Display(ItemWindow& window) const {
    ItemFields fields;
    fields.itemClass = Class();
    fields.subject = Subject();
    fields.body = Body();
    if (hasSender(fields.itemClass)) {
        fields.sender = doSender().value_or(QString());
    }
    if (hasReceivedTime(fields.itemClass)) {
        fields.received = doReceivedTime();
    }
    if (hasTaskDates(fields.itemClass)) {
        fields.due = doDueDate();
        fields.completed = doDateCompleted();
    }
    if (hasStart(fields.itemClass)) {
        fields.start = doStart();
    }
    if (hasEnd(fields.itemClass)) {
        fields.end = doEnd();
    }
    fields.modified = LastModificationTime();
    fields.unread = UnRead();
    window.show(contentOf(fields));
}

ItemPtr Items::Item(long index) const {
    checkIndex(index, doLastIndex());
    return doItem(index);
}

void Items::Remove(long index) {
    checkIndex(index, Count());
    doRemove(index);
}

FolderPtr Folders::Item(long index) const {
    checkIndex(index, Count());
    return doItem(index);
}

void Folders::Remove(long index) {
    checkIndex(index, Count());
    doRemove(index);
}

}  // namespace tf::outlook
