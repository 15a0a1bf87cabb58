#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaril::Inspect {

/// What the program ends with.
enum ExitCode { kFine = 0, kFindings = 1, kBadInput = 2 };

/// Input that a command can do nothing with. The text is one line for the user.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Each command writes what it found to `output` and returns an ExitCode. It throws an
// std::exception, one sentence, for what it cannot do.

struct ShowOptions {
  std::string file;
  std::vector<std::string> libraries;
  bool blocks = false;
  bool json = false;
};
int show(const ShowOptions& options, std::ostream& output);

struct DiffOptions {
  std::string before;
  std::string after;
  bool json = false;
};
int diff(const DiffOptions& options, std::ostream& output);

struct CheckOptions {
  std::string file;
  std::vector<std::string> libraries;
  /// Names of modules: both or none.
  std::optional<std::string> from;
  std::optional<std::string> to;
  bool json = false;
};
int check(const CheckOptions& options, std::ostream& output);

struct DrawOptions {
  std::string file;
  std::vector<std::string> libraries;
  /// A file; none for the standard output.
  std::optional<std::string> target;
  bool dot = false;
  bool json = false;
  // Filters. What passes all of them is drawn.
  std::optional<std::string> chain;
  std::optional<std::string> ancestors;
  std::optional<std::string> followers;
  std::optional<std::string> around;
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::optional<std::size_t> depth;
  /// A file of recorded runs; what the last one did is drawn.
  std::optional<std::string> run;
  std::string title;
  std::string detail = "auto";
  bool noLegend = false;
};
int draw(const DrawOptions& options, std::ostream& output);

struct ExplainOptions {
  std::string file;
  std::vector<std::string> libraries;
  /// Names of modules. None: the start of the graph, the end of the graph, no horizon.
  std::optional<std::string> from;
  std::optional<std::string> to;
  std::optional<std::string> horizon;
  bool json = false;
};
int explain(const ExplainOptions& options, std::ostream& output);

struct CostOptions {
  /// Files of recorded runs.
  std::vector<std::string> runs;
  bool json = false;
};
int cost(const CostOptions& options, std::ostream& output);

}  // namespace Tessaril::Inspect
