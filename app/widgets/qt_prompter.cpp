#include "app/widgets/qt_prompter.h"

#include <QMessageBox>

namespace tf {

int QtPrompter::ask(const QString& text, int buttons, const QString& title) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.isEmpty() ? kDefaultTitle : title);
    // Texts are built with CR LF; Qt wants plain line feeds.
    box.setText(QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    box.setTextFormat(Qt::PlainText);
    box.setIcon((buttons & Critical) != 0 ? QMessageBox::Critical : QMessageBox::NoIcon);
    switch (buttons & 0x7) {
        case OkCancel:
            box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
            break;
        case YesNoCancel:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
            break;
        case YesNo:
            box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
            break;
        default:
            box.setStandardButtons(QMessageBox::Ok);
            break;
    }
    switch (box.exec()) {
        case QMessageBox::Yes:
            return Yes;
        case QMessageBox::No:
            return No;
        case QMessageBox::Cancel:
            return Cancel;
        default:
            // Closing an OK/Cancel box with Escape is Cancel; an OK-only box can only say OK.
            return (buttons & 0x7) == OkCancel && box.clickedButton() == nullptr ? Cancel : Ok;
    }
}

}  // namespace tf
