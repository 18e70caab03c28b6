#include "app/widgets/item_window.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include "app/widgets/help_viewer_window.h"
#include "app/widgets/screen_fit.h"

namespace tf {

namespace {
// A value longer than this, or of several lines, goes into a box of its own that wraps anywhere
// and scrolls, so that no header can make the window wider than the screen.
constexpr int kLongValue = 200;
constexpr int kLongValueLines = 4;

QWidget* valueField(const QString& value, QWidget* parent) {
    if (value.size() <= kLongValue && !value.contains(QLatin1Char('\n'))) {
        auto* text = new QLabel(value, parent);
        // Copyable, never editable: this window only shows the item.
        text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        text->setWordWrap(true);
        return text;
    }
    auto* text = new QPlainTextEdit(value, parent);
    text->setReadOnly(true);
    text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    const int lines = text->fontMetrics().lineSpacing() * kLongValueLines;
    text->setFixedHeight(lines + 2 * text->frameWidth() + 8);
    return text;
}
}  // namespace

frmItem::frmItem(const outlook::ItemContent& content, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmItem"));
    setWindowTitle(shortTitle(content.caption));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* fields = new QFormLayout();
    fields->setLabelAlignment(Qt::AlignRight);
    fields->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    for (const auto& [label, value] : content.fields) {
        auto* name = new QLabel(label + QStringLiteral(":"), this);
        QFont bold = name->font();
        bold.setBold(true);
        name->setFont(bold);
        QWidget* text = valueField(value, this);
        text->setObjectName(QStringLiteral("field") + label);
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

void frmItem::keyPressEvent(QKeyEvent* event) {
    if (isCloseKey(*event)) {
        close();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmItem::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    fitToScreenOnceFramed(*this);
}

void QtItemWindows::show(const outlook::ItemContent& content) {
    auto* window = new frmItem(content, owner_);
    last_ = window;
    fitToScreen(*window);
    window->show();
    window->raise();
    window->activateWindow();
}

}  // namespace tf
