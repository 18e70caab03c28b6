#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace tf::testing {

// Points HOME and the XDG folders at a fresh temporary folder for the life of the object, so a
// test never reads or writes the real home directory.
class TempHome {
  public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome&) = delete;
    TempHome& operator=(const TempHome&) = delete;

    QString path() const { return dir_.path(); }
    QString file(const QString& name) const { return dir_.filePath(name); }

  private:
    QTemporaryDir dir_;
    QByteArray saved_[4];
};

}  // namespace tf::testing
