#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveFrames.h"
#include "tests/diagnostics/archive/SavedGraph.h"
#include "tests/persistence/GoldenFiles.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::savedGraph;

std::vector<std::string> texts(const std::vector<ArchiveProblem>& problems) {
  std::vector<std::string> all;
  for (const ArchiveProblem& problem : problems) {
    all.push_back(problem.toString());
  }
  return all;
}

std::vector<std::string> lines(const std::vector<ArchivedBlock>& blocks) {
  std::vector<std::string> all;
  for (const ArchivedBlock& block : blocks) {
    all.push_back(std::string(block.depth, ' ') + block.className + " " +
                  std::to_string(block.begin) + ".." + std::to_string(block.end));
  }
  return all;
}

/// Blocks of classes that no program knows, with values between them.
HandMadeArchive strangeArchive() {
  HandMadeArchive archive;
  archive.number(77).open("Strange.Box").text("what is this");
  archive.open("Strange.Slot").flags({true}).close();
  archive.open("Strange.Slot").close().number(5).close();
  return archive;
}

const std::vector<HandMadeArchive::Class> kStrangeClasses{{"Strange.Box", 7}, {"Strange.Slot", 1}};

TEST(ArchiveFrames, TellsHeadClassesAndBlocksOfClassesThatAreNotKnown) {
  const std::string bytes = strangeArchive().with(kStrangeClasses);
  const ArchiveFrames frames = framesOf(bytes);
  EXPECT_THAT(texts(frames.problems), IsEmpty());
  EXPECT_EQ(frames.size, bytes.size());
  EXPECT_EQ(frames.formatVersion, 1U);
  EXPECT_EQ(frames.statedSize, bytes.size());
  EXPECT_EQ(frames.classTableAt, 69U);
  ASSERT_EQ(frames.classes.size(), 2U);
  EXPECT_EQ(frames.classes[0].name, "Strange.Box");
  EXPECT_EQ(frames.classes[0].version, 7U);
  EXPECT_THAT(lines(frames.blocks),
              ElementsAre("Strange.Box 24..69", " Strange.Slot 48..57", " Strange.Slot 57..65"));
}

TEST(ArchiveFrames, FindsEveryBlockOfADesign) {
  const ArchiveFrames frames = framesOf(savedGraph("A -> B"));
  EXPECT_THAT(texts(frames.problems), IsEmpty());
  const std::vector<std::string> all = lines(frames.blocks);
  ASSERT_GE(all.size(), 4U);
  EXPECT_THAT(all[0], HasSubstr("Object 24.."));
  EXPECT_THAT(all[1], HasSubstr(" Test.StoredModule "));
  EXPECT_THAT(all[2], HasSubstr("  Object "));
  EXPECT_THAT(all, Contains(HasSubstr("    ModuleState ")).Times(0));
  EXPECT_THAT(all, Contains(HasSubstr("   ModuleState ")).Times(2));
  EXPECT_THAT(all, Contains(HasSubstr("ApplyModuleData ")).Times(1));
}

TEST(ArchiveFrames, AcceptsEveryGoldenFile) {
  for (const std::string& name : TestSupport::goldenFiles()) {
    EXPECT_THAT(texts(framesOf(TestSupport::goldenFile(name)).problems), IsEmpty()) << name;
  }
}

TEST(ArchiveFrames, ShowsNothingOfWhatIsNoArchive) {
  for (const std::string bytes : {"", "a letter of more than twenty-eight bytes", "\x89TS"}) {
    const ArchiveFrames frames = framesOf(bytes);
    EXPECT_THAT(texts(frames.problems),
                ElementsAre("this is no design archive: it does not begin like one"));
    EXPECT_FALSE(frames.formatVersion.has_value());
    EXPECT_TRUE(frames.blocks.empty());
  }
}

TEST(ArchiveFrames, ShowsTheHeadOfANewerFormatAndNothingElse) {
  std::string bytes = strangeArchive().with(kStrangeClasses);
  bytes[8] = 2;
  TestSupport::repair(bytes);
  const ArchiveFrames frames = framesOf(bytes);
  EXPECT_THAT(texts(frames.problems),
              ElementsAre("written in format 2, which is newer than this program's format 1"));
  EXPECT_EQ(frames.formatVersion, 2U);
  EXPECT_TRUE(frames.classes.empty());
  EXPECT_TRUE(frames.blocks.empty());
}

TEST(ArchiveFrames, NamesTheBlockInWhichAnArchiveIsCut) {
  // Within the second module, by whose class nothing is known without the class table; the parts of
  // the library are.
  const std::string bytes = savedGraph("A -> B");
  const ArchiveFrames whole = framesOf(bytes);
  const ArchivedBlock state =
      *std::find_if(whole.blocks.rbegin(), whole.blocks.rend(),
                    [](const ArchivedBlock& block) { return block.className == "ModuleState"; });
  const std::size_t cutAt = state.begin + 10;
  const ArchiveFrames frames = framesOf(bytes.substr(0, cutAt));
  EXPECT_THAT(
      texts(frames.problems),
      ElementsAre("cut at byte " + std::to_string(cutAt) + " of " + std::to_string(bytes.size()),
                  "byte " + std::to_string(cutAt) +
                      ": cut within the block of the class ModuleState that begins at "
                      "byte " +
                      std::to_string(state.begin) + " and ends at byte " +
                      std::to_string(state.end)));
  EXPECT_TRUE(frames.classes.empty());
}

TEST(ArchiveFrames, NamesTheClassOfTheTableAtWhichAnArchiveIsCut) {
  const std::string bytes = strangeArchive().with(kStrangeClasses);
  const ArchiveFrames frames = framesOf(bytes.substr(0, bytes.size() - 8));
  EXPECT_THAT(texts(frames.problems),
              ElementsAre(HasSubstr("cut at byte "), HasSubstr("class 2 of the class table is not "
                                                               "whole")));
  ASSERT_EQ(frames.classes.size(), 1U);
  EXPECT_EQ(lines(frames.blocks).front(), "Strange.Box 24..69");
}

TEST(ArchiveFrames, TellsADamagedValueByTheChecksumAlone) {
  std::string bytes = strangeArchive().with(kStrangeClasses);
  bytes[40] = static_cast<char>(bytes[40] ^ 1);
  const ArchiveFrames frames = framesOf(bytes);
  EXPECT_THAT(texts(frames.problems), ElementsAre(HasSubstr("damaged: the checksum at byte ")));
  EXPECT_EQ(frames.blocks.size(), 3U);
}

TEST(ArchiveFrames, NamesAFrameThatLeadsOutOfWhatIsAroundIt) {
  std::string bytes = strangeArchive().with(kStrangeClasses);
  bytes[48] = 70;
  const ArchiveFrames frames = framesOf(bytes);
  EXPECT_THAT(texts(frames.problems),
              ElementsAre(HasSubstr("damaged: the checksum"),
                          "byte 48: a block of the class Strange.Slot is said to end at byte 70, "
                          "behind what is around it, which ends at byte 69"));
  EXPECT_THAT(lines(frames.blocks), ElementsAre("Strange.Box 24..69", " Strange.Slot 57..65"));
}

TEST(ArchiveFrames, NamesAFrameThatEndsBeforeItsContents) {
  std::string bytes = strangeArchive().with(kStrangeClasses);
  bytes[57] = 60;
  TestSupport::repair(bytes);
  EXPECT_THAT(texts(framesOf(bytes).problems),
              ElementsAre("byte 57: a block of the class Strange.Slot is said to end at byte 60, "
                          "before its own contents"));
}

TEST(ArchiveFrames, FollowsBlocksNoDeeperThanTheArchiverDoes) {
  HandMadeArchive archive;
  constexpr int kTooDeep = 502;
  for (int i = 0; i < kTooDeep; ++i) {
    archive.open("Strange.Box");
  }
  for (int i = 0; i < kTooDeep; ++i) {
    archive.close();
  }
  const ArchiveFrames frames = framesOf(archive.with(kStrangeClasses));
  EXPECT_EQ(frames.blocks.size(), 500U);
  EXPECT_THAT(texts(frames.problems),
              ElementsAre("byte 4020: blocks are nested more than 500 deep"));
}

TEST(ArchiveFrames, DoesNotRepeatAnAbsurdlyLongNameWithEveryBlock) {
  const std::string name(100'000, 'n');
  HandMadeArchive archive;
  for (int i = 0; i < 1000; ++i) {
    archive.open(name).close();
  }
  const ArchiveFrames frames = framesOf(archive.with({{name, 1}}));
  ASSERT_EQ(frames.blocks.size(), 1000U);
  EXPECT_EQ(frames.classes[0].name, name);
  std::size_t letters = 0;
  for (const ArchivedBlock& block : frames.blocks) {
    letters += block.className.size();
  }
  EXPECT_LE(letters, 2'000'000U);
  EXPECT_THAT(frames.blocks[0].className, testing::EndsWith("nnn..."));
}

TEST(ArchiveFrames, SaysSomethingOfEveryPrefixAndEveryFlippedByteAndThrowsForNone) {
  const std::string bytes = savedGraph("A -> B; A -> (S):s[side<main]");
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(framesOf(bytes.substr(0, size)).problems.empty()) << size;
  }
  for (std::size_t place = 0; place < bytes.size(); ++place) {
    std::string damaged = bytes;
    damaged[place] = static_cast<char>(damaged[place] ^ 0x81);
    EXPECT_FALSE(framesOf(damaged).problems.empty()) << place;
  }
}

TEST(ArchiveFrames, TakesProblemsNoFurtherThanAPersonReads) {
  HandMadeArchive archive;
  for (int i = 0; i < 100; ++i) {
    archive.number(1).number(TestSupport::typeIdOf("Strange.Box"));
  }
  EXPECT_EQ(framesOf(archive.with(kStrangeClasses)).problems.size(), 20U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
