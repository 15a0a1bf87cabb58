// Help texts and the manual page: each is enough to use the program, and they agree.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "tests/tools/inspect/InspectProgram.h"

namespace Tessaril::Inspect {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class Help : public InspectTest {
 protected:
  std::string help(const std::string& arguments) const {
    const Result result = inspect(arguments);
    EXPECT_EQ(result.exitCode, 0) << arguments;
    EXPECT_EQ(result.errors, "") << arguments;
    return result.output;
  }
};

const std::set<std::string> kCommands{"show", "diff", "check", "draw", "explain", "cost"};

std::set<std::string> optionsIn(const std::string& text) {
  static const std::regex kOption("--[a-z]+(-[a-z]+)*");
  std::set<std::string> options;
  for (std::sregex_iterator found(text.begin(), text.end(), kOption), end; found != end; ++found) {
    options.insert(found->str());
  }
  return options;
}

std::string manualPage() {
  std::ifstream stream(TESSARIL_MAN_PAGE);
  std::ostringstream text;
  text << stream.rdbuf();
  // A hyphen of an option is written so.
  return std::regex_replace(text.str(), std::regex("\\\\-"), "-");
}

TEST_F(Help, NamesTheCommandsAndTheExitCodes) {
  const std::string text = help("--help");
  for (const std::string& command : kCommands) {
    EXPECT_THAT(text, testing::ContainsRegex("\n  " + command + " +[A-Z]"));
  }
  EXPECT_THAT(text, HasSubstr("Exit code: 0 fine, 1 findings or differences, 2 bad usage"));
  EXPECT_EQ(help("-h"), text);
}

TEST_F(Help, OfEveryCommandHasExamplesAndExitCodes) {
  for (const std::string& command : kCommands) {
    const std::string text = help(command + " --help");
    EXPECT_THAT(text, HasSubstr("Usage: tessaril-inspect " + command)) << command;
    EXPECT_THAT(text, HasSubstr("\nExamples\n  tessaril-inspect " + command + " ")) << command;
    EXPECT_THAT(text, HasSubstr("\nExit code: 0")) << command;
    EXPECT_THAT(text, HasSubstr("--json")) << command;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 90U) << line;
    }
  }
}

TEST_F(Help, TellsTheVersion) {
  EXPECT_THAT(help("--version"), MatchesRegex("tessaril-inspect [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(Help, TheManualPageHasEveryCommandAndEveryOption) {
  const std::string page = manualPage();
  ASSERT_THAT(page, HasSubstr(".TH TESSARIL-INSPECT 1"));
  std::set<std::string> options = optionsIn(help("--help"));
  for (const std::string& command : kCommands) {
    EXPECT_THAT(page, HasSubstr("\n.SS " + command + " ")) << command;
    options.merge(optionsIn(help(command + " --help")));
  }
  EXPECT_EQ(optionsIn(page), options);
}

}  // namespace
}  // namespace Tessaril::Inspect
