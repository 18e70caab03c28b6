#include "app/widgets/main_window.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDateEdit>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>
#include <cmath>

#include "app/widgets/about_window.h"
#include "app/widgets/folder_tree_model.h"
#include "app/widgets/folder_tree_view.h"
#include "app/widgets/help_browser_window.h"
#include "app/widgets/help_viewer_window.h"
#include "app/widgets/items_grid_model.h"
#include "app/widgets/message_window.h"
#include "app/widgets/open_store_dialog.h"
#include "app/widgets/screen_fit.h"
#include "cleanings/cleaning_in_window.h"

namespace tf {

namespace {

constexpr double kTwipsPerPixel = 15.0;
constexpr int kMargin = 6;
constexpr int kLabelHeight = 22;
constexpr int kSliderWidth = 5;
constexpr int kButtonHeight = 34;
// The size the window opens at when the screen has room, and the least at which every control
// stays readable (the options scroll below their natural height).
constexpr QSize kFirstSize(1180, 760);
constexpr QSize kMinimumSize(800, 540);
constexpr int kLeastGridWidth = 340;
constexpr int kLeastTreeWidth = 150;

int toPixels(double twips) {
    return static_cast<int>(std::lround(twips / kTwipsPerPixel));
}
double toTwips(int pixels) {
    return pixels * kTwipsPerPixel;
}

// The top-level controls whose positions the logic works out; the options frame's own children
// are laid out by Qt.
const QStringList kPlacedControls = {
    QStringLiteral("trvFolders"),      QStringLiteral("picSlider"),  QStringLiteral("grdItems"),
    QStringLiteral("picSlider2"),      QStringLiteral("frmOptions"), QStringLiteral("cmdRun"),
    QStringLiteral("lblCurrentFolder")};

// The classic shift state of a click: 1 Shift, 2 Ctrl.
int shiftState(Qt::KeyboardModifiers modifiers) {
    int shift = 0;
    if ((modifiers & Qt::ShiftModifier) != 0) {
        shift |= RowSelection::kShift;
    }
    if ((modifiers & Qt::ControlModifier) != 0) {
        shift |= RowSelection::kCtrl;
    }
    return shift;
}

// The views that show a run's progress are disabled during it, so that nothing in them can be
// changed, but they must stay readable: they keep their enabled colours.
void keepReadableWhenDisabled(QWidget* widget) {
    QPalette palette = widget->palette();
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText, QPalette::Base,
          QPalette::AlternateBase, QPalette::Window, QPalette::Button, QPalette::Highlight,
          QPalette::HighlightedText}) {
        palette.setColor(QPalette::Disabled, role, palette.color(QPalette::Active, role));
    }
    widget->setPalette(palette);
}

QFrame* makeSlider(QWidget* parent, const QString& name) {
    auto* slider = new QFrame(parent);
    slider->setObjectName(name);
    // A thin sunken line down the middle shows where to take hold.
    slider->setFrameShape(QFrame::VLine);
    slider->setFrameShadow(QFrame::Sunken);
    slider->setCursor(Qt::SplitHCursor);
    return slider;
}

// Draws a frame around the whole current row while the list has the keyboard, so that a keyboard
// user sees which row Enter opens; the list's own highlight is switched off for the program's
// row painting.
class RowFocusDelegate : public QStyledItemDelegate {
  public:
    explicit RowFocusDelegate(QTableView* view) : QStyledItemDelegate(view), view_(view) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem plain(option);
        plain.state &= ~QStyle::State_HasFocus;  // the row's frame replaces the cell's
        QStyledItemDelegate::paint(painter, plain, index);
        if (index.row() != view_->currentIndex().row() || view_->window()->focusWidget() != view_) {
            return;
        }
        painter->save();
        // The list's own highlight colours are switched off; the text colour reads on every
        // row background.
        painter->setPen(QPen(option.palette.color(QPalette::Active, QPalette::Text), 2));
        const QRect r = option.rect.adjusted(0, 1, 0, -1);
        painter->drawLine(r.topLeft(), r.topRight());
        painter->drawLine(r.bottomLeft(), r.bottomRight());
        const QHeaderView* header = view_->horizontalHeader();
        const int visual = header->visualIndex(index.column());
        bool first = true;
        bool last = true;
        for (int v = 0; v < header->count(); ++v) {
            if (!header->isSectionHidden(header->logicalIndex(v))) {
                first = first && v >= visual;
                last = v <= visual;
            }
        }
        if (first) {
            painter->drawLine(r.topLeft() + QPoint(1, 0), r.bottomLeft() + QPoint(1, 0));
        }
        if (last) {
            painter->drawLine(r.topRight(), r.bottomRight());
        }
        painter->restore();
    }

  private:
    QTableView* view_;
};

}  // namespace

frmRemoveItems::frmRemoveItems(frmMessageBox& messageWindow, ApplicationSource& source)
    : messageWindow_(messageWindow),
      logic_(std::make_unique<RemoveItemsLogic>(prompter_, yield_, messageWindow, *this, source)) {
    setObjectName(QStringLiteral("frmRemoveItems"));
    setWindowTitle(QStringLiteral("Tidyfold"));
    prompter_.setParent(this);
    buildMenus();
    buildControls();
    logic_->controls.setObserver(this);
    logic_->status.setObserver(this);
    for (const Control control : allControls()) {
        controlChanged(control);
    }
    connectOptions();
    helpViewer_ = new frmHelpViewer(this);
    logic_->splitters.setWindow(this);
    logic_->help.attach(*helpViewer_, *this);
    logic_->help.form.pickControl = [this]() -> std::optional<Control> {
        const std::optional<QString> name = pickControl();
        return name ? controlNamed(*name) : std::nullopt;
    };
    connectHelpMenu();
    logic_->itemDisplay.setItemWindow(&itemWindows_);
    picSlider_->installEventFilter(this);
    picSlider2_->installEventFilter(this);
    setMinimumSize(kMinimumSize);
    resize(kFirstSize);
    fitToScreen(*this);
    placeControls();
}

frmRemoveItems::frmRemoveItems(frmMessageBox& messageWindow, OpenStores& stores,
                               outlook::ServerBackend& server)
    : frmRemoveItems(messageWindow, stores) {
    logic_->openStores = &stores;
    server_ = &server;
    for (const char* name : {"mnuOpenStore", "mnuOpenSampleStore", "mnuCloseStore"}) {
        actions_.value(QLatin1String(name))->setVisible(true);
    }
}

frmRemoveItems::~frmRemoveItems() {
    // The views go before the logic whose state they show: Qt would delete them only after the
    // members, the logic among them, are gone.
    logic_->controls.setObserver(nullptr);
    logic_->status.setObserver(nullptr);
    logic_->splitters.setWindow(nullptr);
    logic_->itemDisplay.setItemWindow(nullptr);
    trvFolders_->setModel(nullptr);
    delete treeModel_;
    grdItems_->setModel(nullptr);
    delete gridModel_;
}

void frmRemoveItems::buildMenus() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("mnuFile"));
    const auto add = [this](QMenu* menu, const QString& name, const QString& text) {
        QAction* action = menu->addAction(text);
        action->setObjectName(name);
        actions_.insert(name, action);
        return action;
    };
    buildStoreMenu(file);
    QAction* refresh = add(file, QStringLiteral("mnuRefresh"), QStringLiteral("&Refresh"));
    refresh->setShortcut(QKeySequence::Refresh);
    connect(refresh, &QAction::triggered, this, [this] { logic_->mnuRefresh_Click(); });
    QAction* refreshCurrent =
        add(file, QStringLiteral("mnuRefreshCurrent"), QStringLiteral("Refresh &Current"));
    connect(refreshCurrent, &QAction::triggered, this,
            [this] { logic_->mnuRefreshCurrent_Click(); });
    file->addSeparator();
    QAction* run = add(file, QStringLiteral("mnuRun"), QStringLiteral("C&lean"));
    run->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Return));
    connect(run, &QAction::triggered, this, [this] { cmdRun_->click(); });
    QAction* unmark = add(file, QStringLiteral("mnuUnmark"), QStringLiteral("&Unmark"));
    connect(unmark, &QAction::triggered, this, [this] { logic_->marking.mnuUnmark_Click(); });
    QAction* reset = add(file, QStringLiteral("mnuResetOptions"), QStringLiteral("Reset &Options"));
    connect(reset, &QAction::triggered, this,
            [this] { logic_->processing.mnuResetOptions_Click(); });
    file->addSeparator();
    // Saved cleanings: the marks and options kept for next month, or for tidyfold-clean.
    file->setToolTipsVisible(true);
    QAction* saveCleaning =
        add(file, QStringLiteral("mnuSaveCleaning"), QStringLiteral("&Save Cleaning As…"));
    saveCleaning->setToolTip(
        QStringLiteral("Saves the marked folders and every option as a cleaning to run again"));
    saveCleaning->setWhatsThis(QStringLiteral(
        "Saves the marked folders (by store and path) and every option, the cut-off as a date "
        "or as an age, in a small file under Tidyfold/cleanings in your config folder. Open it "
        "again with Open Cleaning…, or run it without the window with tidyfold-clean NAME. See "
        "\"Saved cleanings\" in the manual."));
    connect(saveCleaning, &QAction::triggered, this, [this] { saveCleaningAs(); });
    QAction* openCleaning =
        add(file, QStringLiteral("mnuOpenCleaning"), QStringLiteral("Open Clea&ning…"));
    openCleaning->setToolTip(
        QStringLiteral("Marks the folders and sets the options of a saved cleaning"));
    openCleaning->setWhatsThis(QStringLiteral(
        "Puts a saved cleaning back: its options first, then each folder's mark through the "
        "marking rules, so a mark the rules refuse now is refused with their message. A damaged "
        "file, or one whose folders are not open, changes nothing. See \"Saved cleanings\" in "
        "the manual."));
    connect(openCleaning, &QAction::triggered, this, [this] { openSavedCleaning(); });
    file->addSeparator();
    QAction* quit = add(file, QStringLiteral("mnuQuit"), QStringLiteral("&Quit"));
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, [this] { logic_->mnuQuit_Click(); });

    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    add(help, QStringLiteral("mnuHelpContents"), QStringLiteral("&Help"))
        ->setShortcut(QKeySequence::HelpContents);
    add(help, QStringLiteral("mnuWhatsThis"), QStringLiteral("&What's This"));
    add(help, QStringLiteral("mnuOnlineHelp"), QStringLiteral("&Online Help"));
    help->addSeparator();
    add(help, QStringLiteral("mnuAbout"), QStringLiteral("&About"));
}

void frmRemoveItems::buildStoreMenu(QMenu* file) {
    file->setToolTipsVisible(true);
    const auto add = [this, file](const QString& name, const QString& text, const QString& tip,
                                  const QString& more) {
        QAction* action = file->addAction(text);
        action->setObjectName(name);
        action->setToolTip(tip);
        action->setWhatsThis(more);
        // Shown once the window opens and closes stores itself (not for a fixed session).
        action->setVisible(false);
        actions_.insert(name, action);
        return action;
    };
    QAction* open = add(QStringLiteral("mnuOpenStore"), QStringLiteral("O&pen Store..."),
                        QStringLiteral("Open a store file, a Maildir folder or a mail server."),
                        QStringLiteral("The store joins the folder tree and is opened again at "
                                       "the next start."));
    open->setShortcut(QKeySequence::Open);
    connect(open, &QAction::triggered, this, [this] { openStore(); });
    QAction* sample =
        add(QStringLiteral("mnuOpenSampleStore"), QStringLiteral("Open S&ample Store"),
            QStringLiteral("Open the sample store, to try Tidyfold without risking "
                           "real mail."),
            QStringLiteral("The sample store is made with realistic content the "
                           "first time. It shows as \"Sample Mailbox\"."));
    connect(sample, &QAction::triggered, this, [this] {
        logic_->mnuOpenSampleStore_Click();
        showTitle();
    });
    QAction* close = add(QStringLiteral("mnuCloseStore"), QStringLiteral("Clos&e Store"),
                         QStringLiteral("Close the store whose top folder is selected."),
                         QStringLiteral("Asks first. The store leaves the tree and is no longer "
                                        "opened at start; nothing in it is changed."));
    connect(close, &QAction::triggered, this, [this] {
        logic_->mnuCloseStore_Click();
        showTitle();
    });
    file->addSeparator();
}

void frmRemoveItems::openStore() {
    if (server_ == nullptr || logic_->flags.Processing) {
        return;
    }
    frmOpenStore dialog(*server_, this);
    fitToScreen(dialog);
    if (dialog.exec() == QDialog::Accepted) {
        logic_->mnuOpenStore(dialog.location());
        server_->forgetTypedPasswords();  // used by that opening, or not at all
        showTitle();
    }
}

void frmRemoveItems::showTitle() {
    setWindowTitle(logic_->openStores != nullptr ? logic_->openStores->title()
                                                 : QStringLiteral("Tidyfold"));
}

void frmRemoveItems::buildControls() {
    auto* central = new QWidget(this);
    setCentralWidget(central);

    trvFolders_ = new FolderTreeView(central);
    trvFolders_->setObjectName(QStringLiteral("trvFolders"));
    trvFolders_->setHeaderHidden(true);
    trvFolders_->setUniformRowHeights(true);
    treeModel_ = new FolderTreeModel(logic_->tree, this);
    trvFolders_->setModel(treeModel_);
    // The tree shows which folder a run is cleaning ("<<<<").
    keepReadableWhenDisabled(trvFolders_);
    connectTree();

    grdItems_ = new QTableView(central);
    grdItems_->setObjectName(QStringLiteral("grdItems"));
    grdItems_->verticalHeader()->hide();
    grdItems_->horizontalHeader()->setHighlightSections(false);
    grdItems_->setSelectionBehavior(QAbstractItemView::SelectRows);
    grdItems_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdItems_->setWordWrap(false);
    grdItems_->verticalHeader()->setDefaultSectionSize(grdItems_->fontMetrics().height() + 6);
    grdItems_->horizontalHeader()->setSectionsClickable(true);
    grdItems_->horizontalHeader()->setSortIndicatorShown(true);
    gridModel_ = new ItemsGridModel(logic_->grid, this);
    presentation_ = std::make_unique<RowPresentation>(logic_->records, logic_->gridLogic);
    gridModel_->setPresentation(presentation_.get());
    grdItems_->setModel(gridModel_);
    // Tab moves on to the next control; the arrow keys move within the list.
    grdItems_->setTabKeyNavigation(false);
    grdItems_->setItemDelegate(new RowFocusDelegate(grdItems_));
    keepReadableWhenDisabled(grdItems_);
    keepReadableWhenDisabled(grdItems_->horizontalHeader());
    // The arrow keys move the focus frame only: Enter opens the row last pressed, and Space
    // presses the focused row, as a click would.
    connect(grdItems_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { grdItems_->viewport()->update(); });
    grdItems_->viewport()->installEventFilter(this);
    grdItems_->installEventFilter(this);
    connect(gridModel_, &QAbstractItemModel::modelReset, this, [this] { applyColumnWidths(); });
    connect(grdItems_->horizontalHeader(), &QHeaderView::sectionClicked, this, [this](int col) {
        logic_->gridLogic.sortByColumn(col);
        applyColumnWidths();
    });
    // The program paints selected rows itself; the grid's own highlight would only mislead.
    grdItems_->setStyleSheet(
        QStringLiteral("QTableView { selection-background-color: palette(base); selection-color: "
                       "palette(text); }"));

    picSlider_ = makeSlider(central, QStringLiteral("picSlider"));
    picSlider2_ = makeSlider(central, QStringLiteral("picSlider2"));

    lblCurrentFolder_ = new QLabel(QStringLiteral("Current Folder:"), central);
    lblCurrentFolder_->setObjectName(QStringLiteral("lblCurrentFolder"));
    QFont labelFont = lblCurrentFolder_->font();
    labelFont.setBold(true);
    lblCurrentFolder_->setFont(labelFont);
    keepReadableWhenDisabled(lblCurrentFolder_);

    // Which store the current folder belongs to, when several are open; the label's own
    // caption is the logic's.
    lblCurrentStore_ = new QLabel(central);
    lblCurrentStore_->setObjectName(QStringLiteral("lblCurrentStore"));
    lblCurrentStore_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    lblCurrentStore_->hide();

    frmOptions_ = buildOptionsFrame();
    frmOptions_->setParent(central);

    cmdRun_ = new QPushButton(QStringLiteral("&Clean"), central);
    cmdRun_->setObjectName(QStringLiteral("cmdRun"));
    // Pressed again during a run, it arrives inside the run's yield and offers to cancel.
    connect(cmdRun_, &QPushButton::clicked, this, [this] { logic_->cleaning.cmdRun_Click(); });
    auto* debug = new QPushButton(QStringLiteral("Debug"), central);
    debug->setObjectName(QStringLiteral("cmddebug"));
    debug->hide();

    auto* panel1 = new QLabel(this);
    panel1->setObjectName(QStringLiteral("sbPanel1"));
    auto* panel2 = new QLabel(this);
    panel2->setObjectName(QStringLiteral("sbPanel2"));
    statusBar()->setObjectName(QStringLiteral("sbStatusBar"));
    statusBar()->addWidget(panel1, 3);
    statusBar()->addWidget(panel2, 1);

    for (QWidget* widget :
         {static_cast<QWidget*>(trvFolders_), static_cast<QWidget*>(grdItems_),
          static_cast<QWidget*>(picSlider_), static_cast<QWidget*>(picSlider2_),
          static_cast<QWidget*>(frmOptions_), static_cast<QWidget*>(lblCurrentFolder_),
          static_cast<QWidget*>(cmdRun_), static_cast<QWidget*>(debug),
          static_cast<QWidget*>(statusBar())}) {
        widgets_.insert(widget->objectName(), widget);
    }
    for (QWidget* widget : frmOptions_->findChildren<QWidget*>()) {
        if (controlNamed(widget->objectName())) {
            widgets_.insert(widget->objectName(), widget);
        }
    }
}

QGroupBox* frmRemoveItems::buildOptionsFrame() {
    auto* frame = new QGroupBox(QStringLiteral("Options"));
    frame->setObjectName(QStringLiteral("frmOptions"));
    // In a window lower than the options' natural height they scroll instead of overlapping.
    auto* outer = new QVBoxLayout(frame);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(frame);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    auto* content = new QWidget;
    scroll->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    auto* layout = new QVBoxLayout(content);
    layout->setSpacing(3);

    const auto heading = [&](const QString& name, const QString& text) {
        auto* label = new QLabel(text, content);
        label->setObjectName(name);
        QFont font = label->font();
        font.setBold(true);
        label->setFont(font);
        layout->addWidget(label);
    };
    const auto check = [&](const QString& name, const QString& text, QLayout* into = nullptr) {
        auto* box = new QCheckBox(text, content);
        box->setObjectName(name);
        (into != nullptr ? into : layout)->addWidget(box);
        return box;
    };
    const auto line = [&](const QString& name) {
        auto* rule = new QFrame(content);
        rule->setObjectName(name);
        rule->setFrameShape(QFrame::HLine);
        rule->setFrameShadow(QFrame::Sunken);
        layout->addWidget(rule);
    };

    heading(QStringLiteral("lblScreenOptions"), QStringLiteral("Screen Options"));
    check(QStringLiteral("chkMarkSubFolders"), QStringLiteral("Mark Sub Folders"));
    check(QStringLiteral("chkCollapseFolders"), QStringLiteral("Collapse Folders"));
    check(QStringLiteral("chkShowAllFolders"), QStringLiteral("Show All Folders"));
    check(QStringLiteral("chkShowSelectedItems"), QStringLiteral("Show Selected Items"));
    check(QStringLiteral("chkShowUnselectedItems"), QStringLiteral("Show Unselected Items"));
    check(QStringLiteral("chkSelectByRow"), QStringLiteral("Select By Row"));
    line(QStringLiteral("linOptions1"));

    heading(QStringLiteral("lblProcessingOptions"), QStringLiteral("Processing Options"));
    check(QStringLiteral("chkTurbo"), QStringLiteral("Turbo"));
    check(QStringLiteral("chkPermanentDelete"), QStringLiteral("Permanent Delete"));
    check(QStringLiteral("chkConfirmFolders"), QStringLiteral("Confirm Folders"));
    check(QStringLiteral("chkConfirmItems"), QStringLiteral("Confirm Items"));
    check(QStringLiteral("chkDeleteFolders"), QStringLiteral("Delete Folders"));
    line(QStringLiteral("linOptions2"));

    heading(QStringLiteral("lblFilterOptions"), QStringLiteral("Filter Options"));
    check(QStringLiteral("chkSelectUnread"), QStringLiteral("Unread Items"));

    auto* dateRow = new QHBoxLayout;
    check(QStringLiteral("chkSelectDate"), QStringLiteral("Older Than"), dateRow);
    auto* date = new QDateEdit(content);
    date->setObjectName(QStringLiteral("dtpCutoffDate"));
    date->setCalendarPopup(true);
    date->setDisplayFormat(QStringLiteral("yyyy-MM-dd"));
    dateRow->addWidget(date, 1);
    layout->addLayout(dateRow);

    check(QStringLiteral("chkSelectSubject"), QStringLiteral("Subject"));
    auto* subject = new QLineEdit(content);
    subject->setObjectName(QStringLiteral("txtSelectSubject"));
    layout->addWidget(subject);
    auto* matchRow = new QHBoxLayout;
    check(QStringLiteral("chkMatchCase"), QStringLiteral("Match Case"), matchRow);
    check(QStringLiteral("chkMatchWord"), QStringLiteral("Match Word"), matchRow);
    layout->addLayout(matchRow);

    check(QStringLiteral("chkSelectType"), QStringLiteral("Item Types"));
    auto* types = new QGridLayout;
    for (std::size_t i = 0; i < kTypeBoxes.size(); ++i) {
        auto* box = new QCheckBox(QLatin1String(kTypeBoxes[i].caption), content);
        box->setObjectName(controlName(kTypeBoxes[i].control));
        const int position = static_cast<int>(i);
        types->addWidget(box, position / 2, position % 2);
    }
    types->setContentsMargins(18, 0, 0, 0);
    layout->addLayout(types);
    layout->addStretch(1);
    scroll->setWidget(content);
    outer->addWidget(scroll);
    return frame;
}

void frmRemoveItems::connectTree() {
    FolderMarking& marking = logic_->marking;
    treeModel_->setCheckHandler(
        [&marking](int node, bool checked) { marking.trvFolder_NodeCheck(node, checked); });
    // The user's pick of a node; the logic's own selecting comes back through nodeSelected.
    const auto clicked = [this, &marking](const QModelIndex& index) {
        if (index.isValid()) {
            marking.trvFolders_NodeClick(treeModel_->nodeOf(index));
        }
    };
    connect(trvFolders_, &QTreeView::clicked, this, clicked);
    connect(trvFolders_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this, clicked](const QModelIndex& index) {
                if (index.isValid() && treeModel_->nodeOf(index) != logic_->tree.selected()) {
                    clicked(index);
                }
            });
    connect(trvFolders_, &FolderTreeView::mouseUp, this,
            [&marking] { marking.trvFolders_MouseUp(); });
    connect(trvFolders_, &FolderTreeView::keyUp, this, [&marking] { marking.trvFolders_KeyUp(); });
    connect(trvFolders_, &QTreeView::expanded, this, [this, &marking](const QModelIndex& index) {
        const int node = treeModel_->nodeOf(index);
        if (!logic_->tree.node(node).Expanded) {
            marking.trvFolders_Expand(node);
        }
    });
    connect(trvFolders_, &QTreeView::collapsed, this, [this, &marking](const QModelIndex& index) {
        const int node = treeModel_->nodeOf(index);
        if (logic_->tree.node(node).Expanded) {
            marking.trvFolders_Collapse(node);
        }
    });
    connect(treeModel_, &QAbstractItemModel::dataChanged, this,
            [this](const QModelIndex& index) { syncExpansion(treeModel_->nodeOf(index)); });
    // A reset (a deleted folder's branch leaving the tree) forgets which nodes were open.
    connect(treeModel_, &QAbstractItemModel::modelReset, this, [this] {
        for (int node = 1; node <= logic_->tree.count(); ++node) {
            if (logic_->tree.attached(node)) {
                syncExpansion(node);
            }
        }
    });
    connect(treeModel_, &FolderTreeModel::nodeToShow, this,
            [this](int node) { trvFolders_->scrollTo(treeModel_->indexOfNode(node)); });
    connect(treeModel_, &FolderTreeModel::nodeSelected, this, [this](int node) {
        trvFolders_->setCurrentIndex(treeModel_->indexOfNode(node));
        trvFolders_->scrollTo(treeModel_->indexOfNode(node));
    });
}

void frmRemoveItems::connectOptions() {
    // The user's changes go to the logic, which runs the option's handler; the logic's changes
    // come back through controlChanged.
    for (QCheckBox* box : frmOptions_->findChildren<QCheckBox*>()) {
        const std::optional<Control> control = controlNamed(box->objectName());
        if (!control) {
            continue;
        }
        connect(box, &QCheckBox::clicked, this, [this, id = *control](bool checked) {
            logic_->controls.setValue(id, checked ? 1 : 0);
        });
    }
    auto* subject = frmOptions_->findChild<QLineEdit*>(QStringLiteral("txtSelectSubject"));
    connect(subject, &QLineEdit::textEdited, this, [this](const QString& text) {
        logic_->controls.setCaption(Control::txtSelectSubject, text);
    });
    connect(subject, &QLineEdit::returnPressed, this,
            [this] { logic_->options.txtSelectSubject_KeyPress(OptionHandlers::kEnter); });
    connect(subject, &QLineEdit::editingFinished, this, [this, subject] {
        // Enter has filtered already; losing the focus is the other way to apply the text.
        if (!subject->hasFocus()) {
            logic_->options.txtSelectSubject_Validate();
        }
    });
    auto* date = frmOptions_->findChild<QDateEdit*>(QStringLiteral("dtpCutoffDate"));
    connect(date, &QDateEdit::dateChanged, this, [this](const QDate& value) {
        if (toQDate(logic_->controls[Control::dtpCutoffDate].date) != value) {
            logic_->controls.update(Control::dtpCutoffDate,
                                    [&](ControlState& c) { c.date = toOleDate(value); });
        }
    });
    connect(date->calendarWidget(), &QCalendarWidget::clicked, this, [this, date](QDate value) {
        date->setDate(value);
        logic_->options.dtpCutoffDate_CloseUp();
    });
    connect(date, &QDateEdit::editingFinished, this, [this, date] {
        if (date->hasFocus()) {
            logic_->options.dtpCutoffDate_KeyDown(OptionHandlers::kEnter);
        } else {
            logic_->options.dtpCutoffDate_Validate();
        }
    });
}

void frmRemoveItems::applyColumnWidths() {
    const ItemsGrid& grid = logic_->grid;
    for (int col = 0; col < grid.Cols(); ++col) {
        const int width = toPixels(grid.ColWidth(col));
        grdItems_->setColumnHidden(col, width == 0);
        if (width > 0) {
            grdItems_->setColumnWidth(col, width);
        }
    }
    const int sortColumn = logic_->gridLogic.Get_Sort_Column(logic_->gridLogic.sortField());
    if (sortColumn < grid.Cols()) {
        grdItems_->horizontalHeader()->setSortIndicator(
            sortColumn,
            logic_->gridLogic.sortAscending() ? Qt::AscendingOrder : Qt::DescendingOrder);
    }
}

void frmRemoveItems::panelChanged(int panel) {
    auto* label = statusBar()->findChild<QLabel*>(QStringLiteral("sbPanel%1").arg(panel));
    if (label != nullptr) {
        label->setText(logic_->status.text(panel));
    }
}

bool frmRemoveItems::load() {
    logic_->help.form.windowHandle = static_cast<std::uintptr_t>(winId());
    const bool loaded = logic_->Form_Load();
    showTitle();
    return loaded;
}

void frmRemoveItems::placeControls() {
    // Positions in pixels, handed to the logic in twips. They are what the logic's rules make
    // of them: the panes meet their bars and share one top and height, the options frame stands
    // 85 twips higher, and the label spans the grid and the options.
    const QSize area = centralWidget()->size();
    const int bottom = area.height() - kMargin;
    const int raise = toPixels(85);
    // Low enough that the raised options frame starts below the label.
    const int paneTop = kMargin + kLabelHeight + raise + 2;
    const int paneHeight = bottom - kButtonHeight - 6 - paneTop;
    // In a narrow window the tree gives up width, down to a least one, so that the list keeps
    // room for readable columns; the width the user gave it comes back when there is room.
    const int roomForTree =
        area.width() - 2 * kMargin - 2 * kSliderWidth - optionsWidthPx_ - kLeastGridWidth;
    const int treeWidth = std::min(treeWidthPx_, std::max(kLeastTreeWidth, roomForTree));
    const int gridLeft = kMargin + treeWidth + kSliderWidth;
    const int optionsLeft = area.width() - kMargin - optionsWidthPx_;
    const int gridWidth = std::max(0, optionsLeft - kSliderWidth - gridLeft);

    const auto set = [this](Control control, int x, int y, int w, int h) {
        logic_->controls.update(control, [&](ControlState& c) {
            c.left = toTwips(x);
            c.top = toTwips(y);
            c.width = toTwips(std::max(0, w));
            c.height = toTwips(std::max(0, h));
        });
    };
    set(Control::trvFolders, kMargin, paneTop, treeWidth, paneHeight);
    set(Control::picSlider, kMargin + treeWidth, paneTop, kSliderWidth, paneHeight);
    set(Control::grdItems, gridLeft, paneTop, gridWidth, paneHeight);
    set(Control::picSlider2, gridLeft + gridWidth, paneTop, kSliderWidth, paneHeight);
    set(Control::frmOptions, optionsLeft, paneTop - raise, optionsWidthPx_, paneHeight + raise);
    set(Control::cmdRun, optionsLeft, bottom - kButtonHeight, optionsWidthPx_, kButtonHeight);
    set(Control::lblCurrentFolder, gridLeft + toPixels(75), kMargin,
        gridWidth + kSliderWidth + optionsWidthPx_ - toPixels(75), kLabelHeight);
}

void frmRemoveItems::controlChanged(Control control) {
    const QString name = controlName(control);
    const ControlState& c = logic_->controls[control];
    if (QAction* action = actions_.value(name)) {
        action->setEnabled(c.enabled);
        return;
    }
    QWidget* widget = widgets_.value(name);
    if (widget == nullptr) {
        return;
    }
    // The status bar shows a run's progress: it stays readable while the rest is disabled.
    if (widget != statusBar()) {
        widget->setEnabled(c.enabled);
    }
    // A tooltip's "\r\n" is one line break.
    widget->setToolTip(QString(c.toolTip).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
    if (name != QStringLiteral("sbStatusBar")) {
        widget->setVisible(c.visible);
    }
    if (c.mousePointer == kSizeWestEast) {
        widget->setCursor(Qt::SizeHorCursor);
    }
    if (kPlacedControls.contains(name)) {
        widget->setGeometry(toPixels(c.left), toPixels(c.top), toPixels(c.width),
                            toPixels(c.height));
    }
    if (name == QStringLiteral("lblCurrentFolder")) {
        lblCurrentFolder_->setText(c.caption);
        showCurrentStore();
    } else if (widget == cmdRun_) {
        if (!c.caption.isEmpty()) {
            cmdRun_->setText(c.caption);
        }
    } else if (auto* date = qobject_cast<QDateEdit*>(widget)) {
        date->setDate(toQDate(c.date));
    } else if (auto* check = qobject_cast<QCheckBox*>(widget)) {
        check->setChecked(c.value == 1);
        if (!c.caption.isEmpty()) {
            check->setText(c.caption);
        }
    } else if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
        if (edit->text() != c.caption) {
            edit->setText(c.caption);
        }
        QPalette palette = edit->palette();
        palette.setBrush(QPalette::Base, c.backColor == ControlState::kWindowBackground
                                             ? QApplication::palette().brush(QPalette::Base)
                                             : QApplication::palette().brush(QPalette::Window));
        edit->setPalette(palette);
    }
}

void frmRemoveItems::showCurrentStore() {
    const int node = logic_->flags.CurrentNodeIndex;
    FolderPlace place;
    if (presentation_ != nullptr && presentation_->severalStores() && node >= 1 &&
        node <= logic_->tree.count()) {
        place = presentation_->place(logic_->tree.node(node).Tag.toInt());
    }
    lblCurrentStore_->setText(place.store);
    lblCurrentStore_->setToolTip(place.path);
    lblCurrentStore_->setVisible(!place.store.isEmpty());
    // At the right end of the label's line, in the room its caption leaves.
    const QRect line = lblCurrentFolder_->geometry();
    const int captionWidth =
        lblCurrentFolder_->fontMetrics().horizontalAdvance(lblCurrentFolder_->text()) + 24;
    lblCurrentStore_->setGeometry(line.left() + captionWidth, line.top(),
                                  std::max(0, line.width() - captionWidth), line.height());
    lblCurrentStore_->raise();
}

void frmRemoveItems::syncExpansion(int node) {
    if (node < 1 || node > logic_->tree.count()) {
        return;
    }
    const QModelIndex index = treeModel_->indexOfNode(node);
    const bool expanded = logic_->tree.node(node).Expanded;
    if (trvFolders_->isExpanded(index) != expanded) {
        trvFolders_->setExpanded(index, expanded);
    }
}

void frmRemoveItems::showMain() {
    // The tree model is hidden while it is rebuilt; show it as the logic left it.
    trvFolders_->setVisible(logic_->tree.visible());
    for (int node = 1; node <= logic_->tree.count(); ++node) {
        syncExpansion(node);
    }
    showTitle();
    fitToScreen(*this);
    show();
    raise();
    activateWindow();
}

void frmRemoveItems::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    fitToScreenOnceFramed(*this);
}

void frmRemoveItems::focusTree() {
    trvFolders_->setVisible(logic_->tree.visible());
    trvFolders_->raise();
    trvFolders_->setFocus();
}

void frmRemoveItems::unloadMain() {
    if (!closing_) {
        close();
    }
}

void frmRemoveItems::closeEvent(QCloseEvent* event) {
    closing_ = true;
    if (helpBrowser_ != nullptr) {
        helpBrowser_->closeBrowser();  // keeps its size for next time
    }
    logic_->Form_Unload();
    messageWindow_.unload();
    event->accept();
}

void frmRemoveItems::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    pendingWidthPx_ = -1;
    // While a bar's handler runs, the handler itself lays out what the new width changes.
    if (centralWidget() != nullptr && !splitterHandlerRunning_) {
        placeControls();
        logic_->gridLogic.Reset_Column_Widths();
    }
}

void frmRemoveItems::saveCleaningAs() {
    QDir().mkpath(cleanings::cleaningsFolder());
    QString file = QFileDialog::getSaveFileName(this, QStringLiteral("Save Cleaning As"),
                                                cleanings::cleaningsFolder(),
                                                QStringLiteral("Cleanings (*.json)"));
    if (file.isEmpty()) {
        return;
    }
    if (!file.endsWith(QLatin1String(".json"))) {
        file += QStringLiteral(".json");
    }
    cleanings::Save_Cleaning(*logic_, prompter_, file, QDate::currentDate());
}

void frmRemoveItems::openSavedCleaning() {
    const QString file = QFileDialog::getOpenFileName(this, QStringLiteral("Open Cleaning"),
                                                      cleanings::cleaningsFolder(),
                                                      QStringLiteral("Cleanings (*.json)"));
    if (!file.isEmpty()) {
        cleanings::Open_Cleaning(*logic_, prompter_, file, QDate::currentDate());
    }
}

void frmRemoveItems::connectHelpMenu() {
    const auto on = [this](const char* name, auto handler) {
        connect(findChild<QAction*>(QString::fromLatin1(name)), &QAction::triggered, this, handler);
    };
    on("mnuHelpContents", [this] { logic_->help.mnuHelp_Click(); });
    on("mnuWhatsThis", [this] { logic_->help.mnuWhatsThis_Click(); });
    on("mnuOnlineHelp", [this] { logic_->help.mnuOnlineHelp_Click(logic_->productPage); });
    on("mnuAbout", [this] { logic_->help.mnuAbout_Click(); });
}

bool frmRemoveItems::eventFilter(QObject* watched, QEvent* event) {
    if (watched == picSlider_ || watched == picSlider2_) {
        return sliderEvent(static_cast<QFrame*>(watched), event);
    }
    if (watched == grdItems_->viewport()) {
        switch (event->type()) {
            case QEvent::MouseButtonPress:
                logic_->itemDisplay.grdItems_MouseDown(
                    gridRowAt(*static_cast<QMouseEvent*>(event)));
                break;
            case QEvent::MouseButtonDblClick:
                logic_->itemDisplay.grdItems_DblClick(gridRowAt(*static_cast<QMouseEvent*>(event)));
                break;
            case QEvent::MouseButtonRelease:
                gridMouseUp(*static_cast<QMouseEvent*>(event));
                break;
            default:
                break;
        }
    }
    if (watched == grdItems_ && event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<QKeyEvent*>(event);
        const int key = press->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            logic_->itemDisplay.grdItems_KeyPress(ItemDisplay::kEnter,
                                                  grdItems_->currentIndex().row() + 1);
            return true;
        }
        if (key == Qt::Key_Space && grdItems_->currentIndex().isValid()) {
            // Space is a click on the focused row: it becomes the row Enter opens, and with
            // Select By Row it is picked as a click picks it, Shift and Ctrl included.
            const QModelIndex current = grdItems_->currentIndex();
            logic_->itemDisplay.grdItems_MouseDown(current.row() + 1);
            logic_->rows.grdItems_MouseUp(RowSelection::kLeftButton, shiftState(press->modifiers()),
                                          current.row() + 1);
            // The rows are repainted and sorted again, which loses the view's current row;
            // the keyboard goes on from where it was.
            if (!grdItems_->currentIndex().isValid() && current.row() < gridModel_->rowCount()) {
                grdItems_->setCurrentIndex(gridModel_->index(current.row(), current.column()));
            }
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

int frmRemoveItems::gridRowAt(const QMouseEvent& event) const {
    // Model row r is the grid's data row r + 1; below the last row there is none (-1 + 1).
    return grdItems_->rowAt(static_cast<int>(event.position().y())) + 1;
}

void frmRemoveItems::gridMouseUp(const QMouseEvent& event) {
    int button = 0;
    if (event.button() == Qt::LeftButton) {
        button = RowSelection::kLeftButton;
    } else if (event.button() == Qt::RightButton) {
        button = 2;
    } else if (event.button() == Qt::MiddleButton) {
        button = 4;
    }
    logic_->rows.grdItems_MouseUp(button, shiftState(event.modifiers()), gridRowAt(event));
}

bool frmRemoveItems::sliderEvent(QFrame* slider, QEvent* event) {
    SplitterLayout& bars = logic_->splitters;
    const bool first = slider == picSlider_;
    const auto* mouse = dynamic_cast<QMouseEvent*>(event);
    if (mouse == nullptr || mouse->button() > Qt::LeftButton) {
        return false;
    }
    switch (event->type()) {
        case QEvent::MouseButtonPress:
            first ? bars.picSlider_MouseDown() : bars.picSlider2_MouseDown();
            return true;
        case QEvent::MouseMove: {
            // The pointer's place inside the bar, which the bar then follows.
            const double x = mouse->position().x() * kTwipsPerPixel;
            first ? bars.picSlider_MouseMove(x) : bars.picSlider2_MouseMove(x);
            return true;
        }
        case QEvent::MouseButtonRelease:
            splitterHandlerRunning_ = true;
            first ? bars.picSlider_MouseUp() : bars.picSlider2_MouseUp();
            splitterHandlerRunning_ = false;
            keepPaneWidths(first);
            return true;
        default:
            return false;
    }
}

void frmRemoveItems::keepPaneWidths(bool treeMoved) {
    // Later resizes of the window lay the panes out from these. The tree's width counts only
    // when its own bar moved: a narrow window may have lent some of it to the list.
    if (treeMoved) {
        treeWidthPx_ = toPixels(logic_->controls[Control::trvFolders].width);
    }
    optionsWidthPx_ = toPixels(logic_->controls[Control::frmOptions].width);
}

double frmRemoveItems::Width() const {
    return toTwips(pendingWidthPx_ >= 0 ? pendingWidthPx_ : width());
}

void frmRemoveItems::setWidth(double twips) {
    // The window stays within its minimum width and the screen's.
    int most = maximumWidth();
    if (const QScreen* screen = this->screen()) {
        most = std::min(most, screen->availableGeometry().width());
    }
    const int pixels = std::clamp(toPixels(twips), minimumWidth(), std::max(minimumWidth(), most));
    if (pixels != width()) {
        // The window system may tell of the new width only later.
        pendingWidthPx_ = pixels;
        resize(pixels, height());
    }
}

std::optional<QString> frmRemoveItems::pickControl() {
    // Like QWhatsThis, but the click opens the control's topic in our help viewer.
    class Picker : public QObject {
      public:
        explicit Picker(const QMap<QString, QWidget*>& controls) : controls_(controls) {}
        std::optional<QString> picked;
        QEventLoop loop;

      protected:
        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::KeyPress &&
                static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
                loop.quit();
                return true;
            }
            if (event->type() == QEvent::MouseButtonRelease ||
                event->type() == QEvent::MouseButtonDblClick) {
                return watched->isWidgetType();
            }
            if (event->type() != QEvent::MouseButtonPress || !watched->isWidgetType()) {
                return false;
            }
            for (auto* widget = static_cast<QWidget*>(watched); widget != nullptr;
                 widget = widget->parentWidget()) {
                const QString name = widget->objectName();
                if (controls_.value(name) == widget) {
                    picked = name;
                    break;
                }
            }
            loop.quit();
            return true;
        }

      private:
        const QMap<QString, QWidget*>& controls_;
    };
    Picker picker(widgets_);
    QApplication::setOverrideCursor(Qt::WhatsThisCursor);
    qApp->installEventFilter(&picker);
    picker.loop.exec();
    qApp->removeEventFilter(&picker);
    QApplication::restoreOverrideCursor();
    return picker.picked;
}

void frmRemoveItems::showHelpBrowser(const QString& address) {
    if (helpBrowser_ == nullptr) {
        helpBrowser_ = new frmHelpBrowser(this);
    }
    helpBrowser_->WebBrowser1()->Navigate(QUrl(address));
    // A size kept from a larger screen is made to fit this one.
    fitToScreen(*helpBrowser_);
    helpBrowser_->show();
    helpBrowser_->raise();
    helpBrowser_->activateWindow();
}

void frmRemoveItems::showAbout() {
    if (about_ == nullptr) {
        about_ = new frmAbout(
            logic_->help.application, logic_->homePage,
            [this](const QString& address) { showHelpBrowser(address); }, this);
    }
    fitToScreen(*about_);
    about_->show();
    about_->raise();
    about_->activateWindow();
}

void frmRemoveItems::unloadAbout() {
    if (about_ != nullptr) {
        about_->close();
    }
}

}  // namespace tf
