#pragma once

#include <QString>
#include <exception>
#include <new>
#include <utility>

#include "common/failure.h"
#include "errors/current_error.h"
#include "errors/error_stack.h"

namespace tf {

// Failures that are not ours (a standard library exception, memory exhaustion) are reported like
// our own.
Failure asFailure(const std::exception& e);

// The label stack with its current error and the switch that makes procedures trap failures.
class ErrorContext {
  public:
    explicit ErrorContext(Prompter& prompter) : stack(prompter, current) {}

    CurrentError current;
    ErrorStack stack;
    bool Trap_Errors = true;

    // Runs body(Procedure&) as the procedure `name`. A failure is reported under that name, the
    // stack is cleared and false is returned, so the caller carries on as if the procedure had
    // ended. With trapping off the failure travels on to the caller unreported.
    template <typename Body>
    bool run(const QString& name, Body&& body);

    // Runs one call that is expected to fail now and then. The current error starts cleared; a
    // failure is recorded there and false returned, and nothing is shown. With trapping off the
    // failure travels on to the caller like any other.
    template <typename Call>
    bool attempt(Call&& call);

  private:
    void report(const QString& trap, const Failure& failure) {
        current.set(failure);
        stack.Display(trap);
        stack.Clear();
    }
};

// Pushes a procedure's name for as long as it runs, and its step labels as it reaches them. On
// the normal way out it pops what it pushed; while a failure unwinds it leaves the stack alone,
// so that the report shows where the failure arose.
class Procedure {
  public:
    Procedure(ErrorStack& stack, QString name)
        : stack_(stack), name_(std::move(name)), unwinding_(std::uncaught_exceptions()) {
        stack_.PUSH(name_, 0);
    }
    ~Procedure() {
        if (std::uncaught_exceptions() == unwinding_) {
            stack_.POP(steps_ + 1);
        }
    }
    Procedure(const Procedure&) = delete;
    Procedure& operator=(const Procedure&) = delete;

    // Pushes "name - step" as the current step marker.
    void step(const QString& step, std::int32_t kind = 0) {
        stack_.PUSH(name_ + QStringLiteral(" - ") + step, kind);
        ++steps_;
    }
    // Removes the step labels pushed since the last call.
    void endSteps() {
        stack_.POP(steps_);
        steps_ = 0;
    }
    const QString& name() const { return name_; }

  private:
    ErrorStack& stack_;
    QString name_;
    int unwinding_;
    std::int32_t steps_ = 0;
};

template <typename Body>
bool ErrorContext::run(const QString& name, Body&& body) {
    if (!Trap_Errors) {
        Procedure procedure(stack, name);
        body(procedure);
        return true;
    }
    try {
        Procedure procedure(stack, name);
        body(procedure);
        return true;
    } catch (const Failure& failure) {
        report(name, failure);
    } catch (const std::exception& e) {
        report(name, asFailure(e));
    }
    return false;
}

template <typename Call>
bool ErrorContext::attempt(Call&& call) {
    current.clear();
    if (!Trap_Errors) {
        call();
        return true;
    }
    try {
        call();
        return true;
    } catch (const Failure& failure) {
        current.set(failure);
    } catch (const std::exception& e) {
        current.set(asFailure(e));
    }
    return false;
}

}  // namespace tf
