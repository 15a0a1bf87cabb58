#include <gmock/gmock.h>

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <type_traits>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tests/module/StateLog.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/RandomGraph.h"

namespace Tessaril {
namespace {

using ::testing::IsEmpty;
using ::testing::Return;
using ::testing::Throw;
using TestSupport::graph;
using TestSupport::ModulePtr;
using TestSupport::StateLog;
using TestSupport::TestGraph;
using TestSupport::TestModule;
namespace PrivateLinks = TestSupport::PrivateLinks;

static_assert(std::is_convertible_v<ApplyModule*, ModuleState*>);
static_assert(!std::is_copy_constructible_v<ApplyModule>);
static_assert(!std::is_copy_assignable_v<ApplyModule>);
static_assert(!std::is_abstract_v<ApplyModule>);

// Link edits are the graph operations' own: a caller could not keep both ends in step.
template <typename Module>
concept HasPublicEdits = requires(Module& module) {
  module.addNextApplyModule(nullptr);
}
|| requires(Module& module) { module.addPreviousApplyModule(nullptr); }
|| requires(Module& module) { module.removeNextApplyModule(nullptr); }
|| requires(Module& module) { module.removePreviousApplyModule(nullptr); }
|| requires(Module& module) { module.replaceNextApplyModule(nullptr, nullptr); }
|| requires(Module& module) { module.replacePreviousApplyModule(nullptr, nullptr); }
|| requires(Module& module) { module.setStartOfSideChain(true); };
static_assert(!HasPublicEdits<ApplyModule>);

constexpr auto kNormalRate = static_cast<LegacyProgress::Speed::Rate>(3);

TEST(ApplyModuleTest, ANewModuleIsUnlinkedAndAnswersTheDefaults) {
  ApplyModule module;
  EXPECT_FALSE(module.isActive());
  EXPECT_TRUE(module.isConsistent());
  EXPECT_TRUE(module.isInputOk());
  EXPECT_FALSE(module.isFrozen());
  EXPECT_FALSE(module.isSkipped());

  EXPECT_THAT(module.getNextApplyModules(), IsEmpty());
  EXPECT_THAT(module.getPreviousApplyModules(), IsEmpty());
  EXPECT_EQ(module.getNextApplyModule(), nullptr);
  EXPECT_EQ(module.getPreviousApplyModule(), nullptr);
  EXPECT_FALSE(module.isAdditionalModule());
  EXPECT_FALSE(module.isStartOfSideChain());
  EXPECT_FALSE(module.hasApplyCmdFactory());
  EXPECT_EQ(module.getInsertMode(), ApplyModuleInsertInfo::AddToChain);
  EXPECT_EQ(module.getChainId(), Identifier::getInvalidId());
  EXPECT_EQ(module.getStartChainId(), Identifier::getInvalidId());
  EXPECT_THAT(module.getMergeChainIds(), IsEmpty());

  EXPECT_FALSE(module.isApplyNecessary(true));
  EXPECT_FALSE(module.isApplyNecessary(false));
  EXPECT_FALSE(module.isApplyPossible());
  EXPECT_TRUE(module.isAutoApplyNecessary());
  EXPECT_TRUE(module.isAutoApplyPossible());
  EXPECT_TRUE(module.updateAlways());
  EXPECT_FALSE(module.usesSharedResources());
  EXPECT_FALSE(module.enableDesignSwitch());
  EXPECT_EQ(module.getSpeedRate(), kNormalRate);
}

TEST(ApplyModuleTest, TheSpeedRateIsTheFieldOfTheModule) {
  ApplyModule module;
  const auto slow = static_cast<LegacyProgress::Speed::Rate>(4);
  PrivateLinks::setSpeedRate(module, slow);
  EXPECT_EQ(module.getSpeedRate(), slow);
}

TEST(ApplyModuleTest, MarksAreWrittenWithoutSignalOrHook) {
  const auto g = graph("[active] A -> B -> C");
  StateLog log;
  log.listenTo(g);
  const auto b = g.as<TestModule>("B");
  b->setAdditionalModule(true);
  PrivateLinks::setStartOfSideChain(*b, true);
  EXPECT_TRUE(b->isAdditionalModule());
  EXPECT_TRUE(b->isStartOfSideChain());
  b->setAdditionalModule(false);
  PrivateLinks::setStartOfSideChain(*b, false);
  EXPECT_FALSE(b->isAdditionalModule());
  EXPECT_FALSE(b->isStartOfSideChain());
  EXPECT_EQ(log.take(), "");
  EXPECT_EQ(b->graphChanges, 0);
}

// Links, the same in both directions

struct Direction {
  const char* name;
  const PrivateLinks::Links& (ApplyModule::*list)() const;
  ModulePtr (ApplyModule::*first)() const;
  bool (ApplyModule::*has)(ModulePtr) const;
  void (*add)(ApplyModule&, ModulePtr);
  void (*remove)(ApplyModule&, ModulePtr);
  bool (*replace)(ApplyModule&, ModulePtr, ModulePtr);
  LinkList& (*field)(ApplyModule&);
  const PrivateLinks::Links& (ApplyModule::*otherList)() const;
};

void PrintTo(const Direction& direction, std::ostream* out) { *out << direction.name; }

const Direction kDirections[] = {
    {"Next", &ApplyModule::getNextApplyModules, &ApplyModule::getNextApplyModule,
     &ApplyModule::hasNextApplyModule, PrivateLinks::addNext, PrivateLinks::removeNext,
     PrivateLinks::replaceNext, PrivateLinks::nextList, &ApplyModule::getPreviousApplyModules},
    {"Previous", &ApplyModule::getPreviousApplyModules, &ApplyModule::getPreviousApplyModule,
     &ApplyModule::hasPreviousApplyModule, PrivateLinks::addPrevious, PrivateLinks::removePrevious,
     PrivateLinks::replacePrevious, PrivateLinks::previousList, &ApplyModule::getNextApplyModules},
};

// M is the module whose list is edited; it has no links at first. The hook notes the list as it
// finds it.
class LinkTest : public ::testing::TestWithParam<Direction> {
 protected:
  LinkTest() : g(graph("M; A; B; C; D")), m(g.as<TestModule>("M")) {
    m->whenGraphChanges = [this](TestModule&) { hookSaw += "[" + list() + "]"; };
  }

  const Direction& way() const { return GetParam(); }
  std::string list() const { return g.names((m.get()->*way().list)()); }
  std::string otherList() const { return g.names((m.get()->*way().otherList)()); }
  ModulePtr first() const { return (m.get()->*way().first)(); }
  bool has(const ModulePtr& module) const { return (m.get()->*way().has)(module); }
  void add(const ModulePtr& module) { way().add(*m, module); }
  void remove(const ModulePtr& module) { way().remove(*m, module); }
  bool replace(const ModulePtr& from, const ModulePtr& to) { return way().replace(*m, from, to); }
  std::string takeHook() { return std::exchange(hookSaw, {}); }

  // Fills the list as it is, "~" being a dead entry.
  void fill(const std::vector<std::string>& names) {
    auto& links = way().field(*m);
    links.clear();
    for (const auto& name : names) {
      links.add(name == "~" ? std::make_shared<ApplyModule>() : g[name]);
    }
  }

  TestGraph g;
  std::shared_ptr<TestModule> m;
  std::string hookSaw;
};

TEST_P(LinkTest, AddAppendsAndCallsTheHookOnceAfterwards) {
  add(g["A"]);
  EXPECT_EQ(takeHook(), "[A]");
  add(g["B"]);
  EXPECT_EQ(takeHook(), "[A B]");
  EXPECT_EQ(list(), "A B");
}

TEST_P(LinkTest, AddNeverWritesTheReverseLink) {
  add(g["A"]);
  EXPECT_EQ(otherList(), "");
  EXPECT_THAT(g["A"]->getNextApplyModules(), IsEmpty());
  EXPECT_THAT(g["A"]->getPreviousApplyModules(), IsEmpty());
}

TEST_P(LinkTest, AddIgnoresNullItselfAndDuplicates) {
  fill({"A", "~", "B"});
  add(nullptr);
  add(m);
  add(g["A"]);
  add(g["B"]);
  EXPECT_EQ(list(), "A ~ B");
  fill({"A"});
  add(nullptr);
  EXPECT_EQ(list(), "A") << "null is not added where there is no dead entry either";
  EXPECT_EQ(takeHook(), "");
}

TEST_P(LinkTest, OnlyTheFirstEntryIsTheNeighbour) {
  add(g["A"]);
  add(g["B"]);
  EXPECT_EQ(first(), g["A"]);
  EXPECT_FALSE(has(nullptr));
  g.drop("A");
  EXPECT_EQ(first(), nullptr) << "although B is alive";
  EXPECT_TRUE(has(nullptr));
  EXPECT_TRUE(has(g["B"]));
  EXPECT_EQ(list(), "~ B");
}

TEST_P(LinkTest, HasComparesIdentity) {
  fill({"A", "B"});
  EXPECT_TRUE(has(g["A"]));
  EXPECT_TRUE(has(g["B"]));
  EXPECT_FALSE(has(g["C"]));
  EXPECT_FALSE(has(m));
  EXPECT_FALSE(has(nullptr));
}

TEST_P(LinkTest, RemoveErasesTheFirstMatchAndKeepsTheOrder) {
  fill({"A", "B", "C", "B"});
  remove(g["B"]);
  EXPECT_EQ(takeHook(), "[A C B]");
  EXPECT_EQ(list(), "A C B");
}

TEST_P(LinkTest, RemoveOfAModuleThatIsNotLinkedDoesNothing) {
  fill({"A", "B"});
  remove(g["C"]);
  remove(m);
  remove(nullptr);
  EXPECT_EQ(list(), "A B");
  EXPECT_EQ(takeHook(), "");
}

TEST_P(LinkTest, NullRemovesTheFirstDeadEntry) {
  fill({"A", "~", "B", "~"});
  remove(nullptr);
  EXPECT_EQ(takeHook(), "[A B ~]");
  remove(nullptr);
  EXPECT_EQ(list(), "A B");
}

TEST_P(LinkTest, ReplaceKeepsThePlace) {
  fill({"A", "B", "C", "B"});
  EXPECT_TRUE(replace(g["B"], g["D"]));
  EXPECT_EQ(takeHook(), "[A D C B]");
  EXPECT_EQ(list(), "A D C B");
}

// The graph operations have seen to duplicates when they replace, and a replaced entry has to keep
// its place: replacing is less strict than adding.
TEST_P(LinkTest, ReplaceAllowsDuplicates) {
  fill({"A", "B"});
  EXPECT_TRUE(replace(g["A"], g["B"]));
  EXPECT_EQ(list(), "B B");
  EXPECT_EQ(takeHook(), "[B B]");
}

TEST_P(LinkTest, ReplaceByNullLeavesADeadEntry) {
  fill({"A", "B"});
  EXPECT_TRUE(replace(g["A"], nullptr));
  EXPECT_EQ(list(), "~ B");
  EXPECT_EQ(takeHook(), "[~ B]");
}

TEST_P(LinkTest, ReplaceByItselfIsRefused) {
  fill({"A", "~"});
  EXPECT_FALSE(replace(g["A"], m));
  EXPECT_FALSE(replace(nullptr, m));
  EXPECT_FALSE(replace(g["C"], m));
  EXPECT_EQ(list(), "A ~");
  EXPECT_EQ(takeHook(), "");
}

TEST_P(LinkTest, ReplaceOfAModuleThatIsNotLinkedIsRefused) {
  fill({"A", "B"});
  EXPECT_FALSE(replace(g["C"], g["D"]));
  EXPECT_FALSE(replace(nullptr, g["D"]));
  EXPECT_FALSE(replace(g["C"], nullptr));
  EXPECT_EQ(list(), "A B");
  EXPECT_EQ(takeHook(), "");
}

TEST_P(LinkTest, ReplaceByTheSameModuleIsAnEdit) {
  fill({"A"});
  EXPECT_TRUE(replace(g["A"], g["A"]));
  EXPECT_EQ(takeHook(), "[A]");
}

TEST_P(LinkTest, NullReplacesTheFirstDeadEntry) {
  fill({"A", "~", "~"});
  EXPECT_TRUE(replace(nullptr, g["B"]));
  EXPECT_EQ(takeHook(), "[A B ~]");
  EXPECT_EQ(list(), "A B ~");
}

TEST_P(LinkTest, WhatTheHookThrowsReachesTheCallerWithTheListChanged) {
  fill({"A"});
  m->whenGraphChanges = [](TestModule&) { throw std::runtime_error("hook"); };
  EXPECT_THROW(add(g["B"]), std::runtime_error);
  EXPECT_EQ(list(), "A B");
  EXPECT_THROW(replace(g["B"], g["C"]), std::runtime_error);
  EXPECT_EQ(list(), "A C");
  EXPECT_THROW(remove(g["A"]), std::runtime_error);
  EXPECT_EQ(list(), "C");
  EXPECT_EQ(m->graphChanges, 3);
}

TEST_P(LinkTest, TheOtherListIsLeftAlone) {
  for (const auto& direction : kDirections) {
    direction.field(*m).add(g["A"]);
    direction.field(*m).add(g["B"]);
  }
  remove(g["A"]);
  replace(g["B"], g["C"]);
  add(g["D"]);
  EXPECT_EQ(list(), "C D");
  EXPECT_EQ(otherList(), "A B");
}

TEST_P(LinkTest, EditsAnnounceNoState) {
  StateLog log;
  log.listenTo(g);
  add(g["A"]);
  replace(g["A"], g["B"]);
  remove(g["B"]);
  EXPECT_EQ(log.take(), "");
}

// What the edits do to a list of names.
struct ListModel {
  std::vector<std::string> names;
  int edits = 0;

  void add(const std::string& name) {
    if (name != "~" && name != "M" && std::find(names.begin(), names.end(), name) == names.end()) {
      names.push_back(name);
      ++edits;
    }
  }
  void remove(const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) {
      names.erase(found);
      ++edits;
    }
  }
  bool replace(const std::string& from, const std::string& to) {
    const auto found = std::find(names.begin(), names.end(), from);
    if (to == "M" || found == names.end()) {
      return false;
    }
    *found = to;
    ++edits;
    return true;
  }
  std::string text() const {
    std::string result;
    for (const auto& name : names) {
      result += (result.empty() ? "" : " ") + name;
    }
    return result;
  }
};

TEST_P(LinkTest, RandomEditsGiveWhatAListOfNamesGives) {
  m->whenGraphChanges = nullptr;
  const std::string candidates[] = {"A", "B", "C", "D", "M", "~"};
  TestSupport::forSeeds(500, [&](std::uint64_t seed) {
    TestSupport::Random random(seed);
    ListModel model;
    fill({});
    m->graphChanges = 0;
    for (int step = 0; step < 30; ++step) {
      const auto& from = candidates[random.below(std::size(candidates))];
      const auto& to = candidates[random.below(std::size(candidates))];
      const auto module = [&](const std::string& name) { return name == "~" ? nullptr : g[name]; };
      switch (random.below(3)) {
        case 0:
          model.add(to);
          add(module(to));
          break;
        case 1:
          model.remove(from);
          remove(module(from));
          break;
        default:
          ASSERT_EQ(replace(module(from), module(to)), model.replace(from, to)) << from << to;
      }
      ASSERT_EQ(list(), model.text());
      ASSERT_EQ(m->graphChanges, model.edits);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Directions, LinkTest, ::testing::ValuesIn(kDirections),
                         [](const auto& suite) { return std::string(suite.param.name); });

TEST(ApplyModuleTest, TheHookOfAPlainModuleDoesNothing) {
  ApplyModule module;
  PrivateLinks::addNext(module, nullptr);
  const auto next = std::make_shared<ApplyModule>();
  PrivateLinks::addNext(module, next);
  EXPECT_EQ(module.getNextApplyModule(), next);
}

// Commands

class NoCommand : public CommandBase {
 public:
  void execute() override {}
  void undo() override {}
};

class NoMessage : public ApplyUpdateMessage {
 public:
  explicit NoMessage(bool isEmptyMessage = true) : empty(isEmptyMessage) {}
  std::shared_ptr<ApplyUpdateMessage> clone() const override {
    return std::make_shared<NoMessage>(*this);
  }
  bool isEmpty() const override { return empty; }
  bool isGlobal() const override { return false; }

 private:
  bool empty;
};

class MockFactory : public ApplyCmdFactory {
 public:
  MOCK_METHOD(std::shared_ptr<CommandBase>, createApplyCommand, (std::shared_ptr<Object>),
              (override));
  MOCK_METHOD(std::shared_ptr<CommandBase>, createAutoApplyCommand, (std::shared_ptr<Object>, bool),
              (override));
  MOCK_METHOD(std::shared_ptr<CommandBase>, createMessageHandlingCmd,
              (std::shared_ptr<Object>, std::shared_ptr<ApplyUpdateMessage>, bool), (override));
};

class FactoryTest : public ::testing::Test {
 protected:
  ApplyModule module;
  std::shared_ptr<MockFactory> factory = std::make_shared<::testing::StrictMock<MockFactory>>();
  std::shared_ptr<Object> object = std::make_shared<Object>("design");
  std::shared_ptr<ApplyUpdateMessage> message = std::make_shared<NoMessage>();
  std::shared_ptr<CommandBase> command = std::make_shared<NoCommand>();
};

TEST_F(FactoryTest, WithoutAFactoryThereAreNoCommands) {
  EXPECT_EQ(module.createApplyCommand(object), nullptr);
  EXPECT_EQ(module.createAutoApplyCommand(object, true), nullptr);
  EXPECT_EQ(module.createMessageHandlingCmd(object, message, true), nullptr);
}

TEST_F(FactoryTest, ArgumentsAndResultsPassThroughUnchanged) {
  module.setApplyCmdFactory(factory);
  EXPECT_TRUE(module.hasApplyCmdFactory());
  EXPECT_CALL(*factory, createApplyCommand(object)).WillOnce(Return(command));
  EXPECT_EQ(module.createApplyCommand(object), command);
  for (const bool flag : {false, true}) {
    EXPECT_CALL(*factory, createAutoApplyCommand(object, flag)).WillOnce(Return(command));
    EXPECT_EQ(module.createAutoApplyCommand(object, flag), command);
    EXPECT_CALL(*factory, createMessageHandlingCmd(object, message, flag))
        .WillOnce(Return(command));
    EXPECT_EQ(module.createMessageHandlingCmd(object, message, flag), command);
  }
  const std::shared_ptr<Object> noObject;
  EXPECT_CALL(*factory, createApplyCommand(noObject)).WillOnce(Return(nullptr));
  EXPECT_EQ(module.createApplyCommand(noObject), nullptr);
}

TEST_F(FactoryTest, TheFactoryCanBeReplacedAndRemoved) {
  module.setApplyCmdFactory(std::make_shared<::testing::StrictMock<MockFactory>>());
  module.setApplyCmdFactory(factory);
  EXPECT_CALL(*factory, createApplyCommand(object)).WillOnce(Return(command));
  EXPECT_EQ(module.createApplyCommand(object), command);
  const std::weak_ptr<MockFactory> held = factory;
  factory.reset();
  EXPECT_FALSE(held.expired()) << "the module shares the factory";
  module.setApplyCmdFactory(nullptr);
  EXPECT_FALSE(module.hasApplyCmdFactory());
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(module.createApplyCommand(object), nullptr);
}

TEST_F(FactoryTest, WhatTheFactoryThrowsReachesTheCaller) {
  module.setApplyCmdFactory(factory);
  EXPECT_CALL(*factory, createApplyCommand).WillOnce(Throw(std::runtime_error("factory")));
  EXPECT_CALL(*factory, createAutoApplyCommand).WillOnce(Throw(std::runtime_error("factory")));
  EXPECT_CALL(*factory, createMessageHandlingCmd).WillOnce(Throw(std::runtime_error("factory")));
  EXPECT_THROW(module.createApplyCommand(object), std::runtime_error);
  EXPECT_THROW(module.createAutoApplyCommand(object, false), std::runtime_error);
  EXPECT_THROW(module.createMessageHandlingCmd(object, message, false), std::runtime_error);
}

TEST(ApplyModuleTest, AnUpdateInfoIsRelevantUnlessItIsEmpty) {
  const ApplyModule module;
  const auto empty = std::make_shared<NoMessage>(true);
  const auto full = std::make_shared<NoMessage>(false);
  EXPECT_FALSE(module.isUpdateInfoRelevant(ApplyUpdateInfo()));
  EXPECT_FALSE(module.isUpdateInfoRelevant(ApplyUpdateInfo({empty, empty})));
  EXPECT_TRUE(module.isUpdateInfoRelevant(ApplyUpdateInfo({empty, full})));
  EXPECT_TRUE(module.isUpdateInfoRelevant(ApplyUpdateInfo({full})));
}

// Lifetime

TEST(ApplyModuleLifetimeTest, LinksOwnNothingAndExpireWithoutAWord) {
  auto g = graph("[active] A -> B -> C -> A; B -> B");
  StateLog log;
  log.listenTo(g);
  const std::weak_ptr<ApplyModule> b = g["B"];
  g.drop("B");
  EXPECT_TRUE(b.expired()) << "no ownership through links, not even in a circle";
  EXPECT_EQ(TestSupport::linkText(g), "A -> ~; C -> A; ~ -> C");
  EXPECT_EQ(log.take(), "");
  EXPECT_EQ(g.as<TestModule>("A")->graphChanges, 0);
  EXPECT_EQ(g.as<TestModule>("C")->graphChanges, 0);
}

TEST(ApplyModuleLifetimeTest, TheFactoryGoesBeforeTheSignal) {
  std::string order;
  struct Farewell {
    std::string& log;
    const char* name;
    ~Farewell() { log += name; }
  };
  class FarewellFactory : public ApplyCmdFactory {
   public:
    explicit FarewellFactory(std::string& log) : farewell{log, "factory "} {}
    std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object>) override {
      return nullptr;
    }
    std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object>, bool) override {
      return nullptr;
    }
    std::shared_ptr<CommandBase> createMessageHandlingCmd(std::shared_ptr<Object>,
                                                          std::shared_ptr<ApplyUpdateMessage>,
                                                          bool) override {
      return nullptr;
    }

   private:
    Farewell farewell;
  };
  auto module = std::make_unique<ApplyModule>();
  {
    const auto captured = std::make_shared<Farewell>(Farewell{order, "slot "});
    order.clear();
    module->connectToSigStateChanged([captured] { static_cast<void>(captured); });
  }
  module->setApplyCmdFactory(std::make_shared<FarewellFactory>(order));
  module.reset();
  EXPECT_EQ(order, "factory slot ");
}

TEST(ApplyModuleLifetimeTest, AnOwnerMayDropAModuleWhileItsLinkIsLocked) {
  for (int round = 0; round < 200; ++round) {
    ApplyModule module;
    auto next = std::make_shared<TestModule>("N");
    PrivateLinks::addNext(module, next);
    std::thread owner([&next] { next.reset(); });
    if (const auto locked = module.getNextApplyModule()) {
      EXPECT_TRUE(locked->isConsistent());
    }
    owner.join();
    EXPECT_EQ(module.getNextApplyModule(), nullptr);
  }
}

}  // namespace
}  // namespace Tessaril
