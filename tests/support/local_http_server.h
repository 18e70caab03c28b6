#pragma once

#include <QByteArray>
#include <QMap>
#include <QStringList>
#include <QTcpServer>
#include <functional>

namespace tf::testing {

// A tiny HTTP/1.0 server on 127.0.0.1 for the life of the object, serving fixed pages by path
// and 404 for the rest. It records the paths asked for.
class LocalHttpServer {
  public:
    LocalHttpServer();
    ~LocalHttpServer();
    LocalHttpServer(const LocalHttpServer&) = delete;
    LocalHttpServer& operator=(const LocalHttpServer&) = delete;

    void serve(const QString& path, const QByteArray& body,
               const QByteArray& type = "text/html; charset=utf-8");
    // Every path without a page of its own gets the body that `page` makes of it, instead of 404.
    void serveOthers(std::function<QByteArray(const QString& path)> page,
                     const QByteArray& type = "text/html; charset=utf-8");
    // "http://127.0.0.1:<port>"
    QString address() const;
    const QStringList& requested() const { return requested_; }

  private:
    void answer(QTcpSocket* socket);

    QTcpServer server_;
    QMap<QString, QPair<QByteArray, QByteArray>> pages_;
    std::function<QByteArray(const QString&)> others_;
    QByteArray othersType_;
    QStringList requested_;
};

}  // namespace tf::testing
