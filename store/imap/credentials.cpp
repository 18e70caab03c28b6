#include "store/imap/credentials.h"

#include <qt6keychain/keychain.h>
#include <signal.h>
#include <string.h>
#include <unistd.h>

#include <QEventLoop>
#include <QProcess>
#include <QTimer>
#include <memory>
#include <ostream>

#include "common/failure.h"

namespace tf::store::imap {

namespace {

const QString kKeyringService = QStringLiteral("Tidyfold");
// No password or token is this long; more output is a command printing something else.
constexpr qsizetype kMaxOutput = 64 * 1024;

[[noreturn]] void fail(const QString& why) {
    throw Failure(err::kPermissionDenied, why, QStringLiteral("Tidyfold"));
}

struct JobOutcome {
    bool done = false;
    QKeychain::Error code = QKeychain::NoError;
    QString text;
    Secret data;
};

// Runs one QtKeychain job in a local event loop. The job deletes itself when it finishes, also
// after we stopped waiting, and then writes only into the shared outcome.
std::shared_ptr<JobOutcome> runJob(QKeychain::Job* job, int timeoutMs, QString& error) {
    auto outcome = std::make_shared<JobOutcome>();
    QEventLoop loop;
    QObject::connect(job, &QKeychain::Job::finished, job, [outcome](QKeychain::Job* j) {
        outcome->done = true;
        outcome->code = j->error();
        outcome->text = j->errorString();
        if (auto* read = qobject_cast<QKeychain::ReadPasswordJob*>(j);
            read && j->error() == QKeychain::NoError) {
            outcome->data = Secret(read->binaryData());
        }
    });
    QObject::connect(job, &QKeychain::Job::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    job->setAutoDelete(true);
    job->start();
    if (!outcome->done) {
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (!outcome->done) {
        error =
            QStringLiteral("the keyring did not answer within %1 seconds").arg(timeoutMs / 1000.0);
    } else {
        error = outcome->code == QKeychain::NoError ? QString() : outcome->text;
    }
    return outcome;
}

}  // namespace

Secret::Secret(QByteArray bytes) : bytes_(std::move(bytes)) {
    bytes_.detach();  // our own buffer, so wiping it never touches someone else's copy
}

Secret::Secret(const Secret& other) : bytes_(other.bytes_.constData(), other.bytes_.size()) {}

Secret& Secret::operator=(const Secret& other) {
    if (this != &other) {
        wipe();
        bytes_ = QByteArray(other.bytes_.constData(), other.bytes_.size());
    }
    return *this;
}

Secret::Secret(Secret&& other) noexcept : bytes_(std::move(other.bytes_)) {}

Secret& Secret::operator=(Secret&& other) noexcept {
    if (this != &other) {
        wipe();
        bytes_ = std::move(other.bytes_);
    }
    return *this;
}

Secret::~Secret() {
    wipe();
}

void Secret::wipe() {
    if (!bytes_.isEmpty() && bytes_.isDetached()) {
        explicit_bzero(bytes_.data(), static_cast<size_t>(bytes_.size()));
    }
    bytes_.clear();
}

void PrintTo(const Secret&, std::ostream* out) {
    *out << "<secret>";
}

Secret runSecretCommand(const QString& command, int timeoutMs, const QString& purpose) {
    if (command.trimmed().isEmpty()) {
        fail(QStringLiteral("%1 is empty.").arg(purpose));
    }
    QProcess process;
    process.setProgram(QStringLiteral("/bin/sh"));
    process.setArguments({QStringLiteral("-c"), command});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    // Its own session: no controlling terminal to ask on, and one group to kill on a time-out.
    process.setChildProcessModifier([] { ::setsid(); });
    process.start();
    if (!process.waitForStarted(timeoutMs)) {
        fail(QStringLiteral("%1 could not be started.").arg(purpose));
    }
    const qint64 pid = process.processId();
    if (!process.waitForFinished(timeoutMs)) {
        ::kill(-static_cast<pid_t>(pid), SIGKILL);
        process.waitForFinished(2000);
        Secret discard(process.readAllStandardOutput());
        fail(QStringLiteral("%1 did not finish within %2 seconds and was stopped.")
                 .arg(purpose)
                 .arg(timeoutMs / 1000.0));
    }
    Secret output(process.readAllStandardOutput());
    if (process.exitStatus() != QProcess::NormalExit) {
        fail(QStringLiteral("%1 was stopped by a signal; its output is not used.").arg(purpose));
    }
    if (process.exitCode() != 0) {
        fail(QStringLiteral("%1 failed with exit status %2; its output is not used.")
                 .arg(purpose)
                 .arg(process.exitCode()));
    }
    if (output.size() > kMaxOutput) {
        fail(QStringLiteral("%1 printed more than a password or token; its output is not used.")
                 .arg(purpose));
    }
    const QByteArrayView all = output.bytes();
    qsizetype end = all.indexOf('\n');
    end = end < 0 ? all.size() : end;
    if (end > 0 && all[end - 1] == '\r') {
        --end;
    }
    if (end == 0) {
        fail(QStringLiteral("%1 printed nothing on its first line.").arg(purpose));
    }
    return Secret(all.first(end).toByteArray());
}

std::optional<Secret> SystemKeyring::password(const ImapAccount& account) {
    auto* job = new QKeychain::ReadPasswordJob(kKeyringService);
    job->setKey(account.location());
    const std::shared_ptr<JobOutcome> outcome = runJob(job, timeoutMs_, lastError_);
    if (!outcome->done || outcome->code != QKeychain::NoError || outcome->data.isEmpty()) {
        return std::nullopt;
    }
    return std::move(outcome->data);
}

void SystemKeyring::remember(const ImapAccount& account, const Secret& password) {
    auto* job = new QKeychain::WritePasswordJob(kKeyringService);
    job->setKey(account.location());
    job->setBinaryData(password.bytes().toByteArray());
    runJob(job, timeoutMs_, lastError_);
}

void TypedPasswords::put(const ImapAccount& account, Secret password) {
    typed_[account.location()] = std::move(password);
}

std::optional<Secret> TypedPasswords::password(const ImapAccount& account) {
    const auto found = typed_.find(account.location());
    if (found != typed_.end()) {
        Secret password = std::move(found->second);
        typed_.erase(found);
        return password;
    }
    return behind_ != nullptr ? behind_->password(account) : std::nullopt;
}

void TypedPasswords::remember(const ImapAccount& account, const Secret& password) {
    if (behind_ != nullptr) {
        behind_->remember(account, password);
    }
}

Secret obtainSecret(const ImapAccount& account, Keyring* keyring, PasswordPrompt* prompt,
                    bool* rememberLater) {
    if (rememberLater) {
        *rememberLater = false;
    }
    const QString where = account.location();
    switch (account.signIn()) {
        case SignInKind::OAuth2:
            return runSecretCommand(account.tokenCommand, kSecretCommandTimeoutMs,
                                    QStringLiteral("The token command for %1").arg(where));
        case SignInKind::PasswordCommand:
            return runSecretCommand(account.passwordCommand, kSecretCommandTimeoutMs,
                                    QStringLiteral("The password command for %1").arg(where));
        case SignInKind::Password:
            break;
    }
    if (keyring) {
        if (std::optional<Secret> kept = keyring->password(account)) {
            return std::move(*kept);
        }
    }
    if (!prompt) {
        fail(QStringLiteral("There is no password for %1 in the keyring, and nobody to ask for "
                            "one. Keep it in the keyring (sign in once from the window and tick "
                            "\"Remember in the keyring\") or name a password-command.")
                 .arg(where));
    }
    std::optional<std::pair<Secret, bool>> answer = prompt->ask(account);
    if (!answer || answer->first.isEmpty()) {
        fail(QStringLiteral("No password was given for %1.").arg(where));
    }
    if (answer->second && keyring) {
        if (rememberLater) {
            *rememberLater = true;
        } else {
            keyring->remember(account, answer->first);
        }
    }
    return std::move(answer->first);
}

}  // namespace tf::store::imap
