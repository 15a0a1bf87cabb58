#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

namespace Tessaril {
namespace {

using PlatformTests::messageOf;
using PlatformTests::refusal;
using testing::AllOf;
using testing::HasSubstr;

template <typename T>
void registerAs(void* descriptor, const std::string& name) {
  PlatformTests::registerStored<T>(descriptor, "Shared objects: " + name, 1);
}

/// A step of a chain. All derived classes count as nodes that are alive.
struct Node {
  explicit Node(std::string nodeText = {}) : text(std::move(nodeText)) { ++alive; }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;
  virtual ~Node() { --alive; }

  static void serialization_register(void* descriptor) { registerAs<Node>(descriptor, "Node"); }
  void save(PersistenceArchiver& archiver) const {
    archiver << text;
    archiver.writeShared(next);
  }
  void load(PersistenceArchiver& archiver, unsigned int) {
    archiver >> text;
    next = archiver.readShared<Node>();
  }

  static inline int alive = 0;
  std::string text;
  std::shared_ptr<Node> next;
};

struct Label {
  virtual ~Label() = default;
  std::string label = "label";
};

/// A node that does not begin with its node.
struct LabelledNode : Label, Node {
  static void serialization_register(void* descriptor) {
    registerAs<LabelledNode>(descriptor, "LabelledNode");
  }
  void save(PersistenceArchiver& archiver) const {
    archiver << label;
    Node::save(archiver);
  }
  void load(PersistenceArchiver& archiver, unsigned int version) {
    archiver >> label;
    Node::load(archiver, version);
  }
};

struct Weight {
  virtual ~Weight() = default;
  double weight = 0;
};

/// Two steps above Node.
struct HeavyNode : Weight, LabelledNode {
  ~HeavyNode() override { ++destroyed; }
  static void serialization_register(void* descriptor) {
    registerAs<HeavyNode>(descriptor, "HeavyNode");
  }
  void save(PersistenceArchiver& archiver) const {
    archiver << weight;
    LabelledNode::save(archiver);
  }
  void load(PersistenceArchiver& archiver, unsigned int version) {
    archiver >> weight;
    LabelledNode::load(archiver, version);
  }
  static inline int destroyed = 0;
};

/// Registered, but not as a node.
struct UnrelatedNode : Node {
  static void serialization_register(void* descriptor) {
    registerAs<UnrelatedNode>(descriptor, "UnrelatedNode");
  }
};

struct UnregisteredNode : Node {};

/// Registered with all its operations, but the one that makes it.
struct UnmakeableNode : Node {
  explicit UnmakeableNode(int) {}
  static void serialization_register(void* descriptor) {
    registerAs<UnmakeableNode>(descriptor, "UnmakeableNode");
  }
};

struct FailingNode : Node {
  static void serialization_register(void* descriptor) {
    registerAs<FailingNode>(descriptor, "FailingNode");
  }
  void save(PersistenceArchiver& archiver) const { Node::save(archiver); }
  void load(PersistenceArchiver& archiver, unsigned int version) {
    Node::load(archiver, version);
    throw std::runtime_error("This one never loads");
  }
};

/// Knows its owner while it is loaded.
struct OwnedNode : Node, std::enable_shared_from_this<OwnedNode> {
  static void serialization_register(void* descriptor) {
    registerAs<OwnedNode>(descriptor, "OwnedNode");
  }
  void load(PersistenceArchiver& archiver, unsigned int version) {
    self = shared_from_this();
    Node::load(archiver, version);
  }
  std::weak_ptr<OwnedNode> self;
};

struct Plain {
  static void serialization_register(void* descriptor) { registerAs<Plain>(descriptor, "Plain"); }
  void save(PersistenceArchiver& archiver) const { archiver << number; }
  void load(PersistenceArchiver& archiver, unsigned int) { archiver >> number; }
  unsigned int number = 0;
};

class SharedObjectsTest : public testing::Test {
 protected:
  SharedObjectsTest() {
    EXPECT_TRUE((PlatformTests::registerStoredBase<Node, LabelledNode>()));
    EXPECT_TRUE((PlatformTests::registerStoredBase<LabelledNode, HeavyNode>()));
    EXPECT_TRUE((PlatformTests::registerStoredBase<Node, FailingNode>()));
    EXPECT_TRUE((PlatformTests::registerStoredBase<Node, OwnedNode>()));
    EXPECT_TRUE((PlatformTests::registerStoredBase<Node, UnmakeableNode>()));
    PlatformTests::descriptorOf<UnrelatedNode>();
    PlatformTests::descriptorOf<Plain>();
  }
  ~SharedObjectsTest() override { EXPECT_EQ(Node::alive, aliveBefore) << "Nodes were leaked"; }

  template <typename... T>
  static std::string archiveOf(const std::shared_ptr<T>&... objects) {
    PersistenceArchiver writing;
    (writing.writeShared(objects), ...);
    return writing.finish();
  }

 private:
  const int aliveBefore = Node::alive;
};

TEST_F(SharedObjectsTest, NullComesBackAsNull) {
  PersistenceArchiver reading(archiveOf(std::shared_ptr<Node>()));
  EXPECT_EQ(reading.readShared<Node>(), nullptr);
  reading.requireEnd();
}

TEST_F(SharedObjectsTest, AnObjectComesBackAsAnotherOneWithTheSameContents) {
  const auto node = std::make_shared<Node>("alpha");
  PersistenceArchiver reading(archiveOf(node));
  const auto read = reading.readShared<Node>();
  ASSERT_NE(read, nullptr);
  EXPECT_NE(read, node);
  EXPECT_EQ(read->text, "alpha");
  EXPECT_EQ(read->next, nullptr);
  reading.requireEnd();
}

TEST_F(SharedObjectsTest, AnObjectThatIsReachedTwiceIsStoredOnce) {
  const auto node = std::make_shared<Node>(std::string(1000, 'x'));
  const std::string archive = archiveOf(node, node, node);
  EXPECT_LT(archive.size(), 2000U);
  PersistenceArchiver reading(archive);
  const auto first = reading.readShared<Node>();
  EXPECT_EQ(reading.readShared<Node>(), first);
  EXPECT_EQ(reading.readShared<Node>(), first);
  reading.requireEnd();
  EXPECT_EQ(Node::alive, 2);
}

TEST_F(SharedObjectsTest, EqualObjectsStayTwo) {
  PersistenceArchiver reading(
      archiveOf(std::make_shared<Node>("same"), std::make_shared<Node>("same")));
  const auto first = reading.readShared<Node>();
  EXPECT_NE(reading.readShared<Node>(), first);
}

TEST_F(SharedObjectsTest, SharedThroughOtherObjectsAsWell) {
  const auto shared = std::make_shared<Node>("shared");
  const auto left = std::make_shared<Node>("left");
  const auto right = std::make_shared<Node>("right");
  left->next = shared;
  right->next = shared;
  PersistenceArchiver reading(archiveOf(left, right, shared));
  const auto readLeft = reading.readShared<Node>();
  const auto readRight = reading.readShared<Node>();
  const auto readShared = reading.readShared<Node>();
  EXPECT_EQ(readLeft->next->text, "shared");
  EXPECT_EQ(readLeft->next, readRight->next);
  EXPECT_EQ(readLeft->next, readShared);
}

TEST_F(SharedObjectsTest, ComesBackAsItsRunTimeClass) {
  const auto labelled = std::make_shared<LabelledNode>();
  labelled->text = "text";
  labelled->label = "a label";
  PersistenceArchiver reading(archiveOf(std::shared_ptr<Node>(labelled)));
  const auto read = reading.readShared<Node>();
  const auto derived = std::dynamic_pointer_cast<LabelledNode>(read);
  ASSERT_NE(derived, nullptr);
  EXPECT_EQ(derived->text, "text");
  EXPECT_EQ(derived->label, "a label");
}

TEST_F(SharedObjectsTest, CastersLeadOverSeveralSteps) {
  const auto heavy = std::make_shared<HeavyNode>();
  heavy->text = "text";
  heavy->label = "a label";
  heavy->weight = 2.5;
  PersistenceArchiver reading(archiveOf(std::shared_ptr<Node>(heavy)));
  const auto read = reading.readShared<Node>();
  const auto derived = std::dynamic_pointer_cast<HeavyNode>(read);
  ASSERT_NE(derived, nullptr);
  EXPECT_EQ(derived->text, "text");
  EXPECT_EQ(derived->label, "a label");
  EXPECT_EQ(derived->weight, 2.5);
}

TEST_F(SharedObjectsTest, PointersOfDifferentClassesLeadToOneObject) {
  const auto heavy = std::make_shared<HeavyNode>();
  PersistenceArchiver reading(archiveOf(std::shared_ptr<Node>(heavy), heavy,
                                        std::shared_ptr<LabelledNode>(heavy),
                                        std::shared_ptr<const Node>(heavy)));
  const auto asNode = reading.readShared<Node>();
  const auto asHeavy = reading.readShared<HeavyNode>();
  const auto asLabelled = reading.readShared<LabelledNode>();
  EXPECT_EQ(asHeavy, asNode);
  EXPECT_EQ(asLabelled, asNode);
  EXPECT_EQ(reading.readShared<Node>(), asNode);
  EXPECT_EQ(Node::alive, 2);
}

TEST_F(SharedObjectsTest, CanBeReadAsABaseOfTheClassTheyWereWrittenAs) {
  PersistenceArchiver reading(archiveOf(std::make_shared<HeavyNode>()));
  EXPECT_NE(std::dynamic_pointer_cast<HeavyNode>(reading.readShared<Node>()), nullptr);
}

TEST_F(SharedObjectsTest, AMemberIsAnotherObjectThanItsOwnerAtTheSameAddress) {
  struct Owner {
    Plain first;
    Plain second;
  };
  const auto owner = std::make_shared<Owner>();
  owner->first.number = 1;
  owner->second.number = 2;
  PersistenceArchiver reading(archiveOf(std::shared_ptr<Plain>(owner, &owner->first),
                                        std::shared_ptr<Plain>(owner, &owner->second)));
  EXPECT_EQ(reading.readShared<Plain>()->number, 1U);
  EXPECT_EQ(reading.readShared<Plain>()->number, 2U);
}

TEST_F(SharedObjectsTest, CirclesComeBackAsCircles) {
  std::string archive;
  {
    const auto first = std::make_shared<Node>("first");
    const auto second = std::make_shared<LabelledNode>();
    first->next = second;
    second->next = first;
    archive = archiveOf(first);
    second->next.reset();
  }
  PersistenceArchiver reading(archive);
  const auto first = reading.readShared<Node>();
  ASSERT_NE(first->next, nullptr);
  EXPECT_NE(dynamic_cast<LabelledNode*>(first->next.get()), nullptr);
  EXPECT_EQ(first->next->next, first);
  first->next->next.reset();
}

TEST_F(SharedObjectsTest, AnObjectCanReferToItself) {
  std::string archive;
  {
    const auto node = std::make_shared<Node>();
    node->next = node;
    archive = archiveOf(node);
    node->next.reset();
  }
  PersistenceArchiver reading(archive);
  const auto node = reading.readShared<Node>();
  EXPECT_EQ(node->next, node);
  node->next.reset();
}

TEST_F(SharedObjectsTest, AnObjectHasItsOwnerWhileItIsLoaded) {
  PersistenceArchiver reading(archiveOf(std::make_shared<OwnedNode>()));
  const auto read = reading.readShared<OwnedNode>();
  EXPECT_EQ(read->self.lock(), read);
}

TEST_F(SharedObjectsTest, AnObjectIsWrittenWhileOthersOwnItToo) {
  const auto node = std::make_shared<Node>();
  {
    PersistenceArchiver writing;
    writing.writeShared(node);
    EXPECT_GT(node.use_count(), 1);
    writing.finish();
  }
  EXPECT_EQ(node.use_count(), 1);
}

TEST_F(SharedObjectsTest, NoAddressIsUsedTwiceWhileAnArchiveIsWritten) {
  PersistenceArchiver writing;
  for (int i = 0; i < 100; ++i) {
    writing.writeShared(std::make_shared<Node>(std::to_string(i)));
  }
  PersistenceArchiver reading(writing.finish());
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(reading.readShared<Node>()->text, std::to_string(i));
  }
}

TEST_F(SharedObjectsTest, ObjectsOutliveTheArchiveThatTheyWereReadFrom) {
  std::shared_ptr<Node> read;
  {
    PersistenceArchiver reading(archiveOf(std::make_shared<Node>("alpha")));
    read = reading.readShared<Node>();
  }
  EXPECT_EQ(read->text, "alpha");
  EXPECT_EQ(read.use_count(), 1);
}

TEST_F(SharedObjectsTest, AreDestroyedAsTheirOwnClass) {
  const std::string archive = archiveOf(std::make_shared<HeavyNode>());
  HeavyNode::destroyed = 0;
  {
    PersistenceArchiver reading(archive);
    reading.readShared<Node>();
  }
  EXPECT_EQ(HeavyNode::destroyed, 1);
}

TEST_F(SharedObjectsTest, NamesTheClassesOfTheObjects) {
  const auto heavy = std::make_shared<HeavyNode>();
  heavy->next = std::make_shared<Node>();
  const PersistenceArchiver reading(archiveOf(std::shared_ptr<Node>(heavy)));
  ASSERT_EQ(reading.getClasses().size(), 2U);
  EXPECT_EQ(reading.getClasses()[0].name, "Shared objects: HeavyNode");
  EXPECT_EQ(reading.getClasses()[1].name, "Shared objects: Node");
}

// What cannot be written

TEST_F(SharedObjectsTest, RefusesToWriteAnObjectOfAnUnregisteredClass) {
  PersistenceArchiver writing;
  const std::shared_ptr<Node> node = std::make_shared<UnregisteredNode>();
  EXPECT_THAT(refusal([&] { writing.writeShared(node); }),
              AllOf(HasSubstr("UnregisteredNode"), HasSubstr("::"), HasSubstr("not registered")));
}

TEST_F(SharedObjectsTest, RefusesToWriteAnObjectThatNoCastersLeadFrom) {
  PersistenceArchiver writing;
  const std::shared_ptr<Node> node = std::make_shared<UnrelatedNode>();
  EXPECT_THAT(
      refusal([&] { writing.writeShared(node); }),
      AllOf(HasSubstr("\"Shared objects: UnrelatedNode\""), HasSubstr("\"Shared objects: Node\"")));
}

TEST_F(SharedObjectsTest, CastersThatLeadInACircleLeadNowhereElse) {
  struct There : Node {
    static void serialization_register(void* descriptor) { registerAs<There>(descriptor, "There"); }
  };
  struct Back : There {
    static void serialization_register(void* descriptor) { registerAs<Back>(descriptor, "Back"); }
  };
  EXPECT_TRUE((PlatformTests::registerStoredBase<There, Back>()));
  EXPECT_TRUE(PersistenceArchiver::registerCaster(PlatformTests::descriptorOf<There>().typeId,
                                                  PlatformTests::descriptorOf<Back>().typeId,
                                                  new CasterAccess<Node, Node>));
  PersistenceArchiver writing;
  const std::shared_ptr<Node> node = std::make_shared<Back>();
  EXPECT_THROW(writing.writeShared(node), ArchiveException);
}

TEST_F(SharedObjectsTest, AnObjectWithoutCastersIsWrittenAsItself) {
  const auto node = std::make_shared<UnrelatedNode>();
  node->text = "by itself";
  PersistenceArchiver reading(archiveOf(node));
  EXPECT_EQ(reading.readShared<UnrelatedNode>()->text, "by itself");
}

TEST_F(SharedObjectsTest, WhatOnePointerMayWriteAnotherMayNot) {
  PersistenceArchiver writing;
  writing.writeShared(std::make_shared<UnrelatedNode>());
  const std::shared_ptr<Node> node = std::make_shared<UnrelatedNode>();
  EXPECT_THROW(writing.writeShared(node), ArchiveException);
}

TEST_F(SharedObjectsTest, RefusesToWriteAnObjectThatCouldNotBeMadeAgain) {
  PersistenceArchiver writing;
  const std::shared_ptr<Node> node = std::make_shared<UnmakeableNode>(1);
  EXPECT_THAT(refusal([&] { writing.writeShared(node); }),
              HasSubstr("\"Shared objects: UnmakeableNode\""));
}

TEST_F(SharedObjectsTest, ARefusedObjectWithinAnotherRefusesTheWholeArchive) {
  PersistenceArchiver writing;
  const auto node = std::make_shared<Node>();
  node->next = std::make_shared<UnregisteredNode>();
  EXPECT_THROW(writing.writeShared(node), ArchiveException);
  EXPECT_THROW(writing.finish(), std::logic_error);
}

/// A chain of that many nodes.
std::shared_ptr<Node> chainOf(std::size_t length) {
  std::shared_ptr<Node> first;
  for (; length > 0; --length) {
    auto node = std::make_shared<Node>();
    node->next = std::move(first);
    first = std::move(node);
  }
  return first;
}

TEST_F(SharedObjectsTest, ObjectsNestAsDeepAsTheLimit) {
  PersistenceArchiver reading(archiveOf(chainOf(PersistenceArchiver::kMaxDepth)));
  std::size_t length = 0;
  const auto first = reading.readShared<Node>();
  for (const Node* node = first.get(); node != nullptr; node = node->next.get()) {
    ++length;
  }
  EXPECT_EQ(length, PersistenceArchiver::kMaxDepth);
}

TEST_F(SharedObjectsTest, RefusesToWriteObjectsThatNestDeeper) {
  PersistenceArchiver writing;
  const auto chain = chainOf(PersistenceArchiver::kMaxDepth + 1);
  EXPECT_THROW(writing.writeShared(chain), ArchiveException);
}

// What cannot be read

TEST_F(SharedObjectsTest, RefusesAnObjectOfAnotherClassBeforeItIsMade) {
  PersistenceArchiver reading(archiveOf(std::make_shared<Node>()));
  const int before = Node::alive;
  EXPECT_THAT(refusal([&] { reading.readShared<Plain>(); }),
              AllOf(HasSubstr("byte "), HasSubstr("\"Shared objects: Node\""),
                    HasSubstr("\"Shared objects: Plain\"")));
  EXPECT_EQ(Node::alive, before);
}

TEST_F(SharedObjectsTest, WhatOnePointerMayReadAnotherMayNot) {
  PersistenceArchiver reading(archiveOf(std::make_shared<Node>(), std::make_shared<Node>()));
  const auto first = reading.readShared<Node>();
  const int before = Node::alive;
  EXPECT_THROW(reading.readShared<Plain>(), ArchiveException);
  EXPECT_EQ(Node::alive, before);
}

TEST_F(SharedObjectsTest, RefusesAnObjectOfABaseWhereADerivedOneIsExpected) {
  PersistenceArchiver reading(archiveOf(std::make_shared<Node>()));
  EXPECT_THROW(reading.readShared<HeavyNode>(), ArchiveException);
}

TEST_F(SharedObjectsTest, RefusesAnotherClassForAnObjectThatIsKnownAlready) {
  const auto node = std::make_shared<Node>();
  PersistenceArchiver reading(archiveOf(node, node));
  reading.readShared<Node>();
  EXPECT_THROW(reading.readShared<HeavyNode>(), ArchiveException);
}

TEST_F(SharedObjectsTest, WhatALoadOperationThrowsPassesOnAndNothingIsLeaked) {
  const auto outer = std::make_shared<Node>();
  const auto heavy = std::make_shared<HeavyNode>();
  outer->next = heavy;
  heavy->next = std::make_shared<FailingNode>();
  heavy->next->next = std::make_shared<HeavyNode>();
  const std::string archive = archiveOf(outer);
  const int before = Node::alive;
  HeavyNode::destroyed = 0;
  {
    PersistenceArchiver reading(archive);
    EXPECT_EQ(messageOf<std::runtime_error>([&] { reading.readShared<Node>(); }),
              "This one never loads");
  }
  EXPECT_EQ(Node::alive, before);
  EXPECT_EQ(HeavyNode::destroyed, 2);
}

TEST_F(SharedObjectsTest, AnArchiveThatIsReadHasNoSharedObjectsToWrite) {
  const auto node = std::make_shared<Node>();
  PersistenceArchiver reading(archiveOf(node));
  EXPECT_THROW(reading.writeShared(node), std::logic_error);
  EXPECT_THROW(reading.writeShared(std::shared_ptr<Node>()), std::logic_error);
  PersistenceArchiver writing;
  EXPECT_THROW(writing.readShared<Node>(), std::logic_error);
}

}  // namespace
}  // namespace Tessaril
