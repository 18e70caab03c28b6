#pragma once

#include <QMainWindow>
#include <QMap>
#include <memory>

#include "app/controls.h"
#include "app/main_window_logic.h"
#include "app/status_panels.h"
#include "app/widgets/qt_prompter.h"
#include "app/widgets/qt_yield.h"
#include "app/window_shell.h"

class QTreeView;
class QTableView;
class QGroupBox;
class QLabel;
class QPushButton;
class QFrame;

namespace tf {

class FolderTreeModel;
class ItemsGridModel;
class frmMessageBox;

// frmRemoveItems: the main window. It renders the logic's state and passes the user's actions to
// it; the rules themselves live in RemoveItemsLogic.
class frmRemoveItems : public QMainWindow,
                       public WindowShell,
                       private ControlsObserver,
                       private StatusPanelsObserver {
    Q_OBJECT
  public:
    frmRemoveItems(frmMessageBox& messageWindow, ApplicationSource& source);
    ~frmRemoveItems() override;

    // Runs start-up; false when the program is to end.
    bool load();

    RemoveItemsLogic& logic() { return *logic_; }
    QTreeView* folderView() const { return trvFolders_; }
    QTableView* itemsView() const { return grdItems_; }

    // WindowShell
    void showMain() override;
    void unloadMain() override;
    void unloadAbout() override {}
    void focusTree() override;

  protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void buildMenus();
    void buildControls();
    QGroupBox* buildOptionsFrame();
    void placeControls();
    void controlChanged(const QString& name) override;
    void panelChanged(int panel) override;
    void connectOptions();
    void applyColumnWidths();
    void syncExpansion(int node);

    QtPrompter prompter_;
    QtYield yield_;
    frmMessageBox& messageWindow_;
    std::unique_ptr<RemoveItemsLogic> logic_;

    QMap<QString, QWidget*> widgets_;
    QTreeView* trvFolders_ = nullptr;
    QTableView* grdItems_ = nullptr;
    QFrame* picSlider_ = nullptr;
    QFrame* picSlider2_ = nullptr;
    QGroupBox* frmOptions_ = nullptr;
    QLabel* lblCurrentFolder_ = nullptr;
    QPushButton* cmdRun_ = nullptr;
    FolderTreeModel* treeModel_ = nullptr;
    ItemsGridModel* gridModel_ = nullptr;
    QMap<QString, QAction*> actions_;

    int treeWidthPx_ = 270;
    int optionsWidthPx_ = 270;
    bool closing_ = false;
};

}  // namespace tf
