#include "tests/support/token_check_server.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QUrlQuery>
#include <condition_variable>

#include "tests/support/local_http_server.h"

namespace tf::testing {

namespace {

const QString kPath = QStringLiteral("/token");

QString tokenOf(const QString& path) {
    return QUrlQuery(QUrl(path).query())
        .queryItemValue(QStringLiteral("token"), QUrl::FullyDecoded);
}

}  // namespace

class TokenCheckServer::Worker : public QThread {
  public:
    explicit Worker(QMap<QString, QString> userByToken) : userByToken_(std::move(userByToken)) {}

    QString address() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [this] { return !address_.isEmpty(); });
        return address_;
    }

    QStringList asked() {
        QStringList paths;
        QMetaObject::invokeMethod(
            context_, [this, &paths] { paths = server_->requested(); },
            Qt::BlockingQueuedConnection);
        QStringList tokens;
        for (const QString& path : paths) {
            tokens << tokenOf(path);
        }
        return tokens;
    }

  protected:
    void run() override {
        LocalHttpServer server;
        QObject context;
        // Dovecot appends the token and then its client_id and client_secret parameters.
        server.serveOthers(
            [this](const QString& path) {
                const QString token = tokenOf(path);
                QJsonObject answer{{QStringLiteral("active"), false}};
                if (userByToken_.contains(token)) {
                    answer = {{QStringLiteral("active"), true},
                              {QStringLiteral("username"), userByToken_.value(token)}};
                }
                return QJsonDocument(answer).toJson(QJsonDocument::Compact);
            },
            "application/json");
        {
            std::lock_guard lock(mutex_);
            server_ = &server;
            context_ = &context;
            address_ = server.address();
        }
        ready_.notify_all();
        exec();
    }

  private:
    QMap<QString, QString> userByToken_;
    std::mutex mutex_;
    std::condition_variable ready_;
    QString address_;
    LocalHttpServer* server_ = nullptr;
    QObject* context_ = nullptr;
};

TokenCheckServer::TokenCheckServer(QMap<QString, QString> userByToken)
    : worker_(new Worker(std::move(userByToken))) {
    worker_->start();
}

TokenCheckServer::~TokenCheckServer() {
    worker_->quit();
    worker_->wait();
    delete worker_;
}

QString TokenCheckServer::url() const {
    return worker_->address() + kPath + QStringLiteral("?token=");
}

QStringList TokenCheckServer::tokensAsked() const {
    return worker_->asked();
}

}  // namespace tf::testing
