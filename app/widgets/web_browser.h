#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSet>
#include <QTextBrowser>
#include <QUrl>

class QNetworkReply;

namespace tf {

// WebBrowser1: shows web pages fetched over HTTP. A text browser is enough for the manual's
// plain pages and keeps the program free of a whole web engine. Links open in place; images
// are fetched alongside the page.
class WebBrowser : public QTextBrowser {
    Q_OBJECT
  public:
    explicit WebBrowser(QWidget* parent = nullptr);

    // Opens the page, which becomes the newest in the history.
    void Navigate(const QUrl& address);
    const QUrl& address() const { return address_; }
    bool canGoBack() const { return !backward_.isEmpty(); }
    bool canGoForward() const { return !forward_.isEmpty(); }
    void back();
    void forward();

  signals:
    void historyChanged();
    // The page has arrived (ok) or could not be had.
    void pageLoaded(const QUrl& address, bool ok);

  protected:
    QVariant loadResource(int type, const QUrl& name) override;

  private:
    void pageArrived(QNetworkReply* reply);
    void imageArrived(QNetworkReply* reply);
    void followLink(const QUrl& link);
    void load(const QUrl& address);

    QNetworkAccessManager network_;
    QPointer<QNetworkReply> page_;
    QUrl address_;
    QList<QUrl> backward_;  // the pages before this one, the latest last
    QList<QUrl> forward_;   // the pages gone back from, the nearest last
    QString html_;
    QHash<QUrl, QByteArray> images_;
    QSet<QUrl> pendingImages_;
};

}  // namespace tf
