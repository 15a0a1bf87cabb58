#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"
#include "tests/platform/reference/ArchiveBytes.h"

// What is refused, and in which words: they are all that a person learns of a damaged file.

namespace Tessaril {
namespace {

using namespace ArchiveBytes;
using PlatformTests::descriptorOf;
using PlatformTests::messageOf;
using PlatformTests::refusal;
using testing::HasSubstr;

std::string refusalOf(const std::string& bytes) {
  return refusal([&] { PersistenceArchiver reading(bytes); });
}

/// The whole archive with some bytes replaced; size and checksum fit.
std::string changed(std::string bytes, std::size_t at, const std::string& replacement) {
  return repaired(bytes.replace(at, replacement.size(), replacement));
}

// The head

constexpr const char* kNoArchive = "this is no design archive: it does not begin like one";

TEST(ArchiveHeadTest, WhatDoesNotBeginLikeAnArchive) {
  EXPECT_EQ(refusalOf(""), kNoArchive);
  EXPECT_EQ(refusalOf("gear pair = something else entirely"), kNoArchive);
  EXPECT_EQ(refusalOf(std::string(kMagic.substr(0, 7))), kNoArchive);
  EXPECT_EQ(refusalOf(std::string(100, '\0')), kNoArchive);
}

TEST(ArchiveHeadTest, AnArchiveThatWasSentAsText) {
  // The magic bytes hold both kinds of line ends, an end of file, and a byte beyond ASCII.
  std::string bytes = archive("");
  bytes.erase(bytes.find('\r'), 1);
  EXPECT_EQ(refusalOf(bytes), kNoArchive);
  bytes = archive("");
  bytes.replace(6, 2, "\x1a\r\n");
  EXPECT_EQ(refusalOf(bytes), kNoArchive);
  bytes = archive("");
  bytes[0] = '\x09';
  EXPECT_EQ(refusalOf(bytes), kNoArchive);
}

TEST(ArchiveHeadTest, CutWithinTheHead) {
  EXPECT_EQ(refusalOf(archive("").substr(0, 8)), "cut at byte 8, within the head of the archive");
  EXPECT_EQ(refusalOf(archive("").substr(0, 27)), "cut at byte 27, within the head of the archive");
}

TEST(ArchiveHeadTest, CutBehindTheHead) {
  const std::string whole = archive(u64(1));
  ASSERT_EQ(whole.size(), 36U);
  EXPECT_EQ(refusalOf(whole.substr(0, 28)), "cut at byte 28 of 36");
  EXPECT_EQ(refusalOf(whole.substr(0, 35)), "cut at byte 35 of 36");
}

TEST(ArchiveHeadTest, TooLong) {
  EXPECT_EQ(refusalOf(archive("") + "x"), "damaged: goes on to byte 29 of 28");
}

TEST(ArchiveHeadTest, ChecksumOfOtherBytes) {
  std::string bytes = archive(u64(1));
  bytes[22] = 1;
  EXPECT_EQ(refusalOf(bytes),
            "damaged: the checksum at byte 32 is not that of the bytes before it");
}

TEST(ArchiveHeadTest, NewerFormat) {
  EXPECT_EQ(refusalOf(changed(archive(""), 8, u32(2))),
            "written in format 2, which is newer than this program's format 1");
  EXPECT_EQ(refusalOf(changed(archive(""), 8, u32(0xFFFFFFFF))),
            "written in format 4294967295, which is newer than this program's format 1");
}

TEST(ArchiveHeadTest, FormatZero) {
  EXPECT_EQ(refusalOf(changed(archive(""), 8, u32(0))),
            "damaged: byte 8 names format 0, which there is none");
}

TEST(ArchiveHeadTest, AddressOfTheClassTable) {
  const auto refusalWithTableAt = [](std::uint32_t address) {
    return refusalOf(changed(archive(u64(0)), 16, u32(address)));
  };
  const std::string message = "damaged: byte 16 says that the class table begins at byte ";
  EXPECT_EQ(refusalWithTableAt(0), message + "0");
  EXPECT_EQ(refusalWithTableAt(19), message + "19");
  EXPECT_EQ(refusalWithTableAt(33), message + "33");
  EXPECT_EQ(refusalWithTableAt(0xFFFFFFFF), message + "4294967295");
  // Within the archive, but there is no room for the number of classes.
  EXPECT_EQ(refusalWithTableAt(32), "byte 32: 4 bytes are needed where 0 are left");
  EXPECT_EQ(refusalWithTableAt(29), "byte 29: 4 bytes are needed where 3 are left");
}

// The class table

TEST(ArchivedClassesTest, MoreClassesThanFit) {
  EXPECT_EQ(refusalOf(changed(archive(""), 20, u32(1))),
            "byte 24: a class table of 1 classes does not fit into the archive");
  EXPECT_EQ(refusalOf(changed(archive(""), 20, u32(0xFFFFFFFF))),
            "byte 24: a class table of 4294967295 classes does not fit into the archive");
  // The shortest entry takes twelve bytes.
  EXPECT_EQ(refusalOf(changed(archive("", {classEntry(7, "", 1)}), 20, u32(2))),
            "byte 24: a class table of 2 classes does not fit into the archive");
}

TEST(ArchivedClassesTest, ANameThatIsCut) {
  EXPECT_EQ(refusalOf(archive("", {u32(7) + u32(5) + u32(1)})),
            "byte 32: 5 bytes are needed where 4 are left");
}

TEST(ArchivedClassesTest, TwoClassesWithOneTypeId) {
  EXPECT_EQ(refusalOf(archive("", {classEntry(7, "A", 1), classEntry(7, "B", 1)})),
            "byte 50: the class table names two classes with the type id 7");
}

TEST(ArchivedClassesTest, BytesThatAreLeftOver) {
  EXPECT_EQ(refusalOf(archive("", {classEntry("A", 1) + "xyz"}).substr(0)),
            "byte 37: 3 bytes are left over");
}

TEST(ArchivedClassesTest, ClassesThatThisProgramDoesNotKnowAreNamedAsWell) {
  const PersistenceArchiver reading(
      archive("", {classEntry("Never heard of it", 12), classEntry("Object", 999)}));
  EXPECT_EQ(reading.getClasses(),
            (std::vector<ArchivedClass>{{typeId("Never heard of it"), "Never heard of it", 12},
                                        {typeId("Object"), "Object", 999}}));
  const BaseClassRegister* const unknown = reading.findClass(typeId("Never heard of it"));
  ASSERT_NE(unknown, nullptr);
  EXPECT_EQ(unknown->typeId, typeId("Never heard of it"));
  EXPECT_EQ(unknown->version, 12U);
  EXPECT_EQ(unknown->create, nullptr);
}

TEST(ArchivedClassesTest, TheVersionIsTheOneThatWasWritten) {
  const unsigned int objectId = descriptorOf<Object>().typeId;
  const PersistenceArchiver reading(archive("", {classEntry("Object", 999)}));
  const BaseClassRegister* const object = reading.findClass(objectId);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->version, 999U);
  EXPECT_EQ(object->registeredVersion, 1U);
  EXPECT_NE(object->create, nullptr);
}

TEST(ArchivedClassesTest, AClassIsKnownByItsNameWhateverTypeIdItHasThere) {
  const unsigned int objectId = descriptorOf<Object>().typeId;
  PersistenceArchiver reading(
      archive(u32(1) + block(24, 7, text("o") + u32(0)), {classEntry(7, "Object", 1)}));
  EXPECT_EQ(reading.findClass(7)->typeId, objectId);
  EXPECT_EQ(reading.readShared<Object>()->getName(), "o");
}

// Values

TEST(ArchivedValuesTest, ABooleanIsZeroOrOne) {
  PersistenceArchiver reading(archive(u8(1) + u8(2)));
  bool value = false;
  reading >> value;
  EXPECT_TRUE(value);
  EXPECT_EQ(refusal([&] { reading >> value; }), "byte 21: 2 is neither true nor false");
  EXPECT_TRUE(value);
  PersistenceArchiver another(archive(u8(255)));
  EXPECT_EQ(refusal([&] { another >> value; }), "byte 20: 255 is neither true nor false");
}

TEST(ArchivedValuesTest, ValuesThatAreCut) {
  PersistenceArchiver reading(archive(u8(0) + u8(0) + u8(0)));
  unsigned int number = 0;
  EXPECT_EQ(refusal([&] { reading >> number; }), "byte 20: 4 bytes are needed where 3 are left");
}

TEST(ArchivedValuesTest, TextsThatAreCut) {
  PersistenceArchiver reading(archive(text("abc") + u32(4) + "abc"));
  std::string value;
  reading >> value;
  EXPECT_EQ(value, "abc");
  EXPECT_EQ(refusal([&] { reading >> value; }), "byte 31: 4 bytes are needed where 3 are left");
}

TEST(ArchivedValuesTest, WhatIsLeftOver) {
  PersistenceArchiver reading(archive(u32(1) + u8(1)));
  unsigned int number = 0;
  reading >> number;
  EXPECT_EQ(refusal([&] { reading.requireEnd(); }), "byte 24: 1 bytes are left over");
}

TEST(ArchivedValuesTest, TheClassTableIsNotReadAsAValue) {
  PersistenceArchiver reading(archive("", {classEntry("A", 1)}));
  bool value = false;
  EXPECT_THROW(reading >> value, ArchiveException);
}

// Blocks

std::string refusalOfBlock(std::uint32_t end) {
  // A block of 12 bytes at byte 20, followed by four bytes more.
  PersistenceArchiver reading(archive(u32(end) + u32(7) + u32(1) + u32(2)));
  unsigned int start = 0;
  unsigned int readEnd = 0;
  return refusal([&] { reading.read_to_address_header(start, readEnd); });
}

TEST(ArchivedBlocksTest, AnEndThatIsNotInTheArchive) {
  const std::string message = "byte 20: a block is said to end at byte ";
  EXPECT_EQ(refusalOfBlock(0), message + "0");
  EXPECT_EQ(refusalOfBlock(20), message + "20");
  EXPECT_EQ(refusalOfBlock(27), message + "27");
  EXPECT_EQ(refusalOfBlock(37), message + "37");
  EXPECT_EQ(refusalOfBlock(0xFFFFFFFF), message + "4294967295");
}

TEST(ArchivedBlocksTest, AnEndBehindThatOfTheBlockAround) {
  PersistenceArchiver reading(archive(block(20, 7, u32(37) + u32(8)) + u32(0)));
  unsigned int start = 0;
  unsigned int end = 0;
  unsigned int typeHash = 0;
  reading.read_to_address_header(start, end);
  reading >> typeHash;
  EXPECT_EQ(refusal([&] { reading.read_to_address_header(start, end); }),
            "byte 28: a block is said to end at byte 37");
}

TEST(ArchivedBlocksTest, ABlockThatIsCut) {
  PersistenceArchiver reading(archive(u8(30)));
  unsigned int start = 0;
  unsigned int end = 0;
  EXPECT_EQ(refusal([&] { reading.read_to_address_header(start, end); }),
            "byte 20: 4 bytes are needed where 1 are left");
}

TEST(ArchivedBlocksTest, BlocksThatNestTooDeep) {
  constexpr std::size_t kBlocks = PersistenceArchiver::kMaxDepth + 1;
  std::string body;
  for (std::size_t i = 0; i < kBlocks; ++i) {
    body += u32(kHeadSize + 8 * kBlocks) + u32(7);
  }
  PersistenceArchiver reading(archive(body));
  unsigned int start = 0;
  unsigned int end = 0;
  unsigned int typeHash = 0;
  for (std::size_t i = 1; i < kBlocks; ++i) {
    reading.read_to_address_header(start, end);
    reading >> typeHash;
  }
  EXPECT_EQ(refusal([&] { reading.read_to_address_header(start, end); }),
            "byte 4024: objects are nested more than 500 deep");
}

TEST(ArchivedBlocksTest, MoreElementsThanBytes) {
  PersistenceArchiver reading(archive(block(20, 7, u32(3) + "ab")));
  unsigned int start = 0;
  unsigned int end = 0;
  unsigned int count = 0;
  reading.read_to_address_header(start, end);
  reading >> count >> count;
  EXPECT_EQ(refusal([&] { reading.check_container_size(count); }),
            "byte 32: 3 elements cannot be held by 2 bytes");
}

// Shared objects

std::string refusalOfShared(const std::string& body, const std::vector<std::string>& classes = {}) {
  PersistenceArchiver reading(archive(body, classes));
  return refusal([&] {
    reading.readShared<Object>();
    reading.readShared<Object>();
  });
}

TEST(ArchivedSharedObjectsTest, ANumberThatComesTooEarly) {
  EXPECT_EQ(refusalOfShared(u32(2)), "byte 20: the shared object 2 comes after only 0");
  EXPECT_EQ(refusalOfShared(u32(0) + u32(0xFFFFFFFF)),
            "byte 24: the shared object 4294967295 comes after only 0");
  const std::string object = u32(1) + block(24, typeId("Object"), text("o") + u32(0));
  EXPECT_EQ(refusalOfShared(object + u32(3), {classEntry("Object", 1)}),
            "byte 41: the shared object 3 comes after only 1");
}

TEST(ArchivedSharedObjectsTest, AClassThatTheArchiveDoesNotName) {
  descriptorOf<Object>();
  EXPECT_EQ(refusalOfShared(u32(1) + block(24, typeId("Object"), text("o") + u32(0))),
            "byte 28: this program cannot make an object of the class of the unknown type id " +
                std::to_string(typeId("Object")));
}

TEST(ArchivedSharedObjectsTest, AClassThatThisProgramDoesNotKnow) {
  EXPECT_EQ(refusalOfShared(u32(1) + block(24, 7, ""), {classEntry(7, "Turbine", 1)}),
            "byte 28: this program cannot make an object of the class \"Turbine\"");
}

TEST(ArchivedSharedObjectsTest, AClassWithoutTheOperationsForIt) {
  BaseClassRegister record = descriptorOf<Object>();
  const auto refusalWithout = [](const std::string& name, const BaseClassRegister& incomplete) {
    PersistenceArchiver::registerFactory(name, incomplete, 1);
    return refusalOfShared(u32(1) + block(24, 7, ""), {classEntry(7, name, 1)});
  };
  record.create = nullptr;
  EXPECT_EQ(refusalWithout("No create", record),
            "byte 28: this program cannot make an object of the class \"No create\"");
  record = descriptorOf<Object>();
  record.load = nullptr;
  EXPECT_EQ(refusalWithout("No load", record),
            "byte 28: this program cannot make an object of the class \"No load\"");
  record = descriptorOf<Object>();
  record.createContainer = nullptr;
  EXPECT_EQ(refusalWithout("No container", record),
            "byte 28: this program cannot make an object of the class \"No container\"");
}

TEST(ArchivedSharedObjectsTest, AClassThatIsNotTheExpectedOne) {
  descriptorOf<Path>();
  EXPECT_EQ(
      refusalOfShared(u32(1) + block(24, typeId("Path"), text("/a")), {classEntry("Path", 1)}),
      "byte 32: an object of the class \"Path\" stands where one of \"Object\" is expected");
}

TEST(ArchivedSharedObjectsTest, ALongerRecordOfANewerVersionIsReadAsFarAsItIsKnown) {
  PersistenceArchiver reading(
      archive(u32(1) + block(24, typeId("Object"), text("o") + u32(0) + "something new") + u8(1),
              {classEntry("Object", 2)}));
  EXPECT_EQ(reading.readShared<Object>()->getName(), "o");
  bool behind = false;
  reading >> behind;
  EXPECT_TRUE(behind);
  reading.requireEnd();
}

TEST(ArchivedSharedObjectsTest, AnObjectOfWhichThereIsNoMemory) {
  BaseClassRegister record = descriptorOf<Object>();
  record.create = []() -> void* { return nullptr; };
  const unsigned int typeId =
      PersistenceArchiver::registerFactory("Too large for any memory", record, 1)->typeId;
  PersistenceArchiver::registerCaster(typeId, descriptorOf<Object>().typeId,
                                      new CasterAccess<Object, Object>);
  PersistenceArchiver reading(
      archive(u32(1) + block(24, typeId, ""), {classEntry("Too large for any memory", 1)}));
  EXPECT_THROW(reading.readShared<Object>(), std::bad_alloc);
}

// Trees of objects

std::string objectBlock(std::size_t address, const std::string& contents) {
  return block(address, typeId("Object"), contents);
}

/// The message of the ObjectException for a root of these contents; they begin at byte 32.
std::string refusalOfRoot(const std::string& contents) {
  PersistenceArchiver reading(
      archive(u32(1) + objectBlock(24, contents), {classEntry("Object", 1)}));
  return messageOf<ObjectException>([&] { reading.readShared<Object>(); });
}

TEST(ArchivedObjectsTest, AChildWithoutAnObject) {
  EXPECT_THAT(refusalOfRoot(text("r") + u32(1) + u32(0)), HasSubstr("empty pointer"));
}

TEST(ArchivedObjectsTest, ANameThatIsNotAllowed) {
  EXPECT_THAT(refusalOfRoot(text("") + u32(0)), HasSubstr("cannot be the name"));
  EXPECT_THAT(refusalOfRoot(text("..") + u32(0)), HasSubstr("cannot be the name"));
  EXPECT_THAT(refusalOfRoot(text("a/b") + u32(0)), HasSubstr("cannot be the name"));
}

TEST(ArchivedObjectsTest, TwoChildrenOfOneName) {
  // The children's numbers stand at bytes 41 and 62.
  EXPECT_THAT(refusalOfRoot(text("r") + u32(2) + u32(2) + objectBlock(45, text("c") + u32(0)) +
                            u32(3) + objectBlock(66, text("c") + u32(0))),
              HasSubstr("has a child \"c\" already"));
}

TEST(ArchivedObjectsTest, OneChildTwice) {
  EXPECT_THAT(
      refusalOfRoot(text("r") + u32(2) + u32(2) + objectBlock(45, text("c") + u32(0)) + u32(2)),
      HasSubstr("is a child of \"r\" already"));
}

TEST(ArchivedObjectsTest, AnObjectAsItsOwnChild) {
  EXPECT_THAT(refusalOfRoot(text("r") + u32(1) + u32(1)), HasSubstr("cannot be a child of itself"));
}

TEST(ArchivedObjectsTest, ARootAsAChildOfItsChild) {
  EXPECT_THAT(
      refusalOfRoot(text("r") + u32(1) + u32(2) + objectBlock(45, text("c") + u32(1) + u32(1))),
      HasSubstr("cannot be a child of itself"));
}

TEST(ArchivedObjectsTest, MoreChildrenThanThereAre) {
  PersistenceArchiver reading(
      archive(u32(1) + objectBlock(24, text("r") + u32(0xFFFFFFFF)), {classEntry("Object", 1)}));
  EXPECT_EQ(refusal([&] { reading.readShared<Object>(); }),
            "byte 41: 4 bytes are needed where 0 are left");
}

// Registration

TEST(ReferenceRegistrationTest, HashesAvoidTheReservedValues) {
  // By themselves they would be 0 and the type id of a blank descriptor.
  ASSERT_EQ(typeId("ppkttia"), 0U);
  ASSERT_EQ(typeId("bxmuheb"), BaseClassRegister::kNoType);
  EXPECT_EQ(PersistenceArchiver::getHashForName("ppkttia"), 1U);
  EXPECT_EQ(PersistenceArchiver::getHashForName("bxmuheb"), BaseClassRegister::kNoType + 1);
}

TEST(ReferenceRegistrationTest, TwoNamesWithOneHashAreToldApart) {
  ASSERT_EQ(typeId("costarring"), typeId("liquid"));
  const BaseClassRegister record = descriptorOf<Object>();
  const BaseClassRegister* const kept =
      PersistenceArchiver::registerFactory("costarring", record, 1);
  EXPECT_EQ(refusal([&] { PersistenceArchiver::registerFactory("liquid", record, 1); }),
            "The classes \"costarring\" and \"liquid\" have the same type id; one needs another "
            "name");
  EXPECT_EQ(PersistenceArchiver::findFactory("liquid"), nullptr);
  EXPECT_EQ(PersistenceArchiver::findFactory("costarring"), kept);
}

TEST(ReferenceRegistrationTest, AnotherVersion) {
  const BaseClassRegister record = descriptorOf<Object>();
  EXPECT_EQ(refusal([&] { PersistenceArchiver::registerFactory("Object", record, 2); }),
            "The class \"Object\" is registered with version 1 already, and not 2");
}

TEST(ReferenceRegistrationTest, AnotherTypeForAHash) {
  PersistenceArchiver::registerHash(4711, 1);
  EXPECT_EQ(refusal([] { PersistenceArchiver::registerHash(4711, 2); }),
            "Two run-time types have the same hash 4711");
}

TEST(ReferenceRegistrationTest, AnotherHashForAType) {
  const unsigned int typeId =
      PersistenceArchiver::registerFactory("Of one type", descriptorOf<Object>(), 1)->typeId;
  PersistenceArchiver::registerHash(4713, typeId);
  EXPECT_EQ(refusal([&] { PersistenceArchiver::registerHash(4714, typeId); }),
            "Two run-time types are registered as the class \"Of one type\"; one needs another "
            "name");
}

TEST(ReferenceRegistrationTest, TheVersionOfClassesWithoutOneOfTheirOwn) {
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(0), 500002U);
}

TEST(ReferenceRegistrationTest, ARunTimeTypeThatLeadsToNoClassIsNotWritten) {
  struct Odd {
    static void serialization_register(void* descriptor) {
      auto& filled = *static_cast<BaseClassRegister*>(descriptor);
      filled = ClassOperations<Odd>::makeRecord();
      filled.typeId = 4712;
      filled.dynamicType = [](const void*) { return 4712U; };
    }
  };
  PersistenceArchiver writing;
  EXPECT_EQ(refusal([&] { writing.writeShared(std::make_shared<Odd>()); }),
            "Objects of the class \"\" cannot be stored on their own: the class lacks operations "
            "for that");
}

}  // namespace
}  // namespace Tessaril
