#include "app/widgets/password_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tf {

PasswordDialog::PasswordDialog(bool keyringAvailable, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmPassword"));
    setWindowTitle(QStringLiteral("Sign in"));
    setModal(true);

    account_ = new QLabel(this);
    account_->setObjectName(QStringLiteral("lblAccount"));
    account_->setTextFormat(Qt::PlainText);
    account_->setWordWrap(true);

    password_ = new QLineEdit(this);
    password_->setObjectName(QStringLiteral("txtPassword"));
    password_->setEchoMode(QLineEdit::Password);
    // Keeps the typed password out of input-method helpers and the clipboard.
    password_->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhSensitiveData |
                                   Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    password_->setContextMenuPolicy(Qt::NoContextMenu);
    password_->setToolTip(QStringLiteral("The password of this account on the server"));
    auto* passwordLabel = new QLabel(QStringLiteral("&Password:"), this);
    passwordLabel->setBuddy(password_);

    remember_ = new QCheckBox(QStringLiteral("&Remember in the keyring"), this);
    remember_->setObjectName(QStringLiteral("chkRemember"));
    remember_->setEnabled(keyringAvailable);
    remember_->setToolTip(keyringAvailable
                              ? QStringLiteral("Keep the password in the system keyring, so "
                                               "that Tidyfold does not ask again")
                              : QStringLiteral("No system keyring is available; the password "
                                               "is used for this session only"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    ok_->setObjectName(QStringLiteral("cmdOK"));
    ok_->setToolTip(QStringLiteral("Sign in with this password"));
    ok_->setEnabled(false);
    QPushButton* cancel = buttons->button(QDialogButtonBox::Cancel);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    cancel->setToolTip(QStringLiteral("Do not sign in; the account stays closed"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(password_, &QLineEdit::textChanged, this,
            [this](const QString& text) { ok_->setEnabled(!text.isEmpty()); });

    auto* form = new QFormLayout;
    form->addRow(passwordLabel, password_);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(account_);
    layout->addLayout(form);
    layout->addWidget(remember_);
    layout->addWidget(buttons);
    setMinimumWidth(380);
}

PasswordDialog::~PasswordDialog() {
    forget();
}

std::optional<std::pair<store::imap::Secret, bool>> PasswordDialog::ask(
    const store::imap::ImapAccount& account) {
    forget();
    remember_->setChecked(false);
    account_->setText(QStringLiteral("Tidyfold needs the password of %1 to open %2.")
                          .arg(account.location(), account.displayName));
    password_->setFocus();
    const bool accepted = exec() == QDialog::Accepted && !password_->text().isEmpty();
    std::optional<std::pair<store::imap::Secret, bool>> answer;
    if (accepted) {
        answer.emplace(store::imap::Secret(password_->text().toUtf8()),
                       remember_->isEnabled() && remember_->isChecked());
    }
    forget();
    return answer;
}

// Overwrites the typed text before letting it go, so it does not linger in the widget.
void PasswordDialog::forget() {
    password_->setText(QString(password_->text().size(), QLatin1Char(' ')));
    password_->clear();
}

}  // namespace tf
