#include <gmock/gmock.h>

#include <type_traits>
#include <utility>

#include "tessaril/persistence/ApplyModuleData.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"

namespace Tessaril {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::HandMadeArchive;
using TestSupport::loadRecord;
using TestSupport::savedRecord;

static_assert(std::is_nothrow_move_constructible_v<ApplyModuleData>);
static_assert(std::is_nothrow_move_assignable_v<ApplyModuleData>);

constexpr unsigned int kCurrent = 500000;
const std::vector<HandMadeArchive::Class> kClasses{{"Path", 1}};

ApplyModuleData someData() {
  ApplyModuleData data;
  data.path = Path("/gear/teeth");
  data.previousPaths = {Path("/gear"), Path("../input")};
  data.nextPaths = {Path("/check"), Path("/mill"), Path("/gear")};
  data.startOfSideChain = true;
  return data;
}

void expectSomeData(const ApplyModuleData& data) {
  EXPECT_EQ(data.path, Path("/gear/teeth"));
  EXPECT_THAT(data.previousPaths, ElementsAre(Path("/gear"), Path("../input")));
  EXPECT_THAT(data.nextPaths, ElementsAre(Path("/check"), Path("/mill"), Path("/gear")));
  EXPECT_TRUE(data.startOfSideChain);
}

std::string someRecord() {
  return HandMadeArchive()
      .path("/gear/teeth")
      .paths({"/gear", "../input"})
      .paths({"/check", "/mill", "/gear"})
      .flags({true})
      .with(kClasses);
}

void expectDefaults(const ApplyModuleData& data) {
  EXPECT_TRUE(data.path.isEmpty());
  EXPECT_THAT(data.previousPaths, IsEmpty());
  EXPECT_THAT(data.nextPaths, IsEmpty());
  EXPECT_FALSE(data.startOfSideChain);
}

TEST(ApplyModuleDataTest, Defaults) { expectDefaults(ApplyModuleData()); }

TEST(ApplyModuleDataTest, CopiesHoldAllFields) {
  const ApplyModuleData data = someData();
  const ApplyModuleData copy(data);  // NOLINT(performance-unnecessary-copy-initialization)
  expectSomeData(copy);
  ApplyModuleData assigned;
  assigned = data;
  expectSomeData(assigned);
  expectSomeData(data);
  assigned = ApplyModuleData();
  expectDefaults(assigned);
}

TEST(ApplyModuleDataTest, MovesTakeAllFieldsAlong) {
  ApplyModuleData data = someData();
  const Path* const elements = data.nextPaths.data();
  ApplyModuleData moved(std::move(data));
  expectSomeData(moved);
  ApplyModuleData assigned;
  assigned = std::move(moved);
  expectSomeData(assigned);
  EXPECT_EQ(assigned.nextPaths.data(), elements);
}

TEST(ApplyModuleDataTest, PathThenPreviousThenNextThenFlag) {
  EXPECT_EQ(savedRecord(someData(), kCurrent), someRecord());
  ApplyModuleData loaded;
  loadRecord(someRecord(), loaded, kCurrent);
  expectSomeData(loaded);
}

TEST(ApplyModuleDataTest, NoNeighboursAreBlocksOfNone) {
  ApplyModuleData data;
  data.path = Path("/alone");
  const std::string archive =
      HandMadeArchive().path("/alone").paths({}).paths({}).flags({false}).with(kClasses);
  EXPECT_EQ(savedRecord(data, kCurrent), archive);
  ApplyModuleData loaded = someData();
  loadRecord(archive, loaded, kCurrent);
  EXPECT_EQ(loaded.path, Path("/alone"));
  EXPECT_THAT(loaded.previousPaths, IsEmpty());
  EXPECT_THAT(loaded.nextPaths, IsEmpty());
  EXPECT_FALSE(loaded.startOfSideChain);
}

TEST(ApplyModuleDataTest, ThereIsOneLayout) {
  for (const unsigned int version : {0U, 53013U, 53014U, 499999U, 500001U, 500002U, 0xFFFFFFFFU}) {
    ApplyModuleData loaded;
    loadRecord(someRecord(), loaded, version);
    expectSomeData(loaded);
    EXPECT_EQ(savedRecord(loaded, version), someRecord()) << version;
  }
}

TEST(ApplyModuleDataTest, SaveAndLoadAreOpenToAll) {
  PersistenceArchiver writer;
  someData().save(writer, 0);
  PersistenceArchiver reader(writer.finish());
  ApplyModuleData loaded;
  loaded.load(reader, 0);
  reader.requireEnd();
  expectSomeData(loaded);
}

TEST(ApplyModuleDataTest, AFailingReadLeavesWhatItDidNotReach) {
  PersistenceArchiver archiver(
      HandMadeArchive().path("/other").paths({"/new"}).number(0).with(kClasses));
  ApplyModuleData data = someData();
  EXPECT_THROW(loadRecord<ApplyModuleData>(archiver, data, kCurrent), ArchiveException);
  EXPECT_EQ(data.path, Path("/other"));
  EXPECT_THAT(data.previousPaths, ElementsAre(Path("/new")));
  EXPECT_THAT(data.nextPaths, ElementsAre(Path("/check"), Path("/mill"), Path("/gear")));
  EXPECT_TRUE(data.startOfSideChain);
}

}  // namespace
}  // namespace Tessaril
