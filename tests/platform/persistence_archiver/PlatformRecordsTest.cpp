#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/platform/identifiers/Identifier.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

namespace Tessaril {
namespace {

using PlatformTests::descriptorOf;
using PlatformTests::refusal;
using testing::ElementsAre;
using testing::HasSubstr;

/// Writes and reads by the operations that the class has registered.
template <typename T>
T afterRoundTrip(const T& value, T before = T()) {
  BaseClassRegister descriptor = descriptorOf<T>();
  PersistenceArchiver writing;
  descriptor.object = const_cast<T*>(&value);
  descriptor.save(writing, descriptor);
  PersistenceArchiver reading(writing.finish());
  descriptor.object = &before;
  descriptor.load(reading, descriptor);
  reading.requireEnd();
  return before;
}

template <typename T>
void expectRegisteredAs(const std::string& name) {
  const BaseClassRegister descriptor = descriptorOf<T>();
  EXPECT_TRUE(descriptor.enabled);
  EXPECT_NE(descriptor.typeId, 0U);
  EXPECT_NE(descriptor.typeId, BaseClassRegister::kNoType);
  EXPECT_NE(descriptor.create, nullptr);
  EXPECT_NE(descriptor.load, nullptr);
  EXPECT_NE(descriptor.save, nullptr);
  EXPECT_EQ(PersistenceArchiver::getRegisteredName(descriptor.typeId), name);
  EXPECT_EQ(descriptorOf<T>().typeId, descriptor.typeId);
  EXPECT_EQ(
      PersistenceArchiver::getHashForType(PersistenceArchiver::getHashForName(typeid(T).name())),
      descriptor.typeId);
}

TEST(PlatformRecordsTest, ThePlatformsClassesAreRegistered) {
  expectRegisteredAs<Identifier>("Identifier");
  expectRegisteredAs<Path>("Path");
  expectRegisteredAs<Object>("Object");
}

const std::vector<Identifier> kIdentifiers{Identifier(),
                                           Identifier(1, 2),
                                           Identifier(0, 1),
                                           Identifier(0x0123456789ABCDEF, 0xFEDCBA9876543210),
                                           Identifier(1, 0),
                                           Identifier(std::numeric_limits<std::uint64_t>::max(),
                                                      std::numeric_limits<std::uint64_t>::max())};

TEST(IdentifierRecordTest, ComesBackByItsOperators) {
  PersistenceArchiver writing;
  for (const Identifier& id : kIdentifiers) {
    writing << id;
  }
  PersistenceArchiver reading(writing.finish());
  for (const Identifier& id : kIdentifiers) {
    Identifier read(77, 88);
    EXPECT_EQ(&(reading >> read), &reading);
    EXPECT_EQ(read, id);
  }
  reading.requireEnd();
}

TEST(IdentifierRecordTest, ComesBackByItsRegisteredOperations) {
  for (const Identifier& id : kIdentifiers) {
    EXPECT_EQ(afterRoundTrip(id, Identifier(77, 88)), id);
  }
}

TEST(PathRecordTest, ComesBackAsItWas) {
  for (const Path& path :
       {Path(), Path("."), Path("/"), Path("/a"), Path("/a/b c/d"), Path("a/b"), Path("../../a"),
        Path("/\xC3\xA4/\xE2\x82\xAC"), Path::absolute({}), Path::relative({}),
        Path::relative({"..", "a"}), Path(std::string_view("/with\0zero", 10))}) {
    EXPECT_EQ(afterRoundTrip(path, Path("/was/there/before")), path) << path.toString();
  }
}

// Trees

/// An object with a value of its own, behind its part that is an Object.
class Part : public Object {
 public:
  explicit Part(std::string name = "part", unsigned int partNumber = 0)
      : Object(std::move(name)), number(partNumber) {
    ++alive;
  }
  ~Part() override { --alive; }

  static void serialization_register(void* descriptor) {
    PlatformTests::registerStored<Part>(descriptor, "Platform records: Part", 1);
  }
  void save(PersistenceArchiver& archiver) const {
    BaseClassRegister base = descriptorOf<Object>();
    base.object = const_cast<Object*>(static_cast<const Object*>(this));
    base.save(archiver, base);
    archiver << number;
  }
  void load(PersistenceArchiver& archiver, unsigned int) {
    BaseClassRegister base = descriptorOf<Object>();
    base.object = static_cast<Object*>(this);
    base.load(archiver, base);
    archiver >> number;
  }

  unsigned int getNumber() const { return number; }
  static inline int alive = 0;

 private:
  unsigned int number;
};

class UnregisteredPart : public Part {};

class ObjectRecordTest : public testing::Test {
 protected:
  ObjectRecordTest() { EXPECT_TRUE((PlatformTests::registerStoredBase<Object, Part>())); }
  ~ObjectRecordTest() override { EXPECT_EQ(Part::alive, 0); }

  static std::string archiveOf(const std::shared_ptr<Object>& object) {
    PersistenceArchiver writing;
    writing.writeShared(object);
    return writing.finish();
  }
  static std::shared_ptr<Object> objectOf(const std::string& archive) {
    PersistenceArchiver reading(archive);
    auto object = reading.readShared<Object>();
    reading.requireEnd();
    return object;
  }
};

/// "name(number) [children]"; the number for parts only.
std::string textOf(const Object& object) {
  std::string text = object.getName();
  if (const auto* part = dynamic_cast<const Part*>(&object)) {
    text += '(' + std::to_string(part->getNumber()) + ')';
  }
  if (!object.getChildren().empty()) {
    text += " [";
    for (const auto& child : object.getChildren()) {
      EXPECT_EQ(child->getParent(), &object);
      EXPECT_EQ(object.getChild(child->getName()), child);
      text += (text.back() == '[' ? "" : ", ") + textOf(*child);
    }
    text += ']';
  }
  return text;
}

TEST_F(ObjectRecordTest, ATreeComesBackWithItsClassesAndItsOrder) {
  const auto root = std::make_shared<Object>("root");
  const auto assembly = std::make_shared<Part>("assembly", 1);
  const auto folder = std::make_shared<Object>("folder");
  root->addChild(assembly);
  root->addChild(folder);
  root->addChild(std::make_shared<Part>("another one", 2));
  assembly->addChild(std::make_shared<Part>("z", 3));
  assembly->addChild(std::make_shared<Object>("a"));
  folder->addChild(std::make_shared<Part>("z", 4));
  folder->getChild("z")->addChild(std::make_shared<Part>("deep", 5));

  const std::string expected =
      "root [assembly(1) [z(3), a], folder [z(4) [deep(5)]], another one(2)]";
  EXPECT_EQ(textOf(*root), expected);
  const auto read = objectOf(archiveOf(root));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(textOf(*read), expected);
  EXPECT_EQ(read->getParent(), nullptr);
  EXPECT_EQ(read->getObject(Path("/folder/z/deep"))->getName(), "deep");
}

TEST_F(ObjectRecordTest, ASecondSaveGivesTheSameBytes) {
  const auto root = std::make_shared<Part>("root", 1);
  root->addChild(std::make_shared<Part>("child", 2));
  const std::string archive = archiveOf(root);
  EXPECT_EQ(archiveOf(objectOf(archive)), archive);
}

TEST_F(ObjectRecordTest, ASubtreeComesBackAsATreeOfItsOwn) {
  const auto root = std::make_shared<Object>("root");
  const auto child = std::make_shared<Part>("child", 7);
  root->addChild(child);
  const auto read = objectOf(archiveOf(child));
  EXPECT_EQ(textOf(*read), "child(7)");
  EXPECT_EQ(read->getParent(), nullptr);
}

TEST_F(ObjectRecordTest, ChildrenThatAreSharedElsewhereStayShared) {
  const auto root = std::make_shared<Object>("root");
  const auto child = std::make_shared<Part>("child", 7);
  root->addChild(child);
  PersistenceArchiver writing;
  writing.writeShared(child);
  writing.writeShared(root);
  PersistenceArchiver reading(writing.finish());
  const auto readChild = reading.readShared<Part>();
  const auto readRoot = reading.readShared<Object>();
  EXPECT_EQ(readRoot->getChild("child"), readChild);
}

TEST_F(ObjectRecordTest, LoadingRenamesAndAddsToTheChildrenAndAnnouncesIt) {
  Object written("written");
  written.addChild(std::make_shared<Object>("new"));
  BaseClassRegister descriptor = descriptorOf<Object>();
  PersistenceArchiver writing;
  descriptor.object = &written;
  descriptor.save(writing, descriptor);

  const auto object = std::make_shared<Object>("object");
  object->addChild(std::make_shared<Object>("old"));
  std::vector<ObjectTreeChangeReason> heard;
  object->connectToSigTreeChanged(
      [&](const Object&, ObjectTreeChangeReason reason) { heard.push_back(reason); });
  PersistenceArchiver reading(writing.finish());
  descriptor.object = object.get();
  descriptor.load(reading, descriptor);
  EXPECT_EQ(textOf(*object), "written [old, new]");
  EXPECT_THAT(heard,
              ElementsAre(ObjectTreeChangeReason::Renamed, ObjectTreeChangeReason::ChildAdded));
}

TEST_F(ObjectRecordTest, LoadingAChildThatIsThereAlreadyIsRefused) {
  Object written("written");
  written.addChild(std::make_shared<Part>("child"));
  BaseClassRegister descriptor = descriptorOf<Object>();
  PersistenceArchiver writing;
  descriptor.object = &written;
  descriptor.save(writing, descriptor);

  Object object("object");
  object.addChild(std::make_shared<Object>("child"));
  PersistenceArchiver reading(writing.finish());
  descriptor.object = &object;
  EXPECT_THROW(descriptor.load(reading, descriptor), ObjectException);
  EXPECT_EQ(textOf(object), "written [child]");
}

TEST_F(ObjectRecordTest, AChildOfAnUnregisteredClassIsRefused) {
  const auto root = std::make_shared<Object>("root");
  root->addChild(std::make_shared<UnregisteredPart>());
  EXPECT_THAT(refusal([&] { archiveOf(root); }), HasSubstr("UnregisteredPart"));
}

}  // namespace
}  // namespace Tessaril
