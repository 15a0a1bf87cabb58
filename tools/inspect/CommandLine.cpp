#include "tools/inspect/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <sstream>
#include <string>

#include "diagnostics/archive/ArchiveText.h"
#include "tools/inspect/Commands.h"

namespace Tessaril::Inspect {
namespace {

constexpr const char* kProgram = "tessaril-inspect";

constexpr const char* kAbout =
    "Looks into saved designs: what is in a file, what is wrong with its graph, what an\n"
    "update of it would do, and what its updates cost. It changes no design.";

constexpr const char* kExitCodes =
    "Exit code: 0 fine, 1 findings or differences, 2 bad usage or bad input, which is\n"
    "one line on the standard error.\n"
    "\n"
    "tessaril-inspect COMMAND --help tells more of each command, with examples.";

constexpr const char* kShow = "Show what is in a file, damaged or not";
constexpr const char* kShowFooter =
    "Shows the classes of a file with their versions, the objects of the parameter tree,\n"
    "the modules with their state and chain, the links as they are stored, and those that\n"
    "would be dropped when they are restored. Of a file that is damaged or cut it shows\n"
    "what can still be told, and where the damage is.\n"
    "\n"
    "The classes of the application need not be known. With --load they are, and the last\n"
    "line says whether the design can be read with them.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect show pair.tsr\n"
    "  tessaril-inspect show --blocks damaged.tsr\n"
    "  tessaril-inspect show --load ./libgear_pair_classes.so pair.tsr\n"
    "  tessaril-inspect show --json pair.tsr | jq '.classes[] | select(.standing==\"newer\")'\n"
    "\n"
    "Exit code: 0; 1 for a file that is damaged, holds classes in a newer version than\n"
    "known here, holds links that would be dropped, or cannot be read with the classes of\n"
    "--load; 2 for a file that cannot be opened or is no archive.";

constexpr const char* kDiff = "Compare two saved designs";
constexpr const char* kDiffFooter =
    "Shows what AFTER has otherwise than BEFORE: classes and their versions, objects by\n"
    "their paths, the states and chains of modules, links. Objects that differ in the\n"
    "values of their application's own classes are named, not the values.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect diff monday.tsr friday.tsr\n"
    "  tessaril-inspect diff --json monday.tsr friday.tsr | jq .addedLinks\n"
    "\n"
    "Exit code: 0 without a difference; 1 with one; 2 for a file that cannot be read\n"
    "whole.";

constexpr const char* kCheck = "Check the graph of a saved design";
constexpr const char* kCheckFooter =
    "Checks the graph as restoring it would make it: cycles, links that only one end\n"
    "knows, links that lead nowhere, flags and chains that contradict the links. With\n"
    "--from and --to, also which modules an update of that range would never apply, and\n"
    "why. Modules are named by their paths, or by the last names of these where only one\n"
    "module has them.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect check pair.tsr\n"
    "  tessaril-inspect check --from requirements --to report pair.tsr\n"
    "  tessaril-inspect check --json pair.tsr\n"
    "\n"
    "Exit code: 0 without errors and warnings, remarks alone are fine; 1 with some; 2 for\n"
    "a file that cannot be read whole, or a module that is not there.";

constexpr const char* kDraw = "Draw the graph of a saved design";
constexpr const char* kDrawFooter =
    "Draws the graph as SVG, which needs Graphviz's program dot, or as a text in its\n"
    "language. What passes all filters is drawn. With --run, what the last run of a file\n"
    "did with each module is drawn on it; see cost for such files.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect draw pair.tsr -o pair.svg\n"
    "  tessaril-inspect draw --around mesh --depth 1 pair.tsr -o mesh.svg\n"
    "  tessaril-inspect draw --chain \"chain 1\" --dot pair.tsr | less\n"
    "  tessaril-inspect draw --from requirements --to report pair.tsr -o range.svg\n"
    "  tessaril-inspect draw --run run.json pair.tsr -o run.svg\n"
    "\n"
    "Exit code: 0; 2 for a file that cannot be read whole, a module or chain that is not\n"
    "there, or a picture that cannot be made.";

constexpr const char* kCost = "Judge the speed rates of the modules by recorded runs";
constexpr const char* kCostFooter =
    "Compares what full applies took with what the progress of an update makes of the\n"
    "modules' speed rates: which rates make it lie, and the rates that would make it true.\n"
    "A saved design holds no times. RUN is a file in which the application has kept the\n"
    "reports of its updates as JSON, one or a list of them. The more runs, the better.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect cost run.json\n"
    "  tessaril-inspect cost monday.json friday.json\n"
    "  tessaril-inspect cost --json run.json | jq '.modules[] | select(.lies)'\n"
    "\n"
    "Exit code: 0 where the rates are as true as rates can be; 1 where some make the\n"
    "progress lie; 2 for a file that holds no recorded runs.";

constexpr const char* kExplain = "Estimate what an update of a saved design would do";
constexpr const char* kExplainFooter =
    "Asks the modules what an update would do with them, and carries nothing out: a first\n"
    "estimate, since messages travel during an update. The answers are the application's,\n"
    "so its library is needed.\n"
    "\n"
    "Examples\n"
    "  tessaril-inspect explain --load ./libgear_pair_classes.so pair.tsr\n"
    "  tessaril-inspect explain --load ./libgear_pair_classes.so --to mesh pair.tsr\n"
    "\n"
    "Exit code: 0 where nothing is due; 1 where something would be applied; 2 for a file\n"
    "that cannot be read with the classes of the library, or a module that is not there.";

/// No name of a file, a module or a chain is empty; a variable of a script may be.
const CLI::Validator kNotEmpty(
    [](const std::string& word) { return word.empty() ? std::string("is empty") : std::string(); },
    "");

/// What is called when its subcommand was given.
struct Command {
  CLI::App* app = nullptr;
  std::function<int(std::ostream&)> run;
};

class CommandLine {
 public:
  CommandLine() : app(kAbout, kProgram) {
    app.footer(kExitCodes);
    app.set_version_flag("--version", std::string(kProgram) + " " + TESSARIL_VERSION,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.require_subcommand(1);
    addShow();
    addDiff();
    addCheck();
    addDraw();
    addExplain();
    addCost();
  }

  int run(int argc, const char* const* argv, std::ostream& output) {
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
      return endParse(e, output);
    }
    const auto given = std::find_if(commands.begin(), commands.end(),
                                    [](const Command& command) { return command.app->parsed(); });
    return given->run(output);
  }

 private:
  /// Help and version end the parse like errors do.
  int endParse(const CLI::ParseError& e, std::ostream& output) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream ignored;
      app.exit(e, output, ignored);
      return kFine;
    }
    throw InputError(complaint(e) + "; see --help");
  }

  /// A wrong command is missed as a subcommand before anything else is looked at.
  std::string complaint(const CLI::ParseError& e) const {
    const std::vector<std::string> unknown = app.remaining();
    if (!app.get_subcommands().empty() || unknown.empty()) {
      return e.what();
    }
    const std::string what = unknown.front().starts_with("-") ? "option" : "command";
    return "there is no " + what + " \"" + unknown.front() + "\"";
  }

  CLI::App& add(const std::string& name, const std::string& about, const std::string& footer) {
    CLI::App& command = *app.add_subcommand(name, about);
    command.footer(footer);
    return command;
  }
  void addFile(CLI::App& command, const std::string& name, std::string& file) {
    command.add_option(name, file, "A saved design")->required()->type_name("")->check(kNotEmpty);
  }
  void addJson(CLI::App& command, bool& json) {
    command.add_flag("--json", json, "The same facts as JSON");
  }
  CLI::Option& addLoad(CLI::App& command, std::vector<std::string>& libraries) {
    return *command
                .add_option("--load", libraries, "A shared library with the application's classes")
                ->type_name("LIBRARY")
                ->allow_extra_args(false);
  }
  template <typename Word>
  CLI::Option& addWord(CLI::App& command, const std::string& name, Word& word,
                       const std::string& type, const std::string& about) {
    return *command.add_option(name, word, about)->type_name(type)->check(kNotEmpty);
  }

  void addShow() {
    CLI::App& command = add("show", kShow, kShowFooter);
    addFile(command, "FILE", showOptions.file);
    command.add_flag("--blocks", showOptions.blocks, "Every block of the file with its bytes");
    addLoad(command, showOptions.libraries);
    addJson(command, showOptions.json);
    commands.push_back({&command, [this](std::ostream& out) { return show(showOptions, out); }});
  }

  void addDiff() {
    CLI::App& command = add("diff", kDiff, kDiffFooter);
    addFile(command, "BEFORE", diffOptions.before);
    addFile(command, "AFTER", diffOptions.after);
    addJson(command, diffOptions.json);
    commands.push_back({&command, [this](std::ostream& out) { return diff(diffOptions, out); }});
  }

  void addCheck() {
    CLI::App& command = add("check", kCheck, kCheckFooter);
    addFile(command, "FILE", checkOptions.file);
    addRange(command, checkOptions.from, checkOptions.to);
    addLoad(command, checkOptions.libraries);
    addJson(command, checkOptions.json);
    commands.push_back({&command, [this](std::ostream& out) { return check(checkOptions, out); }});
  }

  void addRange(CLI::App& command, std::optional<std::string>& from,
                std::optional<std::string>& to) {
    CLI::Option& first = addWord(command, "--from", from, "MODULE", "Where an update would start");
    CLI::Option& last = addWord(command, "--to", to, "MODULE", "Where an update would end");
    first.needs(&last);
    last.needs(&first);
  }

  void addDraw() {
    CLI::App& command = add("draw", kDraw, kDrawFooter);
    addFile(command, "FILE", drawOptions.file);
    addWord(command, "-o,--output", drawOptions.target, "PICTURE",
            "The file for the picture; else the standard output");
    CLI::Option* dot = command.add_flag("--dot", drawOptions.dot, "DOT text instead of SVG");
    addWord(command, "--chain", drawOptions.chain, "CHAIN",
            "Only that chain: main, \"chain 1\", or an identifier");
    addWord(command, "--ancestors", drawOptions.ancestors, "MODULE",
            "Only that module and what it is computed from");
    addWord(command, "--followers", drawOptions.followers, "MODULE",
            "Only that module and what is computed from it");
    addWord(command, "--around", drawOptions.around, "MODULE",
            "Only that module, its ancestors and its followers");
    addRange(command, drawOptions.from, drawOptions.to);
    command
        .add_option("--depth", drawOptions.depth, "At most that many links from the named module")
        ->type_name("N");
    addWord(command, "--run", drawOptions.run, "RUN",
            "Recorded runs; what the last one did is marked");
    command.add_option("--title", drawOptions.title, "Stands above the picture")->type_name("TEXT");
    addWord(command, "--detail", drawOptions.detail, "DETAIL", "How much is written on the modules")
        .check(CLI::IsMember({"auto", "full", "brief"}));
    command.add_flag("--no-legend", drawOptions.noLegend, "Leave the legend out");
    addLoad(command, drawOptions.libraries);
    command.add_flag("--json", drawOptions.json, "The graph as JSON, and what would be drawn")
        ->excludes(dot);
    commands.push_back({&command, [this](std::ostream& out) { return draw(drawOptions, out); }});
  }

  void addExplain() {
    CLI::App& command = add("explain", kExplain, kExplainFooter);
    addFile(command, "FILE", explainOptions.file);
    addLoad(command, explainOptions.libraries).required();
    addWord(command, "--from", explainOptions.from, "MODULE",
            "Where the update would start; else the graph's start");
    addWord(command, "--to", explainOptions.to, "MODULE",
            "Where the update would end; else the graph's end");
    addWord(command, "--horizon", explainOptions.horizon, "MODULE",
            "Up to where auto applies go on behind the end");
    addJson(command, explainOptions.json);
    commands.push_back(
        {&command, [this](std::ostream& out) { return explain(explainOptions, out); }});
  }

  void addCost() {
    CLI::App& command = add("cost", kCost, kCostFooter);
    command.add_option("RUN", costOptions.runs, "Files of recorded runs")
        ->required()
        ->type_name("")
        ->check(kNotEmpty);
    addJson(command, costOptions.json);
    commands.push_back({&command, [this](std::ostream& out) { return cost(costOptions, out); }});
  }

  CLI::App app;
  std::vector<Command> commands;
  ShowOptions showOptions;
  DiffOptions diffOptions;
  CheckOptions checkOptions;
  DrawOptions drawOptions;
  ExplainOptions explainOptions;
  CostOptions costOptions;
};

}  // namespace

int runCommandLine(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) {
  try {
    const int exitCode = CommandLine().run(argc, argv, output);
    if (!output.flush()) {
      throw InputError("the output cannot be written");
    }
    return exitCode;
  } catch (const std::exception& e) {
    errors << kProgram << ": " << Diagnostics::oneLine(e.what()) << std::endl;
    return kBadInput;
  }
}

}  // namespace Tessaril::Inspect
