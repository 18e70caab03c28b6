#pragma once

#include <QHelpEngine>
#include <QPointer>
#include <QTextBrowser>
#include <QUrl>
#include <QWidget>

#include "help/html_help.h"

class QAction;
class QKeyEvent;
class QLineEdit;
class QSplitter;
class QTabWidget;

namespace tf {

// Esc, Ctrl+W and the platform's Close keys: what closes a help or item window.
bool isCloseKey(const QKeyEvent& event);

// Shows the pages of a Qt help file. Links to the manual's own pages open here, with a history
// to go back and forward in; links to the web go to the desktop's browser.
class HelpPage : public QTextBrowser {
    Q_OBJECT
  public:
    explicit HelpPage(QWidget* parent = nullptr);
    void setEngine(QHelpEngine* engine) { engine_ = engine; }

  protected:
    QVariant loadResource(int type, const QUrl& name) override;

  private:
    void follow(const QUrl& link);

    QPointer<QHelpEngine> engine_;
};

// The help viewer: the manual's contents, index and full-text search on the left, the page on
// the right, Back and Forward above. It registers the help file in a collection of its own under
// the user's cache folder.
class frmHelpViewer : public QWidget, public HelpViewer {
    Q_OBJECT
  public:
    explicit frmHelpViewer(QWidget* parent = nullptr);

    bool showContents(const QString& helpFile) override;
    bool showTopic(const QString& helpFile, int contextId) override;

    HelpPage* page() const { return page_; }
    QUrl currentPage() const { return page_->source(); }
    QWidget* contents() const;

  protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    bool open(const QString& helpFile);
    void showPage(const QUrl& url);
    // Selects the page shown in the contents.
    void markCurrentPage();
    QWidget* buildIndexTab();
    QWidget* buildSearchTab();
    void search();

    QSplitter* splitter_;
    QTabWidget* tabs_;
    HelpPage* page_;
    QAction* back_;
    QAction* forward_;
    QLineEdit* indexFilter_ = nullptr;
    QLineEdit* searchText_ = nullptr;
    QHelpEngine* engine_ = nullptr;
    QString helpFile_;
    QString namespace_;
    bool indexReady_ = false;
    bool searchWaiting_ = false;
};

}  // namespace tf
