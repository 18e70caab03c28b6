#pragma once

#include <QString>
#include <QtGlobal>

namespace tf::store::imap {

// How the connection is protected: TLS from the first byte (imaps://), STARTTLS that the server
// must offer (imap://), or plain text, which only a loopback address may ask for (?tls=none).
enum class TlsMode { Implicit, StartTls, None };

// What proves who the user is: a password (keyring or prompt), a password command, or an OAuth2
// bearer token from a token command.
enum class SignInKind { Password, PasswordCommand, OAuth2 };

// One server account, which the program opens as one store. Holds no secret, so it may be
// copied into messages and logs freely.
struct ImapAccount {
    QString user, host;  // host: lower case, international names in their ASCII (ACE) form
    quint16 port = 993;
    TlsMode tls = TlsMode::Implicit;
    QString displayName;      // "USER@HOST" or the text after '#'
    QString caFile;           // extra CA to trust (may be empty)
    QString passwordCommand;  // first output line is the password
    QString tokenCommand;     // first output line is an OAuth2 access token
    QString oauthMechanism;   // "XOAUTH2" (default when a token command is set) or "OAUTHBEARER"

    SignInKind signIn() const;
    // Canonical text without any secret or option, e.g. "imaps://ann@mail.example.org" or
    // "imap://ann@[::1]:1143": what messages name and a keyring entry is kept under.
    QString location() const;
};

// Reads an account location, "imaps://USER@HOST[:PORT][?OPTIONS][#NAME]" or "imap://…".
// Options come from URL query parameters (tls=none, cafile=, password-command=, token-command=,
// auth=xoauth2|oauthbearer) and from the accounts settings file (see accountSettingsGroup);
// the URL wins. Throws tf::Failure with a clear message that never repeats a password: a
// password inside the URL (user:secret@host) is refused, and so is tls=none unless the host is
// a loopback address.
ImapAccount parseImapLocation(const QString& location);

// A location as the user wrote it, safe to repeat in a message: for imap:// and imaps:// the
// options are dropped and anything that may be a password (text after a colon before the '@')
// becomes "…"; other locations come back unchanged.
QString locationWithoutSecrets(const QString& location);

// 127.0.0.0/8, ::1 (also as an IPv4-mapped address) and "localhost".
bool isLoopbackHost(const QString& host);

// Where per-account options live: the INI file "accounts" in the user's configuration folder for
// Tidyfold, one group per account named "USER@HOST" (host in lower case, either as written or in
// its ASCII form), with the same keys as the URL's query.
QString accountSettingsFile();

}  // namespace tf::store::imap
