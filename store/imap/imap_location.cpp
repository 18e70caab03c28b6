#include "store/imap/imap_location.h"

#include <QHostAddress>
#include <QMap>
#include <QRegularExpression>
#include <QSettings>
#include <QUrl>
#include <QUrlQuery>
#include <algorithm>

#include "common/failure.h"

namespace tf::store::imap {

namespace {

const QString kTls = QStringLiteral("tls");
const QString kCaFile = QStringLiteral("cafile");
const QString kPasswordCommand = QStringLiteral("password-command");
const QString kTokenCommand = QStringLiteral("token-command");
const QString kAuth = QStringLiteral("auth");
const QStringList kOptions = {kTls, kCaFile, kPasswordCommand, kTokenCommand, kAuth};

// Messages only ever quote parts that were checked, never the text as written: a password
// typed in the wrong place must not come back on the screen.
[[noreturn]] void refuse(const QString& why) {
    throw Failure(err::kInvalidArgument, why);
}

quint16 parsePort(const QString& text, const QString& account) {
    bool digitsOnly = !text.isEmpty() && text.size() <= 5;
    for (const QChar c : text) {
        digitsOnly = digitsOnly && c >= QLatin1Char('0') && c <= QLatin1Char('9');
    }
    const int port = digitsOnly ? text.toInt() : 0;
    if (port < 1 || port > 65535) {
        refuse(
            QStringLiteral("The port of the server location %1 must be a number from 1 to 65535.")
                .arg(account));
    }
    return static_cast<quint16>(port);
}

// Host as written (lower case) and its ASCII form; an IPv6 address comes without brackets.
struct HostPort {
    QString written, ascii, portText;
    bool hasPort = false;
};

HostPort splitHostPort(const QString& text, const QString& user) {
    HostPort result;
    QString rest;
    if (text.startsWith(QLatin1Char('['))) {
        const qsizetype close = text.indexOf(QLatin1Char(']'));
        const QString address = close < 0 ? QString() : text.mid(1, close - 1);
        QHostAddress parsed;
        if (close < 0 || !parsed.setAddress(address) ||
            parsed.protocol() != QAbstractSocket::IPv6Protocol) {
            refuse(QStringLiteral("The server location for %1 has an IPv6 address that is not "
                                  "valid; write it as [::1].")
                       .arg(user));
        }
        result.written = result.ascii = parsed.toString();
        rest = text.mid(close + 1);
        if (!rest.isEmpty() && !rest.startsWith(QLatin1Char(':'))) {
            refuse(QStringLiteral("The server location for %1 has text after the IPv6 address.")
                       .arg(user));
        }
    } else {
        const qsizetype colon = text.indexOf(QLatin1Char(':'));
        result.written = (colon < 0 ? text : text.left(colon)).toLower();
        rest = colon < 0 ? QString() : text.mid(colon);
        if (result.written.isEmpty()) {
            refuse(QStringLiteral("The server location for %1 names no host.").arg(user));
        }
        result.ascii = QString::fromLatin1(QUrl::toAce(result.written)).toLower();
        const bool wellFormed =
            !result.ascii.isEmpty() && !result.ascii.startsWith(QLatin1Char('.')) &&
            !result.ascii.contains(QStringLiteral("..")) &&
            std::all_of(result.ascii.cbegin(), result.ascii.cend(), [](QChar c) {
                return c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('.') ||
                       c == QLatin1Char('_');
            });
        if (!wellFormed) {
            refuse(QStringLiteral("The server location for %1 has a host name that is not valid.")
                       .arg(user));
        }
    }
    if (rest.startsWith(QLatin1Char(':'))) {
        result.hasPort = true;
        result.portText = rest.mid(1);
    }
    return result;
}

QString hostForLocation(const QString& host) {
    return host.contains(QLatin1Char(':')) ? QLatin1Char('[') + host + QLatin1Char(']') : host;
}

// The options of the account's group in the settings file, for the keys the URL did not set.
void readSettings(const QStringList& groups, QMap<QString, QString>& options) {
    QSettings settings(accountSettingsFile(), QSettings::IniFormat);
    for (const QString& group : groups) {
        const QStringList keys = [&] {
            settings.beginGroup(group);
            QStringList k = settings.childKeys();
            settings.endGroup();
            return k;
        }();
        if (keys.isEmpty()) {
            continue;
        }
        for (const QString& key : keys) {
            if (key.contains(QStringLiteral("password"), Qt::CaseInsensitive) &&
                key != kPasswordCommand) {
                refuse(QStringLiteral("The settings file %1 holds a password for %2. Remove it: "
                                      "keep the password in the keyring or behind "
                                      "password-command.")
                           .arg(accountSettingsFile(), group));
            }
            if (!kOptions.contains(key)) {
                refuse(QStringLiteral("The settings file %1 has an unknown option \"%2\" for %3.")
                           .arg(accountSettingsFile(), key, group));
            }
            if (!options.contains(key)) {
                options.insert(key, settings.value(group + QLatin1Char('/') + key).toString());
            }
        }
        return;  // the first group found is the account's
    }
}

}  // namespace

SignInKind ImapAccount::signIn() const {
    if (!tokenCommand.isEmpty()) {
        return SignInKind::OAuth2;
    }
    return passwordCommand.isEmpty() ? SignInKind::Password : SignInKind::PasswordCommand;
}

QString ImapAccount::location() const {
    const bool implicit = tls == TlsMode::Implicit;
    const quint16 defaultPort = implicit ? 993 : 143;
    QString text = (implicit ? QStringLiteral("imaps://") : QStringLiteral("imap://")) +
                   QString::fromUtf8(QUrl::toPercentEncoding(user, "!$&'()*+,;=~._-")) +
                   QLatin1Char('@') + hostForLocation(host);
    if (port != defaultPort) {
        text += QLatin1Char(':') + QString::number(port);
    }
    return text;
}

QString locationWithoutSecrets(const QString& location) {
    const qsizetype schemeEnd = location.indexOf(QStringLiteral("://"));
    const QString scheme = schemeEnd < 0 ? QString() : location.left(schemeEnd).trimmed().toLower();
    if (scheme != QLatin1String("imap") && scheme != QLatin1String("imaps")) {
        return location;
    }
    const qsizetype start = schemeEnd + 3;
    QString text = location;
    // The user information ends at the last '@' before the options; a password may hold '?' too,
    // so without such an '@' it ends at the last '@' of all. When it holds a colon, what follows
    // the colon goes.
    const qsizetype question = text.indexOf(QLatin1Char('?'), start);
    qsizetype at = question < 0 ? text.lastIndexOf(QLatin1Char('@'))
                                : text.lastIndexOf(QLatin1Char('@'), question);
    if (at < start) {
        at = text.lastIndexOf(QLatin1Char('@'));
    }
    if (at > start) {
        const qsizetype colon = text.indexOf(QLatin1Char(':'), start);
        if (colon >= 0 && colon < at) {
            text = text.left(colon) + QStringLiteral(":\u2026") + text.mid(at);
        }
    }
    const qsizetype query = text.indexOf(QLatin1Char('?'), start);
    if (query >= 0) {
        const qsizetype hash = text.indexOf(QLatin1Char('#'), query);
        text = text.left(query) + (hash < 0 ? QString() : text.mid(hash));
    }
    return text.trimmed();
}

bool isLoopbackHost(const QString& host) {
    QString name = host.toLower();
    if (name.startsWith(QLatin1Char('[')) && name.endsWith(QLatin1Char(']'))) {
        name = name.mid(1, name.size() - 2);
    }
    if (name == QLatin1String("localhost") || name == QLatin1String("localhost.")) {
        return true;
    }
    QHostAddress address;
    return address.setAddress(name) && address.isLoopback();
}

QString accountSettingsFile() {
    const QSettings probe(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Tidyfold"),
                          QStringLiteral("accounts"));
    return probe.fileName();
}

ImapAccount parseImapLocation(const QString& location) {
    const QString text = location.trimmed();
    ImapAccount account;
    const qsizetype schemeEnd = text.indexOf(QStringLiteral("://"));
    const QString scheme = schemeEnd < 0 ? QString() : text.left(schemeEnd).toLower();
    if (scheme == QLatin1String("imaps")) {
        account.tls = TlsMode::Implicit;
    } else if (scheme == QLatin1String("imap")) {
        account.tls = TlsMode::StartTls;
    } else {
        refuse(
            QStringLiteral("A server location starts with imaps:// or imap://, as in "
                           "imaps://USER@HOST."));
    }
    QString rest = text.mid(schemeEnd + 3);
    const qsizetype authorityEnd = rest.indexOf(QRegularExpression(QStringLiteral("[/?#]")));
    const QString authority = authorityEnd < 0 ? rest : rest.left(authorityEnd);
    rest = authorityEnd < 0 ? QString() : rest.mid(authorityEnd);

    const qsizetype at = authority.lastIndexOf(QLatin1Char('@'));
    if (at < 0) {
        refuse(QStringLiteral("The server location names no user: write imaps://USER@HOST."));
    }
    const QString userInfo = authority.left(at);
    if (userInfo.contains(QLatin1Char(':'))) {
        refuse(
            QStringLiteral("The server location holds a password. Passwords never go into a "
                           "location: keep it in the keyring or behind password-command."));
    }
    account.user = QUrl::fromPercentEncoding(userInfo.toUtf8());
    if (account.user.isEmpty()) {
        refuse(QStringLiteral("The server location names no user: write imaps://USER@HOST."));
    }
    const HostPort hostPort = splitHostPort(authority.mid(at + 1), account.user);
    account.host = hostPort.ascii;
    const QString named = account.user + QLatin1Char('@') + hostForLocation(hostPort.written);

    QString fragment;
    if (const qsizetype hash = rest.indexOf(QLatin1Char('#')); hash >= 0) {
        fragment = QUrl::fromPercentEncoding(rest.mid(hash + 1).toUtf8()).trimmed();
        rest = rest.left(hash);
    }
    QString query;
    if (const qsizetype question = rest.indexOf(QLatin1Char('?')); question >= 0) {
        query = rest.mid(question + 1);
        rest = rest.left(question);
    }
    if (!rest.isEmpty() && rest != QLatin1String("/")) {
        refuse(QStringLiteral("The server location %1 has a path; a location names an account, "
                              "not a folder.")
                   .arg(named));
    }

    QMap<QString, QString> options;
    const QUrlQuery items(query);
    for (const auto& [key, value] : items.queryItems(QUrl::FullyDecoded)) {
        if (key.contains(QStringLiteral("password"), Qt::CaseInsensitive) &&
            key != kPasswordCommand) {
            refuse(QStringLiteral("The server location %1 holds a password. Passwords never go "
                                  "into a location: keep it in the keyring or behind "
                                  "password-command.")
                       .arg(named));
        }
        if (!kOptions.contains(key)) {
            refuse(QStringLiteral("The server location %1 has an unknown option \"%2\"; known "
                                  "are %3.")
                       .arg(named, key, kOptions.join(QStringLiteral(", "))));
        }
        options.insert(key, value);
    }
    QStringList groups = {account.user + QLatin1Char('@') + account.host};
    if (hostPort.written != account.host) {
        groups << account.user + QLatin1Char('@') + hostPort.written;
    }
    readSettings(groups, options);

    const QString tls = options.value(kTls).toLower();
    if (tls == QLatin1String("none")) {
        if (account.tls == TlsMode::Implicit) {
            refuse(QStringLiteral("The server location %1 asks for imaps:// and tls=none at once; "
                                  "plain text goes with imap://.")
                       .arg(named));
        }
        account.tls = TlsMode::None;
    } else if (!tls.isEmpty()) {
        refuse(QStringLiteral("The option tls of %1 only takes the value none.").arg(named));
    }
    account.port = hostPort.hasPort ? parsePort(hostPort.portText, named)
                                    : (account.tls == TlsMode::Implicit ? 993 : 143);
    if (account.tls == TlsMode::None && !isLoopbackHost(account.host)) {
        refuse(QStringLiteral("A connection without TLS (tls=none) is only allowed to this "
                              "computer's own loopback address, and %1 is not one. Use imaps:// "
                              "or imap:// with STARTTLS.")
                   .arg(hostForLocation(hostPort.written)));
    }
    account.caFile = options.value(kCaFile);
    account.passwordCommand = options.value(kPasswordCommand).trimmed();
    account.tokenCommand = options.value(kTokenCommand).trimmed();
    if (!account.passwordCommand.isEmpty() && !account.tokenCommand.isEmpty()) {
        refuse(QStringLiteral("The account %1 names both a password command and a token "
                              "command; keep the one the server expects.")
                   .arg(named));
    }
    const QString auth = options.value(kAuth).toUpper();
    if (!auth.isEmpty() && auth != QLatin1String("XOAUTH2") &&
        auth != QLatin1String("OAUTHBEARER")) {
        refuse(QStringLiteral("The option auth of %1 takes xoauth2 or oauthbearer.").arg(named));
    }
    if (!auth.isEmpty() && account.tokenCommand.isEmpty()) {
        refuse(QStringLiteral("The option auth=%1 of %2 needs a token-command that prints the "
                              "access token.")
                   .arg(auth.toLower(), named));
    }
    if (!account.tokenCommand.isEmpty()) {
        account.oauthMechanism = auth.isEmpty() ? QStringLiteral("XOAUTH2") : auth;
    }
    account.displayName = fragment.isEmpty() ? named : fragment;
    return account;
}

}  // namespace tf::store::imap
