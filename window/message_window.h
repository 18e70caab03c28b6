#pragma once

#include <QString>

namespace tf {

// The small modeless window that tells the user what is happening while the store is reached
// and the tree is built (frmMessageBox).
class MessageWindow {
  public:
    virtual ~MessageWindow() = default;
    virtual void setText(const QString& text) = 0;
    virtual void show() = 0;
    virtual void hide() = 0;
    virtual void unload() = 0;
};

// "<first line>", two line breaks, "Please wait ..."
inline QString pleaseWaitText(const QString& firstLine) {
    return firstLine + QStringLiteral("\r\n\r\nPlease wait ...");
}

}  // namespace tf
