#include <gtest/gtest.h>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

// The functions of a program's .preinit_array run before the initialisers of every library. Classes
// that are asked for there are registered there, and their own initialisers find them registered.

namespace Tessaril {
namespace {

// Constant initialised, so that nothing overwrites what is kept here early.
constinit unsigned int earlyIds[4] = {};

template <typename T>
unsigned int idOf() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor.typeId;
}

extern "C" void askForTheClasses() {
  earlyIds[0] = idOf<ApplyModuleData>();
  earlyIds[1] = idOf<ApplyModuleInsertInfo>();
  earlyIds[2] = idOf<ApplyModule>();
  earlyIds[3] = idOf<ModuleState>();
}

[[gnu::section(".preinit_array"),
  gnu::used]] void (*const kBeforeAllLibraries)() = askForTheClasses;

TEST(EarlyRegistrationTest, ClassesAreRegisteredWhenTheyAreAskedForAndOnce) {
  const char* const names[] = {"ApplyModuleData", "ApplyModuleInsertInfo", "ApplyModule",
                               "ModuleState"};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NE(earlyIds[i], 0U) << names[i];
    EXPECT_EQ(PersistenceArchiver::getRegisteredName(earlyIds[i]), names[i]);
  }
}

TEST(EarlyRegistrationTest, TheLibraryWasInitialisedAfterwards) {
  EXPECT_TRUE(ModuleState::s_force_serialization_registration);
  EXPECT_TRUE(ApplyModule::s_force_serialization_registration);
  EXPECT_TRUE(ApplyModuleInsertInfo::s_force_serialization_registration);
  EXPECT_TRUE(ApplyModuleData::s_force_serialization_registration);
  PersistenceArchiver archiver;
  const std::shared_ptr<ModuleState> module = std::make_shared<ApplyModule>();
  archiver.writeShared(module);
  PersistenceArchiver reader(archiver.finish());
  EXPECT_NE(std::dynamic_pointer_cast<ApplyModule>(reader.readShared<ModuleState>()), nullptr);
}

}  // namespace
}  // namespace Tessaril
