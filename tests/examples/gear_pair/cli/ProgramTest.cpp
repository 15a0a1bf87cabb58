// Runs the program as a user does: exit codes, and what lands on which stream.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/examples/gear_pair/application/TemporaryFile.h"

namespace GearPair {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

struct Result {
  int exitCode = -1;
  std::string output;
  std::string errors;
};

std::string readAll(std::FILE* stream) {
  std::string text;
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), stream)) {
    text.append(buffer.data(), count);
  }
  return text;
}

/// Runs "gear_pair ARGUMENTS" in a shell, behind what else the shell is told.
Result gearPair(const std::string& arguments, const std::string& before = {}) {
  const TemporaryFile errors("errors.txt");
  const std::string command =
      before + "'" + GEAR_PAIR_PROGRAM + "' " + arguments + " 2>'" + errors.name() + "'";
  Result result;
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) {
    ADD_FAILURE() << "cannot run " << command;
    return result;
  }
  result.output = readAll(pipe);
  const int status = pclose(pipe);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.errors = errors.content();
  return result;
}

const std::string kDesign = std::string("'") + GEAR_PAIR_DESIGNS_DIR + "/spur_pair.gear'";

bool hasControlCharacters(const std::string& text) {
  return std::any_of(text.begin(), text.end(),
                     [](char c) { return c != '\n' && static_cast<unsigned char>(c) < 0x20; });
}

TEST(Program, UpdatesADesignAndPrintsTheTable) {
  const Result result = gearPair(kDesign);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, StartsWith("module        chain    active  consistent"));
  EXPECT_THAT(result.output, HasSubstr("mesh          main     yes     yes         yes       -    "
                                       "   -        applied on a worker\n"));
  EXPECT_THAT(result.output, HasSubstr("auto-applied\n"));
}

TEST(Program, UsesNoControlCharactersWhereThereIsNoTerminal) {
  const Result result = gearPair(kDesign);
  EXPECT_FALSE(hasControlCharacters(result.output));
  EXPECT_FALSE(hasControlCharacters(result.errors));
  EXPECT_THAT(result.errors, StartsWith("[  0 %] requirements\n"));
  EXPECT_THAT(result.errors, HasSubstr("[100 %] done\n"));
}

TEST(Program, GivesTheSameInlineAndOnWorkers) {
  const std::string script = kDesign + " --report - --plan - --figures --threads ";
  const Result reference = gearPair(script + "0");
  EXPECT_EQ(reference.exitCode, 0);
  for (const char* threads : {"1", "4"}) {
    const Result result = gearPair(script + threads);
    EXPECT_EQ(result.output, reference.output);
    EXPECT_EQ(result.errors, reference.errors);
  }
}

TEST(Program, ExitsWithOneWhereTheDesignCannotBeMade) {
  const Result result = gearPair(kDesign + " --set pinion_teeth=8");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.errors, HasSubstr("gear_pair: Pinion failed: The pinion with 8 teeth"));
}

class BadUsage : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BadUsage, GetsOneLineAndExitsWithTwo) {
  const auto& [arguments, message] = GetParam();
  const Result result = gearPair(arguments);
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "gear_pair: " + message + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, BadUsage,
    testing::Values(
        std::pair{std::string(),
                  std::string("a design file is missing; try 'gear_pair DESIGN.gear', or --help")},
        std::pair{kDesign + " --redoo",
                  std::string("there is no option '--redoo'; did you mean --redo?")},
        std::pair{kDesign + " --set torqe=3",
                  std::string("torqe=3: unknown value 'torqe'; did you mean 'torque'?")},
        std::pair{kDesign + " --update --up-to wheels",
                  std::string("there is no module 'wheels'; choose requirements, pinion, wheel, "
                              "mesh, cutter, strength, drawing, report or plan")}));

TEST(Program, NamesFileAndLineOfABadDesign) {
  const TemporaryFile file("bad.gear");
  std::ofstream(file.name()) << "module = 2.5 mm\npinion_teeth = many\n";
  const Result result = gearPair("'" + file.name() + "'");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.errors, MatchesRegex("gear_pair: [^\n]*bad.gear:2: [^\n]*\n"));
}

TEST(Program, NamesAFileThatIsNotThere) {
  const Result result = gearPair("nowhere.gear");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.errors, MatchesRegex("gear_pair: nowhere.gear[^\n]*\n"));
}

std::string quoted(const TemporaryFile& file) { return "'" + file.name() + "'"; }

void write(const TemporaryFile& file, const std::string& content) {
  std::ofstream(file.name(), std::ios::binary) << content;
}

/// A computed design that another process has saved.
class SavedDesignFile : public testing::Test {
 protected:
  SavedDesignFile() {
    const Result result = gearPair(kDesign + " --save-as " + quoted(file));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "") << "saving is an output";
  }

  /// The same with one byte changed.
  std::string damaged() const {
    std::string content = file.content();
    content[content.size() / 2] = static_cast<char>(content[content.size() / 2] ^ 1);
    return content;
  }

  const TemporaryFile file{"saved.tsr"};
};

TEST_F(SavedDesignFile, IsUpToDateInAFreshProcess) {
  const Result result = gearPair(quoted(file) + " --update --table --report -");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.errors, "[100 %] done\n");
  EXPECT_THAT(result.output,
              StartsWith("Classes and versions in the file: GearPair.Design 1, GearPair."));
  EXPECT_THAT(result.output,
              HasSubstr("report        main     yes     yes         yes       -       -        "
                        "left as it is\n"));
  EXPECT_THAT(result.output, testing::Not(HasSubstr("applied")));
  EXPECT_THAT(result.output, testing::EndsWith(gearPair(kDesign + " --report -").output));
}

TEST_F(SavedDesignFile, AppliesOnlyWhatDependsOnAChangedValue) {
  const Result result = gearPair(quoted(file) + " --set torque=160Nm --save");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.errors, MatchesRegex("\\[  0 %\\] strength\n[^\n]* report\n[^\n]* done\n"));
  const Result later = gearPair(quoted(file) + " --figures");
  EXPECT_EQ(later.errors, "[100 %] done\n");
  EXPECT_THAT(later.output, HasSubstr("torque 160.0 Nm"));
}

TEST_F(SavedDesignFile, GivesTheSameBytesForTheSameDesign) {
  const TemporaryFile again("again.tsr");
  EXPECT_EQ(gearPair(quoted(file) + " --save-as " + quoted(again)).exitCode, 0);
  EXPECT_TRUE(again.content() == file.content());
}

TEST_F(SavedDesignFile, IsRefusedInOneLineWhenItIsDamaged) {
  const TemporaryFile copy("damaged.tsr");
  write(copy, damaged());
  const Result alone = gearPair(quoted(copy));
  EXPECT_EQ(alone.exitCode, 2);
  EXPECT_EQ(alone.output, "");
  EXPECT_THAT(alone.errors, MatchesRegex("gear_pair: [^\n]*damaged.tsr: damaged: the checksum at "
                                         "byte [0-9]+ is not that of the bytes before it\n"));
  const Result script = gearPair(quoted(file) + " --open " + quoted(copy) + " --update --figures");
  EXPECT_EQ(script.exitCode, 2);
  EXPECT_THAT(script.errors, HasSubstr("damaged.tsr: damaged: "));
  EXPECT_THAT(script.output, HasSubstr("The design that is open stays as it is.\n"));
  EXPECT_THAT(script.output, testing::EndsWith(gearPair(kDesign + " --figures").output));
}

TEST_F(SavedDesignFile, IsRefusedInOneLineWhenItIsCutOrAnotherThing) {
  const TemporaryFile other("other.tsr");
  for (const std::string& content :
       {file.content().substr(0, 4000), file.content().substr(0, 5), "X" + file.content(),
        std::string("\x89PNG\r\n\x1a\n"), std::string(100, '\0')}) {
    write(other, content);
    const Result result = gearPair(quoted(other));
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, MatchesRegex("gear_pair: [^\n]*other.tsr: [^\n]+\n"));
  }
}

TEST_F(SavedDesignFile, IsKeptWhereItCannotBeReplaced) {
  const std::string content = file.content();
  // No process may write as much as that: the disk is full after 16 blocks. A build that counts
  // lines must not spoil its counts then, and complains in lines of its own.
  const Result result = gearPair(quoted(file) + " --set torque=160Nm --save",
                                 "export GCOV_PREFIX=/dev/null; trap '' XFSZ; ulimit -f 16; ");
  EXPECT_EQ(result.exitCode, 2);
  std::istringstream errors(result.errors);
  std::vector<std::string> complaints;
  for (std::string line; std::getline(errors, line);) {
    if (line.starts_with("gear_pair: ")) {
      complaints.push_back(line);
    }
  }
  EXPECT_THAT(complaints, testing::ElementsAre(MatchesRegex(
                              "gear_pair: .*saved.tsr: cannot be written: File too large")));
  EXPECT_TRUE(file.content() == content);
  const auto folder = std::filesystem::path(file.name()).parent_path();
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    EXPECT_THAT(
        entry.path().filename().string(),
        testing::Not(StartsWith("." + std::filesystem::path(file.name()).filename().string())))
        << "nothing is left behind";
  }
}

TEST(Program, NamesTheFileThatItCannotSaveTo) {
  const Result result = gearPair(kDesign + " --save-as /nowhere/pair.tsr");
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_THAT(result.errors, testing::EndsWith("\ngear_pair: /nowhere/pair.tsr: cannot be written: "
                                               "No such file or directory\n"));
}

TEST(Program, ExplainsItself) {
  const Result result = gearPair("--help");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.output, HasSubstr("Examples\n  gear_pair pair.gear\n"));
  EXPECT_THAT(result.output, HasSubstr("  --save-as FILE.tsr       save the design"));
  EXPECT_EQ(result.errors, "");
}

}  // namespace
}  // namespace GearPair
