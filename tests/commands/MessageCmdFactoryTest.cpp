#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tessaril/commands/ApplyMacroCmd.h"
#include "tessaril/commands/MessageCmdFactory.h"
#include "tests/support/ScriptedDesign.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril {
namespace {

using TestSupport::CommandScript;
using TestSupport::dataOf;
using TestSupport::EventKind;
using TestSupport::makeMessage;
using TestSupport::messageTexts;
using TestSupport::ScriptedDesign;
using TestSupport::ScriptedMessage;
using TestSupport::ScriptedModule;
using TestSupport::whatIsThrownBy;

using MessagePtr = std::shared_ptr<ApplyUpdateMessage>;

std::string textOf(const MessagePtr& message) {
  return dynamic_cast<const ScriptedMessage&>(*message).text;
}

const ApplyUpdateMessage* onlyMessageOf(const std::shared_ptr<CommandBase>& command) {
  const auto messages = dataOf(command).getUpdateInfo().getAllUpdateMessages();
  EXPECT_EQ(messages.size(), 1U);
  return messages.empty() ? nullptr : messages.front().get();
}

/// A chain of three modules that all handle messages and remember which message object they got.
class MessageCmdFactoryTest : public testing::Test {
 protected:
  MessageCmdFactoryTest() {
    design.forEachModule([this](ScriptedModule& module) {
      module.message.script.emplace();
      module.message.whenGivenMessage = [this](const MessagePtr& given) {
        givenMessages.push_back(given);
      };
    });
    design.log.alsoHear({EventKind::Creation});
  }

  std::shared_ptr<MacroCommand> create(std::string_view first, std::string_view second = {}) {
    return MessageCmdFactory::createUpdateMessageCommands(
        design.root, message, design.module(first), design.module(second));
  }
  std::shared_ptr<MacroCommand> createAndExecute(std::string_view first,
                                                 std::string_view second = {}) {
    return MessageCmdFactory::createAndExecuteUpdateMessageCommands(
        design.root, message, design.module(first), design.module(second));
  }
  std::string givenTexts() const {
    std::string texts;
    for (const auto& given : givenMessages) {
      texts += (texts.empty() ? "" : " ") + textOf(given);
    }
    return texts;
  }
  /// The texts of the messages that the sub-commands carry.
  static std::string carriedTexts(const MacroCommand& macro) {
    std::string texts;
    for (const auto& command : macro.getCommands()) {
      texts += (texts.empty() ? "" : " ") + messageTexts(dataOf(command).getUpdateInfo());
    }
    return texts;
  }
  static std::string descriptions(const MacroCommand& macro) {
    std::string texts;
    for (const auto& command : macro.getCommands()) {
      texts += (texts.empty() ? "" : " ") + command->getDescription();
    }
    return texts;
  }

  ScriptedDesign design{"A -> B -> C"};
  std::shared_ptr<ScriptedMessage> message = makeMessage(design.log, "m");
  std::vector<MessagePtr> givenMessages;
};

// --- Creating -----------------------------------------------------------------------------------

TEST_F(MessageCmdFactoryTest, CreatesACommandForEachModuleInOrderAndExecutesNothing) {
  const auto macro = create("A");
  EXPECT_EQ(design.log.take(), "A:makeMessage B:makeMessage C:makeMessage");
  EXPECT_EQ(descriptions(*macro), "A:message B:message C:message");
}

TEST_F(MessageCmdFactoryTest, CreatesAPlainMacroWithoutDescriptionOfItsOwn) {
  const auto macro = create("A");
  EXPECT_EQ(dynamic_cast<ApplyMacroCmd*>(macro.get()), nullptr);
  EXPECT_EQ(dynamic_cast<ApplyModuleDataInterface*>(macro.get()), nullptr);
}

TEST_F(MessageCmdFactoryTest, HandsTheDesignObjectOn) {
  create("A");
  EXPECT_EQ(design["A"].objectGiven.lock(), design.root);
  EXPECT_EQ(design["C"].objectGiven.lock(), design.root);
}

TEST_F(MessageCmdFactoryTest, CreatesForTheRangeBetweenFirstAndSecondOnly) {
  EXPECT_EQ(descriptions(*create("B")), "B:message C:message");
  EXPECT_EQ(descriptions(*create("A", "B")), "A:message B:message");
  EXPECT_EQ(descriptions(*create("B", "B")), "B:message");
}

TEST_F(MessageCmdFactoryTest, AnswersAnEmptyMacroWhereNobodyHandlesMessages) {
  design.forEachModule([](ScriptedModule& module) { module.message.script.reset(); });
  const auto macro = create("A");
  ASSERT_NE(macro, nullptr);
  EXPECT_TRUE(macro->empty());
  const auto executed = createAndExecute("A");
  ASSERT_NE(executed, nullptr);
  EXPECT_TRUE(executed->empty());
}

TEST_F(MessageCmdFactoryTest, AnswersAnEmptyMacroForNoModule) {
  EXPECT_TRUE(create({})->empty());
  EXPECT_TRUE(createAndExecute({})->empty());
}

// Each module works on a message of its own, made from that of the module before it.
TEST_F(MessageCmdFactoryTest, CreatesWithClonesOfClones) {
  const auto macro = create("A");
  EXPECT_EQ(givenTexts(), "m' m'' m'''");
  EXPECT_EQ(carriedTexts(*macro), "m'' m''' m''''");
  EXPECT_EQ(message->text, "m");
}

TEST_F(MessageCmdFactoryTest, HandsTheCallersMessageToNobodyAndNoMessageTwice) {
  const auto macro = create("A");
  std::set<const ApplyUpdateMessage*> seen{message.get()};
  for (const auto& given : givenMessages) {
    EXPECT_TRUE(seen.insert(given.get()).second);
  }
  for (const auto& command : macro->getCommands()) {
    EXPECT_TRUE(seen.insert(onlyMessageOf(command)).second);
  }
  EXPECT_EQ(seen.size(), 7U);
}

// What a module changes in its message while it makes its command goes on to all behind it.
TEST_F(MessageCmdFactoryTest, CreatesWithWhatTheModulesBeforeMadeOfTheMessage) {
  design["A"].message.whenGivenMessage = [](const MessagePtr& given) {
    dynamic_cast<ScriptedMessage&>(*given).text = "changed";
  };
  const auto macro = create("A");
  EXPECT_EQ(carriedTexts(*macro), "changed' changed'' changed'''");
}

TEST_F(MessageCmdFactoryTest, AModuleWithoutACommandStillTakesAClone) {
  design["B"].message.script.reset();
  const auto macro = create("A");
  EXPECT_EQ(descriptions(*macro), "A:message C:message");
  EXPECT_EQ(givenTexts(), "m' m'' m'''");
  EXPECT_EQ(carriedTexts(*macro), "m'' m''''");
}

TEST_F(MessageCmdFactoryTest, AddsACommandWithoutModuleDataUnchanged) {
  design["B"].message.script->hasData = false;
  const auto macro = create("A");
  EXPECT_EQ(descriptions(*macro), "A:message B:message C:message");
  EXPECT_EQ(macro->getCommands()[1], design["B"].madeCommands[0]);
}

TEST_F(MessageCmdFactoryTest, ReplacesTheMessagesThatACommandHeldBefore) {
  design["A"].message.make = [this] {
    auto command = TestSupport::makeScriptedCommand(design.log, "made", {});
    dataOf(command).setUpdateInfo(
        ApplyUpdateInfo({makeMessage(design.log, "x"), makeMessage(design.log, "y")}));
    return command;
  };
  EXPECT_EQ(carriedTexts(*create("A", "A")), "m''");
  EXPECT_EQ(carriedTexts(*createAndExecute("A", "A")), "m'");
}

TEST_F(MessageCmdFactoryTest, AddsBehindWhatTheMacroHolds) {
  MacroCommand macro;
  const auto earlier = TestSupport::makeScriptedCommand(design.log, "earlier", {});
  macro.addCommand(earlier);
  MessageCmdFactory::addUpdateMessageCommands(design.root, message, macro, design.module("B"),
                                              nullptr);
  EXPECT_EQ(descriptions(macro), "earlier B:message C:message");
}

TEST_F(MessageCmdFactoryTest, GoesOnIntoSideChainsInOrder) {
  ScriptedDesign forked("A -> B -> D; A -> S -> T; A -> C -> D");
  forked.forEachModule([](ScriptedModule& module) { module.message.script.emplace(); });
  const auto macro = MessageCmdFactory::createUpdateMessageCommands(
      forked.root, message, forked.module("A"), forked.module("D"));
  EXPECT_EQ(descriptions(*macro), "A:message B:message S:message C:message D:message T:message");
}

TEST_F(MessageCmdFactoryTest, KeepsWhatWasAddedWhenAModuleThrows) {
  design["C"].message.whenMade = [] { throw std::runtime_error("no command"); };
  MacroCommand macro;
  EXPECT_EQ(whatIsThrownBy([&] {
              MessageCmdFactory::addUpdateMessageCommands(design.root, message, macro,
                                                          design.module("A"), nullptr);
            }),
            "std: no command");
  EXPECT_EQ(descriptions(macro), "A:message B:message");
}

TEST_F(MessageCmdFactoryTest, KeepsWhatWasAddedWhenAMessageCannotBeCloned) {
  int clones = 0;
  message->whenCloned = [&clones] {
    if (++clones == 3) {
      throw 7;
    }
  };
  MacroCommand macro;
  EXPECT_EQ(whatIsThrownBy([&] {
              MessageCmdFactory::addUpdateMessageCommands(design.root, message, macro,
                                                          design.module("A"), nullptr);
            }),
            "int: 7");
  EXPECT_EQ(descriptions(macro), "A:message");
  EXPECT_EQ(design.log.take(), "A:makeMessage");
}

// --- Creating and executing ---------------------------------------------------------------------

TEST_F(MessageCmdFactoryTest, ExecutesEachCommandBeforeTheNextIsMade) {
  const auto macro = createAndExecute("A");
  EXPECT_EQ(design.log.take(),
            "A:makeMessage A:message(m) B:makeMessage B:message(m) C:makeMessage C:message(m)");
  EXPECT_EQ(descriptions(*macro), "A:message B:message C:message");
}

// The modules get clones to make their commands from; the commands carry clones of the message as
// the caller sent it.
TEST_F(MessageCmdFactoryTest, ExecutesWithClonesOfTheCallersMessage) {
  const auto macro = createAndExecute("A");
  EXPECT_EQ(givenTexts(), "m' m' m'");
  EXPECT_EQ(carriedTexts(*macro), "m' m' m'");
  std::set<const ApplyUpdateMessage*> seen{message.get()};
  for (const auto& given : givenMessages) {
    EXPECT_TRUE(seen.insert(given.get()).second);
  }
  for (const auto& command : macro->getCommands()) {
    EXPECT_TRUE(seen.insert(onlyMessageOf(command)).second);
  }
}

TEST_F(MessageCmdFactoryTest, ExecutesWithTheMessageAsItWasSentWhateverModulesMadeOfTheirCopies) {
  design["A"].message.whenGivenMessage = [](const MessagePtr& given) {
    dynamic_cast<ScriptedMessage&>(*given).text = "changed";
  };
  const auto macro = createAndExecute("A");
  EXPECT_EQ(carriedTexts(*macro), "m' m' m'");
}

TEST_F(MessageCmdFactoryTest, ExecutesCommandsWithoutModuleDataAndPassesOverMissingOnes) {
  design["A"].message.script->hasData = false;
  design["B"].message.script.reset();
  const auto macro = createAndExecute("A");
  EXPECT_EQ(design.log.take(), "A:makeMessage A:message B:makeMessage C:makeMessage C:message(m)");
  EXPECT_EQ(descriptions(*macro), "A:message C:message");
}

TEST_F(MessageCmdFactoryTest, ExecutesWithinTheRangeOnly) {
  createAndExecute("A", "B");
  EXPECT_EQ(design.log.take(), "A:makeMessage A:message(m) B:makeMessage B:message(m)");
}

TEST_F(MessageCmdFactoryTest, ExecutedCommandsAreUndoneByUndoType) {
  design["A"].message.script->undoType = 0;
  design["C"].message.script->undoType = 0;
  const auto macro = createAndExecute("A");
  const auto* applyMacro = dynamic_cast<ApplyMacroCmd*>(macro.get());
  ASSERT_NE(applyMacro, nullptr);
  EXPECT_TRUE(applyMacro->getUseCustomUndoOrder());
  EXPECT_EQ(design.undo(*macro), "C:message~ A:message~ B:message~");
}

TEST_F(MessageCmdFactoryTest, AFailingCommandEndsTheDelivery) {
  design["B"].message.script->whenExecuted = [](ApplyUpdateInfo&) {
    throw std::runtime_error("not understood");
  };
  EXPECT_EQ(whatIsThrownBy([this] { createAndExecute("A"); }), "std: not understood");
  // What ran is not undone here: that is the caller's concern.
  EXPECT_EQ(design.log.take(), "A:makeMessage A:message(m) B:makeMessage B:message(m)");
}

TEST_F(MessageCmdFactoryTest, AFailingFactoryEndsTheDelivery) {
  design["B"].message.whenMade = [] { throw 7; };
  EXPECT_EQ(whatIsThrownBy([this] { createAndExecute("A"); }), "int: 7");
  EXPECT_EQ(design.log.take(), "A:makeMessage A:message(m) B:makeMessage");
}

// The message is cloned for the module first, and for the command afterwards.
TEST_F(MessageCmdFactoryTest, ClonesForTheModuleAndThenForTheCommand) {
  design.log.alsoHear({EventKind::Message});
  createAndExecute("A", "A");
  EXPECT_EQ(design.log.take(), "m:clone A:makeMessage m:clone A:message(m)");
  create("A", "A");
  EXPECT_EQ(design.log.take(), "m:clone A:makeMessage m':clone");
}

TEST_F(MessageCmdFactoryTest, DoesNotCloneForACommandThatIsMissing) {
  design.log.alsoHear({EventKind::Message});
  design["A"].message.script.reset();
  createAndExecute("A", "A");
  EXPECT_EQ(design.log.take(), "m:clone A:makeMessage");
}

}  // namespace
}  // namespace Tessaril
