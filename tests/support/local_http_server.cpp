#include "tests/support/local_http_server.h"

#include <QTcpSocket>

namespace tf::testing {

LocalHttpServer::LocalHttpServer() {
    server_.listen(QHostAddress::LocalHost, 0);
    QObject::connect(&server_, &QTcpServer::newConnection, [this] {
        while (QTcpSocket* socket = server_.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::readyRead, socket,
                             [this, socket] { answer(socket); });
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
}

LocalHttpServer::~LocalHttpServer() {
    server_.close();
}

void LocalHttpServer::serve(const QString& path, const QByteArray& body, const QByteArray& type) {
    pages_.insert(path, {body, type});
}

void LocalHttpServer::serveOthers(std::function<QByteArray(const QString&)> page,
                                  const QByteArray& type) {
    others_ = std::move(page);
    othersType_ = type;
}

QString LocalHttpServer::address() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(server_.serverPort());
}

void LocalHttpServer::answer(QTcpSocket* socket) {
    QByteArray request = socket->property("request").toByteArray() + socket->readAll();
    socket->setProperty("request", request);
    if (!request.contains("\r\n\r\n")) {
        return;  // the rest of the request is still on its way
    }
    const QList<QByteArray> words = request.left(request.indexOf("\r\n")).split(' ');
    const QString path = words.size() > 1 ? QString::fromLatin1(words[1]) : QString();
    requested_ << path;
    QByteArray response;
    const auto it = pages_.constFind(path);
    if (it != pages_.constEnd() || others_) {
        const QPair<QByteArray, QByteArray> page =
            it != pages_.constEnd() ? *it : qMakePair(others_(path), othersType_);
        response = "HTTP/1.0 200 OK\r\nContent-Type: " + page.second +
                   "\r\nContent-Length: " + QByteArray::number(page.first.size()) + "\r\n\r\n" +
                   page.first;
    } else {
        response = "HTTP/1.0 404 Not Found\r\nContent-Length: 9\r\n\r\nNot found";
    }
    socket->write(response);
    socket->disconnectFromHost();
}

}  // namespace tf::testing
