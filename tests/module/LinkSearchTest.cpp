#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/TestModule.h"

// How a module finds its neighbours: by address, whatever ownership the pointers to them share.

namespace Tessaril {
namespace {

using TestSupport::TestModule;
namespace PrivateLinks = TestSupport::PrivateLinks;
using ModulePtr = std::shared_ptr<ApplyModule>;

/// An object of a design that has its steps as members, so that all of them share its ownership.
struct Assembly {
  TestModule first{"first"};
  TestModule second{"second"};
  TestModule third{"third"};
};

class LinkSearchTest : public testing::Test {
 protected:
  ModulePtr member(TestModule Assembly::*step) const {
    return ModulePtr(assembly, &((*assembly).*step));
  }
  /// The module by a pointer that shares the ownership of something else.
  ModulePtr foreign(const ModulePtr& module) { return ModulePtr(owner, module.get()); }

  std::string next() const {
    std::string names;
    for (const auto& link : hub->getNextApplyModules()) {
      const auto module = link.lock();
      names += (names.empty() ? "" : " ") +
               (module == nullptr ? "~" : dynamic_cast<TestModule&>(*module).getModuleName());
    }
    return names;
  }

  std::shared_ptr<Assembly> assembly = std::make_shared<Assembly>();
  std::shared_ptr<int> owner = std::make_shared<int>(0);
  std::shared_ptr<TestModule> hub = std::make_shared<TestModule>("hub");
  ModulePtr a = std::make_shared<TestModule>("a");
  ModulePtr b = std::make_shared<TestModule>("b");
};

TEST_F(LinkSearchTest, TellsModulesOfOneOwnerApart) {
  const ModulePtr first = member(&Assembly::first);
  const ModulePtr second = member(&Assembly::second);
  const ModulePtr third = member(&Assembly::third);
  PrivateLinks::addNext(*hub, first);
  PrivateLinks::addNext(*hub, second);
  EXPECT_EQ(next(), "first second");
  EXPECT_FALSE(hub->hasNextApplyModule(third));
  EXPECT_TRUE(PrivateLinks::replaceNext(*hub, second, third));
  EXPECT_EQ(next(), "first third");
  PrivateLinks::removeNext(*hub, second);
  EXPECT_EQ(next(), "first third");
  PrivateLinks::removeNext(*hub, third);
  EXPECT_EQ(next(), "first");
  EXPECT_EQ(hub->graphChanges, 4);
}

TEST_F(LinkSearchTest, FindsAModuleByAPointerOfAnotherOwner) {
  PrivateLinks::addNext(*hub, a);
  PrivateLinks::addNext(*hub, b);
  EXPECT_TRUE(hub->hasNextApplyModule(foreign(b)));
  PrivateLinks::addNext(*hub, foreign(b));
  EXPECT_EQ(next(), "a b") << "there already";
  EXPECT_TRUE(PrivateLinks::replaceNext(*hub, foreign(a), member(&Assembly::first)));
  EXPECT_EQ(next(), "first b");
  PrivateLinks::removeNext(*hub, foreign(b));
  EXPECT_EQ(next(), "first");
}

TEST_F(LinkSearchTest, FindsAModuleThatWasLinkedByAPointerOfAnotherOwner) {
  PrivateLinks::addNext(*hub, foreign(a));
  EXPECT_TRUE(hub->hasNextApplyModule(a));
  PrivateLinks::addNext(*hub, a);
  EXPECT_EQ(next(), "a");
  PrivateLinks::removeNext(*hub, a);
  EXPECT_EQ(next(), "");
}

TEST_F(LinkSearchTest, AnEntryExpiresWithItsOwnOwner) {
  PrivateLinks::addNext(*hub, foreign(a));
  owner.reset();
  EXPECT_FALSE(hub->hasNextApplyModule(a));
  EXPECT_TRUE(hub->hasNextApplyModule(nullptr));
  PrivateLinks::addNext(*hub, a);
  EXPECT_EQ(next(), "~ a");
}

// Entries for one module twice come from replacing.
TEST_F(LinkSearchTest, TheFirstEntryForAModuleIsFoundWhateverItsOwner) {
  PrivateLinks::addNext(*hub, b);
  PrivateLinks::addNext(*hub, a);
  PrivateLinks::replaceNext(*hub, b, foreign(a));
  ASSERT_EQ(next(), "a a");
  PrivateLinks::replaceNext(*hub, a, b);
  EXPECT_EQ(next(), "b a");
}

TEST_F(LinkSearchTest, NullFindsTheFirstExpiredEntry) {
  PrivateLinks::addNext(*hub, a);
  PrivateLinks::addNext(*hub, std::make_shared<TestModule>("gone"));
  PrivateLinks::addNext(*hub, std::make_shared<TestModule>("gone"));
  ASSERT_EQ(next(), "a ~ ~");
  EXPECT_TRUE(PrivateLinks::replaceNext(*hub, nullptr, b));
  EXPECT_EQ(next(), "a b ~");
  PrivateLinks::removeNext(*hub, nullptr);
  EXPECT_EQ(next(), "a b");
  EXPECT_FALSE(hub->hasNextApplyModule(nullptr));
}

TEST_F(LinkSearchTest, NullIsNullWhateverItKeepsAlive) {
  const ModulePtr null(owner, nullptr);
  PrivateLinks::addNext(*hub, null);
  EXPECT_EQ(next(), "");
  PrivateLinks::addNext(*hub, a);
  EXPECT_FALSE(hub->hasNextApplyModule(null));
  EXPECT_TRUE(PrivateLinks::replaceNext(*hub, a, null));
  EXPECT_EQ(next(), "~");
  EXPECT_TRUE(hub->hasNextApplyModule(nullptr));
  EXPECT_TRUE(hub->hasNextApplyModule(null));
}

TEST_F(LinkSearchTest, APointerWithoutOwnerFindsTheModuleOfAnEntry) {
  const ModulePtr borrowed(ModulePtr(), a.get());
  PrivateLinks::addNext(*hub, std::make_shared<TestModule>("gone"));
  EXPECT_FALSE(hub->hasNextApplyModule(borrowed));
  PrivateLinks::addNext(*hub, a);
  EXPECT_TRUE(hub->hasNextApplyModule(borrowed));
}

// Of a module between two others, as in a chain, which are dropped by hooks while it is removed.
class RemovalFromAChainTest : public testing::Test {
 protected:
  RemovalFromAChainTest() {
    ApplyGraph::insert(middle, previous, next, false);
    ApplyGraph::insert(before, nullptr, previous, false);
  }

  std::shared_ptr<TestModule> before = std::make_shared<TestModule>("before");
  std::shared_ptr<TestModule> previous = std::make_shared<TestModule>("previous");
  std::shared_ptr<TestModule> middle = std::make_shared<TestModule>("middle");
  std::shared_ptr<TestModule> next = std::make_shared<TestModule>("next");
};

TEST_F(RemovalFromAChainTest, LeavesOutANextModuleThatAHookDrops) {
  const std::weak_ptr<TestModule> dropped = next;
  bool wasGoneAtTheNextHook = false;
  previous->whenGraphChanges = [&](TestModule& /*module*/) { next.reset(); };
  middle->whenGraphChanges = [&](TestModule& /*module*/) {
    wasGoneAtTheNextHook = dropped.expired();
  };
  ApplyGraph::remove(middle);
  EXPECT_TRUE(wasGoneAtTheNextHook);
  EXPECT_TRUE(previous->getNextApplyModules().empty());
  EXPECT_TRUE(middle->getPreviousApplyModules().empty());
  // What had gone by then is left where it was.
  EXPECT_EQ(middle->getNextApplyModules().size(), 1U);
}

TEST_F(RemovalFromAChainTest, LeavesOutANextModuleThatIsDroppedOnceItIsLinked) {
  const std::weak_ptr<TestModule> dropped = next;
  previous->whenGraphChanges = [&](TestModule& module) {
    if (module.hasNextApplyModule(next)) {
      next.reset();
    }
  };
  ApplyGraph::remove(middle);
  EXPECT_TRUE(dropped.expired());
  EXPECT_EQ(previous->getNextApplyModules().size(), 1U);
  EXPECT_EQ(middle->getNextApplyModules().size(), 1U);
}

TEST_F(RemovalFromAChainTest, LeavesOutAPreviousModuleThatAHookOfTheNextOneDrops) {
  const std::weak_ptr<TestModule> dropped = previous;
  bool wasGoneAtTheNextHook = false;
  next->whenGraphChanges = [&](TestModule& /*module*/) { previous.reset(); };
  middle->whenGraphChanges = [&](TestModule& /*module*/) {
    wasGoneAtTheNextHook = dropped.expired();
  };
  ApplyGraph::remove(middle);
  EXPECT_TRUE(wasGoneAtTheNextHook);
  EXPECT_TRUE(next->getPreviousApplyModules().empty());
  EXPECT_EQ(next->graphChanges, 2) << "linked once, taken out once";
}

TEST_F(RemovalFromAChainTest, EndsWithAPreviousModuleThatDropsItself) {
  const std::weak_ptr<TestModule> dropped = previous;
  int calls = 0;
  previous->whenGraphChanges = [&](TestModule& /*module*/) {
    previous.reset();
    ++calls;
  };
  ApplyGraph::remove(middle);
  EXPECT_EQ(calls, 2) << "it is held until it has been linked";
  EXPECT_TRUE(dropped.expired());
  EXPECT_TRUE(next->getPreviousApplyModules().empty());
  EXPECT_TRUE(middle->getNextApplyModules().empty());
}

TEST_F(RemovalFromAChainTest, LeavesOutANextModuleThatGoesWithThePreviousOne) {
  const std::weak_ptr<TestModule> dropped = next;
  previous->whenGraphChanges = [&, owned = std::exchange(next, nullptr)](TestModule& /*module*/) {
    previous.reset();
  };
  ApplyGraph::remove(middle);
  EXPECT_TRUE(dropped.expired());
  EXPECT_EQ(middle->getNextApplyModules().size(), 1U);
}

TEST_F(RemovalFromAChainTest, EndsWithAModuleOnBothSidesThatDropsItself) {
  ApplyGraph::insert(previous, middle, nullptr, false);
  PrivateLinks::removeNext(*middle, next);
  ASSERT_EQ(middle->getNextApplyModule(), previous);
  const std::weak_ptr<TestModule> dropped = previous;
  previous->whenGraphChanges = [&](TestModule& /*module*/) { previous.reset(); };
  ApplyGraph::remove(middle);
  EXPECT_TRUE(dropped.expired());
  EXPECT_TRUE(middle->getPreviousApplyModules().empty());
  EXPECT_EQ(middle->getNextApplyModules().size(), 1U);
}

TEST_F(RemovalFromAChainTest, LeavesOutAModuleWhoseOwnerIsThatOfTheOtherOneToo) {
  auto assembly = std::make_shared<Assembly>();
  const std::weak_ptr<Assembly> dropped = assembly;
  const auto added = std::make_shared<TestModule>("added");
  ApplyGraph::insert(added, ModulePtr(assembly, &assembly->first),
                     ModulePtr(assembly, &assembly->second), false);
  assembly->first.whenGraphChanges = [&](TestModule& /*module*/) { assembly.reset(); };
  ApplyGraph::remove(added);
  EXPECT_TRUE(dropped.expired());
  EXPECT_TRUE(added->getPreviousApplyModules().empty());
  EXPECT_EQ(added->getNextApplyModules().size(), 1U);
}

// So many that duplicates are no longer looked up one by one.
class ManyLinksTest : public LinkSearchTest {
 protected:
  ManyLinksTest() {
    for (int i = 0; i < 60; ++i) {
      many.push_back(std::make_shared<TestModule>("n" + std::to_string(i)));
      PrivateLinks::nextList(*hub).add(many.back());
      PrivateLinks::previousList(*many.back()).add(hub);
    }
  }

  std::vector<ModulePtr> many;
  std::shared_ptr<TestModule> inserted = std::make_shared<TestModule>("inserted");
};

TEST_F(ManyLinksTest, EntriesOfOtherOwnersAreDuplicates) {
  for (const auto& module : many) {
    PrivateLinks::nextList(*hub).add(foreign(module));
  }
  ApplyGraph::insertAfter(inserted, hub);
  EXPECT_EQ(inserted->getNextApplyModules().size(), many.size());
  EXPECT_EQ(inserted->graphChanges, static_cast<int>(many.size()) + 1);
}

TEST_F(ManyLinksTest, AModuleWhoseEntryExpiredMeanwhileIsNoDuplicate) {
  // Behind all others stands the first one once more. Its entry by way of the other owner expires
  // before its turn comes.
  PrivateLinks::nextList(*hub).set(0, foreign(many.front()));
  PrivateLinks::nextList(*hub).add(many.front());
  inserted->whenGraphChanges = [this](TestModule& module) {
    if (module.getNextApplyModules().size() == 40) {
      owner.reset();
    }
  };
  ApplyGraph::insertAfter(inserted, hub);
  ASSERT_EQ(inserted->getNextApplyModules().size(), many.size() + 1);
  EXPECT_TRUE(inserted->getNextApplyModules().front().expired());
  EXPECT_EQ(inserted->getNextApplyModules().back().lock(), many.front());
}

TEST_F(ManyLinksTest, AModuleThatAHookDropsIsLeftOut) {
  const auto parent = std::make_shared<TestModule>("parent");
  ApplyGraph::insert(hub, parent, nullptr, false);
  parent->whenGraphChanges = [this](TestModule& module) {
    if (module.getNextApplyModules().size() == 20) {
      many.erase(many.begin() + 10, many.begin() + 50);
    }
  };
  ApplyGraph::remove(hub);
  // Ten entries have expired, thirty modules were never linked.
  EXPECT_EQ(parent->getNextApplyModules().size(), 30U);
  EXPECT_TRUE(parent->hasNextApplyModule(many.front()));
  EXPECT_TRUE(parent->hasNextApplyModule(many.back()));
  // What had gone by then is left where it was.
  EXPECT_EQ(hub->getNextApplyModules().size(), 40U);
  EXPECT_FALSE(hub->hasNextApplyModule(many.front()));
  EXPECT_FALSE(hub->hasNextApplyModule(many.back()));
}

TEST_F(ManyLinksTest, HooksSeeEachEntryGo) {
  std::vector<std::size_t> sizes;
  std::vector<std::string> firsts;
  hub->whenGraphChanges = [&](TestModule& module) {
    sizes.push_back(module.getNextApplyModules().size());
    if (const auto first = module.getNextApplyModule()) {
      firsts.push_back(dynamic_cast<TestModule&>(*first).getModuleName());
    }
    EXPECT_FALSE(module.hasNextApplyModule(many[many.size() - 1 - sizes.back()]));
  };
  ApplyGraph::remove(hub);
  ASSERT_EQ(sizes.size(), many.size());
  for (std::size_t i = 0; i < many.size(); ++i) {
    EXPECT_EQ(sizes[i], many.size() - 1 - i);
  }
  ASSERT_EQ(firsts.size(), many.size() - 1);
  EXPECT_EQ(firsts.front(), "n1");
  EXPECT_EQ(firsts.back(), "n59");
}

}  // namespace
}  // namespace Tessaril
