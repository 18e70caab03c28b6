#include "store/imap/credentials.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <sstream>

#include "common/failure.h"
#include "tests/support/fake_credentials.h"
#include "tests/support/qt_printers.h"

namespace tf::store::imap {
namespace {

Secret secretOf(const char* text) {
    return Secret(QByteArray(text));
}

// The Failure a call throws; fails the test when it throws none.
template <typename Call>
QString failureOf(Call call) {
    try {
        call();
    } catch (const Failure& failure) {
        return failure.description();
    }
    ADD_FAILURE() << "no failure";
    return {};
}

using testing::FakeKeyring;
using testing::FakePrompt;

ImapAccount account() {
    ImapAccount a;
    a.user = QStringLiteral("ann");
    a.host = QStringLiteral("mail.example.org");
    a.displayName = QStringLiteral("ann@mail.example.org");
    return a;
}

TEST(SecretTest, CopiesAreEqualButSeparateAndMovesEmptyTheSource) {
    Secret a = secretOf("Hunter2");
    Secret b = a;
    EXPECT_EQ(a, b);
    EXPECT_NE(a.bytes().data(), b.bytes().data());
    Secret c = std::move(a);
    EXPECT_TRUE(a.isEmpty());  // NOLINT: the moved-from state is what is checked
    EXPECT_EQ(c, b);
    EXPECT_EQ(c.size(), 7);
    b = Secret();
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(c.bytes(), QByteArrayView("Hunter2"));
}

TEST(SecretTest, NeverPrintsItsBytes) {
    std::ostringstream out;
    PrintTo(secretOf("Hunter2"), &out);
    EXPECT_EQ(out.str(), "<secret>");
    EXPECT_EQ(::testing::PrintToString(secretOf("Hunter2")), "<secret>");
}

TEST(SecretCommandTest, GivesTheFirstLine) {
    EXPECT_EQ(runSecretCommand(QStringLiteral("printf 'Hunter2\\nsecond line\\n'"), 10000),
              secretOf("Hunter2"));
    EXPECT_EQ(runSecretCommand(QStringLiteral("printf 'tok en\\r\\n'"), 10000), secretOf("tok en"));
    EXPECT_EQ(runSecretCommand(QStringLiteral("printf 'no newline'"), 10000),
              secretOf("no newline"));
    // A command's own quoting and pipes work, as in a user's configuration.
    EXPECT_EQ(runSecretCommand(QStringLiteral("echo 'a b' | tr ' ' '-'"), 10000), secretOf("a-b"));
}

TEST(SecretCommandTest, FailureNamesTheStatusButNeverTheOutput) {
    const QString failed = failureOf(
        [] { runSecretCommand(QStringLiteral("echo Hunter2; echo Hunter3 >&2; exit 3"), 10000); });
    EXPECT_TRUE(failed.contains(QStringLiteral("exit status 3"))) << failed.toStdString();
    EXPECT_FALSE(failed.contains(QStringLiteral("Hunter"))) << failed.toStdString();

    const QString onStderr =
        failureOf([] { runSecretCommand(QStringLiteral("echo Hunter2 >&2"), 10000); });
    EXPECT_TRUE(onStderr.contains(QStringLiteral("printed nothing"))) << onStderr.toStdString();
    EXPECT_FALSE(onStderr.contains(QStringLiteral("Hunter"))) << onStderr.toStdString();

    const QString emptyFirst =
        failureOf([] { runSecretCommand(QStringLiteral("printf '\\nHunter2\\n'"), 10000); });
    EXPECT_TRUE(emptyFirst.contains(QStringLiteral("printed nothing"))) << emptyFirst.toStdString();
    EXPECT_FALSE(emptyFirst.contains(QStringLiteral("Hunter"))) << emptyFirst.toStdString();

    const QString missing = failureOf([] {
        runSecretCommand(QStringLiteral("/nonexistent/helper --secret Hunter2"), 10000,
                         QStringLiteral("The token command for imaps://ann@h"));
    });
    EXPECT_TRUE(missing.startsWith(QStringLiteral("The token command for imaps://ann@h")));
    EXPECT_TRUE(missing.contains(QStringLiteral("127"))) << missing.toStdString();
    EXPECT_FALSE(missing.contains(QStringLiteral("Hunter"))) << missing.toStdString();

    const QString killed =
        failureOf([] { runSecretCommand(QStringLiteral("echo Hunter2; kill -9 $$"), 10000); });
    EXPECT_TRUE(killed.contains(QStringLiteral("signal"))) << killed.toStdString();
    EXPECT_FALSE(killed.contains(QStringLiteral("Hunter"))) << killed.toStdString();

    EXPECT_TRUE(failureOf([] {
                    runSecretCommand(QStringLiteral("  "), 10000);
                }).contains(QStringLiteral("empty")));
    EXPECT_TRUE(failureOf([] {
                    runSecretCommand(QStringLiteral("head -c 100000 /dev/zero | tr '\\0' x"),
                                     10000);
                }).contains(QStringLiteral("more than")));
}

TEST(SecretCommandTest, HasNoTerminalAndNoInput) {
    EXPECT_EQ(
        runSecretCommand(
            QStringLiteral("if (exec </dev/tty) 2>/dev/null; then echo tty; else echo none; fi"),
            10000),
        secretOf("none"));
    // A command that waits for input gets none at once instead of hanging.
    EXPECT_TRUE(failureOf([] {
                    runSecretCommand(QStringLiteral("cat"), 10000);
                }).contains(QStringLiteral("printed nothing")));
}

TEST(SecretCommandTest, SlowCommandIsStoppedWithEverythingItStarted) {
    QTemporaryDir dir;
    const QString pidFile = dir.filePath(QStringLiteral("pid"));
    QElapsedTimer timer;
    timer.start();
    const QString message = failureOf([&] {
        runSecretCommand(
            QStringLiteral("echo Hunter2; sleep 60 & echo $! > '%1'; wait").arg(pidFile), 500);
    });
    EXPECT_LT(timer.elapsed(), 30000);  // long before the command would have ended by itself
    EXPECT_TRUE(message.contains(QStringLiteral("did not finish within 0.5 seconds")))
        << message.toStdString();
    EXPECT_FALSE(message.contains(QStringLiteral("Hunter"))) << message.toStdString();

    QFile file(pidFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const pid_t child = file.readAll().trimmed().toInt();
    ASSERT_GT(child, 0);
    // Gone, or at most a zombie waiting for its new parent to collect it; a killed process may
    // take a moment to go.
    const auto alive = [child] {
        QFile stat(QStringLiteral("/proc/%1/stat").arg(child));
        return stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z ");
    };
    QElapsedTimer waited;
    waited.start();
    while (alive() && waited.elapsed() < 10000) {
        QThread::msleep(20);
    }
    EXPECT_FALSE(alive());
    if (alive()) {
        ::kill(child, SIGKILL);
    }
}

TEST(ObtainSecretTest, TokenCommandComesFirst) {
    ImapAccount a = account();
    a.tokenCommand = QStringLiteral("echo token-from-helper");
    FakeKeyring keyring;
    keyring.remember(a, secretOf("from keyring"));
    FakePrompt prompt;
    EXPECT_EQ(obtainSecret(a, &keyring, &prompt), secretOf("token-from-helper"));
    EXPECT_EQ(keyring.reads, 0);
    EXPECT_EQ(prompt.asked, 0);
}

TEST(ObtainSecretTest, PasswordCommandComesBeforeTheKeyring) {
    ImapAccount a = account();
    a.passwordCommand = QStringLiteral("echo from-command");
    FakeKeyring keyring;
    keyring.remember(a, secretOf("from keyring"));
    FakePrompt prompt;
    EXPECT_EQ(obtainSecret(a, &keyring, &prompt), secretOf("from-command"));
    EXPECT_EQ(keyring.reads, 0);
    EXPECT_EQ(prompt.asked, 0);
}

TEST(ObtainSecretTest, FailingCommandNeverFallsBackToAskingAndNeverLeaks) {
    ImapAccount a = account();
    a.passwordCommand = QStringLiteral("echo Hunter2; echo Hunter2 >&2; exit 1");
    FakeKeyring keyring;
    FakePrompt prompt;
    prompt.answer = std::make_pair(secretOf("typed"), false);
    const QString message = failureOf([&] { obtainSecret(a, &keyring, &prompt); });
    EXPECT_TRUE(
        message.startsWith(QStringLiteral("The password command for imaps://ann@mail.example.org")))
        << message.toStdString();
    EXPECT_FALSE(message.contains(QStringLiteral("Hunter"))) << message.toStdString();
    EXPECT_EQ(prompt.asked, 0);

    a.passwordCommand.clear();
    a.tokenCommand = QStringLiteral("echo Hunter2 >&2; exit 2");
    const QString token = failureOf([&] { obtainSecret(a, &keyring, &prompt); });
    EXPECT_TRUE(token.startsWith(QStringLiteral("The token command"))) << token.toStdString();
    EXPECT_TRUE(token.contains(QStringLiteral("exit status 2"))) << token.toStdString();
    EXPECT_FALSE(token.contains(QStringLiteral("Hunter"))) << token.toStdString();
}

TEST(ObtainSecretTest, KeyringEntryMeansNoQuestion) {
    FakeKeyring keyring;
    keyring.remember(account(), secretOf("kept"));
    FakePrompt prompt;
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt), secretOf("kept"));
    EXPECT_EQ(keyring.reads, 1);
    EXPECT_EQ(prompt.asked, 0);
}

TEST(ObtainSecretTest, HeadlessNeverAsks) {
    FakeKeyring keyring;
    const QString message = failureOf([&] { obtainSecret(account(), &keyring, nullptr); });
    EXPECT_TRUE(message.contains(QStringLiteral("imaps://ann@mail.example.org")))
        << message.toStdString();
    EXPECT_TRUE(message.contains(QStringLiteral("password-command"))) << message.toStdString();
    EXPECT_EQ(keyring.reads, 1);
    // Without a keyring at all, the same.
    EXPECT_FALSE(failureOf([&] { obtainSecret(account(), nullptr, nullptr); }).isEmpty());
}

TEST(ObtainSecretTest, PromptIsAskedOnceAndRememberStoresInTheKeyring) {
    FakeKeyring keyring;
    FakePrompt prompt;
    prompt.answer = std::make_pair(secretOf("typed"), true);
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt), secretOf("typed"));
    EXPECT_EQ(prompt.asked, 1);
    EXPECT_EQ(prompt.askedFor, QStringLiteral("imaps://ann@mail.example.org"));
    ASSERT_EQ(keyring.entries.count(QStringLiteral("imaps://ann@mail.example.org")), 1u);
    EXPECT_EQ(keyring.entries.at(QStringLiteral("imaps://ann@mail.example.org")),
              secretOf("typed"));

    // The next sign-in finds it there.
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt), secretOf("typed"));
    EXPECT_EQ(prompt.asked, 1);
}

TEST(ObtainSecretTest, RememberingCanWaitUntilTheServerAcceptedIt) {
    FakeKeyring keyring;
    FakePrompt prompt;
    prompt.answer = std::make_pair(secretOf("typed"), true);
    bool rememberLater = false;
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt, &rememberLater), secretOf("typed"));
    EXPECT_TRUE(rememberLater);
    EXPECT_EQ(keyring.writes, 0);

    prompt.answer = std::make_pair(secretOf("typed"), false);
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt, &rememberLater), secretOf("typed"));
    EXPECT_FALSE(rememberLater);
    // A password from the keyring is there already.
    keyring.remember(account(), secretOf("kept"));
    rememberLater = true;
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt, &rememberLater), secretOf("kept"));
    EXPECT_FALSE(rememberLater);
}

TEST(ObtainSecretTest, NotRememberedStaysOutOfTheKeyring) {
    FakeKeyring keyring;
    FakePrompt prompt;
    prompt.answer = std::make_pair(secretOf("typed"), false);
    EXPECT_EQ(obtainSecret(account(), &keyring, &prompt), secretOf("typed"));
    EXPECT_TRUE(keyring.entries.empty());
    // Remembering without a keyring does no harm.
    prompt.answer = std::make_pair(secretOf("typed"), true);
    EXPECT_EQ(obtainSecret(account(), nullptr, &prompt), secretOf("typed"));
}

TEST(ObtainSecretTest, CancelOrEmptyAnswerIsOneClearFailure) {
    FakeKeyring keyring;
    FakePrompt prompt;
    EXPECT_TRUE(failureOf([&] {
                    obtainSecret(account(), &keyring, &prompt);
                }).contains(QStringLiteral("No password was given")));
    EXPECT_EQ(prompt.asked, 1);
    prompt.answer = std::make_pair(Secret(), true);
    EXPECT_FALSE(failureOf([&] { obtainSecret(account(), &keyring, &prompt); }).isEmpty());
    EXPECT_EQ(prompt.asked, 2);
    EXPECT_TRUE(keyring.entries.empty());
}

TEST(TypedPasswordsTest, ATypedPasswordSignsInOnceAheadOfTheKeyringAndIsNeverStored) {
    FakeKeyring keyring;
    keyring.remember(account(), secretOf("kept"));
    keyring.writes = 0;
    TypedPasswords typed(&keyring);
    typed.put(account(), secretOf("typed"));
    FakePrompt prompt;
    EXPECT_EQ(obtainSecret(account(), &typed, &prompt), secretOf("typed"));
    EXPECT_EQ(keyring.reads, 0);
    EXPECT_EQ(prompt.asked, 0);
    // Taken once: the next sign-in finds the keyring's.
    EXPECT_EQ(obtainSecret(account(), &typed, &prompt), secretOf("kept"));
    EXPECT_EQ(keyring.reads, 1);
    EXPECT_EQ(keyring.writes, 0);
    EXPECT_EQ(keyring.entries.at(account().location()), secretOf("kept"));

    // Only for the account it was typed for; other accounts are asked as before.
    ImapAccount other = account();
    other.user = QStringLiteral("bo");
    typed.put(account(), secretOf("typed again"));
    prompt.answer = std::make_pair(secretOf("asked"), true);
    EXPECT_EQ(obtainSecret(other, &typed, &prompt), secretOf("asked"));
    EXPECT_EQ(prompt.asked, 1);
    // "Remember in the keyring" passes through to the keyring behind.
    EXPECT_EQ(keyring.entries.at(other.location()), secretOf("asked"));
    // Dropped unused: nothing of it is left to sign in with.
    typed.clear();
    EXPECT_EQ(obtainSecret(account(), &typed, &prompt), secretOf("kept"));
    // Without a keyring behind, a typed password still works once, then there is none.
    TypedPasswords alone(nullptr);
    alone.put(account(), secretOf("typed"));
    EXPECT_EQ(obtainSecret(account(), &alone, nullptr), secretOf("typed"));
    EXPECT_FALSE(failureOf([&] { obtainSecret(account(), &alone, nullptr); }).isEmpty());
}

// The real keyring class, against a session bus that is not there: it must give up within its
// time-out with a reason, not hang, crash, or fall back to storing the password elsewhere.
TEST(SystemKeyringTest, UnreachableKeyringFindsNothingAndSaysWhy) {
    QTemporaryDir dir;
    const QByteArray saved = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS",
            "unix:path=" + dir.filePath(QStringLiteral("no-bus")).toUtf8());
    SystemKeyring keyring(3000);
    keyring.remember(account(), secretOf("Hunter2"));
    EXPECT_FALSE(keyring.lastError().isEmpty());
    EXPECT_FALSE(keyring.lastError().contains(QStringLiteral("Hunter2")));
    EXPECT_FALSE(keyring.password(account()).has_value());
    EXPECT_FALSE(keyring.lastError().isEmpty());
    EXPECT_TRUE(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).isEmpty());
    qputenv("DBUS_SESSION_BUS_ADDRESS", saved);
}

// A round trip through a real Secret Service, only where the test run provides a private one
// (a session bus of its own with a keyring daemon): tests never touch the user's keyring.
TEST(SystemKeyringTest, RoundTripThroughAPrivateSecretService) {
    if (qEnvironmentVariableIsEmpty("TIDYFOLD_PRIVATE_SECRET_SERVICE")) {
        GTEST_SKIP() << "no private Secret Service (set TIDYFOLD_PRIVATE_SECRET_SERVICE=1 on a "
                        "private session bus with a keyring daemon)";
    }
    SystemKeyring keyring;
    ImapAccount a = account();
    a.host = QStringLiteral("keyring-test.invalid");
    keyring.remember(a, secretOf("round trip"));
    ASSERT_TRUE(keyring.lastError().isEmpty()) << keyring.lastError().toStdString();
    const std::optional<Secret> back = keyring.password(a);
    ASSERT_TRUE(back.has_value()) << keyring.lastError().toStdString();
    EXPECT_EQ(*back, secretOf("round trip"));
}

}  // namespace
}  // namespace tf::store::imap
