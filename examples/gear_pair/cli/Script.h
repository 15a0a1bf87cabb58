#pragma once

#include <iosfwd>
#include <memory>
#include <stdexcept>
#include <string>

#include "examples/gear_pair/application/DesignSession.h"
#include "examples/gear_pair/cli/Arguments.h"

namespace GearPair {

/// Where a script writes, and what it knows of it.
struct Console {
  std::ostream& out;
  std::ostream& error;
  /// The error stream is a terminal: progress is drawn as a bar.
  bool errorIsTerminal = false;
  /// Characters in a line.
  int width = 100;
};

/// A file that cannot be written, in one sentence.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Carries out the steps of a command line on one design. Knows nothing of what depends on what:
/// each step is one call of the session.
class Script {
 public:
  Script(const Arguments& arguments, const OpenedDesign& opened, Console console);

  /// The exit code: 0; 1 when the last run could not make the design or an output has nothing to
  /// show; 2 when a design could not be opened, after which the steps go on with the design that is
  /// open. Throws InputError or UsageError before the first step when a step cannot be carried out,
  /// and OutputError or DesignFileError at the step whose file cannot be written.
  int run();

 private:
  void check() const;
  void checkHistory() const;
  void checkFiles() const;
  std::shared_ptr<DesignModule> moduleOf(const Step& step) const;
  void carryOut(const Step& step);
  void announce(const std::string& description);
  void open(const Step& step);
  void showClasses(const std::vector<Tessaril::ArchivedClass>& classes);
  void save(const Step& step);
  void change(const Step& step);
  void update(const std::shared_ptr<DesignModule>& end);
  void undo();
  void redo();
  void write(const Step& step);
  void writeTable();
  void writeCutter(const Step& step);
  void writeText(const Step& step, const DesignModule& module,
                 const std::shared_ptr<const std::string>& text);
  void complain(const std::string& sentence);
  std::string whyNotMade(const UpdateDesignCmd& update, const DesignModule& end) const;

  const Arguments& arguments;
  Console console;
  DesignSession session;
  std::vector<Tessaril::ArchivedClass> firstClasses;
  bool announcesSteps;
  bool wasRefused = false;
  /// A script that goes on after a refused design meant another one: it must not overwrite the file
  /// of the design that is open, unless it names it.
  bool mustNameFile = false;
  std::shared_ptr<UpdateDesignCmd> lastUpdate;
  int exitCode = 0;
};

}  // namespace GearPair
