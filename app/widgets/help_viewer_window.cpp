#include "app/widgets/help_viewer_window.h"

#include <QDir>
#include <QFileInfo>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpLink>
#include <QSplitter>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace tf {

HelpPage::HelpPage(QWidget* parent) : QTextBrowser(parent) {
    setObjectName(QStringLiteral("helpPage"));
    setOpenExternalLinks(true);
}

QVariant HelpPage::loadResource(int type, const QUrl& name) {
    // Style sheets and pictures come relative to the page that names them.
    const QUrl url = name.isRelative() ? source().resolved(name) : name;
    if (engine_ != nullptr && url.scheme() == QLatin1String("qthelp")) {
        return engine_->fileData(url);
    }
    return QTextBrowser::loadResource(type, name);
}

frmHelpViewer::frmHelpViewer(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("frmHelpViewer"));
    setWindowTitle(QStringLiteral("Tidyfold Help"));
    splitter_ = new QSplitter(this);
    page_ = new HelpPage(splitter_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter_);
    resize(980, 680);
}

QWidget* frmHelpViewer::contents() const {
    return engine_ != nullptr ? engine_->contentWidget() : nullptr;
}

bool frmHelpViewer::open(const QString& helpFile) {
    const QString file = QFileInfo(helpFile).absoluteFilePath();
    if (engine_ != nullptr && file == helpFile_) {
        return true;
    }
    const QString ns = QHelpEngineCore::namespaceName(file);
    if (ns.isEmpty()) {
        return false;  // not a help file
    }
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/help");
    if (!QDir().mkpath(folder)) {
        return false;
    }
    auto* engine = new QHelpEngine(folder + QStringLiteral("/tidyfold.qhc"), this);
    engine->setReadOnly(false);
    if (!engine->setupData()) {
        delete engine;
        return false;
    }
    // A collection left by an earlier run may point at a help file that has moved since.
    if (engine->registeredDocumentations().contains(ns) &&
        engine->documentationFileName(ns) != file) {
        engine->unregisterDocumentation(ns);
    }
    if (!engine->registeredDocumentations().contains(ns) && !engine->registerDocumentation(file)) {
        delete engine;
        return false;
    }
    delete engine_;
    engine_ = engine;
    helpFile_ = file;
    namespace_ = ns;
    page_->setEngine(engine_);
    QHelpContentWidget* contentWidget = engine_->contentWidget();
    contentWidget->setObjectName(QStringLiteral("helpContents"));
    splitter_->insertWidget(0, contentWidget);
    splitter_->setSizes({260, 720});
    connect(contentWidget, &QHelpContentWidget::linkActivated, this, &frmHelpViewer::showPage);
    connect(engine_->contentModel(), &QHelpContentModel::contentsCreated, this, [this] {
        engine_->contentWidget()->expandAll();
        markCurrentPage();
    });
    engine_->contentModel()->createContents(QString());
    return true;
}

void frmHelpViewer::markCurrentPage() {
    QHelpContentWidget* contentWidget = engine_->contentWidget();
    const QModelIndex index = contentWidget->indexOf(page_->source());
    if (index.isValid()) {
        contentWidget->setCurrentIndex(index);
    }
}

void frmHelpViewer::showPage(const QUrl& url) {
    page_->setSource(url);
    markCurrentPage();
    show();
    raise();
    activateWindow();
}

bool frmHelpViewer::showContents(const QString& helpFile) {
    if (!open(helpFile)) {
        return false;
    }
    showPage(QUrl(QStringLiteral("qthelp://%1/doc/index.html").arg(namespace_)));
    return true;
}

bool frmHelpViewer::showTopic(const QString& helpFile, int contextId) {
    if (!open(helpFile)) {
        return false;
    }
    const QList<QHelpLink> links = engine_->documentsForIdentifier(QString::number(contextId));
    if (links.isEmpty()) {
        return showContents(helpFile);
    }
    showPage(links.first().url);
    return true;
}

}  // namespace tf
