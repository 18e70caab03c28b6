#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

#include "app/widgets/password_dialog.h"
#include "tests/support/qt_printers.h"

namespace tf {
namespace {

store::imap::ImapAccount account() {
    store::imap::ImapAccount a;
    a.user = QStringLiteral("ann");
    a.host = QStringLiteral("mail.example.org");
    a.displayName = QStringLiteral("Work mail");
    return a;
}

// Types into whatever has the keyboard focus, as a person does.
void type(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* focus = QApplication::focusWidget();
    ASSERT_NE(focus, nullptr);
    QTest::keyClick(focus, key, modifiers);
}

// Asks the dialog, and once it shows, runs what the person does in it.
std::optional<std::pair<store::imap::Secret, bool>> askWith(PasswordDialog& dialog,
                                                            std::function<void()> person) {
    QTimer::singleShot(0, &dialog, [&dialog, person] {
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        person();
        if (dialog.isVisible()) {  // a person who does nothing more closes it
            ADD_FAILURE() << "the dialog was left open";
            dialog.reject();
        }
    });
    return dialog.ask(account());
}

TEST(PasswordDialogTest, ShowsTheAccountAndHidesThePassword) {
    PasswordDialog dialog;
    askWith(dialog, [&] {
        EXPECT_TRUE(
            dialog.accountLabel()->text().contains(QStringLiteral("imaps://ann@mail.example.org")));
        EXPECT_TRUE(dialog.accountLabel()->text().contains(QStringLiteral("Work mail")));
        EXPECT_EQ(dialog.passwordField()->echoMode(), QLineEdit::Password);
        EXPECT_EQ(dialog.rememberBox()->text(), QStringLiteral("&Remember in the keyring"));
        EXPECT_FALSE(dialog.rememberBox()->isChecked());
        EXPECT_EQ(QApplication::focusWidget(), dialog.passwordField());
        // Nothing to sign in with yet.
        EXPECT_FALSE(dialog.okButton()->isEnabled());
        for (QWidget* w : std::initializer_list<QWidget*>{
                 dialog.passwordField(), dialog.rememberBox(), dialog.okButton()}) {
            EXPECT_FALSE(w->toolTip().isEmpty()) << w->objectName().toStdString();
        }
        dialog.reject();
    });
}

TEST(PasswordDialogTest, KeyboardOnlySignInWithRemember) {
    PasswordDialog dialog;
    const auto answer = askWith(dialog, [&] {
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Hunter2 "));
        // QTest types ASCII only; a letter from an input method arrives as text.
        dialog.passwordField()->insert(QStringLiteral("\u00e4"));
        EXPECT_TRUE(dialog.okButton()->isEnabled());
        type(Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget(), dialog.rememberBox());
        type(Qt::Key_Space);
        EXPECT_TRUE(dialog.rememberBox()->isChecked());
        type(Qt::Key_Return);
    });
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->first, store::imap::Secret(QStringLiteral("Hunter2 \u00e4").toUtf8()));
    EXPECT_TRUE(answer->second);
    // The typed password does not stay in the dialog.
    EXPECT_TRUE(dialog.passwordField()->text().isEmpty());
}

TEST(PasswordDialogTest, EnterSignsInWithoutRememberingByDefault) {
    PasswordDialog dialog;
    const auto answer = askWith(dialog, [&] {
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("pw"));
        type(Qt::Key_Return);
    });
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->first, store::imap::Secret(QByteArray("pw")));
    EXPECT_FALSE(answer->second);
}

TEST(PasswordDialogTest, MnemonicTicksTheBox) {
    PasswordDialog dialog;
    const auto answer = askWith(dialog, [&] {
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("pw"));
        // Through the window, as the platform delivers keys, so that shortcuts see it.
        QTest::keyClick(dialog.windowHandle(), Qt::Key_R, Qt::AltModifier);
        // A mnemonic presses the button visibly, so the click lands a moment later.
        for (int i = 0; i < 100 && !dialog.rememberBox()->isChecked(); ++i) {
            QTest::qWait(20);
        }
        EXPECT_TRUE(dialog.rememberBox()->isChecked());
        dialog.okButton()->click();
    });
    ASSERT_TRUE(answer.has_value());
    EXPECT_TRUE(answer->second);
}

TEST(PasswordDialogTest, EscapeCancelsAndForgetsWhatWasTyped) {
    PasswordDialog dialog;
    const auto answer = askWith(dialog, [&] {
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("Hunter2"));
        type(Qt::Key_Escape);
    });
    EXPECT_FALSE(answer.has_value());
    EXPECT_TRUE(dialog.passwordField()->text().isEmpty());

    // Asked again, the box and the field start empty.
    askWith(dialog, [&] {
        EXPECT_TRUE(dialog.passwordField()->text().isEmpty());
        EXPECT_FALSE(dialog.rememberBox()->isChecked());
        dialog.reject();
    });
}

TEST(PasswordDialogTest, WithoutAKeyringNothingIsRemembered) {
    PasswordDialog dialog(false);
    const auto answer = askWith(dialog, [&] {
        EXPECT_FALSE(dialog.rememberBox()->isEnabled());
        EXPECT_TRUE(dialog.rememberBox()->toolTip().contains(QStringLiteral("No system keyring")));
        dialog.rememberBox()->setChecked(true);  // even if something ticks it anyway
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("pw"));
        type(Qt::Key_Return);
    });
    ASSERT_TRUE(answer.has_value());
    EXPECT_FALSE(answer->second);
}

}  // namespace
}  // namespace tf
