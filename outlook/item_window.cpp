#include "outlook/item_window.h"

#include "common/failure.h"

namespace tf::outlook {

namespace {
ItemWindow* registeredWindow = nullptr;
}

void setItemWindow(ItemWindow* window) {
    registeredWindow = window;
}

void displayItem(const ItemContent& content) {
    if (registeredWindow == nullptr) {
        throw Failure(err::kNotSupported, QStringLiteral("No item window is available."));
    }
    registeredWindow->show(content);
}

}  // namespace tf::outlook
