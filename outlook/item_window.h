#pragma once

#include <QList>
#include <QPair>
#include <QString>

#include "outlook/item_fields.h"

namespace tf::outlook {

// What the read-only item window shows of one item.
struct ItemContent {
    QString caption;                        // the window's title
    QList<QPair<QString, QString>> fields;  // label, value: "From", "Subject", "Received", ...
    QString body;
};

// What the item window shows of an item with these fields: the caption, the fields its class
// has, and the body. Every backend's Display shows an item this way.
ItemContent contentOf(const ItemFields& item);

// The item window of the running program. Item::Display hands the item's content to it.
class ItemWindow {
  public:
    virtual ~ItemWindow() = default;
    virtual void show(const ItemContent& content) = 0;
};

// The window that Item::Display uses; none until the program registers one.
void setItemWindow(ItemWindow* window);
// Shows content in the registered window; throws Failure when there is none.
void displayItem(const ItemContent& content);

}  // namespace tf::outlook
