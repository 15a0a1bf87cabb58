#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/platform/exceptions/TsException.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/HeapWatch.h"
#include "tests/platform/persistence_archiver/StoredClass.h"
#include "tests/platform/reference/ArchiveBytes.h"

// Archives that are cut or changed anywhere, and what reading them costs.

namespace Tessaril {
namespace {

using namespace ArchiveBytes;
using PlatformTests::descriptorOf;
using PlatformTests::HeapWatch;

/// A tree with a branch that is shared, and a value of every kind behind it.
std::string sampleArchive() {
  const auto root = std::make_shared<Object>("root");
  root->addChild(std::make_shared<Object>("a"));
  root->addChild(std::make_shared<Object>("b"));
  root->getChild("a")->addChild(std::make_shared<Object>("deep"));
  PersistenceArchiver archiver;
  archiver.writeShared(root);
  archiver.writeShared(root->getChild("b"));
  archiver << true << 7U << std::uint64_t{8} << 9.5 << std::string("text");
  return archiver.finish();
}

void readSample(const std::string& bytes) {
  PersistenceArchiver archiver(bytes);
  const auto root = archiver.readShared<Object>();
  const auto branch = archiver.readShared<Object>();
  bool truth = false;
  unsigned int number = 0;
  std::uint64_t longNumber = 0;
  double real = 0;
  std::string value;
  archiver >> truth >> number >> longNumber >> real >> value;
  archiver.requireEnd();
  // A tree that was accepted is one.
  for (std::vector<const Object*> waiting{root.get()}; !waiting.empty();) {
    const Object* const object = waiting.back();
    waiting.pop_back();
    if (object != nullptr) {
      for (const auto& child : object->getChildren()) {
        EXPECT_EQ(child->getParent(), object);
        waiting.push_back(child.get());
      }
    }
  }
}

bool isRefused(const std::string& bytes) {
  try {
    readSample(bytes);
  } catch (const TsException&) {
    return true;
  }
  return false;
}

/// Of one piece of memory, for an archive of that size: what the archive keeps of its classes
/// (about 100 bytes for the 12 bytes of a class) in a list that grows to its double, and for small
/// archives the first block of a queue and the text of a message.
std::size_t mostMemory(std::size_t archiveSize) { return 1024 + 20 * archiveSize; }

std::size_t largestPieceFor(const std::string& bytes) {
  const HeapWatch watch;
  isRefused(bytes);
  return watch.largest();
}

TEST(ArchiveRobustnessTest, TheSampleIsRead) { EXPECT_FALSE(isRefused(sampleArchive())); }

TEST(ArchiveRobustnessTest, EveryPrefixIsRefused) {
  const std::string whole = sampleArchive();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_TRUE(isRefused(whole.substr(0, size))) << size;
  }
}

TEST(ArchiveRobustnessTest, EveryChangeOfAByteIsRefused) {
  const std::string whole = sampleArchive();
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int change = 1; change < 256; ++change) {
      std::string damaged = whole;
      damaged[i] = static_cast<char>(damaged[i] ^ change);
      ASSERT_TRUE(isRefused(damaged)) << "byte " << i << ", change " << change;
    }
  }
}

TEST(ArchiveRobustnessTest, EveryPrefixThatPretendsToBeWholeIsRefused) {
  const std::string whole = sampleArchive();
  for (std::size_t size = kHeadSize + 4; size < whole.size(); ++size) {
    EXPECT_TRUE(isRefused(repaired(whole.substr(0, size)))) << size;
  }
}

TEST(ArchiveRobustnessTest, EveryChangeThatPretendsToBeRightIsRefusedOrRead) {
  constexpr int kChanges[]{1, 2, 4, 8, 16, 32, 64, 128, 3, 85, 255};
  const std::string whole = sampleArchive();
  int refused = 0;
  for (std::size_t i = 0; i < whole.size() - 4; ++i) {
    for (const int change : kChanges) {
      std::string made = whole;
      made[i] = static_cast<char>(made[i] ^ change);
      made = repaired(made);
      const HeapWatch watch;
      refused += isRefused(made) ? 1 : 0;
      ASSERT_LE(watch.largest(), mostMemory(made.size())) << "byte " << i << ", change " << change;
    }
  }
  // Both happen: another letter of a name is read.
  EXPECT_GT(refused, 0);
  EXPECT_LT(refused, static_cast<int>(std::size(kChanges) * (whole.size() - 4)));
}

TEST(ArchiveRobustnessTest, AnyFourBytesCanPretendToBeAnyNumber) {
  const std::string whole = sampleArchive();
  for (std::size_t i = 8; i + 4 <= whole.size() - 4; ++i) {
    for (const std::uint32_t number : {0U, 1U, 2U, static_cast<std::uint32_t>(whole.size()),
                                       0x7FFFFFFFU, 0x80000000U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
      std::string made = whole;
      made = repaired(made.replace(i, 4, u32(number)));
      EXPECT_LE(largestPieceFor(made), mostMemory(made.size())) << "byte " << i << ": " << number;
    }
  }
}

TEST(ArchiveRobustnessTest, MadeUpLengthsClaimNoMemory) {
  descriptorOf<Object>();
  const std::string object = u32(1) + block(24, typeId("Object"), u32(0xFFFFFFFF) + u32(0));
  const std::string children = u32(1) + block(24, typeId("Object"), text("r") + u32(0xFFFFFFFF));
  for (const std::string& body : {object, children}) {
    const std::string made = archive(body, {classEntry("Object", 1)});
    EXPECT_TRUE(isRefused(made));
    EXPECT_LE(largestPieceFor(made), mostMemory(made.size()));
  }
  std::string manyClasses = archive("");
  manyClasses = repaired(manyClasses.replace(20, 4, u32(0xFFFFFFFF)));
  EXPECT_TRUE(isRefused(manyClasses));
  EXPECT_LE(largestPieceFor(manyClasses), mostMemory(manyClasses.size()));
}

TEST(ArchiveRobustnessTest, AClassTableOfManyClassesCostsInProportion) {
  std::vector<std::string> classes;
  for (std::uint32_t i = 0; i < 50000; ++i) {
    classes.push_back(classEntry(i, "", 1));
  }
  const std::string made = archive("", classes);
  const HeapWatch watch;
  const PersistenceArchiver archiver(made);
  EXPECT_LE(watch.largest(), mostMemory(made.size()));
  EXPECT_EQ(archiver.getClasses().size(), 50000U);
}

}  // namespace
}  // namespace Tessaril
