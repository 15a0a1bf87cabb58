#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace GearPair {

/// A command line that cannot be understood, in one sentence.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What one step of the command line does.
enum class Action {
  // Changes
  kOpen,
  kSet,
  kSetUnitSystem,
  kFreeze,
  kUnfreeze,
  kSkip,
  kUnskip,
  // Runs
  kUpdate,
  kUpTo,
  kUndo,
  kRedo,
  // Outputs
  kTable,
  kFigures,
  kReport,
  kPlan,
  kDrawing,
  kCutter,
  kDump,
  kSave,
  kSaveAs,
  kSay,
};

struct Step {
  Action action;
  /// The word after the option; empty for options without one.
  std::string argument;
};

struct Arguments {
  bool help = false;
  std::string designFile;
  /// In the order in which they are carried out.
  std::vector<Step> steps;
  /// Worker threads; 0 runs all steps inline.
  std::size_t threads = 1;
  /// Updates go on to the manufacturing plan.
  bool horizon = false;
};

/// Reads the words behind the program's name.
///
/// Without a run among the steps, each design that is opened is updated once, after all changes and
/// before all outputs that stand before the opening of the next one; without an output, the table
/// is printed at the end. Throws UsageError.
Arguments parseArguments(const std::vector<std::string>& words);

/// What --help prints.
std::string helpText();

}  // namespace GearPair
