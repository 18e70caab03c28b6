#include "app/widgets/item_window.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

namespace tf {

frmItem::frmItem(const outlook::ItemContent& content, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmItem"));
    setWindowTitle(content.caption);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* fields = new QFormLayout();
    fields->setLabelAlignment(Qt::AlignRight);
    for (const auto& [label, value] : content.fields) {
        auto* name = new QLabel(label + QStringLiteral(":"), this);
        QFont bold = name->font();
        bold.setBold(true);
        name->setFont(bold);
        auto* text = new QLabel(value, this);
        text->setObjectName(QStringLiteral("field") + label);
        // Copyable, never editable: this window only shows the item.
        text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        text->setWordWrap(true);
        fields->addRow(name, text);
    }
    layout->addLayout(fields);
    auto* body = new QPlainTextEdit(content.body, this);
    body->setObjectName(QStringLiteral("txtBody"));
    body->setReadOnly(true);
    layout->addWidget(body, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);
    resize(620, 480);
}

void QtItemWindows::show(const outlook::ItemContent& content) {
    auto* window = new frmItem(content, owner_);
    last_ = window;
    window->show();
    window->raise();
    window->activateWindow();
}

}  // namespace tf
