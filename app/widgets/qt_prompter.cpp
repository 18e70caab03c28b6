#include "app/widgets/qt_prompter.h"

#include <QApplication>
#include <QFontMetrics>
#include <QGridLayout>
#include <QMessageBox>
#include <QSpacerItem>
#include <QStringList>

namespace tf {

namespace {

// A line longer than this is shown with its middle left out, so that a huge subject or folder
// name in a question cannot make the box larger than the screen.
constexpr qsizetype kLongestLine = 400;

QString shownText(const QString& text) {
    QStringList lines = QString(text)
                            .replace(QStringLiteral("\r\n"), QStringLiteral("\n"))
                            .split(QLatin1Char('\n'));
    for (QString& line : lines) {
        if (line.size() > kLongestLine) {
            line = line.left(kLongestLine / 2) + QChar(0x2026) + line.right(kLongestLine / 2);
        }
    }
    return lines.join(QLatin1Char('\n'));
}

// A message box is as wide as its text needs, which can be narrower than the window manager's
// title bar: the title would then be cut. A spacer across the box's grid keeps it wide enough
// for the title and the title bar's buttons.
void keepTitleReadable(QMessageBox& box) {
    QFont title = QApplication::font("QMdiSubWindowTitleBar");
    title.setBold(true);
    const int width = std::max(320, QFontMetrics(title).horizontalAdvance(box.windowTitle()) + 160);
    if (auto* grid = qobject_cast<QGridLayout*>(box.layout())) {
        grid->addItem(new QSpacerItem(width, 0, QSizePolicy::Minimum, QSizePolicy::Minimum),
                      grid->rowCount(), 0, 1, grid->columnCount());
    }
}

}  // namespace

int QtPrompter::ask(const QString& text, int buttons, const QString& title) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.isEmpty() ? kDefaultTitle : title);
    // Texts are built with CR LF; Qt wants plain line feeds.
    box.setText(shownText(text));
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
    keepTitleReadable(box);
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
