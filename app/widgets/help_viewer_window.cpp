#include "app/widgets/help_viewer_window.h"

#include <QAction>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QHelpSearchResultWidget>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>

#include "app/widgets/screen_fit.h"

namespace tf {

namespace {

bool isWebLink(const QUrl& url) {
    const QString scheme = url.scheme();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
           scheme == QLatin1String("mailto");
}

}  // namespace

HelpPage::HelpPage(QWidget* parent) : QTextBrowser(parent) {
    setObjectName(QStringLiteral("helpPage"));
    // Every link comes to follow(): the manual's pages open here, web links in the browser.
    setOpenLinks(false);
    setOpenExternalLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &HelpPage::follow);
}

void HelpPage::follow(const QUrl& link) {
    const QUrl target = link.isRelative() ? source().resolved(link) : link;
    if (isWebLink(target)) {
        QDesktopServices::openUrl(target);
        return;
    }
    if (target.matches(source(), QUrl::RemoveFragment) && target.hasFragment()) {
        scrollToAnchor(target.fragment());
        return;
    }
    setSource(target);
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
    page_ = new HelpPage(this);

    auto* bar = new QToolBar(this);
    bar->setObjectName(QStringLiteral("helpToolBar"));
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    back_ = bar->addAction(style()->standardIcon(QStyle::SP_ArrowBack), QStringLiteral("&Back"));
    back_->setObjectName(QStringLiteral("helpBack"));
    back_->setShortcut(QKeySequence::Back);
    back_->setToolTip(QStringLiteral("Back (Alt+Left)"));
    back_->setEnabled(false);
    forward_ =
        bar->addAction(style()->standardIcon(QStyle::SP_ArrowForward), QStringLiteral("&Forward"));
    forward_->setObjectName(QStringLiteral("helpForward"));
    forward_->setShortcut(QKeySequence::Forward);
    forward_->setToolTip(QStringLiteral("Forward (Alt+Right)"));
    forward_->setEnabled(false);
    QAction* home =
        bar->addAction(style()->standardIcon(QStyle::SP_DirHomeIcon), QStringLiteral("&Contents"));
    home->setObjectName(QStringLiteral("helpHome"));
    connect(back_, &QAction::triggered, page_, &QTextBrowser::backward);
    connect(forward_, &QAction::triggered, page_, &QTextBrowser::forward);
    connect(home, &QAction::triggered, this, [this] {
        if (!namespace_.isEmpty()) {
            showPage(QUrl(QStringLiteral("qthelp://%1/doc/index.html").arg(namespace_)));
        }
    });
    connect(page_, &QTextBrowser::backwardAvailable, back_, &QAction::setEnabled);
    connect(page_, &QTextBrowser::forwardAvailable, forward_, &QAction::setEnabled);
    connect(page_, &QTextBrowser::sourceChanged, this, [this] {
        if (engine_ != nullptr) {
            markCurrentPage();
        }
    });

    splitter_ = new QSplitter(this);
    tabs_ = new QTabWidget(splitter_);
    tabs_->setObjectName(QStringLiteral("helpTabs"));
    splitter_->addWidget(page_);
    splitter_->setStretchFactor(1, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(splitter_, 1);
    resize(980, 680);
}

bool isCloseKey(const QKeyEvent& event) {
    return event.key() == Qt::Key_Escape ||
           (event.key() == Qt::Key_W && event.modifiers() == Qt::ControlModifier) ||
           event.matches(QKeySequence::Close);
}

void frmHelpViewer::keyPressEvent(QKeyEvent* event) {
    // Esc and Ctrl+W close a help window, as in other viewers; the page passes them on.
    if (isCloseKey(*event)) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void frmHelpViewer::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fitToScreenOnceFramed(*this);
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
    tabs_->clear();
    engine_ = engine;
    indexReady_ = false;
    helpFile_ = file;
    namespace_ = ns;
    page_->setEngine(engine_);

    QHelpContentWidget* contentWidget = engine_->contentWidget();
    contentWidget->setObjectName(QStringLiteral("helpContents"));
    tabs_->addTab(contentWidget, QStringLiteral("C&ontents"));
    tabs_->addTab(buildIndexTab(), QStringLiteral("&Index"));
    tabs_->addTab(buildSearchTab(), QStringLiteral("&Search"));
    splitter_->setSizes({280, 700});
    connect(contentWidget, &QHelpContentWidget::linkActivated, this, &frmHelpViewer::showPage);
    connect(engine_->contentModel(), &QHelpContentModel::contentsCreated, this, [this] {
        engine_->contentWidget()->expandAll();
        // After the view has taken in the new contents, which resets its selection.
        QTimer::singleShot(0, this, [this] {
            if (engine_ != nullptr) {
                markCurrentPage();
            }
        });
    });
    engine_->contentModel()->createContents(QString());
    engine_->indexModel()->createIndex(QString());
    return true;
}

QWidget* frmHelpViewer::buildIndexTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* label = new QLabel(QStringLiteral("&Look for:"), tab);
    indexFilter_ = new QLineEdit(tab);
    indexFilter_->setObjectName(QStringLiteral("helpIndexFilter"));
    indexFilter_->setClearButtonEnabled(true);
    label->setBuddy(indexFilter_);
    QHelpIndexWidget* index = engine_->indexWidget();
    index->setObjectName(QStringLiteral("helpIndex"));
    layout->addWidget(label);
    layout->addWidget(indexFilter_);
    layout->addWidget(index, 1);
    connect(indexFilter_, &QLineEdit::textChanged, index,
            [index](const QString& text) { index->filterIndices(text); });
    connect(indexFilter_, &QLineEdit::returnPressed, index, &QHelpIndexWidget::activateCurrentItem);
    connect(index, &QHelpIndexWidget::documentActivated, this,
            [this](const QHelpLink& document) { showPage(document.url); });
    connect(index, &QHelpIndexWidget::documentsActivated, this,
            [this](const QList<QHelpLink>& documents) {
                if (!documents.isEmpty()) {
                    showPage(documents.first().url);
                }
            });
    return tab;
}

QWidget* frmHelpViewer::buildSearchTab() {
    auto* tab = new QWidget;
    auto* layout = new QVBoxLayout(tab);
    auto* label = new QLabel(QStringLiteral("Search &for:"), tab);
    searchText_ = new QLineEdit(tab);
    searchText_->setObjectName(QStringLiteral("helpSearchText"));
    searchText_->setClearButtonEnabled(true);
    searchText_->setPlaceholderText(QStringLiteral("Words to find, then Enter"));
    label->setBuddy(searchText_);
    QHelpSearchEngine* engine = engine_->searchEngine();
    QHelpSearchResultWidget* results = engine->resultWidget();
    results->setObjectName(QStringLiteral("helpSearchResults"));
    layout->addWidget(label);
    layout->addWidget(searchText_);
    layout->addWidget(results, 1);
    connect(searchText_, &QLineEdit::returnPressed, this, &frmHelpViewer::search);
    connect(results, &QHelpSearchResultWidget::requestShowLink, this, &frmHelpViewer::showPage);
    connect(engine, &QHelpSearchEngine::indexingFinished, this, [this] {
        indexReady_ = true;
        if (searchWaiting_) {
            searchWaiting_ = false;
            search();
        }
    });
    // Brings the full-text index up to date in the background; a search waits for it.
    engine->scheduleIndexDocumentation();
    return tab;
}

void frmHelpViewer::search() {
    if (engine_ == nullptr || searchText_->text().trimmed().isEmpty()) {
        return;
    }
    if (!indexReady_) {
        searchWaiting_ = true;  // searched as soon as the index is ready
        return;
    }
    engine_->searchEngine()->search(searchText_->text());
}

void frmHelpViewer::markCurrentPage() {
    QHelpContentWidget* contentWidget = engine_->contentWidget();
    const QModelIndex index = contentWidget->indexOf(page_->source());
    if (index.isValid()) {
        // Selected, not only current: the highlight is what the reader sees.
        contentWidget->selectionModel()->setCurrentIndex(index,
                                                         QItemSelectionModel::ClearAndSelect);
        contentWidget->scrollTo(index);
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
