#pragma once

#include <QDialog>

#include "outlook/server_account.h"

class QComboBox;
class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSpinBox;
class QStackedWidget;
class QWidget;

namespace tf {

// frmOpenStore: File > Open Store. The user picks a kind (a store file, a Maildir folder, a
// mail server) and names the store; location() is what to open. A password typed here is used
// for "Test connection" and, on Open, handed to the server backend in memory for that opening;
// it is never written anywhere.
class frmOpenStore : public QDialog {
    Q_OBJECT
  public:
    frmOpenStore(outlook::ServerBackend& server, QWidget* parent = nullptr);

    enum class Kind { StoreFile, Maildir, Server };
    void setKind(Kind kind);
    QString location() const;
    void accept() override;

  private:
    QWidget* buildFilePage();
    QWidget* buildMaildirPage();
    QWidget* buildServerPage();
    void browseFile();
    void browseMaildir();
    void testConnection();
    outlook::ServerAccount account() const;
    // Enables Open when the chosen kind names something that can be tried.
    void check();
    void fitHeight();

    outlook::ServerBackend& server_;
    QRadioButton* optStoreFile_ = nullptr;
    QRadioButton* optMaildir_ = nullptr;
    QRadioButton* optServer_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QLineEdit* txtStoreFile_ = nullptr;
    QLineEdit* txtMaildirFolder_ = nullptr;
    QLineEdit* txtMaildirName_ = nullptr;
    QLabel* lblMaildirCheck_ = nullptr;
    QLineEdit* txtHost_ = nullptr;
    QSpinBox* spnPort_ = nullptr;
    QLineEdit* txtUser_ = nullptr;
    QComboBox* cboTls_ = nullptr;
    QComboBox* cboSignIn_ = nullptr;
    QLineEdit* txtPassword_ = nullptr;
    QLineEdit* txtCommand_ = nullptr;
    QLabel* lblTestResult_ = nullptr;
    QDialogButtonBox* buttons_ = nullptr;
};

}  // namespace tf
