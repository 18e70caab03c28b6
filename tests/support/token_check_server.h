#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QThread>
#include <mutex>

namespace tf::testing {

// An OAuth2 token-check endpoint on 127.0.0.1, as an identity provider runs one: asked
// "GET /token?token=TOKEN", it answers {"active":true,"username":USER} for the tokens it
// was given and {"active":false} for any other. It serves from a thread of its own, so a client
// that blocks the test's thread while the mail server asks about its token still gets in.
class TokenCheckServer {
  public:
    // userByToken: each valid token and the user it signs in.
    explicit TokenCheckServer(QMap<QString, QString> userByToken);
    ~TokenCheckServer();
    TokenCheckServer(const TokenCheckServer&) = delete;
    TokenCheckServer& operator=(const TokenCheckServer&) = delete;

    // The address Dovecot's oauth2 passdb asks in "get" mode; it appends the token.
    QString url() const;
    // The tokens asked about so far, in order.
    QStringList tokensAsked() const;

  private:
    class Worker;
    Worker* worker_;
};

}  // namespace tf::testing
