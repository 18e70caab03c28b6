#pragma once

#include <QString>

namespace tf {

class Prompter;
struct CurrentError;

// Reports a failure on one item or folder during a deletion run; the user may silence the
// rest of the run's reports by answering Yes.
class ProcessError {
  public:
    ProcessError(Prompter& prompter, const CurrentError& currentError)
        : prompter_(prompter), currentError_(currentError) {}

    bool SuppressMessages() const { return suppress_; }
    void setSuppressMessages(bool suppress) { suppress_ = suppress; }

    void DisplayProcessingError(const QString& process, const QString& item);

    QString reportText(const QString& process, const QString& item) const;

  private:
    Prompter& prompter_;
    const CurrentError& currentError_;
    bool suppress_ = false;
};

}  // namespace tf
