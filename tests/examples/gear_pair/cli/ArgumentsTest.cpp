#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "examples/gear_pair/cli/Arguments.h"

namespace GearPair {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<Action> actionsOf(const std::vector<std::string>& words) {
  std::vector<Action> actions;
  for (const Step& step : parseArguments(words).steps) {
    actions.push_back(step.action);
  }
  return actions;
}

std::string complaintAbout(const std::vector<std::string>& words) {
  try {
    parseArguments(words);
  } catch (const UsageError& e) {
    return e.what();
  }
  return "none";
}

TEST(Arguments, MakeOneUpdateAndATableByThemselves) {
  EXPECT_THAT(actionsOf({"pair.gear"}), ElementsAre(Action::kUpdate, Action::kTable));
}

TEST(Arguments, UpdateBetweenChangesAndOutputs) {
  EXPECT_THAT(
      actionsOf(
          {"pair.gear", "--report", "-", "--set", "torque=1", "--figures", "--skip", "drawing"}),
      ElementsAre(Action::kSet, Action::kSkip, Action::kUpdate, Action::kReport, Action::kFigures));
}

TEST(Arguments, KeepTheOrderOfAScriptWithRuns) {
  EXPECT_THAT(actionsOf({"--update", "pair.gear", "--table", "--set", "torque=1", "--undo"}),
              ElementsAre(Action::kUpdate, Action::kTable, Action::kSet, Action::kUndo));
  EXPECT_THAT(actionsOf({"pair.gear", "--set", "torque=1", "--up-to", "mesh"}),
              ElementsAre(Action::kSet, Action::kUpTo, Action::kTable));
}

TEST(Arguments, CarryTheWordsOfTheSteps) {
  const Arguments arguments =
      parseArguments({"pair.gear", "--up-to", "mesh", "--threads", "0", "--horizon"});
  EXPECT_EQ(arguments.designFile, "pair.gear");
  EXPECT_EQ(arguments.steps[0].argument, "mesh");
  EXPECT_EQ(arguments.threads, 0U);
  EXPECT_TRUE(arguments.horizon);
  EXPECT_FALSE(arguments.help);
}

TEST(Arguments, OpenBeforeAndSaveBehindTheUpdateTheyMake) {
  EXPECT_THAT(actionsOf({"pair.gear", "--save-as", "pair.tsr", "--set", "torque=1"}),
              ElementsAre(Action::kSet, Action::kUpdate, Action::kSaveAs));
  EXPECT_THAT(actionsOf({"pair.gear", "--open", "other.tsr", "--save-as", "pair.tsr"}),
              ElementsAre(Action::kOpen, Action::kUpdate, Action::kSaveAs));
  EXPECT_THAT(actionsOf({"pair.tsr", "--save"}), ElementsAre(Action::kUpdate, Action::kSave));
}

// Moved behind the opening, an output would show another design, and --save-as overwrite a file
// with it.
TEST(Arguments, KeepAnOutputWithTheDesignThatItStandsBehind) {
  EXPECT_THAT(actionsOf({"pair.gear", "--save-as", "pair.tsr", "--set", "torque=1", "--open",
                         "other.tsr", "--save"}),
              ElementsAre(Action::kSet, Action::kUpdate, Action::kSaveAs, Action::kOpen,
                          Action::kUpdate, Action::kSave));
  EXPECT_THAT(actionsOf({"pair.gear", "--figures", "--open", "other.tsr"}),
              ElementsAre(Action::kUpdate, Action::kFigures, Action::kOpen, Action::kUpdate));
  EXPECT_THAT(actionsOf({"pair.gear", "--set", "torque=1", "--open", "other.tsr"}),
              ElementsAre(Action::kSet, Action::kOpen, Action::kUpdate, Action::kTable));
}

TEST(Arguments, NeedNoFileForHelp) {
  EXPECT_TRUE(parseArguments({"--help"}).help);
  EXPECT_TRUE(parseArguments({"-h"}).help);
}

TEST(Arguments, AreRefusedInOneSentence) {
  EXPECT_EQ(complaintAbout({}), "a design file is missing; try 'gear_pair DESIGN.gear', or --help");
  EXPECT_EQ(complaintAbout({"a.gear", "b.gear"}),
            "one design file is enough: 'a.gear' and 'b.gear' are two");
  EXPECT_EQ(complaintAbout({"a.gear", "--updat"}),
            "there is no option '--updat'; did you mean --update?");
  EXPECT_EQ(complaintAbout({"a.gear", "--xyzzy"}), "there is no option '--xyzzy'; see --help");
  EXPECT_EQ(complaintAbout({"a.gear", "--set"}), "--set needs NAME=VALUE behind it");
  EXPECT_EQ(complaintAbout({"a.gear", "--open"}), "--open needs a design file behind it");
  EXPECT_EQ(complaintAbout({"a.gear", "--open", ""}), "--open needs a design file behind it");
  EXPECT_EQ(complaintAbout({"a.gear", "--save-as", ""}), "--save-as needs a file behind it");
  EXPECT_EQ(complaintAbout({"a.gear", "--say", ""}), "none");
  EXPECT_EQ(complaintAbout({"a.gear", "--save-as", "--table"}), "--save-as needs a file behind it");
  EXPECT_EQ(complaintAbout({"a.gear", "--save", "b.tsr"}),
            "one design file is enough: 'a.gear' and 'b.tsr' are two; to save to one, use "
            "--save-as FILE");
  EXPECT_EQ(complaintAbout({"a.gear", "--up-to", "--table"}), "--up-to needs a module behind it");
  for (const char* count : {"two", "-1", "65", "1.5", ""}) {
    EXPECT_THAT(complaintAbout({"a.gear", "--threads", count}), HasSubstr("--threads needs"))
        << count;
  }
}

TEST(Arguments, AreAllInTheHelpText) {
  for (const char* option :
       {"--set",    "--unit-system", "--freeze",  "--unfreeze", "--skip",    "--unskip",
        "--update", "--up-to",       "--undo",    "--redo",     "--table",   "--figures",
        "--open",   "--save",        "--save-as", "--report",   "--plan",    "--drawing",
        "--cutter", "--say",         "--dump",    "--threads",  "--horizon", "--help"}) {
    EXPECT_THAT(helpText(), HasSubstr(option));
  }
}

}  // namespace
}  // namespace GearPair
