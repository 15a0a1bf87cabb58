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
  /// Names of modules; empty for none.
  std::string from;
  std::string to;
  bool json = false;
};
int check(const CheckOptions& options, std::ostream& output);

struct DrawOptions {
  std::string file;
  std::vector<std::string> libraries;
  /// Empty for the standard output.
  std::string target;
  bool dot = false;
  bool json = false;
  // Filters; empty for none. What passes all of them is drawn.
  std::string chain;
  std::string ancestors;
  std::string followers;
  std::string around;
  std::string from;
  std::string to;
  std::optional<std::size_t> depth;
  std::string title;
  std::string detail = "auto";
  bool noLegend = false;
};
int draw(const DrawOptions& options, std::ostream& output);

struct ExplainOptions {
  std::string file;
  std::vector<std::string> libraries;
  /// Names of modules. Empty: the start of the graph, and the end of the graph.
  std::string from;
  std::string to;
  std::string horizon;
  bool json = false;
};
int explain(const ExplainOptions& options, std::ostream& output);

}  // namespace Tessaril::Inspect
