#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using ObjectPtr = std::shared_ptr<Object>;

ObjectPtr makeObject(const std::string& name) { return std::make_shared<Object>(name); }

/// The message of the ObjectException that `action` throws; a failure when it throws none.
std::string refusal(const std::function<void()>& action) {
  try {
    action();
  } catch (const ObjectException& exception) {
    return exception.getMessage();
  }
  ADD_FAILURE() << "No ObjectException was thrown";
  return {};
}

std::string nameOf(ObjectTreeChangeReason reason) {
  switch (reason) {
    case ObjectTreeChangeReason::ChildAdded:
      return "added";
    case ObjectTreeChangeReason::ChildRemoved:
      return "removed";
    case ObjectTreeChangeReason::StateChanged:
      return "state";
    case ObjectTreeChangeReason::Renamed:
      return "renamed";
  }
  return "?";
}

/// root with the children a and b; a with the child deep.
class ObjectTest : public testing::Test {
 protected:
  ObjectTest() {
    root->addChild(a);
    root->addChild(b);
    a->addChild(deep);
  }

  /// From now on writes "<observed>: <changed> <reason>" for what is announced at `object`.
  void observe(const Object& object) {
    const Object* observed = &object;
    object.connectToSigTreeChanged(
        [this, observed](const Object& changed, ObjectTreeChangeReason reason) {
          heard.push_back(observed->getName() + ": " + changed.getName() + ' ' + nameOf(reason));
        });
  }
  void observeAll() {
    for (const auto& object : {root, a, b, deep}) {
      observe(*object);
    }
  }

  ObjectPtr root = makeObject("root");
  ObjectPtr a = makeObject("a");
  ObjectPtr b = makeObject("b");
  ObjectPtr deep = makeObject("deep");
  std::vector<std::string> heard;
};

TEST_F(ObjectTest, EnumerationsHaveFixedValues) {
  EXPECT_EQ(static_cast<int>(RequestedPathType::Absolute), 0);
  EXPECT_EQ(static_cast<int>(GetObjectBehavior::Throw), 0);
  EXPECT_EQ(static_cast<int>(GetObjectBehavior::ReturnNull), 1);
  EXPECT_EQ(static_cast<int>(ObjectTreeChangeReason::StateChanged), 2);
}

// Names.

class ObjectNameTest : public testing::TestWithParam<std::string> {};

TEST_P(ObjectNameTest, IsRefused) {
  EXPECT_THROW(Object{GetParam()}, ObjectException);
  Object object("good");
  EXPECT_THROW(object.setName(GetParam()), ObjectException);
  EXPECT_EQ(object.getName(), "good");
}

INSTANTIATE_TEST_SUITE_P(Names, ObjectNameTest,
                         testing::Values("", "/", "a/b", "/a", "a/", ".", ".."));

TEST_F(ObjectTest, AllowsEveryOtherName) {
  for (const char* name : {"a", "...", ".a", "a b", " ", "%1", "\xC3\xA4"}) {
    EXPECT_EQ(Object(name).getName(), name);
  }
}

TEST_F(ObjectTest, ARefusedNameIsNamed) {
  EXPECT_THAT(refusal([] { Object("a/b"); }), HasSubstr("a/b"));
}

TEST_F(ObjectTest, CanBeRenamed) {
  a->setName("c");
  EXPECT_EQ(a->getName(), "c");
  EXPECT_EQ(root->getChild("a"), nullptr);
  EXPECT_EQ(root->getChild("c"), a);
  EXPECT_THAT(root->getChildren(), ElementsAre(a, b));
}

TEST_F(ObjectTest, CanBeRenamedToAndFromLongNames) {
  const std::string longName(100, 'x');
  a->setName(longName);
  EXPECT_EQ(root->getChild(longName), a);
  a->setName("a");
  EXPECT_EQ(root->getChild("a"), a);
  EXPECT_EQ(root->getChild(longName), nullptr);
}

TEST_F(ObjectTest, ARootCanBeRenamed) {
  root->setName("other");
  EXPECT_EQ(root->getName(), "other");
}

TEST_F(ObjectTest, CannotTakeASiblingsName) {
  observeAll();
  EXPECT_THAT(refusal([this] { a->setName("b"); }), HasSubstr("\"b\""));
  EXPECT_EQ(a->getName(), "a");
  EXPECT_EQ(root->getChild("a"), a);
  EXPECT_EQ(root->getChild("b"), b);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ObjectTest, ANameIsFreeAgainOnceItsBearerWasRenamed) {
  a->setName("c");
  b->setName("a");
  EXPECT_EQ(root->getChild("a"), b);
  EXPECT_EQ(root->getChild("c"), a);
  EXPECT_EQ(root->getChild("b"), nullptr);
}

TEST_F(ObjectTest, NamesAreUniqueAmongSiblingsOnly) {
  deep->addChild(makeObject("a"));
  deep->setName("b");
  EXPECT_EQ(a->getChild("b"), deep);
}

// Parent and children.

TEST_F(ObjectTest, KnowsParentRootAndChildren) {
  EXPECT_EQ(root->getParent(), nullptr);
  EXPECT_EQ(a->getParent(), root.get());
  EXPECT_EQ(deep->getParent(), a.get());
  EXPECT_EQ(&deep->getRoot(), root.get());
  EXPECT_EQ(&root->getRoot(), root.get());
  EXPECT_THAT(root->getChildren(), ElementsAre(a, b));
  EXPECT_THAT(b->getChildren(), IsEmpty());
}

TEST_F(ObjectTest, FindsAChildByName) {
  EXPECT_EQ(root->getChild("b"), b);
  EXPECT_EQ(root->getChild("none"), nullptr);
  EXPECT_EQ(root->getChild("deep"), nullptr);
  EXPECT_EQ(root->getChild(""), nullptr);
}

TEST_F(ObjectTest, OwnsItsChildren) {
  std::weak_ptr<Object> child = b;
  b.reset();
  EXPECT_FALSE(child.expired());
  root.reset();
  EXPECT_TRUE(child.expired());
}

TEST_F(ObjectTest, AChildOwnedElsewhereLivesOnWithoutAParent) {
  root.reset();
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_EQ(&deep->getRoot(), a.get());
  const auto other = makeObject("other");
  other->addChild(a);
  EXPECT_EQ(a->getParent(), other.get());
}

TEST_F(ObjectTest, AChildIsAddedBehindTheOthers) {
  const auto c = makeObject("c");
  root->addChild(c);
  EXPECT_THAT(root->getChildren(), ElementsAre(a, b, c));
}

TEST_F(ObjectTest, RefusesToAddWhatCannotBeAChild) {
  observeAll();
  EXPECT_THROW(root->addChild(nullptr), ObjectException);
  EXPECT_THROW(b->addChild(a), ObjectException) << "has a parent";
  EXPECT_THROW(root->addChild(a), ObjectException) << "is a child already";
  EXPECT_THROW(root->addChild(root), ObjectException) << "the object itself";
  EXPECT_THROW(deep->addChild(root), ObjectException) << "an ancestor";
  const auto homonym = makeObject("a");
  EXPECT_THAT(refusal([&] { root->addChild(homonym); }), HasSubstr("\"a\""));

  EXPECT_EQ(homonym->getParent(), nullptr);
  EXPECT_EQ(root->getParent(), nullptr);
  EXPECT_EQ(a->getParent(), root.get());
  EXPECT_THAT(root->getChildren(), ElementsAre(a, b));
  EXPECT_THAT(b->getChildren(), IsEmpty());
  EXPECT_THAT(deep->getChildren(), IsEmpty());
  EXPECT_EQ(root->getChild("a"), a);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(ObjectTest, HandsARemovedChildBack) {
  EXPECT_EQ(root->removeChild(*a), a);
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_THAT(root->getChildren(), ElementsAre(b));
  EXPECT_EQ(root->getChild("a"), nullptr);
  EXPECT_EQ(a->getChild("deep"), deep);
}

TEST_F(ObjectTest, ARemovedChildCanBeAddedElsewhere) {
  b->addChild(root->removeChild(*a));
  EXPECT_EQ(a->getParent(), b.get());
  EXPECT_EQ(deep->getPath(RequestedPathType::Absolute).toString(), "/b/a/deep");
}

TEST_F(ObjectTest, RefusesToRemoveWhatIsNoChild) {
  EXPECT_THAT(refusal([this] { root->removeChild(*deep); }),
              AllOf(HasSubstr("\"deep\""), HasSubstr("\"root\"")));
  EXPECT_THROW(root->removeChild(*root), ObjectException);
  EXPECT_THROW(root->removeChild(*makeObject("a")), ObjectException);
  EXPECT_THAT(root->getChildren(), ElementsAre(a, b));
  EXPECT_EQ(deep->getParent(), a.get());
}

TEST_F(ObjectTest, FindsItsChildrenWhicheverCameWentAndWereRenamed) {
  constexpr std::size_t kNames = 60;
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    const auto parent = std::make_shared<Object>("parent");
    std::map<std::string, std::shared_ptr<Object>> expected;
    for (int step = 0; step < 300; ++step) {
      const std::string name = std::to_string(random() % kNames);
      const std::string other = std::to_string(random() % kNames);
      if (!expected.contains(name)) {
        expected[name] = std::make_shared<Object>(name);
        parent->addChild(expected[name]);
      } else if (random() % 2 == 0) {
        EXPECT_EQ(parent->removeChild(*expected[name]), expected[name]);
        expected.erase(name);
      } else if (!expected.contains(other)) {
        expected[name]->setName(other);
        expected[other] = std::move(expected[name]);
        expected.erase(name);
      }
    }
    for (std::size_t i = 0; i < kNames; ++i) {
      const auto found = expected.find(std::to_string(i));
      EXPECT_EQ(parent->getChild(std::to_string(i)),
                found != expected.end() ? found->second : nullptr)
          << i;
    }
    EXPECT_EQ(parent->getChildren().size(), expected.size());
  }
}

TEST_F(ObjectTest, FindsEachOfVeryManyChildren) {
  constexpr int kMany = 100'000;
  for (int i = 0; i < kMany; ++i) {
    b->addChild(makeObject("child " + std::to_string(i)));
  }
  EXPECT_THROW(b->addChild(makeObject("child 4711")), ObjectException);
  EXPECT_EQ(b->getChildren().size(), static_cast<std::size_t>(kMany));
  for (const auto& child : b->getChildren()) {
    ASSERT_EQ(b->getChild(child->getName()), child);
  }
}

// Paths.

TEST_F(ObjectTest, TheAbsolutePathLeavesTheRootsNameOut) {
  EXPECT_EQ(deep->getPath(RequestedPathType::Absolute), Path("/a/deep"));
  EXPECT_EQ(b->getPath(RequestedPathType::Absolute), Path("/b"));
  EXPECT_EQ(root->getPath(RequestedPathType::Absolute), Path("/"));
}

TEST_F(ObjectTest, ATreeUnderAnotherRootStillResolves) {
  const Path path = deep->getPath(RequestedPathType::Absolute);
  const auto otherRoot = makeObject("other");
  otherRoot->addChild(root->removeChild(*a));
  EXPECT_EQ(otherRoot->getObject(path), deep);
}

TEST_F(ObjectTest, TheRelativePathLeadsFromItsOrigin) {
  constexpr auto kType = RequestedPathType::Absolute;
  EXPECT_EQ(deep->getPath(root.get(), kType), Path("a/deep"));
  EXPECT_EQ(deep->getPath(a.get(), kType), Path("deep"));
  EXPECT_EQ(deep->getPath(b.get(), kType), Path("../a/deep"));
  EXPECT_EQ(b->getPath(deep.get(), kType), Path("../../b"));
  EXPECT_EQ(root->getPath(deep.get(), kType), Path("../.."));
  EXPECT_EQ(deep->getPath(deep.get(), kType), Path("."));
  EXPECT_EQ(root->getPath(root.get(), kType), Path("."));
}

TEST_F(ObjectTest, TheRelativePathClimbsNoFurtherThanNeeded) {
  const auto sibling = makeObject("sibling");
  a->addChild(sibling);
  EXPECT_EQ(sibling->getPath(deep.get(), RequestedPathType::Absolute), Path("../sibling"));
}

TEST_F(ObjectTest, EqualNamesOnDifferentBranchesAreNotTakenForTheSame) {
  const auto otherDeep = makeObject("deep");
  b->addChild(otherDeep);
  EXPECT_EQ(otherDeep->getPath(deep.get(), RequestedPathType::Absolute), Path("../../b/deep"));
}

TEST_F(ObjectTest, NoPathLeadsFromNowhereOrAnotherTree) {
  const auto stranger = makeObject("stranger");
  EXPECT_THROW(deep->getPath(nullptr, RequestedPathType::Absolute), ObjectException);
  EXPECT_THAT(refusal([&] { deep->getPath(stranger.get(), RequestedPathType::Absolute); }),
              AllOf(HasSubstr("\"stranger\""), HasSubstr("\"deep\"")));
}

TEST_F(ObjectTest, EveryPathLeadsBack) {
  const std::vector<ObjectPtr> all{root, a, b, deep};
  for (const auto& from : all) {
    for (const auto& to : all) {
      EXPECT_EQ(from->getObject(to->getPath(RequestedPathType::Absolute)), to);
      const Path relative = to->getPath(from.get(), RequestedPathType::Absolute);
      EXPECT_EQ(from->getObject(relative), to) << relative.toString();
    }
  }
}

TEST_F(ObjectTest, FollowsPaths) {
  EXPECT_EQ(root->getObject(Path("a/deep")), deep);
  EXPECT_EQ(deep->getObject(Path("/b")), b);
  EXPECT_EQ(deep->getObject(Path("/")), root);
  EXPECT_EQ(deep->getObject(Path(".")), deep);
  EXPECT_EQ(deep->getObject(Path("..")), a);
  EXPECT_EQ(deep->getObject(Path("../../b")), b);
  EXPECT_EQ(root->getObject(Path("a/../b")), b);
}

class ObjectDeadEndTest : public ObjectTest, public testing::WithParamInterface<std::string> {};

TEST_P(ObjectDeadEndTest, AnswersNullOrThrowsAsAsked) {
  const Path path(GetParam());
  EXPECT_EQ(a->getObject(path, GetObjectBehavior::ReturnNull), nullptr);
  EXPECT_THAT(refusal([&] { a->getObject(path, GetObjectBehavior::Throw); }),
              HasSubstr('"' + GetParam() + '"'));
  EXPECT_THROW(a->getObject(path), ObjectException) << "the default is to throw";
}

INSTANTIATE_TEST_SUITE_P(Paths, ObjectDeadEndTest,
                         testing::Values("", "none", "deep/none", "none/deep", "/none", "/deep",
                                         "/root", "../..", "/..", "../../a", "none/.."));

TEST_F(ObjectTest, AnObjectThatNoSharedPointerHoldsIsNotFound) {
  Object unshared("unshared");
  unshared.addChild(makeObject("child"));
  const auto& child = unshared.getChildren().front();
  EXPECT_EQ(child->getObject(Path(".."), GetObjectBehavior::ReturnNull), nullptr);
  EXPECT_THROW(unshared.getObject(Path("/")), ObjectException);
  EXPECT_EQ(unshared.getObject(Path("child")), child);
}

// Announcements.

TEST_F(ObjectTest, AChangeIsAnnouncedAtTheObjectThenUpToTheRoot) {
  observeAll();
  deep->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_THAT(heard, ElementsAre("deep: deep state", "a: deep state", "root: deep state"));
}

TEST_F(ObjectTest, EveryReasonIsPassedOn) {
  observe(*root);
  for (const auto reason :
       {ObjectTreeChangeReason::ChildAdded, ObjectTreeChangeReason::ChildRemoved,
        ObjectTreeChangeReason::StateChanged, ObjectTreeChangeReason::Renamed}) {
    b->emitSigTreeChanged(reason);
  }
  EXPECT_THAT(heard,
              ElementsAre("root: b added", "root: b removed", "root: b state", "root: b renamed"));
}

TEST_F(ObjectTest, AddingAChildIsAnnouncedByTheParentOnceItIsThere) {
  observeAll();
  bool thereAlready = false;
  const auto c = makeObject("c");
  a->connectToSigTreeChanged([&](const Object& changed, ObjectTreeChangeReason) {
    thereAlready = changed.getChild("c") == c && c->getParent() == a.get();
  });
  a->addChild(c);
  EXPECT_THAT(heard, ElementsAre("a: a added", "root: a added"));
  EXPECT_TRUE(thereAlready);
}

TEST_F(ObjectTest, RemovingAChildIsAnnouncedByTheParentOnceItIsGone) {
  observeAll();
  bool goneAlready = false;
  a->connectToSigTreeChanged([&](const Object& changed, ObjectTreeChangeReason) {
    goneAlready = changed.getChildren().empty() && deep->getParent() == nullptr;
  });
  a->removeChild(*deep);
  EXPECT_THAT(heard, ElementsAre("a: a removed", "root: a removed"));
  EXPECT_TRUE(goneAlready);
}

TEST_F(ObjectTest, RenamingIsAnnouncedByTheRenamedObject) {
  observeAll();
  deep->setName("deeper");
  EXPECT_THAT(heard,
              ElementsAre("deeper: deeper renamed", "a: deeper renamed", "root: deeper renamed"));
}

TEST_F(ObjectTest, ThePresentNameAgainAnnouncesNothing) {
  observeAll();
  deep->setName("deep");
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(a->getChild("deep"), deep);
}

TEST_F(ObjectTest, AThrowingSlotTakesNothingBack) {
  root->connectToSigTreeChanged(
      [](const Object&, ObjectTreeChangeReason) { throw std::runtime_error("slot"); });
  const auto c = makeObject("c");
  EXPECT_THROW(root->addChild(c), std::runtime_error);
  EXPECT_EQ(root->getChild("c"), c);
  EXPECT_THROW(root->removeChild(*a), std::runtime_error);
  EXPECT_EQ(a->getParent(), nullptr);
  EXPECT_THROW(b->setName("new"), std::runtime_error);
  EXPECT_EQ(root->getChild("new"), b);
}

TEST_F(ObjectTest, SlotsAreConnectedAtTheAskedPositionAndDisconnect) {
  const auto writing = [this](const std::string& text) {
    return [this, text](const Object&, ObjectTreeChangeReason) { heard.push_back(text); };
  };
  Signals::Connection back = a->connectToSigTreeChanged(writing("back"));
  a->connectToSigTreeChanged(writing("front"), Signals::ConnectPosition::AtFront);
  a->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  back.disconnect();
  a->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_THAT(heard, ElementsAre("front", "back", "front"));
}

TEST_F(ObjectTest, ASlotMayTakeTheObjectOutOfTheTree) {
  observe(*root);
  a->connectToSigTreeChanged([this](const Object&, ObjectTreeChangeReason reason) {
    if (reason == ObjectTreeChangeReason::StateChanged) {
      root->removeChild(*a);
    }
  });
  deep->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_THAT(heard, ElementsAre("root: root removed")) << "the root is no ancestor any more";
}

TEST_F(ObjectTest, ASlotMayDropTheWholeTree) {
  std::weak_ptr<Object> watched = root;
  deep->connectToSigTreeChanged([this](const Object&, ObjectTreeChangeReason) {
    root.reset();
    a.reset();
    b.reset();
    deep.reset();
  });
  Object& announcing = *deep;
  announcing.emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(deep, nullptr);
}

TEST_F(ObjectTest, TheAnnouncingObjectLastsUntilTheRootHasHeard) {
  observe(*root);
  a->connectToSigTreeChanged([this](const Object&, ObjectTreeChangeReason reason) {
    if (reason == ObjectTreeChangeReason::StateChanged) {
      a->removeChild(*std::exchange(deep, nullptr));
    }
  });
  Object& announcing = *deep;
  announcing.emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_THAT(heard, ElementsAre("root: a removed", "root: deep state"));
  EXPECT_EQ(a->getChild("deep"), nullptr);
}

TEST_F(ObjectTest, ASlotMayDropTheAncestorThatCallsIt) {
  std::weak_ptr<Object> watched = a;
  a->connectToSigTreeChanged([this](const Object&, ObjectTreeChangeReason) {
    root->removeChild(*std::exchange(a, nullptr));
  });
  deep->emitSigTreeChanged(ObjectTreeChangeReason::StateChanged);
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(deep->getParent(), nullptr);
}

TEST_F(ObjectTest, DestroyingAnObjectAnnouncesNothing) {
  observe(*deep);
  observe(*b);
  root.reset();
  a.reset();
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(deep->getParent(), nullptr);
}

// Exceptions.

TEST_F(ObjectTest, ObjectExceptionIsATsExceptionWithMessageAndPlace) {
  const std::source_location before = std::source_location::current();
  const ObjectException exception("message");
  EXPECT_STREQ(exception.what(), "message");
  EXPECT_EQ(exception.getSourceLocation().line(), before.line() + 1);
  const TsException& base = exception;
  EXPECT_EQ(base.getMessage(), "message");
  EXPECT_TRUE(std::is_nothrow_copy_constructible_v<ObjectException>);
  EXPECT_TRUE(std::is_nothrow_copy_assignable_v<ObjectException>);
}

TEST_F(ObjectTest, WhatTheTreeThrowsIsCaughtAsABaseException) {
  EXPECT_THROW(root->getObject(Path("none")), TsException);
  EXPECT_THROW(root->getObject(Path("none")), std::exception);
}

/// A class of the application that is an object and something else as well.
class Facet {
 public:
  virtual ~Facet() = default;
};
class FacetObject : public Facet, public Object {
 public:
  using Object::Object;
};

TEST_F(ObjectTest, DerivedClassesAreReachedByACrossCast) {
  const auto facetObject = std::make_shared<FacetObject>("facet");
  const Facet& facet = *facetObject;
  EXPECT_EQ(dynamic_cast<const Object*>(&facet), static_cast<Object*>(facetObject.get()));
  root->addChild(facetObject);
  EXPECT_EQ(std::dynamic_pointer_cast<Facet>(root->getObject(Path("facet"))), facetObject);
}

}  // namespace
}  // namespace Tessaril
