#pragma once

#include <QString>
#include <exception>
#include <string>

namespace tf {

// Error numbers of the classic runtime that the window's reports print.
namespace err {
inline constexpr int kInvalidArgument = 5;
inline constexpr int kOverflow = 6;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kSubscriptOutOfRange = 9;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kInternal = 51;
inline constexpr int kFileNotFound = 53;
inline constexpr int kPermissionDenied = 70;
inline constexpr int kObjectNotSet = 91;
inline constexpr int kNotSupported = 438;
// What an automation server reports for a failed call (DISP_E_EXCEPTION).
inline constexpr int kAutomation = -2147352567;
}  // namespace err

// A failure with the three facts an error report prints: number, description and source.
class Failure : public std::exception {
  public:
    Failure(int number, QString description, QString source = QStringLiteral("Tidyfold"))
        : number_(number),
          description_(std::move(description)),
          source_(std::move(source)),
          what_(description_.toStdString()) {}

    int number() const { return number_; }
    const QString& description() const { return description_; }
    const QString& source() const { return source_; }
    const char* what() const noexcept override { return what_.c_str(); }

  private:
    int number_;
    QString description_;
    QString source_;
    std::string what_;
};

}  // namespace tf
