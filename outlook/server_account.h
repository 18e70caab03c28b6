#pragma once

#include <QString>

namespace tf::outlook {

// A mail account on a server, as the Open Store dialog describes it. It holds no password: a
// password is typed for one connection and never kept.
struct ServerAccount {
    enum class Tls { Implicit, StartTls };
    enum class SignIn { Password, PasswordCommand, OAuth2TokenCommand };

    QString host;
    int port = 993;
    QString user;
    Tls tls = Tls::Implicit;
    SignIn signIn = SignIn::Password;
    // The command that prints the password or the OAuth2 token; empty for a typed password.
    QString command;
};

// What "Test connection" found: success, or the server's or the certificate check's own reason.
struct ConnectionTest {
    bool ok = false;
    QString reason;
};

// The one place that decides whether stores on a server can be opened, and how a connection is
// tried. The dialog offers the server kind only while available() is true.
class ServerBackend {
  public:
    virtual ~ServerBackend() = default;
    virtual bool available() const = 0;
    // Why the server kind cannot be used; shown as the disabled kind's tooltip.
    virtual QString unavailableReason() const = 0;
    virtual ConnectionTest testConnection(const ServerAccount& account,
                                          const QString& password) = 0;
    // The location that opens the account through StoreOpener; it carries no password.
    virtual QString location(const ServerAccount& account) const = 0;
    // Keeps a password typed for the account in memory, so that opening it next signs in with
    // it instead of asking again; forgetTypedPasswords() drops every one kept. Never written
    // anywhere.
    virtual void keepTypedPassword(const ServerAccount& /*account*/, const QString& /*password*/) {}
    virtual void forgetTypedPasswords() {}
};

}  // namespace tf::outlook
