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
// has, and the body. Item::Display shows every item this way.
ItemContent contentOf(const ItemFields& item);

// The read-only item window: Item::Display hands the item's content to it.
class ItemWindow {
  public:
    virtual ~ItemWindow() = default;
    virtual void show(const ItemContent& content) = 0;
};

}  // namespace tf::outlook
