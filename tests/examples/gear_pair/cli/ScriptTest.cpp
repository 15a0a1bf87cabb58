#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "examples/gear_pair/cli/Script.h"
#include "tests/examples/gear_pair/application/TemporaryFile.h"
#include "tests/examples/gear_pair/calculation/TestDesigns.h"

namespace GearPair {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ScriptRun {
 public:
  explicit ScriptRun(std::vector<std::string> words) {
    words.insert(words.begin(), "pair.gear");
    const Arguments arguments = parseArguments(words);
    exitCode =
        Script(arguments, {GearPairDesign::create(soundDesign()), {}, {}}, {out, error, false, 100})
            .run();
  }

  std::string output() const { return out.str(); }
  std::string errors() const { return error.str(); }

  int exitCode = -1;

 private:
  std::ostringstream out;
  std::ostringstream error;
};

/// The lines of the table without those that were left as they are: "report: applied inline".
std::vector<std::string> accountOf(const std::string& output) {
  std::vector<std::string> account;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const bool isOfModule =
        !line.starts_with("module") && !line.starts_with("Classes") && !line.starts_with("  ");
    if (line.size() > 70 && isOfModule && line.find("left as it is") == std::string::npos) {
      account.push_back(line.substr(0, line.find(' ')) + ": " + line.substr(70));
    }
  }
  return account;
}

TEST(Script, AppliesAfterAChangedTorqueOnlyStrengthAndReport) {
  const ScriptRun run(
      {"--threads", "0", "--update", "--set", "torque=300Nm", "--update", "--table"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(accountOf(run.output()),
              testing::ElementsAre("strength: applied inline", "report: applied inline",
                                   "plan: signalled"));
}

TEST(Script, ShowsFiguresThatGoBackAndForth) {
  const ScriptRun run({"--update", "--figures", "--set", "torque=300Nm", "--update", "--figures",
                       "--undo", "--figures", "--redo", "--figures"});
  std::vector<std::string> figures;
  std::istringstream lines(run.output());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("strength")) {
      figures.push_back(line);
    }
  }
  ASSERT_EQ(figures.size(), 4U);
  EXPECT_THAT(figures[0], HasSubstr("torque 100.0 Nm"));
  EXPECT_THAT(figures[1], HasSubstr("torque 300.0 Nm"));
  EXPECT_EQ(figures[2], figures[0] + "  (out of date)") << "the value is still the new one";
  EXPECT_EQ(figures[3], figures[1]);
}

TEST(Script, MarksFiguresThatAreOutOfDate) {
  const ScriptRun fresh({"--update", "--figures"});
  EXPECT_THAT(fresh.output(), Not(HasSubstr("out of date")));
  const ScriptRun changed({"--update", "--set", "torque=300Nm", "--figures"});
  EXPECT_THAT(changed.output(), testing::ContainsRegex("contact ratio [0-9.]+\nstrength"));
  EXPECT_THAT(changed.output(),
              testing::ContainsRegex("strength  torque 100[^\n]*\\(out of date\\)\n"));
  const ScriptRun nothing({"--up-to", "requirements", "--figures"});
  EXPECT_THAT(nothing.output(), HasSubstr("gears     pinion not computed; wheel not computed"));
}

TEST(Script, SaysWhatItIsTold) {
  const ScriptRun run({"--update", "--say", "Chapter 1", "--figures"});
  EXPECT_THAT(run.output(), testing::StartsWith("Chapter 1\ngears "));
}

TEST(Script, NamesTheStepsItTakes) {
  const ScriptRun run({"--update", "--set", "torque=300Nm", "--freeze", "mesh", "--unfreeze",
                       "mesh", "--skip", "drawing", "--unskip", "drawing", "--unit-system", "us",
                       "--undo", "--redo", "--figures"});
  EXPECT_THAT(run.output(), StartsWith("* Update Design up to: Report\n"
                                       "* Set torque=300Nm\n"
                                       "* Freeze mesh\n"
                                       "* Unfreeze mesh\n"
                                       "* Skip drawing\n"
                                       "* No longer skip drawing\n"
                                       "* Set the unit system to US customary\n"
                                       "* Undo: Set the unit system to US customary\n"
                                       "* Redo: Set the unit system to US customary\n"));
}

TEST(Script, ReportsAFailureInTheTableAndInOneLine) {
  const ScriptRun run({"--set", "pinion_teeth=8"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.output(), HasSubstr("failed: The pinion with 8"));
  EXPECT_THAT(run.errors(), HasSubstr("\ngear_pair: Pinion failed: The pinion with 8 teeth"));
  EXPECT_THAT(run.errors(), HasSubstr("] stopped\n"));
}

TEST(Script, EndsWellWhenTheFailureWasRepaired) {
  const ScriptRun run(
      {"--set", "pinion_teeth=8", "--update", "--set", "pinion_teeth=20", "--update"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.output(), Not(HasSubstr(" no ")));
}

TEST(Script, SaysWhatKeepsTheEndFromBeingMade) {
  const ScriptRun skipped({"--skip", "wheel"});
  EXPECT_EQ(skipped.exitCode, 1);
  EXPECT_THAT(skipped.errors(),
              HasSubstr("gear_pair: Report cannot be made: the wheel is skipped.\n"));
  const ScriptRun frozen({"--freeze", "mesh"});
  EXPECT_EQ(frozen.exitCode, 1);
  EXPECT_THAT(frozen.errors(), HasSubstr("the mesh is frozen without a result.\n"));
}

TEST(Script, WritesDrawingCutterReportPlanAndDump) {
  const TemporaryFile drawing("script_drawing.svg");
  const TemporaryFile cutter("script_cutter.svg");
  const TemporaryFile report("script_report.txt");
  const TemporaryFile dump("script_dump.txt");
  const ScriptRun run({"--drawing", drawing.name(), "--cutter", cutter.name(), "--report",
                       report.name(), "--plan", "-", "--dump", dump.name()});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(drawing.content(), HasSubstr("<svg"));
  EXPECT_THAT(cutter.content(), HasSubstr("<svg"));
  EXPECT_THAT(report.content(), HasSubstr("Nm"));
  EXPECT_THAT(dump.content(), StartsWith("Node:\n=====\nName: requirements"));
  EXPECT_THAT(run.output(), HasSubstr("MANUFACTURING PLAN"));
  EXPECT_THAT(run.output(), HasSubstr("Cutter, used for\npinion: 20 teeth, involute from"));
}

TEST(Script, DoesNotWriteWhatWasNotComputed) {
  const TemporaryFile report("script_no_report.txt");
  const ScriptRun run({"--up-to", "mesh", "--report", report.name()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.errors(), HasSubstr("There is no report to write: it has not been computed.\n"));
  EXPECT_FALSE(std::filesystem::exists(report.name()));
}

TEST(Script, WarnsOfATextThatIsOutOfDate) {
  const ScriptRun run({"--update", "--set", "torque=300Nm", "--report", "-"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.errors(),
              HasSubstr("The report is out of date: it shows the design as it was.\n"));
}

TEST(Script, SavesAndOpensWithANewHistory) {
  const TemporaryFile file("script_saved.tsr");
  const ScriptRun run({"--update", "--save-as", file.name(), "--set", "torque=300Nm", "--update",
                       "--open", file.name(), "--update", "--table", "--set", "torque=300Nm",
                       "--update", "--table"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.output(), HasSubstr("* Save as " + file.name() + "\n"));
  EXPECT_THAT(run.output(), HasSubstr("* Open " + file.name() +
                                      "\nClasses and versions in the file: GearPair.Design 1, "));
  EXPECT_THAT(accountOf(run.output()),
              testing::IsSupersetOf({"strength: applied on a worker", "report: applied on a worker",
                                     "plan: signalled"}));
}

TEST(Script, FindsNothingToDoInASavedDesign) {
  const TemporaryFile file("script_nothing.tsr");
  const ScriptRun run({"--update", "--save-as", file.name(), "--set", "wheel_teeth=43", "--open",
                       file.name(), "--update", "--table"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(accountOf(run.output()), testing::IsEmpty());
  EXPECT_THAT(run.output(), Not(HasSubstr(" no ")));
}

TEST(Script, SavesToTheFileThatWasSavedLast) {
  const TemporaryFile file("script_last.tsr");
  const ScriptRun run({"--update", "--save-as", file.name(), "--set", "torque=300Nm", "--save",
                       "--set", "torque=200Nm", "--open", file.name(), "--update", "--figures"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.output(), HasSubstr("* Save " + file.name() + "\n"));
  EXPECT_THAT(run.output(), HasSubstr("torque 300.0 Nm"));
}

TEST(Script, GoesOnWithTheOpenDesignWhereAnotherIsRefused) {
  const TemporaryFile file("script_refused.tsr");
  std::ofstream(file.name(), std::ios::binary) << "\x89TSR\r\n\x1a\n";
  const ScriptRun run({"--update", "--set", "torque=300Nm", "--update", "--open", file.name(),
                       "--set", "torque=200Nm", "--undo", "--figures"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.errors(), HasSubstr("\ngear_pair: " + file.name() + ": cut at byte 8, "));
  EXPECT_THAT(run.output(),
              HasSubstr("* Open " + file.name() +
                        "\nThe design that is open stays as it is.\n* Set torque=200Nm\n* Undo: "));
  EXPECT_THAT(run.output(), HasSubstr("torque 300.0 Nm"));
}

// The design that is open was not the one that the script meant to save.
TEST(Script, DoesNotSaveOverTheOpenFileAfterARefusal) {
  const TemporaryFile file("script_kept.tsr");
  const auto runWith = [&](const std::vector<std::string>& ending) {
    std::vector<std::string> words{"--update",     "--save-as", file.name(),   "--open",
                                   "/nowhere.tsr", "--set",     "torque=300Nm"};
    words.insert(words.end(), ending.begin(), ending.end());
    return ScriptRun(words).exitCode;
  };
  EXPECT_EQ(messageOf<UsageError>([&] { runWith({"--save"}); }),
            "a design was refused before; name the file to save to with --save-as FILE");
  EXPECT_EQ(openDesignFile(file.name()).design->getValues().input.torque, soundDesign().torque);
  EXPECT_EQ(runWith({"--save-as", file.name(), "--save"}), 2);
  EXPECT_EQ(openDesignFile(file.name()).design->getValues().input.torque, 300.0);
}

TEST(Script, SavesOnlyWhereThereIsAFileToSaveTo) {
  constexpr const char* kNoFile =
      "there is no file to save to: the design was not opened from a saved one; use --save-as FILE";
  EXPECT_EQ(messageOf<UsageError>([] { ScriptRun({"--update", "--save"}); }), kNoFile);
  const TemporaryFile text("script_text.gear");
  std::ofstream(text.name()) << writeDesign(standardDesign(30, 60));
  EXPECT_EQ(messageOf<UsageError>([&] { ScriptRun({"--open", text.name(), "--save"}); }), kNoFile);
  EXPECT_EQ(readDesign(text.name()), standardDesign(30, 60)) << "not overwritten";
  EXPECT_THAT(messageOf<DesignFileError>([] {
                ScriptRun({"--save-as", "/nowhere/a.tsr"});
              }),
              StartsWith("/nowhere/a.tsr: cannot be written: "));
}

TEST(Script, RefusesMistakesBeforeTheFirstStep) {
  const auto complaintAbout = [](const std::vector<std::string>& words) -> std::string {
    try {
      const ScriptRun run(words);
    } catch (const std::exception& e) {
      return e.what();
    }
    return "none";
  };
  EXPECT_EQ(complaintAbout({"--update", "--up-to", "gearbox"}),
            "there is no module 'gearbox'; choose requirements, pinion, wheel, mesh, cutter, "
            "strength, drawing, report or plan");
  EXPECT_EQ(complaintAbout({"--unit-system", "imperial"}),
            "there is no unit system 'imperial'; choose metric or us");
  EXPECT_THAT(complaintAbout({"--update", "--set", "torqe=3"}),
              HasSubstr("unknown value 'torqe'; did you mean 'torque'?"));
  EXPECT_EQ(complaintAbout({"--update", "--undo", "--undo"}),
            "there is nothing to undo where the steps say so");
  EXPECT_EQ(complaintAbout({"--update", "--undo", "--set", "torque=3", "--redo"}),
            "there is nothing to redo where the steps say so");
  EXPECT_EQ(complaintAbout({"--set", "torque=3", "--open", "pair.tsr", "--undo"}),
            "there is nothing to undo where the steps say so");
  EXPECT_THAT(complaintAbout({"--report", "/nowhere/report.txt"}),
              HasSubstr("cannot write '/nowhere/report.txt'"));
  EXPECT_THAT(complaintAbout({"--dump", "/nowhere/dump.txt"}),
              HasSubstr("cannot write '/nowhere/dump.txt'"));
}

}  // namespace
}  // namespace GearPair
