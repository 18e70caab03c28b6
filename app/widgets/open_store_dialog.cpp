#include "app/widgets/open_store_dialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWhatsThis>

#include "app/store_choice.h"

namespace tf {

namespace {

// Every control explains itself twice: briefly on hover, at more length through What's This.
template <typename W>
W* explained(W* widget, const QString& name, const QString& tip, const QString& more) {
    widget->setObjectName(name);
    widget->setToolTip(tip);
    widget->setWhatsThis(QStringLiteral("<p><b>%1</b></p><p>%2</p>").arg(tip, more));
    return widget;
}

QLabel* buddyLabel(const QString& text, QWidget* buddy) {
    auto* label = new QLabel(text);
    label->setBuddy(buddy);
    return label;
}

constexpr int kImapsPort = 993;
constexpr int kImapPort = 143;

}  // namespace

frmOpenStore::frmOpenStore(outlook::ServerBackend& server, QWidget* parent)
    : QDialog(parent), server_(server) {
    setObjectName(QStringLiteral("frmOpenStore"));
    setWindowTitle(QStringLiteral("Open Store"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, true);
    auto* layout = new QVBoxLayout(this);

    auto* kinds = new QHBoxLayout;
    optStoreFile_ =
        explained(new QRadioButton(QStringLiteral("&Store file")), QStringLiteral("optStoreFile"),
                  QStringLiteral("Open a Tidyfold store file."),
                  QStringLiteral("A store file (.tidystore) holds one or more stores "
                                 "with their folders and items, as the sample store "
                                 "does."));
    optMaildir_ =
        explained(new QRadioButton(QStringLiteral("&Maildir folder")), QStringLiteral("optMaildir"),
                  QStringLiteral("Open a Maildir++ folder, as Dovecot, mutt or mbsync "
                                 "keep mail."),
                  QStringLiteral("Choose the folder that holds cur/, new/ and tmp/. Its "
                                 "sub-folders (.Name) show below it in the tree."));
    optServer_ =
        explained(new QRadioButton(QStringLiteral("Mail se&rver")), QStringLiteral("optServer"),
                  QStringLiteral("Open an account on a mail server (IMAP)."),
                  QStringLiteral("Names the server, the user and how to sign in. A "
                                 "password is used for this connection only and never "
                                 "kept."));
    auto* group = new QButtonGroup(this);
    for (QRadioButton* option : {optStoreFile_, optMaildir_, optServer_}) {
        group->addButton(option);
        kinds->addWidget(option);
    }
    kinds->addStretch(1);
    layout->addLayout(kinds);

    pages_ = new QStackedWidget(this);
    pages_->addWidget(buildFilePage());
    pages_->addWidget(buildMaildirPage());
    pages_->addWidget(buildServerPage());
    layout->addWidget(pages_);

    if (!server_.available()) {
        // Shown, so that people know it is coming, but not usable until the backend is there.
        optServer_->setEnabled(false);
        optServer_->setToolTip(server_.unavailableReason());
        pages_->widget(2)->setEnabled(false);
        pages_->widget(2)->setToolTip(server_.unavailableReason());
    }

    buttons_ = new QDialogButtonBox(QDialogButtonBox::Open | QDialogButtonBox::Cancel, this);
    buttons_->setObjectName(QStringLiteral("cmdOpenStoreButtons"));
    explained(buttons_->button(QDialogButtonBox::Open), QStringLiteral("cmdOpen"),
              QStringLiteral("Open the store and add it to the folder tree."),
              QStringLiteral("The store joins the tree at once and is opened again at the next "
                             "start."));
    explained(buttons_->button(QDialogButtonBox::Cancel), QStringLiteral("cmdCancel"),
              QStringLiteral("Close this window without opening a store."),
              QStringLiteral("Nothing changes."));
    layout->addWidget(buttons_);
    connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);

    connect(optStoreFile_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            setKind(Kind::StoreFile);
        }
    });
    connect(optMaildir_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            setKind(Kind::Maildir);
        }
    });
    connect(optServer_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) {
            setKind(Kind::Server);
        }
    });
    // The keyboard's way to the fields' explanations, as the title bar's question mark is the
    // mouse's.
    auto* explain = new QShortcut(QKeySequence::WhatsThis, this);
    connect(explain, &QShortcut::activated, this, [] { QWhatsThis::enterWhatsThisMode(); });
    // Room for a whole path and for the Maildir check's two or three lines.
    setMinimumWidth(fontMetrics().averageCharWidth() * 80);
    // Most people who open a store of their own keep their mail in a Maildir.
    setKind(Kind::Maildir);
}

QWidget* frmOpenStore::buildFilePage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto* row = new QHBoxLayout;
    txtStoreFile_ = explained(new QLineEdit, QStringLiteral("txtStoreFile"),
                              QStringLiteral("The store file to open."),
                              QStringLiteral("Type its path or choose it with Browse."));
    auto* browse = explained(
        new QPushButton(QStringLiteral("&Browse...")), QStringLiteral("cmdBrowseFile"),
        QStringLiteral("Choose the store file."), QStringLiteral("Opens a file chooser."));
    row->addWidget(txtStoreFile_, 1);
    row->addWidget(browse);
    form->addRow(buddyLabel(QStringLiteral("&File:"), txtStoreFile_), row);
    connect(browse, &QPushButton::clicked, this, &frmOpenStore::browseFile);
    connect(txtStoreFile_, &QLineEdit::textChanged, this, &frmOpenStore::check);
    return page;
}

QWidget* frmOpenStore::buildMaildirPage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto* row = new QHBoxLayout;
    txtMaildirFolder_ =
        explained(new QLineEdit, QStringLiteral("txtMaildirFolder"),
                  QStringLiteral("The Maildir folder: the one that holds cur/, new/ and tmp/."),
                  QStringLiteral("Type its path or choose it with Browse. Below, the window says "
                                 "what is missing when it is not a Maildir folder."));
    auto* browse = explained(
        new QPushButton(QStringLiteral("&Browse...")), QStringLiteral("cmdBrowseMaildir"),
        QStringLiteral("Choose the Maildir folder."), QStringLiteral("Opens a folder chooser."));
    row->addWidget(txtMaildirFolder_, 1);
    row->addWidget(browse);
    form->addRow(buddyLabel(QStringLiteral("&Folder:"), txtMaildirFolder_), row);
    txtMaildirName_ = explained(new QLineEdit, QStringLiteral("txtMaildirName"),
                                QStringLiteral("How the store shows in the tree; empty: after "
                                               "the folder."),
                                QStringLiteral("A name such as Work tells two Maildir folders "
                                               "apart."));
    txtMaildirName_->setPlaceholderText(QStringLiteral("the folder's name"));
    form->addRow(buddyLabel(QStringLiteral("&Name:"), txtMaildirName_), txtMaildirName_);
    lblMaildirCheck_ = explained(new QLabel, QStringLiteral("lblMaildirCheck"),
                                 QStringLiteral("Whether the folder is a Maildir folder."),
                                 QStringLiteral("Names what is missing, if anything."));
    lblMaildirCheck_->setWordWrap(true);
    lblMaildirCheck_->setMinimumHeight(lblMaildirCheck_->fontMetrics().lineSpacing() * 3);
    lblMaildirCheck_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    form->addRow(lblMaildirCheck_);
    connect(browse, &QPushButton::clicked, this, &frmOpenStore::browseMaildir);
    connect(txtMaildirFolder_, &QLineEdit::textChanged, this, &frmOpenStore::check);
    return page;
}

QWidget* frmOpenStore::buildServerPage() {
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    txtHost_ = explained(new QLineEdit, QStringLiteral("txtHost"),
                         QStringLiteral("The mail server's name, such as imap.example.org."),
                         QStringLiteral("The server that keeps the account's mail (IMAP)."));
    form->addRow(buddyLabel(QStringLiteral("&Host:"), txtHost_), txtHost_);
    spnPort_ = explained(new QSpinBox, QStringLiteral("spnPort"),
                         QStringLiteral("The server's port: 993 with TLS from the start, 143 "
                                        "with STARTTLS."),
                         QStringLiteral("Changes with the TLS mode unless you set it."));
    spnPort_->setRange(1, 65535);
    spnPort_->setValue(kImapsPort);
    form->addRow(buddyLabel(QStringLiteral("&Port:"), spnPort_), spnPort_);
    txtUser_ = explained(new QLineEdit, QStringLiteral("txtUser"),
                         QStringLiteral("The user name to sign in with."),
                         QStringLiteral("Often the whole mail address."));
    form->addRow(buddyLabel(QStringLiteral("&User:"), txtUser_), txtUser_);
    cboTls_ = explained(new QComboBox, QStringLiteral("cboTls"),
                        QStringLiteral("How the connection is encrypted."),
                        QStringLiteral("The server's certificate is always checked; a "
                                       "connection without TLS is not offered."));
    cboTls_->addItems({QStringLiteral("TLS from the start"), QStringLiteral("STARTTLS")});
    form->addRow(buddyLabel(QStringLiteral("&TLS:"), cboTls_), cboTls_);
    cboSignIn_ = explained(new QComboBox, QStringLiteral("cboSignIn"),
                           QStringLiteral("How Tidyfold signs in."),
                           QStringLiteral("A password typed here is used for the connection and "
                                          "never kept. A command prints the password or an OAuth2 "
                                          "token each time one is needed, from your password "
                                          "manager for example."));
    cboSignIn_->addItems({QStringLiteral("Password"), QStringLiteral("Password command"),
                          QStringLiteral("OAuth2 token command")});
    form->addRow(buddyLabel(QStringLiteral("S&ign-in:"), cboSignIn_), cboSignIn_);
    txtPassword_ = explained(new QLineEdit, QStringLiteral("txtPassword"),
                             QStringLiteral("The password, for this connection only."),
                             QStringLiteral("It is never written to the settings or a log."));
    txtPassword_->setEchoMode(QLineEdit::Password);
    form->addRow(buddyLabel(QStringLiteral("Pass&word:"), txtPassword_), txtPassword_);
    txtCommand_ = explained(new QLineEdit, QStringLiteral("txtCommand"),
                            QStringLiteral("The command that prints the password or the token."),
                            QStringLiteral("Such as: pass show mail/work"));
    form->addRow(buddyLabel(QStringLiteral("Comman&d:"), txtCommand_), txtCommand_);
    auto* test = explained(new QPushButton(QStringLiteral("T&est connection")),
                           QStringLiteral("cmdTestConnection"),
                           QStringLiteral("Tries to reach the server and sign in."),
                           QStringLiteral("Reports success, or the server's own reason or the "
                                          "certificate check's."));
    lblTestResult_ = explained(new QLabel, QStringLiteral("lblTestResult"),
                               QStringLiteral("What the connection test found."),
                               QStringLiteral("Success, or why the connection failed."));
    lblTestResult_->setWordWrap(true);
    form->addRow(test, lblTestResult_);

    const auto signInChanged = [this] {
        const bool password = cboSignIn_->currentIndex() == 0;
        txtPassword_->setEnabled(password);
        txtCommand_->setEnabled(!password);
        check();
    };
    connect(cboSignIn_, &QComboBox::currentIndexChanged, this, signInChanged);
    connect(cboTls_, &QComboBox::currentIndexChanged, this,
            [this](int index) { spnPort_->setValue(index == 0 ? kImapsPort : kImapPort); });
    connect(txtHost_, &QLineEdit::textChanged, this, &frmOpenStore::check);
    connect(txtUser_, &QLineEdit::textChanged, this, &frmOpenStore::check);
    connect(test, &QPushButton::clicked, this, &frmOpenStore::testConnection);
    signInChanged();
    return page;
}

void frmOpenStore::setKind(Kind kind) {
    const int page = static_cast<int>(kind);
    QRadioButton* option = kind == Kind::StoreFile ? optStoreFile_
                           : kind == Kind::Maildir ? optMaildir_
                                                   : optServer_;
    if (!option->isChecked()) {
        option->setChecked(true);
    }
    pages_->setCurrentIndex(page);
    // The window is as tall as the chosen kind needs, not as the longest form.
    for (int i = 0; i < pages_->count(); ++i) {
        pages_->widget(i)->setSizePolicy(i == page ? QSizePolicy::Preferred : QSizePolicy::Ignored,
                                         i == page ? QSizePolicy::Preferred : QSizePolicy::Ignored);
    }
    pages_->updateGeometry();
    layout()->invalidate();
    layout()->activate();
    adjustSize();
    // A page shown again keeps the geometry it had when it was hidden unless it is given the
    // stack's.
    pages_->currentWidget()->setGeometry(pages_->contentsRect());
    check();
}

void frmOpenStore::check() {
    if (buttons_ == nullptr) {
        return;
    }
    bool ready = false;
    switch (static_cast<Kind>(pages_->currentIndex())) {
        case Kind::StoreFile:
            ready = !txtStoreFile_->text().trimmed().isEmpty();
            break;
        case Kind::Maildir: {
            const QString problem = maildirProblem(txtMaildirFolder_->text().trimmed());
            lblMaildirCheck_->setText(problem.isEmpty()
                                          ? QStringLiteral("A Maildir folder: it holds cur/, "
                                                           "new/ and tmp/.")
                                          : problem);
            ready = problem.isEmpty();
            break;
        }
        case Kind::Server:
            ready = server_.available() && !txtHost_->text().trimmed().isEmpty() &&
                    !txtUser_->text().trimmed().isEmpty();
            break;
    }
    buttons_->button(QDialogButtonBox::Open)->setEnabled(ready);
    fitHeight();
}

void frmOpenStore::fitHeight() {
    // A longer message wraps onto more lines: the window grows with it, never cuts it off.
    const int wanted = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width())
                                                     : layout()->totalSizeHint().height();
    if (wanted > height()) {
        resize(width(), wanted);
    }
}

QString frmOpenStore::location() const {
    switch (static_cast<Kind>(pages_->currentIndex())) {
        case Kind::StoreFile:
            return storeFileLocation(txtStoreFile_->text());
        case Kind::Maildir:
            return maildirLocation(txtMaildirFolder_->text(), txtMaildirName_->text());
        case Kind::Server:
            return server_.location(account());
    }
    return {};
}

outlook::ServerAccount frmOpenStore::account() const {
    outlook::ServerAccount account;
    account.host = txtHost_->text().trimmed();
    account.port = spnPort_->value();
    account.user = txtUser_->text().trimmed();
    account.tls = cboTls_->currentIndex() == 0 ? outlook::ServerAccount::Tls::Implicit
                                               : outlook::ServerAccount::Tls::StartTls;
    account.signIn = static_cast<outlook::ServerAccount::SignIn>(cboSignIn_->currentIndex());
    if (account.signIn != outlook::ServerAccount::SignIn::Password) {
        account.command = txtCommand_->text().trimmed();
    }
    return account;
}

void frmOpenStore::accept() {
    if (static_cast<Kind>(pages_->currentIndex()) == Kind::Server &&
        cboSignIn_->currentIndex() == 0) {
        // Asked once: the opening signs in with what was typed here.
        server_.keepTypedPassword(account(), txtPassword_->text());
        txtPassword_->clear();
    }
    QDialog::accept();
}

void frmOpenStore::testConnection() {
    const outlook::ConnectionTest result = server_.testConnection(
        account(), cboSignIn_->currentIndex() == 0 ? txtPassword_->text() : QString());
    lblTestResult_->setText(result.ok ? QStringLiteral("The connection works.") : result.reason);
}

void frmOpenStore::browseFile() {
    const QString file = QFileDialog::getOpenFileName(
        this, QStringLiteral("Store File"), QDir::homePath(),
        QStringLiteral("Tidyfold stores (*.tidystore);;All files (*)"));
    if (!file.isEmpty()) {
        txtStoreFile_->setText(file);
    }
}

void frmOpenStore::browseMaildir() {
    const QString folder =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Maildir Folder"), QDir::homePath());
    if (!folder.isEmpty()) {
        txtMaildirFolder_->setText(folder);
    }
}

}  // namespace tf
