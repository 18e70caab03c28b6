#pragma once

#include <QHelpEngine>
#include <QPointer>
#include <QTextBrowser>
#include <QUrl>
#include <QWidget>

#include "help/html_help.h"

class QSplitter;

namespace tf {

// Shows the pages of a Qt help file, following links inside it.
class HelpPage : public QTextBrowser {
    Q_OBJECT
  public:
    explicit HelpPage(QWidget* parent = nullptr);
    void setEngine(QHelpEngine* engine) { engine_ = engine; }

  protected:
    QVariant loadResource(int type, const QUrl& name) override;

  private:
    QPointer<QHelpEngine> engine_;
};

// The help viewer: the manual's contents on the left, the page on the right. It registers the
// help file in a collection of its own under the user's cache folder.
class frmHelpViewer : public QWidget, public HelpViewer {
    Q_OBJECT
  public:
    explicit frmHelpViewer(QWidget* parent = nullptr);

    bool showContents(const QString& helpFile) override;
    bool showTopic(const QString& helpFile, int contextId) override;

    HelpPage* page() const { return page_; }
    QUrl currentPage() const { return page_->source(); }
    QWidget* contents() const;

  private:
    bool open(const QString& helpFile);
    void showPage(const QUrl& url);
    // Selects the page shown in the contents.
    void markCurrentPage();

    QSplitter* splitter_;
    HelpPage* page_;
    QHelpEngine* engine_ = nullptr;
    QString helpFile_;
    QString namespace_;
};

}  // namespace tf
