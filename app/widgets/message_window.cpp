#include "app/widgets/message_window.h"

#include <QCoreApplication>
#include <QVBoxLayout>

namespace tf {

frmMessageBox::frmMessageBox() : label_(new QLabel(this)) {
    setObjectName(QStringLiteral("frmMessageBox"));
    setWindowTitle(QStringLiteral("Tidyfold"));
    setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::CustomizeWindowHint);
    label_->setAlignment(Qt::AlignCenter);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->addWidget(label_);
    setMinimumSize(320, 110);
    setText(pleaseWaitText(QStringLiteral("Initializing Outlook.")));
}

void frmMessageBox::setText(const QString& text) {
    label_->setText(QString(text).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
}

void frmMessageBox::show() {
    QWidget::show();
    raise();
    // Paint now: the work that follows does not return to the event loop for a while.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

}  // namespace tf
