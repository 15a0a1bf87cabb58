#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

namespace Tessaril {
namespace {

using PlatformTests::refusal;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr unsigned int kNoType = BaseClassRegister::kNoType;

unsigned int at(const PersistenceArchiver& archiver) {
  return static_cast<unsigned int>(static_cast<std::streamoff>(archiver.tellp()));
}

/// Opens a block; returns its start.
unsigned int open(PersistenceArchiver& archiver, unsigned int typeHash = kNoType) {
  const unsigned int start = at(archiver) + 4;
  archiver.mark_object_start(start, typeHash);
  return start;
}

void close(PersistenceArchiver& archiver, unsigned int start) {
  archiver.mark_object_end(start, at(archiver));
}

/// Opens the block that stands here, behind its type hash; returns its end.
unsigned int enter(PersistenceArchiver& archiver, unsigned int* typeHash = nullptr) {
  unsigned int start = 0;
  unsigned int end = 0;
  unsigned int found = 0;
  archiver.read_to_address_header(start, end);
  archiver >> (typeHash != nullptr ? *typeHash : found);
  return end;
}

unsigned int readNumber(PersistenceArchiver& archiver) {
  unsigned int number = 0;
  archiver >> number;
  return number;
}

/// A block that holds 1, 2 and 3, and 4 behind it.
std::string blockOfThree() {
  PersistenceArchiver writing;
  const unsigned int start = open(writing);
  writing << 1U << 2U << 3U;
  close(writing, start);
  writing << 4U;
  return writing.finish();
}

TEST(FramedBlocksTest, ABlockTellsItsTypeHashItsStartAndItsEnd) {
  PersistenceArchiver writing;
  const unsigned int start = open(writing, 12345);
  EXPECT_GT(at(writing), start);
  writing << 1U;
  close(writing, start);
  const unsigned int end = at(writing);
  PersistenceArchiver reading(writing.finish());
  unsigned int readStart = 0;
  unsigned int readEnd = 0;
  reading.read_to_address_header(readStart, readEnd);
  EXPECT_EQ(readStart, start);
  EXPECT_EQ(readEnd, end);
  EXPECT_EQ(at(reading), start);
  EXPECT_EQ(readNumber(reading), 12345U);
  EXPECT_EQ(readNumber(reading), 1U);
  reading.end_read_to_address(readEnd);
  reading.requireEnd();
}

TEST(FramedBlocksTest, ABlockCanBeEmpty) {
  PersistenceArchiver writing;
  close(writing, open(writing, 9));
  PersistenceArchiver reading(writing.finish());
  unsigned int typeHash = 0;
  const unsigned int end = enter(reading, &typeHash);
  EXPECT_EQ(typeHash, 9U);
  EXPECT_EQ(at(reading), end);
  reading.end_read_to_address(end);
  reading.requireEnd();
}

TEST(FramedBlocksTest, AReaderThatConsumesLessGoesOnBehindTheBlock) {
  for (int consumed = 0; consumed <= 3; ++consumed) {
    PersistenceArchiver reading(blockOfThree());
    const unsigned int end = enter(reading);
    for (int i = 0; i < consumed; ++i) {
      readNumber(reading);
    }
    reading.end_read_to_address(end);
    EXPECT_EQ(readNumber(reading), 4U);
    reading.requireEnd();
  }
}

TEST(FramedBlocksTest, EvenTheTypeHashNeedNotBeRead) {
  PersistenceArchiver reading(blockOfThree());
  unsigned int start = 0;
  unsigned int end = 0;
  reading.read_to_address_header(start, end);
  reading.end_read_to_address(end);
  EXPECT_EQ(readNumber(reading), 4U);
}

TEST(FramedBlocksTest, AReaderThatWantsMoreIsRefused) {
  PersistenceArchiver reading(blockOfThree());
  enter(reading);
  for (int i = 0; i < 3; ++i) {
    readNumber(reading);
  }
  EXPECT_THAT(refusal([&] { readNumber(reading); }), HasSubstr("byte "));
}

TEST(FramedBlocksTest, ATextDoesNotReachBeyondItsBlock) {
  PersistenceArchiver writing;
  const unsigned int start = open(writing);
  writing << 5U << true;
  close(writing, start);
  writing << std::string("behind");
  PersistenceArchiver reading(writing.finish());
  enter(reading);
  std::string text;
  EXPECT_THROW(reading >> text, ArchiveException);
}

// As a damaged archive may have it, whose check sum is right.
TEST(FramedBlocksTest, RefusesABlockThatDoesNotEndWithinTheOneAroundIt) {
  for (const unsigned int madeUpEnd : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    PersistenceArchiver writing;
    const unsigned int outer = open(writing);
    writing << madeUpEnd << 0U;
    close(writing, outer);
    writing << std::string(100, 'x');
    PersistenceArchiver reading(writing.finish());
    enter(reading);
    EXPECT_THAT(refusal([&] { enter(reading); }), HasSubstr("byte ")) << madeUpEnd;
  }
}

TEST(FramedBlocksTest, BlocksNest) {
  PersistenceArchiver writing;
  const unsigned int outer = open(writing, 1);
  writing << 10U;
  const unsigned int inner = open(writing, 2);
  writing << 20U;
  close(writing, inner);
  writing << 11U;
  close(writing, outer);
  writing << 30U;

  PersistenceArchiver reading(writing.finish());
  unsigned int typeHash = 0;
  const unsigned int outerEnd = enter(reading, &typeHash);
  EXPECT_EQ(typeHash, 1U);
  EXPECT_EQ(readNumber(reading), 10U);
  const unsigned int innerEnd = enter(reading, &typeHash);
  EXPECT_EQ(typeHash, 2U);
  EXPECT_EQ(readNumber(reading), 20U);
  // Not even what still belongs to the block around it.
  EXPECT_THROW(readNumber(reading), ArchiveException);
  reading.end_read_to_address(innerEnd);
  EXPECT_EQ(readNumber(reading), 11U);
  EXPECT_THROW(readNumber(reading), ArchiveException);
  reading.end_read_to_address(outerEnd);
  EXPECT_EQ(readNumber(reading), 30U);
  reading.requireEnd();
}

TEST(FramedBlocksTest, BlocksThatEndTogetherAreClosedOneByOne) {
  PersistenceArchiver writing;
  const unsigned int outer = open(writing);
  const unsigned int inner = open(writing);
  close(writing, inner);
  close(writing, outer);
  writing << 1U;
  PersistenceArchiver reading(writing.finish());
  const unsigned int outerEnd = enter(reading);
  const unsigned int innerEnd = enter(reading);
  EXPECT_EQ(innerEnd, outerEnd);
  reading.end_read_to_address(innerEnd);
  EXPECT_THROW(readNumber(reading), ArchiveException);
  reading.end_read_to_address(outerEnd);
  EXPECT_EQ(readNumber(reading), 1U);
}

TEST(FramedBlocksTest, ABlockBeginsWhereTheEndFitsBeforeIt) {
  PersistenceArchiver writing;
  const unsigned int start = at(writing) + 4;
  EXPECT_THROW(writing.mark_object_start(start - 4, 1), std::logic_error);
  EXPECT_THROW(writing.mark_object_start(start - 1, 1), std::logic_error);
  EXPECT_THROW(writing.mark_object_start(start + 1, 1), std::logic_error);
  EXPECT_THROW(writing.mark_object_start(0, 1), std::logic_error);
  EXPECT_NO_THROW(writing.mark_object_start(start, 1));
}

TEST(FramedBlocksTest, TheInnermostBlockIsClosedFirst) {
  PersistenceArchiver writing;
  const unsigned int outer = open(writing);
  const unsigned int inner = open(writing);
  EXPECT_THROW(close(writing, outer), std::logic_error);
  EXPECT_NO_THROW(close(writing, inner));
  EXPECT_THROW(close(writing, inner), std::logic_error);
  EXPECT_NO_THROW(close(writing, outer));
  EXPECT_THROW(close(writing, outer), std::logic_error);
}

TEST(FramedBlocksTest, ABlockIsClosedAtThePresentPosition) {
  PersistenceArchiver writing;
  const unsigned int start = open(writing);
  writing << 1U;
  EXPECT_THROW(writing.mark_object_end(start, at(writing) - 1), std::logic_error);
  EXPECT_THROW(writing.mark_object_end(start, at(writing) + 1), std::logic_error);
  EXPECT_NO_THROW(close(writing, start));
}

TEST(FramedBlocksTest, TheInnermostBlockIsLeftFirst) {
  PersistenceArchiver writing;
  const unsigned int outer = open(writing);
  const unsigned int inner = open(writing);
  close(writing, inner);
  writing << 1U;
  close(writing, outer);
  PersistenceArchiver reading(writing.finish());
  EXPECT_THROW(reading.end_read_to_address(at(reading)), std::logic_error);
  const unsigned int outerEnd = enter(reading);
  const unsigned int innerEnd = enter(reading);
  EXPECT_THROW(reading.end_read_to_address(outerEnd), std::logic_error);
  EXPECT_NO_THROW(reading.end_read_to_address(innerEnd));
  EXPECT_NO_THROW(reading.end_read_to_address(outerEnd));
  EXPECT_THROW(reading.end_read_to_address(outerEnd), std::logic_error);
}

TEST(FramedBlocksTest, AnArchiveWithAnOpenBlockCannotBeFinished) {
  PersistenceArchiver writing;
  const unsigned int start = open(writing);
  EXPECT_THROW(writing.finish(), std::logic_error);
  close(writing, start);
  EXPECT_NO_THROW(writing.finish());
}

// Depth

TEST(FramedBlocksTest, BlocksNestAsDeepAsTheLimit) {
  PersistenceArchiver writing;
  std::vector<unsigned int> blocks;
  while (blocks.size() < PersistenceArchiver::kMaxDepth) {
    blocks.push_back(open(writing));
  }
  writing << 77U;
  for (; !blocks.empty(); blocks.pop_back()) {
    close(writing, blocks.back());
  }
  PersistenceArchiver reading(writing.finish());
  while (blocks.size() < PersistenceArchiver::kMaxDepth) {
    blocks.push_back(enter(reading));
  }
  EXPECT_EQ(readNumber(reading), 77U);
  for (; !blocks.empty(); blocks.pop_back()) {
    reading.end_read_to_address(blocks.back());
  }
  reading.requireEnd();
}

TEST(FramedBlocksTest, RefusesToWriteDeeperThanTheLimit) {
  PersistenceArchiver writing;
  for (std::size_t i = 0; i < PersistenceArchiver::kMaxDepth; ++i) {
    open(writing);
  }
  EXPECT_THAT(refusal([&] { open(writing); }),
              HasSubstr(std::to_string(PersistenceArchiver::kMaxDepth)));
}

TEST(FramedBlocksTest, ManyBlocksInARowAreNotDeep) {
  PersistenceArchiver writing;
  for (std::size_t i = 0; i < 3 * PersistenceArchiver::kMaxDepth; ++i) {
    close(writing, open(writing));
  }
  PersistenceArchiver reading(writing.finish());
  for (std::size_t i = 0; i < 3 * PersistenceArchiver::kMaxDepth; ++i) {
    reading.end_read_to_address(enter(reading));
  }
  reading.requireEnd();
}

// Containers

TEST(ContainerSizeTest, TakesWhatTheRestOfTheBlockCanHold) {
  PersistenceArchiver writing;
  const unsigned int start = open(writing);
  writing << true << true << true;
  close(writing, start);
  writing << std::string(1000, 'x');
  PersistenceArchiver reading(writing.finish());
  enter(reading);
  EXPECT_NO_THROW(reading.check_container_size(0));
  EXPECT_NO_THROW(reading.check_container_size(3));
  EXPECT_THAT(refusal([&] { reading.check_container_size(4); }), HasSubstr("byte "));
  EXPECT_THROW(reading.check_container_size(1000), ArchiveException);
  EXPECT_THROW(reading.check_container_size(0xFFFFFFFF), ArchiveException);
  bool element = false;
  reading >> element;
  EXPECT_NO_THROW(reading.check_container_size(2));
  EXPECT_THROW(reading.check_container_size(3), ArchiveException);
}

TEST(ContainerSizeTest, OutsideOfBlocksTheArchiveIsTheLimit) {
  PersistenceArchiver writing;
  writing << 1U;
  PersistenceArchiver reading(writing.finish());
  EXPECT_NO_THROW(reading.check_container_size(4));
  EXPECT_THROW(reading.check_container_size(5), ArchiveException);
}

TEST(ContainerSizeTest, ChangesNothing) {
  PersistenceArchiver reading(blockOfThree());
  enter(reading);
  const unsigned int before = at(reading);
  reading.check_container_size(3);
  EXPECT_EQ(at(reading), before);
}

// The classes of an archive

struct First {
  static void serialization_register(void* descriptor) {
    PlatformTests::registerStored<First>(descriptor, "Class table: first", 11);
  }
  void save(PersistenceArchiver&) const {}
  void load(PersistenceArchiver&, unsigned int) {}
};
struct Second {
  static void serialization_register(void* descriptor) {
    PlatformTests::registerStored<Second>(descriptor, "Class table: second", 22);
  }
  void save(PersistenceArchiver&) const {}
  void load(PersistenceArchiver&, unsigned int) {}
};

TEST(ClassTableTest, NamesTheClassesInTheOrderOfTheirFirstBlocks) {
  const unsigned int first = PlatformTests::descriptorOf<First>().typeId;
  const unsigned int second = PlatformTests::descriptorOf<Second>().typeId;
  PersistenceArchiver writing;
  const unsigned int outer = open(writing, second);
  close(writing, open(writing, first));
  close(writing, outer);
  close(writing, open(writing, second));
  const std::vector<ArchivedClass> expected{{second, "Class table: second", 22},
                                            {first, "Class table: first", 11}};
  EXPECT_EQ(writing.getClasses(), expected);
  const PersistenceArchiver reading(writing.finish());
  EXPECT_EQ(reading.getClasses(), expected);
}

TEST(ClassTableTest, NamesNoClassWithoutABlock) {
  PlatformTests::descriptorOf<First>();
  PersistenceArchiver writing;
  writing << 1U;
  const PersistenceArchiver reading(writing.finish());
  EXPECT_THAT(reading.getClasses(), IsEmpty());
}

TEST(ClassTableTest, BlocksWithoutARegisteredClassAreNotNamed) {
  PersistenceArchiver writing;
  close(writing, open(writing, kNoType));
  close(writing, open(writing, PersistenceArchiver::getHashForName("Never registered as a class")));
  const PersistenceArchiver reading(writing.finish());
  EXPECT_THAT(reading.getClasses(), IsEmpty());
}

TEST(ClassTableTest, FindsTheClassesOfTheArchiveWithTheirOperations) {
  const BaseClassRegister first = PlatformTests::descriptorOf<First>();
  PersistenceArchiver writing;
  close(writing, open(writing, first.typeId));
  const PersistenceArchiver reading(writing.finish());
  const BaseClassRegister* const found = reading.findClass(first.typeId);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->typeId, first.typeId);
  EXPECT_EQ(found->version, 11U);
  EXPECT_EQ(found->registeredVersion, 11U);
  EXPECT_EQ(found->load, first.load);
  EXPECT_EQ(found->create, first.create);
}

TEST(ClassTableTest, FindsNoClassThatIsRegisteredButNotNamed) {
  PersistenceArchiver writing;
  const PersistenceArchiver reading(writing.finish());
  EXPECT_EQ(reading.findClass(PlatformTests::descriptorOf<First>().typeId), nullptr);
  EXPECT_EQ(reading.findClass(kNoType), nullptr);
  EXPECT_EQ(reading.findClass(0), nullptr);
}

TEST(ClassTableTest, AClassCanBeAddedForTheRestOfTheReading) {
  PersistenceArchiver writing;
  PersistenceArchiver reading(writing.finish());
  BaseClassRegister descriptor = PlatformTests::descriptorOf<First>();
  First object;
  descriptor.object = &object;
  reading.addClass(4711, descriptor);
  const BaseClassRegister* const found = reading.findClass(4711);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->typeId, descriptor.typeId);
  EXPECT_EQ(found->load, descriptor.load);
  EXPECT_EQ(found->version, descriptor.version);
  EXPECT_EQ(found->object, nullptr);
  // What the archive itself names does not change.
  EXPECT_THAT(reading.getClasses(), IsEmpty());
}

TEST(ClassTableTest, AClassThatIsNamedStaysAsTheArchiveNamesIt) {
  const BaseClassRegister first = PlatformTests::descriptorOf<First>();
  PersistenceArchiver writing;
  close(writing, open(writing, first.typeId));
  PersistenceArchiver reading(writing.finish());
  BaseClassRegister other = PlatformTests::descriptorOf<Second>();
  reading.addClass(first.typeId, other);
  EXPECT_EQ(reading.findClass(first.typeId)->version, 11U);
}

}  // namespace
}  // namespace Tessaril
