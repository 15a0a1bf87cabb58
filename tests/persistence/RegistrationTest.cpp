#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <functional>
#include <latch>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/persistence/HandMadeArchive.h"
#include "tests/persistence/Records.h"
#include "tests/persistence/Step.h"

namespace Tessaril {
namespace {

using TestSupport::describe;
using TestSupport::HandMadeArchive;
using TestSupport::savedRecord;
using TestSupport::Step;
using TestSupport::typeIdOf;

template <typename T>
struct Expected;
template <>
struct Expected<ModuleState> {
  static constexpr const char* kName = "ModuleState";
  static constexpr unsigned int kVersion = 500001;
};
template <>
struct Expected<ApplyModule> {
  static constexpr const char* kName = "ApplyModule";
  static constexpr unsigned int kVersion = 500002;
};
template <>
struct Expected<ApplyModuleInsertInfo> {
  static constexpr const char* kName = "ApplyModuleInsertInfo";
  static constexpr unsigned int kVersion = 500000;
};
template <>
struct Expected<ApplyModuleData> {
  static constexpr const char* kName = "ApplyModuleData";
  static constexpr unsigned int kVersion = 500000;
};

template <typename T>
class RegistrationTest : public ::testing::Test {};
using Classes = ::testing::Types<ModuleState, ApplyModule, ApplyModuleInsertInfo, ApplyModuleData>;
TYPED_TEST_SUITE(RegistrationTest, Classes, );

static_assert(
    std::is_same_v<decltype(ApplyModule::s_force_serialization_registration), const bool>);

TYPED_TEST(RegistrationTest, NameVersionAndTypeId) {
  const BaseClassRegister* record = PersistenceArchiver::findFactory(Expected<TypeParam>::kName);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->version, Expected<TypeParam>::kVersion);
  EXPECT_EQ(record->registeredVersion, Expected<TypeParam>::kVersion);
  EXPECT_NE(record->typeId, 0U);
  EXPECT_NE(record->typeId, BaseClassRegister::kNoType);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(record->typeId), Expected<TypeParam>::kName);
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(record->typeId), Expected<TypeParam>::kVersion);
  EXPECT_TRUE(TypeParam::s_force_serialization_registration);
}

TYPED_TEST(RegistrationTest, ABlankDescriptorBecomesACopyOfTheRecord) {
  BaseClassRegister descriptor;
  EXPECT_EQ(descriptor.typeId, 0xBBAFA6C8U);
  EXPECT_EQ(descriptor.version, 0xFFFFFFFFU);
  EXPECT_EQ(descriptor.load, nullptr);
  EXPECT_EQ(descriptor.save, nullptr);
  TypeParam::serialization_register(&descriptor);
  const BaseClassRegister* record = PersistenceArchiver::findFactory(Expected<TypeParam>::kName);
  EXPECT_EQ(descriptor.typeId, record->typeId);
  EXPECT_EQ(descriptor.version, Expected<TypeParam>::kVersion);
  EXPECT_EQ(descriptor.registeredVersion, Expected<TypeParam>::kVersion);
  EXPECT_TRUE(descriptor.enabled);
  EXPECT_EQ(descriptor.object, nullptr);
  EXPECT_NE(descriptor.load, nullptr);
  EXPECT_EQ(descriptor.load, record->load);
  EXPECT_NE(descriptor.save, nullptr);
  EXPECT_EQ(descriptor.save, record->save);
  EXPECT_EQ(descriptor.create, record->create);
  EXPECT_EQ(descriptor.dynamicType, record->dynamicType);
  EXPECT_EQ(descriptor.createContainer, record->createContainer);
}

TYPED_TEST(RegistrationTest, ADescriptorIsACopyOfItsOwn) {
  BaseClassRegister changed;
  TypeParam::serialization_register(&changed);
  changed.version = 1;
  changed.typeId = 2;
  changed.enabled = false;
  changed.load = nullptr;
  TypeParam object;
  const BaseClassRegister again = describe<TypeParam>(object);
  EXPECT_EQ(again.version, Expected<TypeParam>::kVersion);
  EXPECT_EQ(again.typeId, typeIdOf(Expected<TypeParam>::kName));
  EXPECT_TRUE(again.enabled);
  EXPECT_NE(again.load, nullptr);
}

TYPED_TEST(RegistrationTest, TheRecordIsMadeOnce) {
  const BaseClassRegister* record = PersistenceArchiver::findFactory(Expected<TypeParam>::kName);
  BaseClassRegister descriptor;
  TypeParam::serialization_register(&descriptor);
  TypeParam::serialization_register(&descriptor);
  EXPECT_EQ(PersistenceArchiver::findFactory(Expected<TypeParam>::kName), record);
}

TYPED_TEST(RegistrationTest, TheRunTimeTypeLeadsToTheClass) {
  EXPECT_EQ(PersistenceArchiver::getHashForType(
                PersistenceArchiver::getHashForName(typeid(TypeParam).name())),
            typeIdOf(Expected<TypeParam>::kName));
}

TYPED_TEST(RegistrationTest, ObjectsAreMadeByTheDefaultConstructor) {
  BaseClassRegister descriptor;
  TypeParam::serialization_register(&descriptor);
  ASSERT_NE(descriptor.create, nullptr);
  const std::unique_ptr<TypeParam> object(static_cast<TypeParam*>(descriptor.create()));
  ASSERT_NE(object, nullptr);
  const std::unique_ptr<TypeParam> second(static_cast<TypeParam*>(descriptor.create()));
  EXPECT_NE(second, object);
  EXPECT_EQ(savedRecord<TypeParam>(*object, 0), savedRecord<TypeParam>(TypeParam(), 0));
}

TYPED_TEST(RegistrationTest, AnObjectTellsItsClass) {
  const TypeParam object;
  const BaseClassRegister descriptor = describe<TypeParam>(object);
  EXPECT_EQ(descriptor.dynamicType(&object), descriptor.typeId);
}

TYPED_TEST(RegistrationTest, ContainersAreNewAndEmpty) {
  BaseClassRegister descriptor;
  TypeParam::serialization_register(&descriptor);
  const std::unique_ptr<PointerMapContainerBase> first = descriptor.createContainer();
  const std::unique_ptr<PointerMapContainerBase> second = descriptor.createContainer();
  ASSERT_NE(dynamic_cast<PointerMapContainer<TypeParam>*>(first.get()), nullptr);
  const auto object = std::make_shared<TypeParam>();
  first->keep(1, object);
  EXPECT_EQ(first->numberOf(object.get()), 1U);
  EXPECT_EQ(second->numberOf(object.get()), 0U);
  EXPECT_EQ(second->find(1), nullptr);
}

TYPED_TEST(RegistrationTest, SaveAndLoadWorkOnTheObjectOfTheDescriptor) {
  const TypeParam object;
  const std::string record = savedRecord<TypeParam>(object, Expected<TypeParam>::kVersion);
  TypeParam loaded;
  TestSupport::loadRecord<TypeParam>(record, loaded, Expected<TypeParam>::kVersion);
  EXPECT_EQ(savedRecord<TypeParam>(loaded, 0), record);
}

TEST(RegistrationOfClassesTest, EachClassHasAFlagOfItsOwn) {
  const std::set<const bool*> flags{&ModuleState::s_force_serialization_registration,
                                    &ApplyModule::s_force_serialization_registration,
                                    &ApplyModuleInsertInfo::s_force_serialization_registration,
                                    &ApplyModuleData::s_force_serialization_registration,
                                    &Step::s_force_serialization_registration};
  EXPECT_EQ(flags.size(), 5U);
}

TEST(RegistrationOfClassesTest, EachClassHasATypeIdOfItsOwn) {
  const std::set<unsigned int> ids{registeredTypeId<ModuleState>(), registeredTypeId<ApplyModule>(),
                                   registeredTypeId<ApplyModuleInsertInfo>(),
                                   registeredTypeId<ApplyModuleData>()};
  EXPECT_EQ(ids.size(), 4U);
}

TEST(DynamicTypeTest, ADerivedClassThatIsRegistered) {
  const Step step;
  BaseClassRegister descriptor = describe<ApplyModule>(step);
  EXPECT_EQ(descriptor.dynamicType(static_cast<const ApplyModule*>(&step)), typeIdOf("Test.Step"));
  descriptor = describe<ModuleState>(step);
  EXPECT_EQ(descriptor.dynamicType(static_cast<const ModuleState*>(&step)), typeIdOf("Test.Step"));
  const ApplyModule module;
  EXPECT_EQ(descriptor.dynamicType(static_cast<const ModuleState*>(&module)),
            typeIdOf("ApplyModule"));
}

TEST(DynamicTypeTest, ADerivedClassThatIsNot) {
  class Unknown : public ApplyModule {};
  const Unknown module;
  EXPECT_EQ(describe<ApplyModule>(module).dynamicType(static_cast<const ApplyModule*>(&module)),
            0xBBAFA6C8U);
  EXPECT_EQ(describe<ModuleState>(module).dynamicType(static_cast<const ModuleState*>(&module)),
            0xBBAFA6C8U);
}

// Each thread has an archive and objects of its own; what is known of the classes is there for all.
TEST(DynamicTypeTest, ManyThreadsSaveAndLoadAtATime) {
  struct Sprocket : ApplyModule {
    static void serialization_register(void* descriptor) {
      *static_cast<BaseClassRegister*>(descriptor) = *registerClass<Sprocket>(
          "Test.Sprocket", 1,
          [](PersistenceArchiver& archiver, BaseClassRegister& target) {
            readNested<ApplyModule>(archiver, *static_cast<Sprocket*>(target.object));
          },
          [](PersistenceArchiver& archiver, BaseClassRegister& source) {
            writeNested<ApplyModule>(archiver, *static_cast<Sprocket*>(source.object));
          });
    }
  };
  std::latch start(4);
  const auto saveAndLoad = [&start](std::string& archive) {
    const std::shared_ptr<ModuleState> module = std::make_shared<Sprocket>();
    const auto sprocket = std::make_shared<Sprocket>();
    start.arrive_and_wait();
    EXPECT_TRUE((registerBaseClass<ApplyModule, Sprocket>()));
    PersistenceArchiver writer;
    writer.writeShared(sprocket);
    writer.writeShared(module);
    archive = writer.finish();
    PersistenceArchiver reader(archive);
    EXPECT_NE(reader.readShared<Sprocket>(), nullptr);
    EXPECT_NE(std::dynamic_pointer_cast<Sprocket>(reader.readShared<ModuleState>()), nullptr);
    reader.requireEnd();
  };
  std::array<std::string, 4> archives;
  std::vector<std::thread> threads;
  for (std::string& archive : archives) {
    threads.emplace_back(saveAndLoad, std::ref(archive));
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const std::string& archive : archives) {
    EXPECT_EQ(archive, archives[0]);
  }
}

TEST(BaseRelationTest, AModuleIsStoredThroughPointersToItsState) {
  const std::shared_ptr<ModuleState> saved = std::make_shared<ApplyModule>();
  saved->setFrozen(true, false);
  PersistenceArchiver writer;
  writer.writeShared(saved);
  const std::string archive = writer.finish();
  EXPECT_EQ(archive, HandMadeArchive()
                         .number(1)
                         .open("ApplyModule")
                         .open("ModuleState")
                         .flags({true, false, true, true, false})
                         .close()
                         .flags({false})
                         .number(3)
                         .open("ApplyModuleInsertInfo")
                         .number(0)
                         .id({0, 0})
                         .ids({})
                         .close()
                         .close()
                         .with({{"ApplyModule", 500002},
                                {"ModuleState", 500001},
                                {"ApplyModuleInsertInfo", 500000},
                                {"Identifier", 1}}));
  PersistenceArchiver reader(archive);
  const auto loaded = reader.readShared<ModuleState>();
  ASSERT_NE(dynamic_cast<ApplyModule*>(loaded.get()), nullptr);
  EXPECT_TRUE(loaded->isFrozen());
}

TEST(BaseRelationTest, ADerivedModuleIsStoredThroughEachOfItsBases) {
  const auto step = std::make_shared<Step>("gear");
  const std::shared_ptr<ModuleState> asState = step;
  const std::shared_ptr<ApplyModule> asModule = step;
  const std::shared_ptr<Object> asObject = step;
  PersistenceArchiver writer;
  writer.writeShared(asState);
  writer.writeShared(asModule);
  writer.writeShared(asObject);
  PersistenceArchiver reader(writer.finish());
  const auto state = reader.readShared<ModuleState>();
  const auto module = reader.readShared<ApplyModule>();
  const auto object = reader.readShared<Object>();
  reader.requireEnd();
  EXPECT_EQ(object->getName(), "gear");
  EXPECT_EQ(dynamic_cast<Step*>(object.get()), dynamic_cast<Step*>(module.get()));
  EXPECT_EQ(state, module);
}

TEST(BaseRelationTest, AStateAloneIsNoModule) {
  PersistenceArchiver writer;
  writer.writeShared(std::make_shared<ModuleState>());
  PersistenceArchiver reader(writer.finish());
  EXPECT_THROW(reader.readShared<ApplyModule>(), ArchiveException);
}

// The registration of an application's own classes.

struct Plain {
  static void load(PersistenceArchiver& /*archiver*/, BaseClassRegister& /*target*/) {}
  static void save(PersistenceArchiver& /*archiver*/, BaseClassRegister& /*source*/) {}
};

TEST(RegisterClassTest, ClassesWithoutAVersionTakeThatOfTheArchiver) {
  struct Versionless : Plain {};
  const BaseClassRegister* record = registerClass<Versionless>(
      "Test.Versionless", BaseClassRegister::kNoVersion, Plain::load, Plain::save);
  EXPECT_EQ(record->version, PersistenceArchiver::getCurrentVersion(0));
  EXPECT_EQ(record->registeredVersion, PersistenceArchiver::getCurrentVersion(0));
  EXPECT_NE(record->version, BaseClassRegister::kNoVersion);
  EXPECT_EQ(record, PersistenceArchiver::findFactory("Test.Versionless"));
}

TEST(RegisterClassTest, LaterCallsReturnTheSameRecord) {
  struct Twice : Plain {};
  const BaseClassRegister* first = registerClass<Twice>("Test.Twice", 3, Plain::load, Plain::save);
  EXPECT_EQ(registerClass<Twice>("Test.Twice", 3, Plain::load, Plain::save), first);
  EXPECT_EQ(registerClass<Twice>("Test.Thrice", 4, nullptr, nullptr), first);
  EXPECT_EQ(PersistenceArchiver::findFactory("Test.Thrice"), nullptr);
  EXPECT_EQ(first->version, 3U);
}

TEST(RegisterClassTest, VersionZeroIsAVersion) {
  struct Zero : Plain {};
  EXPECT_EQ(registerClass<Zero>("Test.Zero", 0, Plain::load, Plain::save)->version, 0U);
}

TEST(RegisterClassTest, WhatTheArchiverRefusesCanBeTriedAgain) {
  struct Stubborn : Plain {};
  EXPECT_THROW(registerClass<Stubborn>("ModuleState", 1, Plain::load, Plain::save),
               ArchiveException);
  EXPECT_EQ(PersistenceArchiver::getHashForType(
                PersistenceArchiver::getHashForName(typeid(Stubborn).name())),
            BaseClassRegister::kNoType);
  const BaseClassRegister* record =
      registerClass<Stubborn>("Test.Stubborn", 1, Plain::load, Plain::save);
  EXPECT_EQ(record, PersistenceArchiver::findFactory("Test.Stubborn"));
}

TEST(RegisterClassTest, TwoClassesCannotHaveOneName) {
  struct One : Plain {};
  struct Other : Plain {};
  registerClass<One>("Test.One", 1, Plain::load, Plain::save);
  EXPECT_THROW(registerClass<Other>("Test.One", 1, Plain::load, Plain::save), ArchiveException);
  EXPECT_EQ(ClassOperations<Other>::dynamicType(std::make_unique<Other>().get()),
            BaseClassRegister::kNoType);
}

TEST(RegisterClassTest, ObjectsAreMadeByWhatTheClassHandsIn) {
  struct Named : Plain {
    explicit Named(int start) : value(start) {}
    int value;
  };
  const BaseClassRegister* record =
      registerClass<Named>("Test.Named", 1, Plain::load, Plain::save,
                           []() -> void* { return new (std::nothrow) Named(17); });
  const std::unique_ptr<Named> object(static_cast<Named*>(record->create()));
  EXPECT_EQ(object->value, 17);
}

TEST(RegisterClassTest, WithoutMemoryThereIsNoObject) {
  struct Huge : Plain {
    static void* operator new(std::size_t /*size*/, const std::nothrow_t& /*tag*/) noexcept {
      return nullptr;
    }
  };
  EXPECT_EQ(registerClass<Huge>("Test.Huge", 1, Plain::load, Plain::save)->create(), nullptr);
}

TEST(RegisterClassTest, NoObjectsAreMadeOfAClassThatCannotBeMadeFromNothing) {
  struct Abstract : Plain {
    virtual ~Abstract() = default;
    virtual void work() = 0;
  };
  EXPECT_EQ(registerClass<Abstract>("Test.Abstract", 1, Plain::load, Plain::save)->create, nullptr);
}

struct Animal : Plain {
  virtual ~Animal() = default;
  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) =
        *registerClass<Animal>("Test.Animal", 1, Plain::load, Plain::save);
  }
};
struct Dog : Animal {
  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) =
        *registerClass<Dog>("Test.Dog", 1, Plain::load, Plain::save);
  }
};

TEST(RegisterBaseClassTest, BothAreRegisteredOnTheWay) {
  EXPECT_EQ(PersistenceArchiver::findFactory("Test.Dog"), nullptr);
  EXPECT_TRUE((registerBaseClass<Animal, Dog>()));
  EXPECT_NE(PersistenceArchiver::findFactory("Test.Dog"), nullptr);
  EXPECT_NE(PersistenceArchiver::findFactory("Test.Animal"), nullptr);
  EXPECT_TRUE((registerBaseClass<Animal, Dog>()));
}

// A class whose registration takes another one's place is not known by its own run-time type.
struct Stray : Animal {
  static void serialization_register(void* descriptor) {
    Animal::serialization_register(descriptor);
  }
};

struct Puppy : Stray {
  static void serialization_register(void* descriptor) {
    *static_cast<BaseClassRegister*>(descriptor) =
        *registerClass<Puppy>("Test.Puppy", 1, Plain::load, Plain::save);
  }
};

TEST(RegisterBaseClassTest, AClassThatIsNotKnownByItsTypeHasNoBaseAndIsNone) {
  EXPECT_FALSE((registerBaseClass<Animal, Stray>()));
  EXPECT_FALSE((registerBaseClass<Stray, Puppy>()));
}

}  // namespace
}  // namespace Tessaril
