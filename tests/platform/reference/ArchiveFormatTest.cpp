#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/identifiers/Identifier.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/persistence_archiver/ClassOperations.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"
#include "tests/platform/reference/ArchiveBytes.h"

namespace Tessaril {
namespace {

using namespace ArchiveBytes;
using PlatformTests::descriptorOf;
using PlatformTests::refusal;
using testing::HasSubstr;
using testing::StartsWith;

/// What `write` puts between the head and the class table, as hexadecimal digits.
template <typename Write>
std::string bodyOf(const Write& write) {
  PersistenceArchiver archiver;
  write(archiver);
  const std::string bytes = archiver.finish();
  return hex(bytes.substr(kHeadSize, numberAt(bytes, 16) - kHeadSize));
}
template <typename T>
std::string bodyOfValue(const T& value) {
  return bodyOf([&](PersistenceArchiver& archiver) { archiver << value; });
}
template <typename T>
std::string bodyOfRecord(T value) {
  return bodyOf([&](PersistenceArchiver& archiver) {
    BaseClassRegister descriptor = descriptorOf<T>();
    descriptor.object = &value;
    descriptor.save(archiver, descriptor);
  });
}

// Bytes

TEST(ArchiveFormatTest, Booleans) {
  EXPECT_EQ(bodyOfValue(false), "00");
  EXPECT_EQ(bodyOfValue(true), "01");
}

TEST(ArchiveFormatTest, NumbersHaveTheirLowestByteFirst) {
  EXPECT_EQ(bodyOfValue(0x12345678U), "78 56 34 12");
  EXPECT_EQ(bodyOfValue(std::uint64_t{0x0123456789ABCDEF}), "ef cd ab 89 67 45 23 01");
}

TEST(ArchiveFormatTest, RealNumbersAreTheirBits) {
  EXPECT_EQ(bodyOfValue(1.0), "00 00 00 00 00 00 f0 3f");
  EXPECT_EQ(bodyOfValue(-0.0), "00 00 00 00 00 00 00 80");
  EXPECT_EQ(bodyOfValue(-2.5), "00 00 00 00 00 00 04 c0");
}

TEST(ArchiveFormatTest, TextsBeginWithTheirLength) {
  EXPECT_EQ(bodyOfValue(std::string()), "00 00 00 00");
  EXPECT_EQ(bodyOfValue(std::string("a\0b", 3)), "03 00 00 00 61 00 62");
}

TEST(ArchiveFormatTest, EnumerationsAreNumbersOf32Bits) {
  enum class Signed { MinusTwo = -2 };
  EXPECT_EQ(bodyOf([](PersistenceArchiver& archiver) {
              archiver.writeEnumeration(GetObjectBehavior::ReturnNull);
              archiver.writeEnumeration(Signed::MinusTwo);
            }),
            "01 00 00 00 fe ff ff ff");
}

TEST(ArchiveFormatTest, IdentifiersAreTheirHalvesTheHighOneFirst) {
  const Identifier id(0x0123456789ABCDEF, 0xFEDCBA9876543210);
  EXPECT_EQ(bodyOfValue(id), "ef cd ab 89 67 45 23 01 10 32 54 76 98 ba dc fe");
  EXPECT_EQ(bodyOfRecord(id), bodyOfValue(id));
}

TEST(ArchiveFormatTest, PathsAreTheirTexts) {
  EXPECT_EQ(bodyOfRecord(Path("/a/b")), "04 00 00 00 2f 61 2f 62");
  EXPECT_EQ(bodyOfRecord(Path()), "00 00 00 00");
}

TEST(ArchiveFormatTest, ABlockBeginsWithItsEndAndItsType) {
  EXPECT_EQ(bodyOf([](PersistenceArchiver& archiver) {
              archiver.mark_object_start(24, 0xBBAFA6C8);
              archiver << true;
              archiver.mark_object_start(33, 7);
              archiver.mark_object_end(33, 37);
              archiver.mark_object_end(24, 37);
            }),
            "25 00 00 00 c8 a6 af bb 01 25 00 00 00 07 00 00 00");
}

TEST(ArchiveFormatTest, AnEmptyArchive) {
  const std::string bytes = PersistenceArchiver().finish();
  EXPECT_EQ(hex(bytes),
            "89 54 53 52 0d 0a 1a 0a "  // magic
            "01 00 00 00 "              // format
            "1c 00 00 00 "              // size
            "14 00 00 00 "              // address of the class table
            "00 00 00 00 "              // no classes
            "b0 97 71 22");             // checksum
  EXPECT_EQ(bytes, archive(""));
}

TEST(ArchiveFormatTest, AnArchiveOfATree) {
  const auto root = std::make_shared<Object>("r");
  root->addChild(std::make_shared<Object>("c"));
  PersistenceArchiver archiver;
  archiver.writeShared(root);
  archiver.writeShared(root->getChild("c"));
  archiver.writeShared(std::shared_ptr<Object>());
  EXPECT_EQ(hex(archiver.finish()),
            "89 54 53 52 0d 0a 1a 0a 01 00 00 00 60 00 00 00 46 00 00 00 "  // head
            "01 00 00 00 "                                                  // object 1
            "3e 00 00 00 da 64 8e e5 "                                      // to byte 62: Object
            "01 00 00 00 72 01 00 00 00 "                                   // "r", 1 child
            "02 00 00 00 "                                                  // object 2
            "3e 00 00 00 da 64 8e e5 "                                      // to byte 62: Object
            "01 00 00 00 63 00 00 00 00 "                                   // "c", no children
            "02 00 00 00 "                                                  // object 2 again
            "00 00 00 00 "                                                  // null
            "01 00 00 00 "                                                  // 1 class
            "da 64 8e e5 06 00 00 00 4f 62 6a 65 63 74 01 00 00 00 "        // "Object", version 1
            "96 6c 25 95");                                                 // checksum
}

/// Registered by no other test.
struct LateClass {
  static void serialization_register(void* descriptor) {
    BaseClassRegister record = ClassOperations<LateClass>::makeRecord();
    record.load = [](PersistenceArchiver& archiver, BaseClassRegister& target) {
      auto& object = *static_cast<LateClass*>(target.object);
      archiver >> object.value;
      object.version = target.version;
    };
    record.save = [](PersistenceArchiver&, BaseClassRegister&) {};
    *static_cast<BaseClassRegister*>(descriptor) =
        *PersistenceArchiver::registerFactory("Test.LateClass", record, 7);
  }

  unsigned int value = 0;
  unsigned int version = 0;
};

TEST(ArchiveFormatTest, AClassCanBeRegisteredWhenTheArchiveIsOpenAlready) {
  const std::string body = u32(1) + block(kHeadSize + 4, typeId("Test.LateClass"), u32(42));
  PersistenceArchiver archiver(archive(body, {classEntry("Test.LateClass", 3)}));
  ASSERT_EQ(PersistenceArchiver::findFactory("Test.LateClass"), nullptr);
  const auto object = archiver.readShared<LateClass>();
  EXPECT_EQ(object->value, 42U);
  EXPECT_EQ(object->version, 3U);
  EXPECT_EQ(archiver.findClass(typeId("Test.LateClass"))->registeredVersion, 7U);
}

TEST(ArchiveFormatTest, TheServicesOwnClassesAreKnownBeforeTheirFirstUse) {
  for (const char* name : {"Identifier", "Object", "Path"}) {
    EXPECT_NE(PersistenceArchiver::findFactory(name), nullptr) << name;
  }
}

TEST(ArchiveFormatTest, TypeIdsAreHashesOfNames) {
  for (const char* name : {"", "a", "Object", "ApplyModule"}) {
    EXPECT_EQ(PersistenceArchiver::getHashForName(name), typeId(name));
  }
  EXPECT_EQ(PersistenceArchiver::getHashForName("foobar"), 0xBF9CF968);
  EXPECT_EQ(PersistenceArchiver::getHashForName("\xC3\xA4"), typeId("\xC3\xA4"));
}

}  // namespace
}  // namespace Tessaril
