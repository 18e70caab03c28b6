#pragma once

#include <QDialog>
#include <functional>

#include "help/application_info.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

namespace tf {

// frmAbout: the program's title, version and legal notice, and two ways to the maker's home
// page in the program's own browser window.
class frmAbout : public QDialog {
    Q_OBJECT
  public:
    // The maker's home page as a fixed address (Label3) and as kept by start-up (cmdHomePage).
    static inline const QString kMakersHomePage = QStringLiteral("https://tidyfold.org/");

    frmAbout(const ApplicationInfo& application, QString homePage,
             std::function<void(const QString&)> openBrowser, QWidget* parent = nullptr);

    QLineEdit* txtVersionNumber() const { return version_; }

  private:
    QString homePage_;
    std::function<void(const QString&)> openBrowser_;
    QLineEdit* version_ = nullptr;
};

}  // namespace tf
