#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tessaril/commands/ApplyMacroCmd.h"
#include "tessaril/commands/MessageCmdFactory.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"
#include "tests/support/StoredDesign.h"

// What holds for every type of command: undo after execute restores every observable, redo after
// undo restores the executed state, and an undo that fails leaves the executed state. Observable
// are a document, and the modules with their flags and links: as text, and as the bytes of an
// archive.

namespace Tessaril {
namespace {

using TestSupport::CommandMaking;
using TestSupport::CommandScript;
using TestSupport::Document;
using TestSupport::EventLog;
using TestSupport::graphOf;
using TestSupport::makeGlobalMessage;
using TestSupport::makeMessage;
using TestSupport::makeScriptedCommand;
using TestSupport::ObjectModule;
using TestSupport::plant;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedModule;
using TestSupport::StoredDesign;

/// Everything that the commands of one subject change, and which of them are to fail at what.
struct World {
  /// Takes the place of the modules of the world's own, which commands outside of a graph change.
  void setDesign(std::shared_ptr<ScriptedDesign> design) {
    modules = {design->root, design->graph};
    modulesBefore = stored();
    updatedDesign = std::move(design);
  }

  /// Makes a script for the sub-command `name`, which writes into the document and changes the
  /// module of its name, if there is one.
  CommandScript script(const std::string& name, int undoType, bool hasData = true) {
    parts.push_back(name);
    CommandScript result;
    result.hasData = hasData;
    result.undoType = undoType;
    result.document = &document;
    result.name = name;
    result.value = "applied";
    result.whenExecuted = [this, name](ApplyUpdateInfo&) {
      failIf("execute " + name);
      changeModule(name);
    };
    result.whenUndone = [this, name](ApplyUpdateInfo&) {
      failIf("undo " + name);
      changeModuleBack(name);
    };
    result.whenRedone = [this, name] {
      failIf("redo " + name);
      changeModule(name);
    };
    result.whenAskedForUndoType = [this, name] { failIf("type " + name); };
    return result;
  }
  void failIf(const std::string& place) const {
    if (place == failing) {
      throw std::runtime_error(place);
    }
  }

  std::string stored() const { return text(modules.graph) + "\n" + storedBytes(modules.graph); }

  void changeModule(const std::string& name) {
    if (modules.graph.contains(name)) {
      ApplyModule& module = *modules.graph[name];
      EXPECT_TRUE(module.ModuleState::isConsistent()) << name << " is changed twice";
      module.ModuleState::setConsistent(false, false);
      if (updatedDesign == nullptr) {
        insertModuleBehind(name);
      }
    }
  }
  void changeModuleBack(const std::string& name) {
    if (modules.graph.contains(name)) {
      ApplyModule& module = *modules.graph[name];
      EXPECT_FALSE(module.ModuleState::isConsistent()) << name << " is changed back twice";
      module.ModuleState::setConsistent(true, false);
      if (const auto added = addedModules.extract(name)) {
        ApplyGraph::remove(added.mapped());
        modules.root->removeChild(*added.mapped());
      }
    }
  }
  void insertModuleBehind(const std::string& name) {
    const auto added = std::make_shared<ObjectModule>("behind " + name);
    modules.root->addChild(added);
    ApplyGraph::insertAfter(added, modules.graph[name]);
    addedModules[name] = added;
  }

  EventLog log;
  /// As it was before; the commands add to it.
  Document document{{"before", "x"}};
  std::vector<std::string> parts;
  std::string failing;
  StoredDesign modules = plant(graphOf<ObjectModule>("a -> b -> c -> d -> e"));
  std::map<std::string, std::shared_ptr<ObjectModule>> addedModules;
  std::string modulesBefore = stored();
  /// Null for the modules of the world's own.
  std::shared_ptr<ScriptedDesign> updatedDesign;
};

/// One type of command: how it is made and carried out.
struct Subject {
  const char* name;
  /// Gives the command in its executed state. Must not fail.
  std::function<std::shared_ptr<CommandBase>(World&)> carryOut;
  /// Sub-commands of the first pass, which stay undone when the second pass fails; for the one type
  /// that leaves the decision about stored data to the update around it.
  std::set<std::string> stayUndone{};
};

std::ostream& operator<<(std::ostream& stream, const Subject& subject) {
  return stream << subject.name;
}

std::shared_ptr<CommandBase> executed(const std::shared_ptr<CommandBase>& command) {
  command->execute();
  return command;
}

template <typename Macro>
std::shared_ptr<Macro> macroOf(World& world,
                               const std::vector<std::pair<const char*, int>>& parts) {
  auto macro = std::make_shared<Macro>();
  for (const auto& [name, undoType] : parts) {
    macro->addCommand(makeScriptedCommand(world.log, name, world.script(name, undoType)));
  }
  return macro;
}

/// A chain whose modules all handle messages.
std::shared_ptr<ScriptedDesign> designWithHandlers(World& world, int undoType) {
  auto design = std::make_shared<ScriptedDesign>("A -> B -> C");
  design->forEachModule([&](ScriptedModule& module) {
    module.message.script = world.script(module.getName(), undoType);
  });
  world.setDesign(design);
  return design;
}

std::shared_ptr<CommandBase> updated(World& world,
                                     const std::function<void(ScriptedDesign&)>& prepare,
                                     const std::vector<std::pair<const char*, int>>& undoTypes) {
  const auto design =
      std::make_shared<ScriptedDesign>("A -> B -> C -> D -> E; B -> S -> T; C -> U");
  design->needApply("A B D");
  for (const auto& [name, undoType] : undoTypes) {
    ScriptedModule& module = (*design)[name];
    CommandMaking& making = module.necessary() ? module.apply : module.autoApply;
    making.script = world.script(name, undoType);
  }
  prepare(*design);
  world.setDesign(design);
  return executed(design->update("A", "D"));
}

std::vector<Subject> subjects() {
  return {
      {"ApplyCommand",
       [](World& world) {
         return executed(makeScriptedCommand(world.log, "a", world.script("a", 3)));
       }},
      {"CommandWithoutData",
       [](World& world) {
         return executed(makeScriptedCommand(world.log, "a", world.script("a", 3, false)));
       }},
      {"ApplyMacro",
       [](World& world) {
         return executed(
             macroOf<ApplyMacroCmd>(world, {{"a", 0}, {"b", 3}, {"c", 0}, {"d", 3}, {"e", 1}}));
       }},
      {"ApplyMacroInCustomOrderOfDependentCommands",
       [](World& world) {
         const auto macro = macroOf<ApplyMacroCmd>(world, {{"a", 3}, {"b", 1}, {"c", 2}});
         macro->setUseCustomUndoOrder(true);
         return executed(macro);
       }},
      {"ApplyMacroInCustomOrderOfStorageCommands",
       [](World& world) {
         const auto macro = macroOf<ApplyMacroCmd>(world, {{"a", 0}, {"b", 0}, {"c", 0}});
         macro->setUseCustomUndoOrder(true);
         return executed(macro);
       }},
      {"ApplyMacroInCustomOrderOfBoth",
       [](World& world) {
         const auto macro = macroOf<ApplyMacroCmd>(world, {{"a", 0}, {"b", 3}, {"c", 0}, {"d", 3}});
         macro->setUseCustomUndoOrder(true);
         return executed(macro);
       },
       {"a", "c"}},
      {"MacroOfMessageCommands",
       [](World& world) {
         const auto design = designWithHandlers(world, 3);
         return executed(MessageCmdFactory::createUpdateMessageCommands(
             design->root, makeMessage(world.log, "m"), design->module("A"), nullptr));
       }},
      {"MacroOfDeliveredMessages",
       [](World& world) {
         const auto design = designWithHandlers(world, 0);
         return MessageCmdFactory::createAndExecuteUpdateMessageCommands(
             design->root, makeMessage(world.log, "m"), design->module("A"), nullptr);
       }},
      {"UpdateOfDependentCommands",
       [](World& world) {
         return updated(world, [](ScriptedDesign&) {},
                        {{"A", 3}, {"B", 3}, {"S", 3}, {"C", 3}, {"D", 3}, {"E", 3}});
       }},
      {"UpdateOfBoth",
       [](World& world) {
         return updated(world, [](ScriptedDesign&) {},
                        {{"A", 0}, {"B", 3}, {"S", 0}, {"T", 3}, {"C", 0}, {"D", 1}, {"E", 0}});
       }},
      {"UpdateThatDeliversMessages",
       [](World& world) {
         return updated(world,
                        [&](ScriptedDesign& design) {
                          const auto fail = design["A"].apply.script->whenExecuted;
                          design["A"].apply.script->whenExecuted = [&design,
                                                                    fail](ApplyUpdateInfo& info) {
                            fail(info);
                            info = ApplyUpdateInfo({makeGlobalMessage(design.log, "g")});
                          };
                          design["S"].always = false;
                          design["S"].consistent = false;
                          design["C"].possible = false;
                          design["T"].message.script = world.script("T", 3);
                        },
                        {{"A", 0}, {"B", 3}, {"S", 0}, {"C", 3}, {"D", 3}});
       }},
      {"UpdateOfMacros",
       [](World& world) {
         return updated(world,
                        [&](ScriptedDesign& design) {
                          design["B"].apply.make = [&world] {
                            return macroOf<ApplyMacroCmd>(world, {{"b1", 3}, {"b2", 0}, {"b3", 3}});
                          };
                        },
                        {{"A", 0}, {"C", 3}, {"D", 0}});
       }},
  };
}

class CommandLawsTest : public testing::TestWithParam<Subject> {
 protected:
  void expectBefore() const {
    EXPECT_EQ(world.document, before);
    EXPECT_EQ(world.stored(), world.modulesBefore);
  }
  void expectAfter() const {
    EXPECT_EQ(world.document, after);
    EXPECT_EQ(world.stored(), modulesAfter);
  }

  /// That the second pass of an undo failed, after all sub-commands of the first pass were undone.
  /// Leaves the state before.
  void expectHalfUndoneAndFinish() {
    Document expected = after;
    for (const std::string& storage : GetParam().stayUndone) {
      expected.erase(storage);
    }
    EXPECT_EQ(world.document, expected);
    world.document = before;
    for (const std::string& part : world.parts) {
      if (!GetParam().stayUndone.contains(part)) {
        world.changeModuleBack(part);
      }
    }
    expectBefore();
  }

  World world;
  const Document before = world.document;
  const std::shared_ptr<CommandBase> command = GetParam().carryOut(world);
  const Document after = world.document;
  const std::string modulesAfter = world.stored();
};

TEST_P(CommandLawsTest, ExecuteChangesSomething) {
  EXPECT_NE(after, before);
  EXPECT_EQ(after.size(), 1 + std::set<std::string>(world.parts.begin(), world.parts.end()).size());
  EXPECT_NE(modulesAfter, world.modulesBefore);
}

TEST_P(CommandLawsTest, UndoRestoresWhatWasBefore) {
  command->undo();
  expectBefore();
}

TEST_P(CommandLawsTest, RedoRestoresTheExecutedStateAgainAndAgain) {
  for (int i = 0; i < 3; ++i) {
    command->undo();
    expectBefore();
    command->redo();
    expectAfter();
  }
}

TEST_P(CommandLawsTest, AFailingUndoLeavesTheExecutedState) {
  for (const char* place : {"undo ", "type "}) {
    for (const std::string& part : world.parts) {
      SCOPED_TRACE(place + part);
      world.failing = place + part;
      bool failed = false;
      try {
        command->undo();
      } catch (const std::exception& e) {
        failed = true;
        EXPECT_EQ(e.what(), world.failing);
      }
      world.failing.clear();
      const bool inSecondPass = std::string(place) == "undo " && !GetParam().stayUndone.empty() &&
                                !GetParam().stayUndone.contains(part);
      if (!failed) {
        // Nobody asks for types where they do not matter.
        EXPECT_EQ(std::string(place), "type ");
        expectBefore();
      } else if (inSecondPass) {
        // It can be redone when what stayed undone has been executed, as the update around it does.
        expectHalfUndoneAndFinish();
      } else {
        // It can be undone once the reason is gone.
        expectAfter();
        command->undo();
        expectBefore();
      }
      command->redo();
      expectAfter();
    }
  }
}

TEST_P(CommandLawsTest, AFailingRedoLeavesTheUndoneState) {
  command->undo();
  for (const std::string& part : world.parts) {
    SCOPED_TRACE(part);
    world.failing = "redo " + part;
    EXPECT_THROW(command->redo(), std::exception);
    expectBefore();
  }
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandLawsTest, testing::ValuesIn(subjects()),
                         [](const auto& subject) { return std::string(subject.param.name); });

}  // namespace
}  // namespace Tessaril
