#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"

// What the library hands to the archiver while it is loaded, and what becomes of ApplyModule when
// the archiver refuses its base class. Two of the archiver's operations are replaced by those
// below: this program comes first where the loader looks for them. The environment variable
// TESSARIL_REFUSED_CASTER names the call that it refuses, 1 or 2; without it none. The program is
// run once for each.

namespace Tessaril {
namespace {

using TestSupport::HandMadeArchive;
using TestSupport::loadRecord;
using TestSupport::typeIdOf;

struct CasterCall {
  unsigned int derivedId;
  unsigned int baseId;
  bool hasCaster;
  /// The type ids that the four classes had at that time.
  std::array<unsigned int, 4> classIds;
};

// Filled while the library is loaded, when nothing of this program is initialised yet.
constinit std::array<CasterCall, 8> casterCalls{};
constinit std::size_t casterCallCount = 0;

struct FactoryCall {
  unsigned int version;
  BaseClassRegister record;
};

constinit std::array<FactoryCall, 8> factoryCalls{};
constinit std::size_t factoryCallCount = 0;

int refusedCall() {
  const char* number = std::getenv("TESSARIL_REFUSED_CASTER");
  return number != nullptr ? std::atoi(number) : 0;
}

template <typename T>
unsigned int idOf() {
  BaseClassRegister descriptor;
  T::serialization_register(&descriptor);
  return descriptor.typeId;
}

}  // namespace

BaseClassRegister* PersistenceArchiver::registerFactory(const std::string& name,
                                                        const BaseClassRegister& record,
                                                        unsigned int version) {
  if (name.starts_with("Apply") || name == "ModuleState") {
    factoryCalls.at(factoryCallCount++) = {version, record};
  }
  // By its name in the library, since its name here is that of this function.
  using Operation =
      BaseClassRegister* (*)(const std::string&, const BaseClassRegister&, unsigned int);
  void* const replaced = dlsym(
      RTLD_NEXT,
      "_ZN8Tessaril19PersistenceArchiver15registerFactoryERKNSt7__cxx1112basic_stringIcSt11char_"
      "traitsIcESaIcEEERKNS_17BaseClassRegisterEj");
  return reinterpret_cast<Operation>(replaced)(name, record, version);
}

bool PersistenceArchiver::registerCaster(unsigned int derivedId, unsigned int baseId,
                                         Caster* caster) {
  const std::unique_ptr<Caster> owned(caster);
  casterCalls.at(casterCallCount++) = {derivedId,
                                       baseId,
                                       caster != nullptr,
                                       {idOf<ModuleState>(), idOf<ApplyModule>(),
                                        idOf<ApplyModuleInsertInfo>(), idOf<ApplyModuleData>()}};
  return static_cast<int>(casterCallCount) != refusedCall();
}

namespace {

const std::size_t callsDuringLoad = casterCallCount;

bool isSaveRefused() { return refusedCall() == 1; }
bool isLoadRefused() { return refusedCall() == 2; }

/// Throws what `work` throws, after it has been looked at.
template <typename Work>
void expectParentNotRegistered(const Work& work) {
  try {
    work();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::runtime_error&) {
    ADD_FAILURE() << "more than a std::exception";
  } catch (const std::logic_error&) {
    ADD_FAILURE() << "more than a std::exception";
  } catch (const TsException&) {
    ADD_FAILURE() << "the archiver's exception";
  } catch (const std::exception& thrown) {
    EXPECT_STREQ(thrown.what(), "Parent not registered");
  }
}

std::string moduleRecord() {
  return HandMadeArchive()
      .open("ModuleState")
      .flags({true, true, true, false, false})
      .close()
      .flags({true})
      .number(3)
      .open("ApplyModuleInsertInfo")
      .number(0)
      .id({0, 0})
      .ids({})
      .close()
      .with({{"ModuleState", 500001}, {"ApplyModuleInsertInfo", 500000}, {"Identifier", 1}});
}

TEST(ParentRegistrationTest, EachClassHandsInOneRecord) {
  ASSERT_EQ(factoryCallCount, 4U);
  for (std::size_t i = 0; i < factoryCallCount; ++i) {
    const auto& [version, record] = factoryCalls[i];
    EXPECT_EQ(record.typeId, 0U);
    EXPECT_TRUE(record.enabled);
    EXPECT_EQ(record.version, version);
    EXPECT_EQ(record.registeredVersion, version);
    EXPECT_EQ(record.object, nullptr);
    EXPECT_NE(record.load, nullptr);
    EXPECT_NE(record.save, nullptr);
    EXPECT_NE(record.create, nullptr);
    EXPECT_NE(record.dynamicType, nullptr);
    EXPECT_NE(record.createContainer, nullptr);
  }
}

TEST(ParentRegistrationTest, TwoCallsWithTheSamePairWhenTheLibraryIsLoaded) {
  ASSERT_EQ(callsDuringLoad, 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(casterCalls[i].derivedId, typeIdOf("ApplyModule"));
    EXPECT_EQ(casterCalls[i].baseId, typeIdOf("ModuleState"));
    EXPECT_TRUE(casterCalls[i].hasCaster);
  }
}

// A class whose own initialiser has not run yet is registered by the first who asks.
TEST(ParentRegistrationTest, TheClassesCouldBeAskedForMeanwhile) {
  const std::array<unsigned int, 4> ids{typeIdOf("ModuleState"), typeIdOf("ApplyModule"),
                                        typeIdOf("ApplyModuleInsertInfo"),
                                        typeIdOf("ApplyModuleData")};
  EXPECT_EQ(casterCalls[0].classIds, ids);
  EXPECT_EQ(casterCalls[1].classIds, ids);
}

TEST(ParentRegistrationTest, TheFirstCallDecidesAboutSaving) {
  ApplyModule module;
  module.setActive(true, false);
  module.setAdditionalModule(true);
  PersistenceArchiver archiver;
  const auto save = [&] {
    BaseClassRegister descriptor = TestSupport::describe<ApplyModule>(module);
    descriptor.save(archiver, descriptor);
  };
  if (isSaveRefused()) {
    expectParentNotRegistered(save);
    EXPECT_EQ(archiver.finish(), HandMadeArchive().with({}));
  } else {
    save();
    EXPECT_EQ(archiver.finish(), moduleRecord());
  }
}

TEST(ParentRegistrationTest, TheSecondCallDecidesAboutLoading) {
  ApplyModule module;
  PersistenceArchiver archiver(moduleRecord());
  const auto before = static_cast<std::streamoff>(archiver.tellp());
  const auto load = [&] { loadRecord<ApplyModule>(archiver, module, 500002); };
  if (isLoadRefused()) {
    expectParentNotRegistered(load);
    EXPECT_EQ(static_cast<std::streamoff>(archiver.tellp()), before);
    EXPECT_FALSE(module.isActive());
    EXPECT_FALSE(module.isAdditionalModule());
  } else {
    load();
    archiver.requireEnd();
    EXPECT_TRUE(module.isActive());
    EXPECT_TRUE(module.isAdditionalModule());
  }
}

// Known under the name of its base class, and not by its own run-time type.
struct Stray : ModuleState {
  static void serialization_register(void* descriptor) {
    ModuleState::serialization_register(descriptor);
  }
};
struct BelowStray : Stray {
  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) =
        *registerClass<BelowStray>("Test.BelowStray", 1, nullptr, nullptr);
  }
};

TEST(ParentRegistrationTest, AClassWithoutATypeIdTakesThatOfTheOther) {
  registerBaseClass<ModuleState, Stray>();
  EXPECT_EQ(casterCalls.at(casterCallCount - 1).derivedId, typeIdOf("ModuleState"));
  EXPECT_EQ(casterCalls.at(casterCallCount - 1).baseId, typeIdOf("ModuleState"));
  registerBaseClass<Stray, BelowStray>();
  EXPECT_EQ(casterCalls.at(casterCallCount - 1).derivedId, typeIdOf("Test.BelowStray"));
  EXPECT_EQ(casterCalls.at(casterCallCount - 1).baseId, typeIdOf("Test.BelowStray"));
}

TEST(ParentRegistrationTest, TheOtherClassesDoNotMind) {
  ModuleState state;
  loadRecord(HandMadeArchive().flags({true, true, true, false, true}).with({}), state, 500001);
  EXPECT_TRUE(state.isSkipped());
  EXPECT_EQ(TestSupport::savedRecord(state, 0),
            HandMadeArchive().flags({true, true, true, false, true}).with({}));
}

}  // namespace
}  // namespace Tessaril
