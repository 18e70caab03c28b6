#include "errors/error_stack.h"

#include "common/numbers.h"
#include "common/prompter.h"
#include "errors/current_error.h"

namespace tf {

const QString kSupportContact = QStringLiteral("Tidyfold Support, support@tidyfold.org");

namespace {
const QString kCrLf = QStringLiteral("\r\n");
const QString kTab = QStringLiteral("\t");
}  // namespace

ErrorStack::ErrorStack(Prompter& prompter, CurrentError& currentError)
    : prompter_(prompter), currentError_(currentError), entries_(10) {}

void ErrorStack::PUSH(const QString& label, std::int32_t kind) {
    // Grows when this push fills the last element, one push earlier than strictly needed.
    if (capacity_ <= checkedAdd(count_, 1)) {
        capacity_ = checkedAdd(capacity_, 10);
        entries_.resize(static_cast<std::size_t>(capacity_));
    }
    count_ = checkedAdd(count_, 1);
    entries_[static_cast<std::size_t>(count_ - 1)] = StackEntry{label, kind};
}

void ErrorStack::POP(std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) {
        if (count_ >= 1) {
            --count_;
        }
    }
}

void ErrorStack::Clear() {
    count_ = 0;
}

const StackEntry& ErrorStack::entry(std::int32_t index) const {
    return entries_.at(static_cast<std::size_t>(index - 1));
}

QString ErrorStack::stackListing() const {
    QString text;
    for (std::int32_t i = 1; i <= count_; ++i) {
        text += kCrLf + entry(i).Label;
    }
    return text;
}

void ErrorStack::DisplayStack() const {
    prompter_.ask(stackListing(), Prompter::OkOnly);
}

QString ErrorStack::reportText(const QString& trap) const {
    const CurrentError& e = currentError_;
    const QString number = QString::number(e.number);
    if (count_ == 0) {
        return QStringLiteral("An un-referenced error has occurred.") + kCrLf + kCrLf +
               QStringLiteral("Please note the following Source and Description and notify") +
               kCrLf + kSupportContact + kCrLf + kCrLf + QStringLiteral("Source:    ") + kTab +
               e.source + kCrLf + QStringLiteral("Trap:      ") + kTab + kTab + trap + kCrLf +
               QStringLiteral("Descripton:") + kTab + e.description + kCrLf +
               QStringLiteral("Number:    ") + kTab + number;
    }
    const StackEntry& top = entry(count_);
    const QString preamble =
        top.Kind == kVolatileEntry
            ? QStringLiteral("A folder or item may have been deleted during processing.") + kCrLf +
                  QStringLiteral("The folder tree will be refreshed then please try again.") +
                  kCrLf + kCrLf
            : QStringLiteral(
                  "Please note the following Source, Location and Description and notify") +
                  kCrLf + kSupportContact + kCrLf + kCrLf;
    return QStringLiteral("An error has occurred.") + kCrLf + kCrLf + preamble +
           QStringLiteral("Source:    ") + kTab + e.source + kCrLf + QStringLiteral("Trap:      ") +
           kTab + kTab + trap + kCrLf + QStringLiteral("Location:  ") + kTab + top.Label + kCrLf +
           QStringLiteral("Descripton:") + kTab + e.description + kCrLf +
           QStringLiteral("Number:    ") + kTab + number;
}

void ErrorStack::Display(const QString& trap) const {
    prompter_.ask(reportText(trap), Prompter::OkOnly | Prompter::Critical);
    DisplayStack();
    currentError_.clear();
}

}  // namespace tf
