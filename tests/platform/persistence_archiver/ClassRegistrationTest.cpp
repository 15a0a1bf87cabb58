#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <thread>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tessaril/platform/persistence_archiver/ClassOperations.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

namespace Tessaril {
namespace {

using PlatformTests::refusal;
using testing::AllOf;
using testing::HasSubstr;

constexpr unsigned int kNoType = BaseClassRegister::kNoType;
constexpr unsigned int kNoVersion = BaseClassRegister::kNoVersion;

struct Shape {
  int corners = 4;
};

/// A complete record; what its operations do is of no interest.
BaseClassRegister makeRecord() {
  BaseClassRegister record = ClassOperations<Shape>::makeRecord();
  record.load = [](PersistenceArchiver&, BaseClassRegister&) {};
  record.save = [](PersistenceArchiver&, BaseClassRegister&) {};
  return record;
}

BaseClassRegister* registerName(const std::string& name, unsigned int version = 1) {
  return PersistenceArchiver::registerFactory(name, makeRecord(), version);
}

const BaseClassRegister* const registeredBeforeMain = registerName("Before main", 17);

TEST(BaseClassRegisterTest, IsBlankByDefault) {
  const BaseClassRegister blank;
  EXPECT_EQ(blank.load, nullptr);
  EXPECT_EQ(blank.save, nullptr);
  EXPECT_EQ(blank.create, nullptr);
  EXPECT_EQ(blank.dynamicType, nullptr);
  EXPECT_EQ(blank.createContainer, nullptr);
  EXPECT_FALSE(blank.enabled);
  EXPECT_EQ(blank.typeId, 0xBBAFA6C8U);
  EXPECT_EQ(blank.version, 0xFFFFFFFFU);
  EXPECT_EQ(blank.registeredVersion, 0xFFFFFFFFU);
  EXPECT_EQ(blank.object, nullptr);
}

TEST(ClassRegistrationTest, ServesStaticInitialisation) {
  ASSERT_NE(registeredBeforeMain, nullptr);
  EXPECT_EQ(PersistenceArchiver::findFactory("Before main"), registeredBeforeMain);
  EXPECT_EQ(registeredBeforeMain->registeredVersion, 17U);
}

TEST(ClassRegistrationTest, KeepsACopyOfTheRecord) {
  BaseClassRegister record = makeRecord();
  const BaseClassRegister* const kept =
      PersistenceArchiver::registerFactory("Kept as a copy", record, 3);
  ASSERT_NE(kept, nullptr);
  EXPECT_NE(kept, &record);
  EXPECT_EQ(record.typeId, 0U);
  EXPECT_EQ(kept->load, record.load);
  EXPECT_EQ(kept->save, record.save);
  EXPECT_EQ(kept->create, record.create);
  EXPECT_EQ(kept->dynamicType, record.dynamicType);
  EXPECT_EQ(kept->createContainer, record.createContainer);
  EXPECT_TRUE(kept->enabled);
  EXPECT_EQ(kept->version, 3U);
  EXPECT_EQ(kept->registeredVersion, 3U);
  EXPECT_EQ(kept->object, nullptr);
  record = BaseClassRegister();
  EXPECT_NE(kept->create, nullptr);
}

TEST(ClassRegistrationTest, TheVersionIsTheOneThatIsHandedOver) {
  BaseClassRegister record = makeRecord();
  record.version = 8;
  record.registeredVersion = 9;
  const BaseClassRegister* const kept =
      PersistenceArchiver::registerFactory("Version handed over", record, 7);
  EXPECT_EQ(kept->version, 7U);
  EXPECT_EQ(kept->registeredVersion, 7U);
}

TEST(ClassRegistrationTest, DoesNotKeepAnObject) {
  Shape shape;
  BaseClassRegister record = makeRecord();
  record.object = &shape;
  EXPECT_EQ(PersistenceArchiver::registerFactory("Without an object", record, 1)->object, nullptr);
}

TEST(ClassRegistrationTest, GivesEveryClassATypeIdOfItsOwn) {
  std::set<unsigned int> typeIds;
  for (int i = 0; i < 100; ++i) {
    typeIds.insert(registerName("Numbered " + std::to_string(i))->typeId);
  }
  EXPECT_EQ(typeIds.size(), 100U);
  EXPECT_FALSE(typeIds.contains(0));
  EXPECT_FALSE(typeIds.contains(kNoType));
}

TEST(ClassRegistrationTest, TheSameNameAndVersionReturnWhatIsKept) {
  const BaseClassRegister* const kept = registerName("Twice");
  const unsigned int typeId = kept->typeId;
  BaseClassRegister other = makeRecord();
  other.create = nullptr;
  EXPECT_EQ(PersistenceArchiver::registerFactory("Twice", other, 1), kept);
  EXPECT_EQ(kept->typeId, typeId);
  EXPECT_NE(kept->create, nullptr);
}

TEST(ClassRegistrationTest, RefusesAnotherVersionOfAName) {
  const BaseClassRegister* const kept = registerName("Versioned", 5);
  EXPECT_THAT(refusal([] { registerName("Versioned", 6); }),
              AllOf(HasSubstr("Versioned"), HasSubstr("5"), HasSubstr("6")));
  EXPECT_EQ(kept->registeredVersion, 5U);
  EXPECT_EQ(registerName("Versioned", 5), kept);
}

TEST(ClassRegistrationTest, RecordsStayWhereTheyAre) {
  const BaseClassRegister* const kept = registerName("Stays");
  const BaseClassRegister copy = *kept;
  for (int i = 0; i < 1000; ++i) {
    registerName("More " + std::to_string(i));
  }
  EXPECT_EQ(PersistenceArchiver::findFactory("Stays"), kept);
  EXPECT_EQ(kept->typeId, copy.typeId);
}

TEST(ClassRegistrationTest, FindsClassesByNameAndNamesByTypeId) {
  const BaseClassRegister* const kept = registerName("To be found");
  EXPECT_EQ(PersistenceArchiver::findFactory("To be found"), kept);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(kept->typeId), "To be found");
}

TEST(ClassRegistrationTest, FindsNothingThatIsNotRegistered) {
  EXPECT_EQ(PersistenceArchiver::findFactory("Never registered"), nullptr);
  EXPECT_EQ(PersistenceArchiver::findFactory(""), nullptr);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(0), "");
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(kNoType), "");
}

TEST(ClassRegistrationTest, HashesOfNamesAreTheSameForTheSameText) {
  const std::string text = "Some name";
  EXPECT_EQ(PersistenceArchiver::getHashForName(text),
            PersistenceArchiver::getHashForName(std::string(text.c_str())));
  EXPECT_NE(PersistenceArchiver::getHashForName(text),
            PersistenceArchiver::getHashForName("some name"));
}

TEST(ClassRegistrationTest, HashesOfNamesAreNeverTheReservedValues) {
  for (int i = 0; i < 10000; ++i) {
    const unsigned int hash = PersistenceArchiver::getHashForName(std::to_string(i));
    ASSERT_NE(hash, 0U) << i;
    ASSERT_NE(hash, kNoType) << i;
  }
  EXPECT_NE(PersistenceArchiver::getHashForName(""), 0U);
}

TEST(ClassRegistrationTest, LeadsFromTheHashOfATypeToItsTypeId) {
  struct Unregistered {};
  const unsigned int hash = PersistenceArchiver::getHashForName(typeid(Unregistered).name());
  EXPECT_EQ(PersistenceArchiver::getHashForType(hash), kNoType);
  const unsigned int typeId = registerName("Class with a hash")->typeId;
  PersistenceArchiver::registerHash(hash, typeId);
  EXPECT_EQ(PersistenceArchiver::getHashForType(hash), typeId);
}

TEST(ClassRegistrationTest, AHashLeadsToOneTypeId) {
  const unsigned int hash = PersistenceArchiver::getHashForName("hash that leads to one type");
  const unsigned int first = registerName("First with the hash")->typeId;
  const unsigned int second = registerName("Second with the hash")->typeId;
  PersistenceArchiver::registerHash(hash, first);
  EXPECT_NO_THROW(PersistenceArchiver::registerHash(hash, first));
  EXPECT_THROW(PersistenceArchiver::registerHash(hash, second), ArchiveException);
  EXPECT_EQ(PersistenceArchiver::getHashForType(hash), first);
}

// The operations of one class would be called for objects of the other.
TEST(ClassRegistrationTest, ATypeIdHasOneHash) {
  const unsigned int first = PersistenceArchiver::getHashForName("first type of one class");
  const unsigned int second = PersistenceArchiver::getHashForName("second type of one class");
  const unsigned int typeId = registerName("Class of one type")->typeId;
  PersistenceArchiver::registerHash(first, typeId);
  EXPECT_THROW(PersistenceArchiver::registerHash(second, typeId), ArchiveException);
  EXPECT_EQ(PersistenceArchiver::getHashForType(second), kNoType);
  EXPECT_EQ(PersistenceArchiver::getHashForType(first), typeId);
}

TEST(ClassRegistrationTest, TellsTheVersionThatIsWritten) {
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(registerName("Of version 42", 42)->typeId), 42U);
}

TEST(ClassRegistrationTest, TellsAVersionForClassesWithoutOneOfTheirOwn) {
  const unsigned int current = PersistenceArchiver::getCurrentVersion(0);
  EXPECT_NE(current, kNoVersion);
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(0), current);
  const BaseClassRegister* const kept = registerName("Of the current version", current);
  EXPECT_EQ(PersistenceArchiver::getCurrentVersion(kept->typeId), current);
}

TEST(ClassRegistrationTest, ServesAllThreads) {
  constexpr int kNames = 50;
  const auto nameAt = [](int i) { return "From many threads " + std::to_string(i); };
  std::vector<std::vector<BaseClassRegister*>> kept(4);
  std::vector<std::thread> threads;
  for (auto& own : kept) {
    threads.emplace_back([&own, &nameAt] {
      for (int i = 0; i < kNames; ++i) {
        own.push_back(registerName(nameAt(i)));
        const unsigned int hash = PersistenceArchiver::getHashForName("hash of " + nameAt(i));
        PersistenceArchiver::registerHash(hash, own.back()->typeId);
        PersistenceArchiver::getHashForType(hash);
        PersistenceArchiver::findFactory(nameAt(kNames - i));
        PersistenceArchiver::registerCaster(own.back()->typeId, own.front()->typeId,
                                            new CasterAccess<Shape, Shape>);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (const auto& own : kept) {
    EXPECT_EQ(own, kept.front());
  }
  for (int i = 0; i < kNames; ++i) {
    EXPECT_EQ(PersistenceArchiver::getRegisteredName(
                  kept.front().at(static_cast<std::size_t>(i))->typeId),
              nameAt(i));
  }
}

// Casters

/// Counts the casters that are alive.
class CountedCaster final : public Caster {
 public:
  explicit CountedCaster(int& counter) : alive(counter) { ++alive; }
  ~CountedCaster() override { --alive; }
  void* toBase(void* derived) const override { return derived; }
  void* toDerived(void* base) const override { return base; }

 private:
  int& alive;
};

/// The counters outlive the casters, which are kept to the end of the process.
int& newCounter() { return *new int(0); }

TEST(CasterRegistrationTest, TakesACasterForTwoRegisteredClasses) {
  const unsigned int derived = registerName("Caster: derived")->typeId;
  const unsigned int base = registerName("Caster: base")->typeId;
  static int& alive = newCounter();
  EXPECT_TRUE(PersistenceArchiver::registerCaster(derived, base, new CountedCaster(alive)));
  EXPECT_EQ(alive, 1);
}

TEST(CasterRegistrationTest, TheFirstCasterOfAPairStays) {
  const unsigned int derived = registerName("Caster twice: derived")->typeId;
  const unsigned int base = registerName("Caster twice: base")->typeId;
  static int& first = newCounter();
  int second = 0;
  EXPECT_TRUE(PersistenceArchiver::registerCaster(derived, base, new CountedCaster(first)));
  EXPECT_TRUE(PersistenceArchiver::registerCaster(derived, base, new CountedCaster(second)));
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
}

TEST(CasterRegistrationTest, AClassCanHaveSeveralBases) {
  const unsigned int derived = registerName("Several bases: derived")->typeId;
  const unsigned int left = registerName("Several bases: left")->typeId;
  const unsigned int right = registerName("Several bases: right")->typeId;
  static int& alive = newCounter();
  EXPECT_TRUE(PersistenceArchiver::registerCaster(derived, left, new CountedCaster(alive)));
  EXPECT_TRUE(PersistenceArchiver::registerCaster(derived, right, new CountedCaster(alive)));
  EXPECT_EQ(alive, 2);
}

TEST(CasterRegistrationTest, RefusesNoCaster) {
  const unsigned int derived = registerName("No caster: derived")->typeId;
  const unsigned int base = registerName("No caster: base")->typeId;
  EXPECT_FALSE(PersistenceArchiver::registerCaster(derived, base, nullptr));
  static int& alive = newCounter();
  PersistenceArchiver::registerCaster(derived, base, new CountedCaster(alive));
  EXPECT_FALSE(PersistenceArchiver::registerCaster(derived, base, nullptr));
}

TEST(CasterRegistrationTest, RefusesAndDestroysACasterOfUnregisteredClasses) {
  const unsigned int known = registerName("Caster: known")->typeId;
  const unsigned int unknown = PersistenceArchiver::getHashForName("Caster: unknown");
  for (const auto& [derived, base] :
       std::vector<std::pair<unsigned int, unsigned int>>{{known, unknown},
                                                          {unknown, known},
                                                          {unknown, unknown + 1},
                                                          {kNoType, known},
                                                          {known, kNoType},
                                                          {0, known},
                                                          {known, 0}}) {
    int alive = 0;
    EXPECT_FALSE(PersistenceArchiver::registerCaster(derived, base, new CountedCaster(alive)));
    EXPECT_EQ(alive, 0);
  }
}

TEST(CasterRegistrationTest, RefusesAndDestroysACasterOfAClassToItself) {
  const unsigned int known = registerName("Caster: to itself")->typeId;
  int alive = 0;
  EXPECT_FALSE(PersistenceArchiver::registerCaster(known, known, new CountedCaster(alive)));
  EXPECT_EQ(alive, 0);
}

struct Left {
  virtual ~Left() = default;
  int left = 1;
};
struct Right {
  virtual ~Right() = default;
  int right = 2;
};
struct Both : Left, Right {
  int both = 3;
};

TEST(CasterAccessTest, ConvertsAddressesBothWays) {
  Both both;
  Right* const right = &both;
  const CasterAccess<Right, Both> caster;
  EXPECT_EQ(caster.toBase(&both), right);
  EXPECT_EQ(caster.toDerived(right), &both);
  // There is something to convert.
  EXPECT_NE(static_cast<void*>(right), static_cast<void*>(&both));
}

TEST(CasterAccessTest, NullStaysNull) {
  const CasterAccess<Right, Both> caster;
  EXPECT_EQ(caster.toBase(nullptr), nullptr);
  EXPECT_EQ(caster.toDerived(nullptr), nullptr);
}

// Operations

struct Abstract {
  virtual ~Abstract() = default;
  virtual void act() = 0;
};
struct WithArgument {
  explicit WithArgument(int number) : value(number) {}
  int value;
};
struct UnknownLeft : Left {};

template <typename T>
unsigned int registerType(const std::string& name) {
  BaseClassRegister descriptor;
  PlatformTests::registerStored<T>(&descriptor, name, 1);
  return descriptor.typeId;
}

struct StoredLeft : Left {
  void save(PersistenceArchiver&) const {}
  void load(PersistenceArchiver&, unsigned int) {}
};
struct StoredBoth : Both {
  void save(PersistenceArchiver&) const {}
  void load(PersistenceArchiver&, unsigned int) {}
};
struct StoredPlain {
  int value = 0;
  void save(PersistenceArchiver&) const {}
  void load(PersistenceArchiver&, unsigned int) {}
};

TEST(ClassOperationsTest, MakesARecordThatIsReadyToBeRegistered) {
  const BaseClassRegister record = ClassOperations<Shape>::makeRecord();
  EXPECT_TRUE(record.enabled);
  EXPECT_EQ(record.typeId, 0U);
  EXPECT_EQ(record.load, nullptr);
  EXPECT_EQ(record.save, nullptr);
  EXPECT_EQ(record.object, nullptr);
  EXPECT_NE(record.dynamicType, nullptr);
  EXPECT_NE(record.createContainer, nullptr);
}

TEST(ClassOperationsTest, CreatesByTheDefaultConstructor) {
  const std::unique_ptr<Shape> shape(
      static_cast<Shape*>(ClassOperations<Shape>::makeRecord().create()));
  ASSERT_NE(shape, nullptr);
  EXPECT_EQ(shape->corners, 4);
}

TEST(ClassOperationsTest, CreatesNothingOfAClassThatCannotBeMadeByDefault) {
  EXPECT_EQ(ClassOperations<Abstract>::makeRecord().create, nullptr);
  EXPECT_EQ(ClassOperations<WithArgument>::makeRecord().create, nullptr);
  EXPECT_NE(ClassOperations<Abstract>::makeRecord().createContainer, nullptr);
}

TEST(ClassOperationsTest, ResolvesTheRunTimeClass) {
  const unsigned int leftId = registerType<StoredLeft>("Run-time class: left");
  const unsigned int bothId = registerType<StoredBoth>("Run-time class: both");
  const StoredLeft left;
  const StoredBoth both;
  const UnknownLeft unknown;
  const auto typeOf = [](const Left& object) {
    return ClassOperations<Left>::makeRecord().dynamicType(&object);
  };
  EXPECT_EQ(typeOf(left), leftId);
  EXPECT_EQ(typeOf(both), bothId);
  EXPECT_EQ(typeOf(unknown), kNoType);
  EXPECT_EQ(ClassOperations<StoredLeft>::makeRecord().dynamicType(&left), leftId);
  EXPECT_EQ(ClassOperations<Right>::makeRecord().dynamicType(static_cast<const Right*>(&both)),
            bothId);
}

TEST(ClassOperationsTest, AClassWithoutVirtualOperationsIsItsOwnRunTimeClass) {
  const unsigned int typeId = registerType<StoredPlain>("Run-time class: plain");
  const StoredPlain plain;
  EXPECT_EQ(ClassOperations<StoredPlain>::makeRecord().dynamicType(&plain), typeId);
}

TEST(ClassOperationsTest, AnUnregisteredDerivedClassIsFoundOnceItIsRegistered) {
  struct Late : Left {
    void save(PersistenceArchiver&) const {}
    void load(PersistenceArchiver&, unsigned int) {}
  };
  const Late late;
  const auto typeOf = ClassOperations<Left>::makeRecord().dynamicType;
  EXPECT_EQ(typeOf(static_cast<const Left*>(&late)), kNoType);
  const unsigned int typeId = registerType<Late>("Run-time class: late");
  EXPECT_EQ(typeOf(static_cast<const Left*>(&late)), typeId);
}

TEST(ClassOperationsTest, MakesANewContainerEachTime) {
  const auto create = ClassOperations<Shape>::makeRecord().createContainer;
  const auto first = create();
  const auto second = create();
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_NE(dynamic_cast<PointerMapContainer<Shape>*>(first.get()), nullptr);
}

// Containers of shared objects

struct Watched : std::enable_shared_from_this<Watched> {
  explicit Watched(int& counter) : alive(counter) { ++alive; }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;
  ~Watched() { --alive; }
  int& alive;
};

TEST(PointerMapContainerTest, IsEmptyWhenNew) {
  const PointerMapContainer<Shape> container;
  const Shape shape;
  EXPECT_EQ(container.numberOf(&shape), 0U);
  EXPECT_EQ(container.numberOf(nullptr), 0U);
  EXPECT_EQ(container.find(0), nullptr);
  EXPECT_EQ(container.find(1), nullptr);
}

TEST(PointerMapContainerTest, KnowsTheNumbersOfWhatItKeeps) {
  PointerMapContainer<Shape> container;
  const auto first = std::make_shared<Shape>();
  const auto second = std::make_shared<Shape>();
  container.keep(7, first);
  container.keep(9, second);
  EXPECT_EQ(container.numberOf(first.get()), 7U);
  EXPECT_EQ(container.numberOf(second.get()), 9U);
}

TEST(PointerMapContainerTest, SharesTheOwnershipOfWhatItKeeps) {
  int alive = 0;
  {
    PointerMapContainer<Watched> container;
    container.keep(1, std::make_shared<Watched>(alive));
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

TEST(PointerMapContainerTest, AdoptsAsTheFirstOwner) {
  int alive = 0;
  std::shared_ptr<void> adopted;
  {
    PointerMapContainer<Watched> container;
    auto* const created = new Watched(alive);
    adopted = container.adopt(3, created);
    EXPECT_EQ(adopted.get(), created);
    EXPECT_EQ(created->shared_from_this(), adopted);
    EXPECT_EQ(container.find(3), adopted);
    EXPECT_EQ(container.find(4), nullptr);
  }
  EXPECT_EQ(alive, 1);
  adopted.reset();
  EXPECT_EQ(alive, 0);
}

TEST(PointerMapContainerTest, DestroysWhatOnlyItOwns) {
  int alive = 0;
  {
    PointerMapContainer<Watched> container;
    container.adopt(1, new Watched(alive));
    EXPECT_EQ(alive, 1);
  }
  EXPECT_EQ(alive, 0);
}

}  // namespace
}  // namespace Tessaril
