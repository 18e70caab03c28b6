#pragma once

#include <QList>
#include <QPair>
#include <QString>

namespace tf::outlook {

// What the read-only item window shows of one item.
struct ItemContent {
    QString caption;                        // the window's title
    QList<QPair<QString, QString>> fields;  // label, value: "From", "Subject", "Received", ...
    QString body;
};

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
