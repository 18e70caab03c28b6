#include "app/widgets/web_browser.h"

#include <QDesktopServices>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QScrollBar>
#include <QStringDecoder>

namespace tf {

namespace {

bool isWebAddress(const QUrl& url) {
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

QString errorPage(const QUrl& address, const QString& reason) {
    return QStringLiteral(
               "<h2>This page could not be shown</h2><p><b>%1</b></p><p>%2</p>"
               "<p>Check your network connection, or read the manual that came with Tidyfold "
               "from <i>Help &gt; Help</i>.</p>")
        .arg(address.toDisplayString().toHtmlEscaped(), reason.toHtmlEscaped());
}

}  // namespace

WebBrowser::WebBrowser(QWidget* parent) : QTextBrowser(parent) {
    setObjectName(QStringLiteral("WebBrowser1"));
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &WebBrowser::followLink);
}

void WebBrowser::Navigate(const QUrl& address) {
    if (!address_.isEmpty() && address_ != address) {
        backward_.append(address_);
    }
    forward_.clear();
    load(address);
    emit historyChanged();
}

void WebBrowser::back() {
    if (backward_.isEmpty()) {
        return;
    }
    forward_.append(address_);
    load(backward_.takeLast());
    emit historyChanged();
}

void WebBrowser::forward() {
    if (forward_.isEmpty()) {
        return;
    }
    backward_.append(address_);
    load(forward_.takeLast());
    emit historyChanged();
}

void WebBrowser::load(const QUrl& address) {
    if (page_ != nullptr) {
        page_->abort();
    }
    address_ = address;
    QNetworkRequest request(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    page_ = network_.get(request);
    connect(page_, &QNetworkReply::finished, this,
            [this, reply = page_.data()] { pageArrived(reply); });
}

void WebBrowser::pageArrived(QNetworkReply* reply) {
    reply->deleteLater();
    if (reply != page_) {
        return;  // a page that another navigation replaced
    }
    page_ = nullptr;
    const QByteArray body = reply->readAll();
    if (reply->error() != QNetworkReply::NoError) {
        html_.clear();
        setHtml(errorPage(address_, reply->errorString()));
        emit pageLoaded(address_, false);
        return;
    }
    address_ = reply->url();
    images_.clear();
    // Pages say how they are encoded; UTF-8 when they do not.
    QStringDecoder decoder = QStringDecoder::decoderForHtml(body);
    html_ = decoder.isValid() ? decoder.decode(body) : QString::fromUtf8(body);
    document()->setBaseUrl(address_);
    setHtml(html_);
    if (address_.hasFragment()) {
        scrollToAnchor(address_.fragment());
    }
    emit pageLoaded(address_, true);
}

void WebBrowser::followLink(const QUrl& link) {
    const QUrl target = address_.resolved(link);
    if (target.matches(address_, QUrl::RemoveFragment) && target.hasFragment()) {
        scrollToAnchor(target.fragment());
        return;
    }
    if (target.scheme() == QLatin1String("mailto")) {
        QDesktopServices::openUrl(target);
        return;
    }
    Navigate(target);
}

QVariant WebBrowser::loadResource(int type, const QUrl& name) {
    const QUrl url = address_.resolved(name);
    if (type != QTextDocument::ImageResource || !isWebAddress(url)) {
        return QTextBrowser::loadResource(type, name);
    }
    if (const auto it = images_.constFind(url); it != images_.constEnd()) {
        return *it;
    }
    if (!pendingImages_.contains(url)) {
        pendingImages_.insert(url);
        QNetworkReply* reply = network_.get(QNetworkRequest(url));
        connect(reply, &QNetworkReply::finished, this, [this, reply] { imageArrived(reply); });
    }
    return {};
}

void WebBrowser::imageArrived(QNetworkReply* reply) {
    reply->deleteLater();
    const QUrl url = reply->request().url();
    pendingImages_.remove(url);
    images_.insert(url, reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray());
    if (pendingImages_.isEmpty() && !html_.isEmpty()) {
        // Lays the page out again with its pictures, where the reader was.
        const int scrolled = verticalScrollBar()->value();
        setHtml(html_);
        verticalScrollBar()->setValue(scrolled);
    }
}

}  // namespace tf
