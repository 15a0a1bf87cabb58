#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/archive/ArchiveText.h"
#include "tests/diagnostics/archive/SavedGraph.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::HasSubstr;
using testing::Not;
using TestSupport::HandMadeArchive;
using TestSupport::openStep;
using TestSupport::presentClasses;
using TestSupport::record;
using TestSupport::savedGraph;

TEST(ArchiveReport, ShowsADesign) {
  const std::string bytes =
      savedGraph("A[active] -> M[merge<main+w]; A -> W:w[fork<main] -> M; A -> (S):s[side<w]");
  const std::string text = textOf(inspectArchive(bytes), "pair.tsr", false);
  EXPECT_THAT(text, HasSubstr("pair.tsr\n  format 1, " + std::to_string(bytes.size()) +
                              " bytes, 8 classes, 5 objects, 4 modules, 4 records of links\n\n"));
  EXPECT_THAT(text,
              HasSubstr("\nClasses\n"
                        "  class                  version  blocks  here\n"
                        "  Object                 1             5  the version known here\n"));
  EXPECT_THAT(text, HasSubstr("\nModules\n"
                              "  module  state                         speed   chain\n"
                              "  /A      active, consistent, input ok  normal  main chain\n"
                              "  /M      consistent, input ok          normal  main chain, merges "
                              "main chain, chain 2\n"
                              "  /W      consistent, input ok          normal  chain 2, starts as "
                              "a fork of main chain\n"
                              "  /S      consistent, input ok          normal  chain 1, starts as "
                              "a side chain of chain 2\n"));
  EXPECT_THAT(text, HasSubstr("\nLinks\n"
                              "  module  previous  next        start\n"
                              "  /A      -         /M, /W, /S\n"));
  EXPECT_THAT(text, HasSubstr("  /S      /A        -           start of a side chain\n"));
  EXPECT_THAT(text, Not(HasSubstr("Problems")));
  EXPECT_THAT(text, Not(HasSubstr("Left out")));
  EXPECT_THAT(text, Not(HasSubstr("Blocks")));
}

TEST(ArchiveReport, ShowsBlocksWhenAskedFor) {
  EXPECT_THAT(textOf(inspectArchive(savedGraph("A")), "a", true), HasSubstr("\nBlocks\n  24 to "));
}

TEST(ArchiveReport, SaysWhatIsNewerAndWhatIsNotKnown) {
  const std::string text =
      textOf(inspectArchive(HandMadeArchive().with(
                 {{"ApplyModule", 500003}, {"ModuleState", 53013}, {"Strange.Box", 1}})),
             "a", false);
  EXPECT_THAT(text, HasSubstr("newer than this library knows (500002)"));
  EXPECT_THAT(text, HasSubstr("older than here (500001)"));
  EXPECT_THAT(text, HasSubstr("not known here"));
}

TEST(ArchiveReport, PutsProblemsFirst) {
  std::string bytes = savedGraph("A");
  bytes[40] = static_cast<char>(bytes[40] ^ 1);
  EXPECT_THAT(textOf(inspectArchive(bytes), "a", false),
              HasSubstr("\n\nProblems\n  damaged: the checksum at byte "));
}

TEST(ArchiveReport, NamesFromAFileCannotControlATerminal) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(2);
  openStep(archive, "App.Step", "red\x1b[31m\nline").close().close();
  archive.open("ApplyModuleData").number(1);
  record(archive, "/\x07gone", {}, {}).close();
  const InspectedArchive inspected =
      inspectArchive(archive.with(presentClasses({{"App.Step", 1}})));
  const std::string text = textOf(inspected, "a\tb", true);
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
  EXPECT_EQ(text.find('\x07'), std::string::npos);
  EXPECT_EQ(text.find('\t'), std::string::npos);
  EXPECT_THAT(text, HasSubstr("/red\\x1b[31m\\x0aline"));
}

TEST(ArchiveReport, ListsOfManyLinksGoOnInTheNextLine) {
  constexpr std::size_t kFollowers = 50;
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(2);
  openStep(archive, "App.Step", "A").close().close();
  archive.open("ApplyModuleData").number(1).path("/A").paths({});
  archive.open("Path").number(kFollowers);
  for (std::size_t i = 0; i < kFollowers; ++i) {
    archive.text("/follower " + std::to_string(i));
  }
  archive.close().flags({false}).close();
  const std::string text =
      textOf(inspectArchive(archive.with(presentClasses({{"App.Step", 1}}))), "a", false);
  EXPECT_THAT(text, HasSubstr("/follower 49"));
  std::istringstream lines(text);
  for (std::string line;
       std::getline(lines, line) && line != "Left out when the links are restored";) {
    EXPECT_LE(line.size(), 100U) << line;
  }
}

TEST(ArchiveReport, APathWithinAListIsNotBroken) {
  const std::string longPath = "/" + std::string(150, 'p');
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(2);
  openStep(archive, "App.Step", "A").close().close();
  archive.open("ApplyModuleData").number(1);
  record(archive, "/A", {}, {"/B", longPath, "/C"}).close();
  EXPECT_THAT(textOf(inspectArchive(archive.with(presentClasses({{"App.Step", 1}}))), "a", false),
              HasSubstr("  " + longPath + ",\n"));
}

TEST(ArchiveReport, SaysThatNoLinksAreStored) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(0).close();
  const InspectedArchive inspected = inspectArchive(archive.with(presentClasses()));
  EXPECT_THAT(textOf(inspected, "a", false), HasSubstr(", 0 modules, no list of links\n"));
  EXPECT_EQ(toJson(inspected)["hasLinks"], false);
  EXPECT_EQ(toJson(inspectArchive(savedGraph("A")))["hasLinks"], true);
}

TEST(ArchiveReport, TheSameFactsAsJson) {
  HandMadeArchive archive;
  archive.number(1).open("Object").text("design").number(1).number(2);
  openStep(archive, "App.Step", "A").close().close();
  archive.open("ApplyModuleData").number(1);
  record(archive, "/A", {"/gone"}, {}).close().number(5);
  const std::string bytes = archive.with(presentClasses({{"App.Step", 3}}));
  const auto json = toJson(inspectArchive(bytes));
  EXPECT_EQ(json["format"], 1);
  EXPECT_EQ(json["size"], bytes.size());
  EXPECT_EQ(json["statedSize"], bytes.size());
  EXPECT_EQ(json["problems"].dump(), "[]");
  EXPECT_EQ(json["classes"][0].dump(),
            R"({"name":"Object","typeId":3851314394,"version":1,"versionHere":1,)"
            R"("standing":"current","blocks":2})");
  EXPECT_EQ(json["classes"][7]["standing"], "unknown");
  EXPECT_EQ(json["classes"][7]["versionHere"], nullptr);
  EXPECT_EQ(json["objects"][0]["module"], nullptr);
  EXPECT_EQ(json["objects"][1]["path"], "/A");
  EXPECT_EQ(json["objects"][1]["module"].dump(),
            R"({"active":false,"consistent":true,"inputOk":true,"frozen":false,"skipped":false,)"
            R"("additional":false,"speedRate":3,"insertMode":"addToChain",)"
            R"("chainId":"00000000-0000-0000-0000-000000000000","mergeChainIds":[]})");
  EXPECT_EQ(json["links"].dump(),
            R"([{"module":"/A","previous":["/gone"],"next":[],"startOfSideChain":false}])");
  EXPECT_EQ(json["droppedLinks"][0]["neighbour"], "/gone");
  EXPECT_EQ(json["droppedLinks"][0]["list"], "previous");
  EXPECT_EQ(json["bytesBehind"], 4);
  EXPECT_EQ(json["blocks"][0]["class"], "Object");
  EXPECT_FALSE(toJson(inspectArchive(bytes), false).contains("blocks"));
}

TEST(ArchiveReport, WritesDownWhateverTheBytesHold) {
  const std::string bytes = savedGraph("A -> B; A -> (S):s[side<main]");
  const InspectedArchive whole = inspectArchive(bytes);
  for (std::size_t place = 20; place + 4 < bytes.size(); ++place) {
    std::string damaged = bytes;
    damaged[place] = static_cast<char>(damaged[place] ^ (place % 2 == 0 ? 0x01 : 0xFF));
    TestSupport::repair(damaged);
    const InspectedArchive archive = inspectArchive(damaged);
    const std::string text = textOf(archive, "a", true);
    EXPECT_TRUE(std::none_of(text.begin(), text.end(), [](char letter) {
      return letter != '\n' && static_cast<unsigned char>(letter) < 0x20;
    })) << place;
    EXPECT_FALSE(dumpJson(toJson(archive)).empty()) << place;
    EXPECT_NO_THROW(textOf(compareArchives(whole, archive))) << place;
    EXPECT_NO_THROW(snapshotOf(archive)) << place;
  }
}

TEST(ArchiveReport, JsonHoldsNoBrokenText) {
  const nlohmann::ordered_json json{{"name", "caf\xe9"}};
  EXPECT_EQ(dumpJson(json), "{\n  \"name\": \"caf\xEF\xBF\xBD\"\n}\n");
}

TEST(ArchiveText, OneLineKeepsTextAndShowsTheBytesOfEverythingElse) {
  const std::string text = "caf\u00e9 \u6b6f\u8eca \U0001F600 \u00a0|";
  EXPECT_EQ(oneLine(text), text);
  EXPECT_EQ(oneLine("a\tb\x7f"), "a\\x09b\\x7f");
  // A control character of two bytes, which terminals obey as well.
  EXPECT_EQ(oneLine("\u009b31m"), "\\xc2\\x9b31m");
  // What turns the direction of writing, and what ends a line.
  EXPECT_EQ(oneLine("\u202egnp.a"), "\\xe2\\x80\\xaegnp.a");
  EXPECT_EQ(oneLine("\u2066\u200f\u2028"), "\\xe2\\x81\\xa6\\xe2\\x80\\x8f\\xe2\\x80\\xa8");
}

TEST(ArchiveText, OneLineShowsTheBytesOfWhatIsNoUtf8) {
  EXPECT_EQ(oneLine("caf\xe9"), "caf\\xe9");
  EXPECT_EQ(oneLine("\x9b|"), "\\x9b|");
  EXPECT_EQ(oneLine("\xe2\x82|"), "\\xe2\\x82|");
  EXPECT_EQ(oneLine("\xc0\xaf"), "\\xc0\\xaf");
  EXPECT_EQ(oneLine("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");
  EXPECT_EQ(oneLine("\xed\xa0\x80"), "\\xed\\xa0\\x80");
  EXPECT_EQ(oneLine("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
  EXPECT_EQ(oneLine("\xff"), "\\xff");
}

TEST(ArchiveText, SpeedRates) {
  EXPECT_EQ(speedRateName(0), "instant");
  EXPECT_EQ(speedRateName(5), "very slow");
  EXPECT_EQ(speedRateName(6), "rate 6");
  EXPECT_EQ(speedRateName(-1), "rate -1");
}

}  // namespace
}  // namespace Tessaril::Diagnostics
