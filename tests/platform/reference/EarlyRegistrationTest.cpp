#include <gtest/gtest.h>

#include <memory>

#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

// Classes that are registered before any library has been initialised, the one with the archiver
// included: another library that uses it may be initialised before it.

namespace Tessaril {
namespace {

struct Early {
  static void serialization_register(void* descriptor) {
    PlatformTests::registerStored<Early>(descriptor, "Early", 3);
  }
  void save(PersistenceArchiver& archiver) const { archiver << number; }
  void load(PersistenceArchiver& archiver, unsigned int) { archiver >> number; }
  unsigned int number = 0;
};

struct EarlyDerived : Early {
  static void serialization_register(void* descriptor) {
    PlatformTests::registerStored<EarlyDerived>(descriptor, "EarlyDerived", 4);
  }
};

/// What was found then; it needs no initialiser itself.
struct Found {
  unsigned int typeId;
  unsigned int objectTypeId;
  bool casterTaken;
  bool laterOneInitialised;
};
constinit Found found{};

bool isLaterOneInitialised();

void registerFirst() {
  found.laterOneInitialised = isLaterOneInitialised();
  found.typeId = PlatformTests::descriptorOf<Early>().typeId;
  found.casterTaken = PlatformTests::registerStoredBase<Early, EarlyDerived>();
  found.objectTypeId = PlatformTests::descriptorOf<Object>().typeId;
}
/// What the dynamic linker calls before the initialisers of all libraries.
[[gnu::section(".preinit_array"), gnu::used]] void (*const callFirst)() = registerFirst;

const std::unique_ptr<int> laterOne = std::make_unique<int>(1);
bool isLaterOneInitialised() { return laterOne != nullptr; }

TEST(EarlyRegistrationTest, ComesBeforeEverythingElse) {
  EXPECT_FALSE(found.laterOneInitialised);
  EXPECT_TRUE(isLaterOneInitialised());
}

TEST(EarlyRegistrationTest, IsKept) {
  EXPECT_NE(found.typeId, 0U);
  EXPECT_NE(found.typeId, BaseClassRegister::kNoType);
  EXPECT_EQ(PlatformTests::descriptorOf<Early>().typeId, found.typeId);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(found.typeId), "Early");
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(found.typeId), 3U);
  EXPECT_TRUE(found.casterTaken);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(found.objectTypeId), "Object");
}

TEST(EarlyRegistrationTest, ServesToStoreObjects) {
  const auto object = std::make_shared<Early>();
  object->number = 42;
  PersistenceArchiver writing;
  writing.writeShared(object);
  PersistenceArchiver reading(writing.finish());
  EXPECT_EQ(reading.readShared<Early>()->number, 42U);
}

}  // namespace
}  // namespace Tessaril
