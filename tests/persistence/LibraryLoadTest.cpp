#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

// The library is one that a running application may load late, beside services that are there
// already. This program is linked with the services alone; the library's path is its argument.

namespace {

using Tessaril::BaseClassRegister;
using Tessaril::PersistenceArchiver;

std::string libraryPath;

struct RegisteredClass {
  const char* name;
  unsigned int version;
};
constexpr RegisteredClass kClasses[] = {{"ModuleState", 500001},
                                        {"ApplyModule", 500002},
                                        {"ApplyModuleInsertInfo", 500000},
                                        {"ApplyModuleData", 500000}};

TEST(LibraryLoadTest, TheClassesAreRegisteredWhenTheLibraryIsLoaded) {
  for (const RegisteredClass& known : kClasses) {
    EXPECT_EQ(PersistenceArchiver::findFactory(known.name), nullptr) << known.name;
  }
  ASSERT_NE(dlopen(libraryPath.c_str(), RTLD_NOW | RTLD_LOCAL), nullptr) << dlerror();
  for (const RegisteredClass& known : kClasses) {
    const BaseClassRegister* record = PersistenceArchiver::findFactory(known.name);
    ASSERT_NE(record, nullptr) << known.name;
    EXPECT_EQ(record->version, known.version) << known.name;
    EXPECT_NE(record->typeId, 0U) << known.name;
    EXPECT_NE(record->typeId, BaseClassRegister::kNoType) << known.name;
    EXPECT_EQ(PersistenceArchiver::getRegisteredName(record->typeId), known.name);
    EXPECT_TRUE(record->enabled) << known.name;
    EXPECT_NE(record->create, nullptr) << known.name;
  }
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc != 2) {
    return 2;
  }
  libraryPath = argv[1];
  return RUN_ALL_TESTS();
}
