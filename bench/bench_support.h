#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

// What the subcommands of tidyfold-bench share: their registration, their arguments and the
// "name: value" lines they print.
class QTemporaryDir;

namespace tf::bench {

// One subcommand ("load", "clean", "maildir"). run() gets the arguments after the name and
// returns the exit code.
struct Command {
    QString name;
    QString usage;
    std::function<int(const QStringList& args)> run;
};

// Registers a subcommand at start-up; a file defines one with
//   static const bool registered = tf::bench::addCommand({...});
bool addCommand(Command command);
const std::vector<Command>& commands();

// "--items 100000" style options. A missing option gives the fallback; a value that is not a
// whole number, or an option not in `known`, makes valid() false and error() say why.
class Options {
  public:
    Options(const QStringList& args, const QStringList& known);
    bool valid() const { return error_.isEmpty(); }
    const QString& error() const { return error_; }
    qint64 number(const QString& name, qint64 fallback) const;
    QString text(const QString& name, const QString& fallback = {}) const;

  private:
    std::vector<std::pair<QString, QString>> values_;
    QString error_;
};

// Prints "name: value" with the value as given.
// A scratch folder under --dir (the temporary folder by default), removed at the end, with the
// user's cache folder pointed inside it, so that a run finds no cache and leaves none behind.
// Throws tf::Failure when it cannot be made.
std::unique_ptr<QTemporaryDir> scratchWithCache(const Options& options);

void print(const char* name, double value);
void print(const char* name, const QString& value);

// Seconds taken by work, measured with a monotonic clock.
double seconds(const std::function<void()>& work);

// The process's peak resident set so far, in MiB; -1 where the system does not say.
double peakRssMb();
// The process's resident set now, in MiB; -1 where the system does not say.
double residentMb();

}  // namespace tf::bench
