#include "store/imap/imap_server_backend.h"

#include <QUrl>

#include "common/failure.h"
#include "store/imap/credentials.h"
#include "store/imap/imap_store.h"

namespace tf::store::imap {

namespace {

// The password typed into the dialog, given once and never kept.
class TypedPassword : public PasswordPrompt {
  public:
    explicit TypedPassword(const QString& password) : password_(password.toUtf8()) {}
    std::optional<std::pair<Secret, bool>> ask(const ImapAccount&) override {
        if (asked_ || password_.isEmpty()) {
            return std::nullopt;
        }
        asked_ = true;
        return std::pair{password_, false};
    }

  private:
    Secret password_;
    bool asked_ = false;
};

QString encoded(const QString& text) {
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

}  // namespace

QString ImapServerBackend::location(const outlook::ServerAccount& account) const {
    const bool implicit = account.tls == outlook::ServerAccount::Tls::Implicit;
    QString host = account.host.trimmed();
    if (host.contains(QLatin1Char(':')) && !host.startsWith(QLatin1Char('['))) {
        host = QLatin1Char('[') + host + QLatin1Char(']');  // an IPv6 address
    }
    QString location = (implicit ? QStringLiteral("imaps://") : QStringLiteral("imap://")) +
                       encoded(account.user.trimmed()) + QLatin1Char('@') + host;
    if (account.port != (implicit ? 993 : 143)) {
        location += QLatin1Char(':') + QString::number(account.port);
    }
    switch (account.signIn) {
        case outlook::ServerAccount::SignIn::Password:
            break;
        case outlook::ServerAccount::SignIn::PasswordCommand:
            location += QStringLiteral("?password-command=") + encoded(account.command);
            break;
        case outlook::ServerAccount::SignIn::OAuth2TokenCommand:
            location += QStringLiteral("?token-command=") + encoded(account.command);
            break;
    }
    return location;
}

void ImapServerBackend::keepTypedPassword(const outlook::ServerAccount& account,
                                          const QString& password) {
    if (typed_ != nullptr && !password.isEmpty() &&
        account.signIn == outlook::ServerAccount::SignIn::Password) {
        typed_->put(parseImapLocation(location(account)), Secret(password.toUtf8()));
    }
}

void ImapServerBackend::forgetTypedPasswords() {
    if (typed_ != nullptr) {
        typed_->clear();
    }
}

outlook::ConnectionTest ImapServerBackend::testConnection(const outlook::ServerAccount& account,
                                                          const QString& password) {
    try {
        TypedPassword typed(password);
        const outlook::StorePtr store =
            openImapStore(parseImapLocation(location(account)), nullptr, &typed);
        return {true, QStringLiteral("Signed in to %1 as %2.").arg(account.host, account.user)};
    } catch (const Failure& failure) {
        return {false, failure.description()};
    }
}

}  // namespace tf::store::imap
