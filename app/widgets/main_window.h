#pragma once

#include <QMainWindow>
#include <QMap>
#include <QPointer>
#include <memory>
#include <optional>

#include "app/main_window_logic.h"
#include "app/widgets/about_window.h"
#include "app/widgets/folder_tree_view.h"
#include "app/widgets/help_browser_window.h"
#include "app/widgets/help_viewer_window.h"
#include "app/widgets/item_window.h"
#include "app/widgets/qt_prompter.h"
#include "app/widgets/qt_yield.h"
#include "grid/row_presentation.h"
#include "help/main_window_help.h"
#include "layout/splitter_layout.h"
#include "outlook/server_account.h"
#include "window/controls.h"
#include "window/status_panels.h"
#include "window/window_shell.h"

class QTreeView;
class QMouseEvent;
class QTableView;
class QGroupBox;
class QLabel;
class QPushButton;
class QFrame;
class QMenu;

namespace tf {

class FolderTreeModel;
class ItemsGridModel;
class frmMessageBox;

// frmRemoveItems: the main window. It renders the logic's state and passes the user's actions to
// it; the rules themselves live in RemoveItemsLogic.
class frmRemoveItems : public QMainWindow,
                       public WindowShell,
                       public WindowWidth,
                       public HelpWindows,
                       private ControlsObserver,
                       private StatusPanelsObserver {
    Q_OBJECT
  public:
    frmRemoveItems(frmMessageBox& messageWindow, ApplicationSource& source);
    // With stores that the user opens and closes from the File menu.
    frmRemoveItems(frmMessageBox& messageWindow, OpenStores& stores,
                   outlook::ServerBackend& server);
    ~frmRemoveItems() override;

    // Runs start-up; false when the program is to end.
    bool load();

    RemoveItemsLogic& logic() { return *logic_; }
    QTreeView* folderView() const { return trvFolders_; }
    QTableView* itemsView() const { return grdItems_; }

    // WindowShell
    void showMain() override;
    void unloadMain() override;
    void unloadAbout() override;
    void focusTree() override;

    // WindowWidth: the window's width in twips, kept within what the screen can show.
    double Width() const override;
    void setWidth(double twips) override;

    // HelpWindows
    void showHelpBrowser(const QString& address) override;
    void showAbout() override;

    frmHelpViewer* helpViewer() const { return helpViewer_; }
    frmHelpBrowser* helpBrowser() const { return helpBrowser_; }
    frmAbout* aboutWindow() const { return about_; }
    // File > Open Store: asks for a store and opens it.
    void openStore();
    // The item window opened last by a double click or Enter in the grid.
    frmItem* itemWindow() const { return itemWindows_.last(); }
    // Where items open, for an item's Display.
    outlook::ItemWindow& itemWindows() { return itemWindows_; }

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void buildMenus();
    void buildStoreMenu(QMenu* file);
    void showTitle();
    void buildControls();
    QGroupBox* buildOptionsFrame();
    void placeControls();
    void controlChanged(Control control) override;
    void panelChanged(int panel) override;
    void connectTree();
    void connectOptions();
    // Hands a click in the grid to row selection.
    void gridMouseUp(const QMouseEvent& event);
    // The grid's data row under the pointer; 0 on the header or below the last row.
    int gridRowAt(const QMouseEvent& event) const;
    void applyColumnWidths();
    void syncExpansion(int node);
    // Names the current folder's store beside the current-folder label.
    void showCurrentStore();
    void connectHelpMenu();
    // File > Save Cleaning As… and Open Cleaning…: the file dialogs; the rest is the logic's.
    void saveCleaningAs();
    void openSavedCleaning();
    bool sliderEvent(QFrame* slider, QEvent* event);
    void keepPaneWidths(bool treeMoved);
    // What's This mode: waits for the next click and names the control under it.
    std::optional<QString> pickControl();

    QtPrompter prompter_;
    QtYield yield_;
    QtItemWindows itemWindows_{this};
    frmMessageBox& messageWindow_;
    std::unique_ptr<RemoveItemsLogic> logic_;

    QMap<QString, QWidget*> widgets_;
    FolderTreeView* trvFolders_ = nullptr;
    QTableView* grdItems_ = nullptr;
    QFrame* picSlider_ = nullptr;
    QFrame* picSlider2_ = nullptr;
    QGroupBox* frmOptions_ = nullptr;
    QLabel* lblCurrentFolder_ = nullptr;
    QLabel* lblCurrentStore_ = nullptr;
    std::unique_ptr<RowPresentation> presentation_;
    QPushButton* cmdRun_ = nullptr;
    FolderTreeModel* treeModel_ = nullptr;
    ItemsGridModel* gridModel_ = nullptr;
    QMap<QString, QAction*> actions_;
    frmHelpViewer* helpViewer_ = nullptr;
    QPointer<frmHelpBrowser> helpBrowser_;
    QPointer<frmAbout> about_;
    int pendingWidthPx_ = -1;
    bool splitterHandlerRunning_ = false;

    int treeWidthPx_ = 270;
    int optionsWidthPx_ = 270;
    bool closing_ = false;
    outlook::ServerBackend* server_ = nullptr;
};

}  // namespace tf
