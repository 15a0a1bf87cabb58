#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/persistence/GoldenFiles.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Step.h"
#include "tests/platform/HeapWatch.h"

// What becomes of files that are cut or changed, with and without a checksum that hides it.

namespace Tessaril {
namespace {

using PlatformTests::HeapWatch;
using TestSupport::GoldenDesign;
using TestSupport::goldenFile;
using TestSupport::readDesign;
using TestSupport::readWhole;
using TestSupport::Step;
using TestSupport::writeDesign;
using TestSupport::writeWhole;

constexpr std::size_t kSmallestArchive = 28;
constexpr char kChanges[] = {'\x01', '\x80', '\xFF'};

/// The shortest element that a file can hold is the empty text of a path, of four bytes; in memory
/// it is a Path in a vector, which doubles when it is full. Everything else grows less.
constexpr std::size_t kMemoryPerByte = 2 * sizeof(Path) / 4;

class DamagedFilesTest : public ::testing::TestWithParam<std::string> {
 protected:
  std::string file() const { return goldenFile(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(GoldenFiles, DamagedFilesTest,
                         ::testing::ValuesIn(TestSupport::goldenFiles()), [](const auto& golden) {
                           std::string name = golden.param.substr(0, golden.param.find('.'));
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

bool isAccepted(const std::string& archive) {
  try {
    PersistenceArchiver archiver(archive);
    return true;
  } catch (const ArchiveException&) {
    return false;
  }
}

TEST_P(DamagedFilesTest, EveryPrefixIsRefusedBeforeAnythingIsRead) {
  const std::string whole = file();
  EXPECT_TRUE(isAccepted(whole));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(isAccepted(whole.substr(0, size))) << size;
  }
}

TEST_P(DamagedFilesTest, EveryChangeIsRefusedBeforeAnythingIsRead) {
  std::string changed = file();
  for (std::size_t at = 0; at < changed.size(); ++at) {
    for (const char change : kChanges) {
      changed[at] = static_cast<char>(changed[at] ^ change);
      EXPECT_FALSE(isAccepted(changed)) << at;
      changed[at] = static_cast<char>(changed[at] ^ change);
    }
  }
}

// What was read must be fit for use: it can be written, and read again as the same.

template <typename T>
void checkObject(const std::string& archive) {
  T object;
  readWhole(archive, object);
  const std::string again = writeWhole(object);
  T second;
  readWhole(again, second);
  EXPECT_EQ(writeWhole(second), again);
}

void useGraph(const GoldenDesign& design) {
  if (design.root == nullptr) {
    return;
  }
  ApplyGraph::restoreApplyGraph(design.root, design.links);
  std::vector<std::shared_ptr<const ApplyModule>> modules;
  for (const auto& child : design.root->getChildren()) {
    EXPECT_EQ(child->getParent(), design.root.get());
    if (const auto step = std::dynamic_pointer_cast<Step>(child)) {
      modules.push_back(step);
    }
  }
  std::vector<ApplyModuleData> links;
  ApplyGraph::storeApplyGraph(design.root, modules, links);
}

void checkDesign(const std::string& archive) {
  const GoldenDesign design = readDesign(archive);
  const std::string again = writeDesign(design);
  EXPECT_EQ(writeDesign(readDesign(again)), again);
  useGraph(design);
}

void check(const std::string& name, const std::string& archive) {
  if (name.starts_with("ModuleState-")) {
    checkObject<ModuleState>(archive);
  } else if (name.starts_with("ApplyModuleInsertInfo-")) {
    checkObject<ApplyModuleInsertInfo>(archive);
  } else if (name.starts_with("ApplyModuleData-")) {
    checkObject<ApplyModuleData>(archive);
  } else if (name.starts_with("ApplyModule-")) {
    checkObject<ApplyModule>(archive);
  } else {
    checkDesign(archive);
  }
}

/// True if the archive could be read; refused ones end in an exception that names a place.
bool isReadable(const std::string& name, std::string archive) {
  TestSupport::repair(archive);
  const HeapWatch watch;
  bool readable = true;
  try {
    check(name, archive);
  } catch (const TsException&) {
    readable = false;
  }
  EXPECT_LE(watch.largest(), kMemoryPerByte * archive.size());
  return readable;
}

TEST_P(DamagedFilesTest, APrefixWithAChecksumIsRefusedOrRead) {
  const std::string whole = file();
  EXPECT_TRUE(isReadable(GetParam(), whole));
  for (std::size_t size = kSmallestArchive; size < whole.size(); ++size) {
    EXPECT_FALSE(isReadable(GetParam(), whole.substr(0, size))) << size;
  }
}

TEST_P(DamagedFilesTest, AChangeWithAChecksumIsRefusedOrRead) {
  const std::string whole = file();
  std::size_t readable = 0;
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char change : kChanges) {
      SCOPED_TRACE(at);
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ change);
      readable += isReadable(GetParam(), changed) ? 1 : 0;
    }
  }
  // Among others, those of the size and the checksum, which are made good again.
  EXPECT_GE(readable, 8 * std::size(kChanges));
  EXPECT_LT(readable, whole.size() * std::size(kChanges));
}

TEST(DamagedContainerTest, ANumberOfElementsThatNeverComeClaimsNoMemory) {
  constexpr std::uint32_t kElements = 10000;
  for (const std::uint32_t claimed : {kElements, kElements + 1, 4 * kElements, 0xFFFFFFFFU}) {
    TestSupport::HandMadeArchive bytes;
    bytes.open("Path").number(claimed);
    for (std::uint32_t i = 0; i < kElements; ++i) {
      bytes.text("");
    }
    const std::string archive = bytes.close().with({{"Path", 1}});
    PersistenceArchiver archiver(archive);
    std::vector<Path> paths;
    const HeapWatch watch;
    if (claimed == kElements) {
      readContainer(archiver, paths);
    } else {
      EXPECT_THROW(readContainer(archiver, paths), ArchiveException);
    }
    EXPECT_LE(watch.largest(), kMemoryPerByte * archive.size());
    if (claimed > 4 * kElements) {
      EXPECT_EQ(paths.capacity(), 0U);
    }
  }
}

TEST(HeapWatchTest, SeesTheLibraries) {
  constexpr std::size_t kSize = 1 << 20;
  const std::string archive = TestSupport::HandMadeArchive().text(std::string(kSize, 'x')).with({});
  PersistenceArchiver archiver(archive);
  const HeapWatch watch;
  std::string text;
  archiver >> text;
  EXPECT_GE(watch.largest(), kSize);
  EXPECT_LT(watch.largest(), 2 * kSize);
  EXPECT_GE(watch.allocations(), 1U);
}

}  // namespace
}  // namespace Tessaril
