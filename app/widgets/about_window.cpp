#include "app/widgets/about_window.h"

#include <QFont>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "help/about_texts.h"

// The icon lives in a static library's resources, which the linker keeps only when asked.
static void loadIconResource() {
    Q_INIT_RESOURCE(help_widgets);
}

namespace tf {

frmAbout::frmAbout(const ApplicationInfo& application, QString homePage,
                   std::function<void(const QString&)> openBrowser, QWidget* parent)
    : QDialog(parent), homePage_(std::move(homePage)), openBrowser_(std::move(openBrowser)) {
    setObjectName(QStringLiteral("frmAbout"));
    setAttribute(Qt::WA_DeleteOnClose);
    const AboutTexts texts = aboutTexts(application);
    setWindowTitle(texts.caption);

    loadIconResource();
    auto* icon = new QLabel(this);
    icon->setPixmap(QIcon(QStringLiteral(":/tidyfold/tidyfold.svg")).pixmap(64, 64));
    icon->setAlignment(Qt::AlignTop);

    auto* heading = new QLabel(texts.heading, this);
    heading->setObjectName(QStringLiteral("lblHeading"));
    QFont headingFont = heading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.8);
    headingFont.setBold(true);
    heading->setFont(headingFont);

    auto* versionLabel = new QLabel(QStringLiteral("Version"), this);
    version_ = new QLineEdit(texts.version, this);
    version_->setObjectName(QStringLiteral("txtVersionNumber"));
    version_->setReadOnly(true);
    version_->setFrame(false);

    auto* legal = new QPlainTextEdit(texts.legalNotice, this);
    legal->setObjectName(QStringLiteral("txtLegalNotice"));
    legal->setReadOnly(true);

    auto* label3 = new QLabel(
        QStringLiteral("<a href=\"%1\">%1</a>").arg(kMakersHomePage.toHtmlEscaped()), this);
    label3->setObjectName(QStringLiteral("Label3"));
    label3->setCursor(Qt::PointingHandCursor);
    connect(label3, &QLabel::linkActivated, this, [this] { openBrowser_(kMakersHomePage); });

    auto* homeButton = new QPushButton(QStringLiteral("&Home Page"), this);
    homeButton->setObjectName(QStringLiteral("cmdHomePage"));
    connect(homeButton, &QPushButton::clicked, this, [this] { openBrowser_(homePage_); });
    auto* ok = new QPushButton(QStringLiteral("OK"), this);
    ok->setObjectName(QStringLiteral("ok_button"));
    ok->setDefault(true);
    connect(ok, &QPushButton::clicked, this, &QDialog::close);

    auto* header = new QGridLayout;
    header->addWidget(icon, 0, 0, 3, 1);
    header->addWidget(heading, 0, 1, 1, 2);
    header->addWidget(versionLabel, 1, 1);
    header->addWidget(version_, 1, 2);
    header->addWidget(label3, 2, 1, 1, 2);
    header->setColumnStretch(2, 1);
    header->setHorizontalSpacing(12);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(homeButton);
    buttons->addStretch(1);
    buttons->addWidget(ok);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(legal, 1);
    layout->addLayout(buttons);
    resize(460, 340);
}

}  // namespace tf
