#pragma once

#include <QString>
#include <cstdint>
#include <vector>

namespace tf {

class Prompter;
struct CurrentError;

// Marks an entry pushed around work on folders or items that may vanish while the program runs;
// a failure under it is reported as a likely deletion rather than a fault.
inline constexpr std::int32_t kVolatileEntry = 1;

struct StackEntry {
    QString Label;
    std::int32_t Kind = 0;
};

// The stack of procedure and step labels that lets an error report name where a failure arose.
class ErrorStack {
  public:
    ErrorStack(Prompter& prompter, CurrentError& currentError);

    void PUSH(const QString& label, std::int32_t kind = 0);
    void POP(std::int32_t n = 1);
    void Clear();
    void DisplayStack() const;
    void Display(const QString& trap) const;

    std::int32_t count() const { return count_; }
    std::int32_t capacity() const { return capacity_; }
    // 1-based, as the entries are numbered in reports.
    const StackEntry& entry(std::int32_t index) const;

    // The report texts, exposed so that the exact wording is testable in one place.
    QString stackListing() const;
    QString reportText(const QString& trap) const;

  private:
    Prompter& prompter_;
    CurrentError& currentError_;
    std::vector<StackEntry> entries_;  // entries_[i - 1] is entry i
    std::int32_t count_ = 0;
    std::int32_t capacity_ = 10;
};

// The support line printed in every error report.
extern const QString kSupportContact;

}  // namespace tf
