#include "examples/gear_pair/cli/Arguments.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>
#include <utility>

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

struct Option {
  Action action;
  /// What the word after the option is; null for options without one.
  const char* argumentName;
};

const std::map<std::string, Option>& stepOptions() {
  static const std::map<std::string, Option> options{
      {"--open", {Action::kOpen, "a design file"}},
      {"--set", {Action::kSet, "NAME=VALUE"}},
      {"--unit-system", {Action::kSetUnitSystem, "metric or us"}},
      {"--freeze", {Action::kFreeze, "a module"}},
      {"--unfreeze", {Action::kUnfreeze, "a module"}},
      {"--skip", {Action::kSkip, "a module"}},
      {"--unskip", {Action::kUnskip, "a module"}},
      {"--update", {Action::kUpdate, nullptr}},
      {"--up-to", {Action::kUpTo, "a module"}},
      {"--undo", {Action::kUndo, nullptr}},
      {"--redo", {Action::kRedo, nullptr}},
      {"--table", {Action::kTable, nullptr}},
      {"--figures", {Action::kFigures, nullptr}},
      {"--report", {Action::kReport, "a file, or - for the standard output"}},
      {"--plan", {Action::kPlan, "a file, or - for the standard output"}},
      {"--drawing", {Action::kDrawing, "a file"}},
      {"--cutter", {Action::kCutter, "a file"}},
      {"--dump", {Action::kDump, "a file"}},
      {"--save", {Action::kSave, nullptr}},
      {"--save-as", {Action::kSaveAs, "a file"}},
      {"--say", {Action::kSay, "a text"}},
  };
  return options;
}

bool isChange(const Step& step) { return step.action <= Action::kUnskip; }
bool isRun(const Step& step) {
  return step.action >= Action::kUpdate && step.action < Action::kTable;
}
bool opensDesign(const Step& step) { return step.action == Action::kOpen; }
bool isOutput(const Step& step) { return step.action >= Action::kTable; }

std::size_t readThreads(const std::string& word) {
  constexpr std::size_t kMost = 64;
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
  if (error != std::errc() || end != word.data() + word.size() || count > kMost) {
    throw UsageError("--threads needs a number from 0 to " + std::to_string(kMost) + ", not " +
                     inQuotes(word));
  }
  return count;
}

std::string unknownOption(const std::string& word) {
  std::vector<std::string> known{"--help", "--threads", "--horizon"};
  for (const auto& [name, option] : stepOptions()) {
    known.push_back(name);
  }
  const std::string nearest = nearestWord(word, known);
  return "there is no option " + inQuotes(word) +
         (nearest.empty() ? "; see --help" : "; did you mean " + nearest + "?");
}

/// Goes through the words once.
class Parser {
 public:
  explicit Parser(const std::vector<std::string>& allWords) : words(allWords) {}

  Arguments parse() {
    while (next < words.size()) {
      take(words[next++]);
    }
    if (!arguments.help && arguments.designFile.empty()) {
      throw UsageError("a design file is missing; try 'gear_pair DESIGN.gear', or --help");
    }
    return arguments;
  }

 private:
  void take(const std::string& word) {
    if (word == "--help" || word == "-h") {
      arguments.help = true;
    } else if (word == "--horizon") {
      arguments.horizon = true;
    } else if (word == "--threads") {
      arguments.threads = readThreads(argumentOf(word, "a number"));
    } else if (const auto found = stepOptions().find(word); found != stepOptions().end()) {
      const Option& option = found->second;
      const bool hasArgument = option.argumentName != nullptr;
      arguments.steps.push_back(
          {option.action, hasArgument ? argumentOf(word, option.argumentName) : std::string()});
    } else if (word.starts_with("-")) {
      throw UsageError(unknownOption(word));
    } else {
      takeDesignFile(word);
    }
  }

  void takeDesignFile(const std::string& word) {
    if (!arguments.designFile.empty()) {
      throw UsageError("one design file is enough: " + inQuotes(arguments.designFile) + " and " +
                       inQuotes(word) + " are two" +
                       (savesBefore() ? "; to save to one, use --save-as FILE" : ""));
    }
    arguments.designFile = word;
  }

  bool savesBefore() const {
    return !arguments.steps.empty() && arguments.steps.back().action == Action::kSave;
  }

  /// An empty word is a shell variable that was not set, except where it is a text.
  static bool isArgument(const std::string& word, const std::string& option) {
    return word.empty() ? option == "--say" : word == "-" || !word.starts_with("-");
  }

  std::string argumentOf(const std::string& option, const std::string& argumentName) {
    const bool isThere = next < words.size() && isArgument(words[next], option);
    if (!isThere) {
      throw UsageError(option + " needs " + argumentName + " behind it");
    }
    return words[next++];
  }

  const std::vector<std::string>& words;
  std::size_t next = 0;
  Arguments arguments;
};

// An output belongs to the design that is open where it stands: what is moved behind an update does
// not pass the opening of the next design.
std::vector<Step> withUpdates(std::vector<Step> steps) {
  std::vector<Step> result;
  for (auto begin = steps.begin();;) {
    const auto end =
        std::find_if(begin == steps.end() ? begin : begin + 1, steps.end(), opensDesign);
    const auto firstOutput = std::stable_partition(begin, end, isChange);
    result.insert(result.end(), begin, firstOutput);
    if (firstOutput != end || end == steps.end()) {
      result.push_back({Action::kUpdate, {}});
    }
    result.insert(result.end(), firstOutput, end);
    if (end == steps.end()) {
      return result;
    }
    begin = end;
  }
}

std::vector<Step> completed(std::vector<Step> steps) {
  if (std::none_of(steps.begin(), steps.end(), isRun)) {
    steps = withUpdates(std::move(steps));
  }
  if (std::none_of(steps.begin(), steps.end(), isOutput)) {
    steps.push_back({Action::kTable, {}});
  }
  return steps;
}

}  // namespace

Arguments parseArguments(const std::vector<std::string>& words) {
  Arguments arguments = Parser(words).parse();
  arguments.steps = completed(std::move(arguments.steps));
  return arguments;
}

std::string helpText() {
  return R"(gear_pair DESIGN [options]: designs a pair of spur gears.

Opens a design, brings it up to date and shows the result. DESIGN is a text with
the values of a design (DESIGN.gear), or a saved design (DESIGN.tsr), which comes
with all its results. Its bytes tell which, not its name.
The steps of the design:

  requirements -> pinion -> mesh -> strength -> report -> plan
  requirements -> wheel  -> mesh       pinion -> cutter       mesh -> drawing

Changes
  --open DESIGN            go on with that design, and with a new history
  --set NAME=VALUE         set a value, such as torque=300Nm
  --unit-system metric|us  write all texts in that system
  --freeze MODULE          keep the module's result whatever changes; --unfreeze
  --skip MODULE            leave the module out; --unskip

Runs
  --update                 bring the design up to date, up to the report
  --up-to MODULE           the same, up to that module only
  --undo, --redo           take the last change or run back; make it again

Outputs
  --table                  all modules, their flags, and what the last run did
  --figures                the main figures
  --report FILE|-          the report; - is the standard output
  --plan FILE|-            the manufacturing plan
  --drawing FILE.svg       the pair in mesh
  --cutter FILE.svg        the cutter of both gears
  --dump FILE.txt          the graph of modules as text
  --say TEXT               that text, as a heading in a long script
  --save-as FILE.tsr       save the design, with all its results
  --save                   the same, to the file opened or saved last

Settings
  --threads N              worker threads, 1 unless given; 0 runs inline
  --horizon                updates go on to the manufacturing plan
  --help                   this text

Changes, runs and outputs are carried out in the order given. Without a run, one
update is made between the changes and the outputs of each design that is opened;
without an output, the table is printed at the end.

A design that cannot be opened is refused, and the design that is open stays as it
is: a script says so and goes on with it, but saves it only to a file that it names
after that. A text is not saved to: --save needs a saved design, or --save-as before
it. A file that cannot be written ends the script, and keeps what was in it.

Exit code: 0; 1 if the design cannot be made; 2 for bad usage, bad input, a design
that was refused, or a file that cannot be written.

Examples
  gear_pair pair.gear
  gear_pair pair.gear --set wheel_teeth=45 --drawing pair.svg --report -
  gear_pair pair.gear --up-to mesh
  gear_pair pair.gear --save-as pair.tsr
  gear_pair pair.tsr --set torque=300Nm --update --save --table
  gear_pair pair.gear --update --set torque=300Nm --update --undo --redo --table
)";
}

}  // namespace GearPair
