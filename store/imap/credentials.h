#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <iosfwd>
#include <map>
#include <optional>
#include <utility>

#include "store/imap/imap_location.h"

namespace tf::store::imap {

// A password or token. Each copy owns its bytes and wipes them when it goes, and nothing prints
// it: there is no conversion to text, and test output shows "<secret>".
class Secret {
  public:
    Secret() = default;
    explicit Secret(QByteArray bytes);
    Secret(const Secret& other);
    Secret& operator=(const Secret& other);
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&& other) noexcept;
    ~Secret();

    bool isEmpty() const { return bytes_.isEmpty(); }
    qsizetype size() const { return bytes_.size(); }
    // For the one place that sends it; do not keep a copy.
    QByteArrayView bytes() const { return bytes_; }

    friend bool operator==(const Secret& a, const Secret& b) { return a.bytes_ == b.bytes_; }

  private:
    void wipe();

    QByteArray bytes_;
};
void PrintTo(const Secret&, std::ostream* out);

// How long a password or token command may take: a token helper may have to refresh its token
// over the network first.
inline constexpr int kSecretCommandTimeoutMs = 30000;

// Runs `/bin/sh -c command` in a session of its own (no terminal to ask on), with no input, and
// returns the first line it printed. A command that fails, prints nothing or takes longer than
// timeoutMs (it is then killed) gives a tf::Failure that names `purpose` and the exit status,
// never the output; what it prints on stderr is dropped.
Secret runSecretCommand(const QString& command, int timeoutMs,
                        const QString& purpose = QStringLiteral("The password command"));

// The system's keyring, or a fake in tests. Entries are kept under the account's location().
class Keyring {
  public:
    virtual ~Keyring() = default;
    // Nothing when there is no entry or the keyring cannot be reached.
    virtual std::optional<Secret> password(const ImapAccount& account) = 0;
    virtual void remember(const ImapAccount& account, const Secret& password) = 0;
};

// The system keyring through QtKeychain (Secret Service, KWallet, macOS Keychain, Windows
// Credential Store). Its calls are asynchronous; each one runs a local event loop for at most
// timeoutMs, so a keyring that does not answer never hangs the program.
class SystemKeyring : public Keyring {
  public:
    explicit SystemKeyring(int timeoutMs = 10000) : timeoutMs_(timeoutMs) {}
    std::optional<Secret> password(const ImapAccount& account) override;
    void remember(const ImapAccount& account, const Secret& password) override;
    // Why the last call found nothing or stored nothing; empty after a success.
    const QString& lastError() const { return lastError_; }

  private:
    int timeoutMs_;
    QString lastError_;
};

// Passwords typed in the Open Store window, in front of the keyring: the next sign-in of that
// account takes the typed one, once, instead of asking again. They live in memory only;
// remember() goes to the keyring behind (none: nowhere).
class TypedPasswords : public Keyring {
  public:
    explicit TypedPasswords(Keyring* behind) : behind_(behind) {}
    void put(const ImapAccount& account, Secret password);
    void clear() { typed_.clear(); }
    std::optional<Secret> password(const ImapAccount& account) override;
    void remember(const ImapAccount& account, const Secret& password) override;

  private:
    Keyring* behind_;
    std::map<QString, Secret> typed_;  // by the account's location
};

// Asks the person at the window for a password, once.
class PasswordPrompt {
  public:
    virtual ~PasswordPrompt() = default;
    // The password and whether to remember it in the keyring; nothing when cancelled.
    virtual std::optional<std::pair<Secret, bool>> ask(const ImapAccount& account) = 0;
};

// The secret to sign in with, from the first source the account has: its token command, its
// password command, the keyring, and last the prompt, asked once (a null prompt, as in the
// headless cleaner, never asks). A typed password the person asks to remember goes to the
// keyring at once; given rememberLater, it does not, and *rememberLater says whether the caller
// should store it once the server has accepted it, so that a mistyped password is never kept.
// Throws tf::Failure with a clear message when there is none.
Secret obtainSecret(const ImapAccount& account, Keyring* keyring, PasswordPrompt* prompt,
                    bool* rememberLater = nullptr);

}  // namespace tf::store::imap
