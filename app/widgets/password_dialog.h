#pragma once

#include <QDialog>

#include "store/imap/credentials.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace tf {

// Asks for the password of a server account the keyring has none for: the account, a hidden
// password field and a "Remember in the keyring" box. Modal, once per sign-in.
class PasswordDialog : public QDialog, public store::imap::PasswordPrompt {
    Q_OBJECT
  public:
    // keyringAvailable: whether remembering can work here; the box is disabled otherwise.
    explicit PasswordDialog(bool keyringAvailable = true, QWidget* parent = nullptr);
    ~PasswordDialog() override;

    std::optional<std::pair<store::imap::Secret, bool>> ask(
        const store::imap::ImapAccount& account) override;

    QLabel* accountLabel() const { return account_; }
    QLineEdit* passwordField() const { return password_; }
    QCheckBox* rememberBox() const { return remember_; }
    QPushButton* okButton() const { return ok_; }

  private:
    void forget();

    QLabel* account_ = nullptr;
    QLineEdit* password_ = nullptr;
    QCheckBox* remember_ = nullptr;
    QPushButton* ok_ = nullptr;
};

}  // namespace tf
