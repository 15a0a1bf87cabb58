// Applications derive from these classes and are compiled apart from the library: the place of each
// virtual operation in its class is part of the interface. A build that moves one breaks them
// without a word from the compiler.

#include <gmock/gmock.h>

#include <cstddef>
#include <cstring>

#include "tessaril/commands/ApplyCommand.h"
#include "tessaril/commands/ApplyMacroCmd.h"
#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/module/ApplyModule.h"

namespace Tessaril {
namespace {

// A pointer to a virtual member function holds the byte offset into the table of virtual functions
// (Itanium C++ ABI, 2.3): plus one in its first half, or, on ARM, with the lowest bit of its second
// half set. The table begins with the two forms of the destructor, which count as one slot.
template <typename MemberFunction>
std::ptrdiff_t slotOf(MemberFunction function) {
  struct {
    std::ptrdiff_t offset;
    std::ptrdiff_t adjustment;
  } halves{};
  static_assert(sizeof(function) == sizeof(halves));
  std::memcpy(&halves, &function, sizeof(halves));
  const bool inFirstHalf = (halves.offset & 1) != 0;
  if (!inFirstHalf && (halves.adjustment & 1) == 0) {
    return -1;  // not virtual
  }
  const auto offset = inFirstHalf ? halves.offset - 1 : halves.offset;
  return offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}

// A derived class with one virtual operation more, whose slot shows how many there were before; it
// can also name the protected operations.
struct OneMoreState : ModuleState {
  virtual void oneMore() {}
};

struct OneMoreModule : ApplyModule {
  virtual void oneMore() {}
  static auto graphChanged() { return &OneMoreModule::onApplyGraphChanged; }
};

struct OneMoreApplyCommand : ApplyCommand {
  virtual void oneMore() {}
};

struct OneMoreMacro : ApplyMacroCmd {
  virtual void oneMore() {}
  static auto prepare() { return &OneMoreMacro::prepareExecute; }
  static auto finalize() { return &OneMoreMacro::finalizeExecute; }
};

struct OneMoreUpdate : UpdateApplyModulesCmd {
  virtual void oneMore() {}
  static auto prepare() { return &OneMoreUpdate::prepareExecute; }
  static auto finalize() { return &OneMoreUpdate::finalizeExecute; }
  static auto running() { return &OneMoreUpdate::isRunning; }
  static auto prepareModule() { return &OneMoreUpdate::prepareApplyCommandAndModule; }
  static auto logMessage() { return &OneMoreUpdate::printLogMessage; }
  static auto suppressed() { return &OneMoreUpdate::isApplySuppressed; }
  static auto canceled() { return &OneMoreUpdate::shouldApplyChainBeCanceled; }
  static auto exception() { return &OneMoreUpdate::handleException; }
};

TEST(SlotOrderTest, OperationsThatAreNotVirtualHaveNoSlot) {
  EXPECT_EQ(slotOf(&ModuleState::isSkipped), -1);
  EXPECT_EQ(slotOf(&ModuleState::setFrozen), -1);
  EXPECT_EQ(slotOf(&ModuleState::setInputIsOk), -1);
  EXPECT_EQ(slotOf(&ModuleState::setSkipped), -1);
  EXPECT_EQ(slotOf(&ModuleState::setStates), -1);
  EXPECT_EQ(slotOf(&ModuleState::computeAndSetInputOk), -1);
}

template <typename State>
void expectStateSlots() {
  EXPECT_EQ(slotOf(&State::isActive), 2);
  EXPECT_EQ(slotOf(&State::isConsistent), 3);
  EXPECT_EQ(slotOf(&State::isInputOk), 4);
  EXPECT_EQ(slotOf(&State::isFrozen), 5);
  EXPECT_EQ(slotOf(&State::connectToSigStateChanged), 6);
  EXPECT_EQ(slotOf(&State::sendStateChangeSignal), 7);
  EXPECT_EQ(slotOf(&State::sendStateChangeSignalsOfFollowingModules), 8);
  EXPECT_EQ(slotOf(&State::setActive), 9);
  EXPECT_EQ(slotOf(&State::setConsistent), 10);
  EXPECT_EQ(slotOf(&State::computeIsInputOk), 11);
}

TEST(SlotOrderTest, ModuleState) {
  expectStateSlots<ModuleState>();
  EXPECT_EQ(slotOf(&OneMoreState::oneMore), 12);
}

TEST(SlotOrderTest, ApplyModule) {
  expectStateSlots<ApplyModule>();
  EXPECT_EQ(slotOf(&ApplyModule::isApplyNecessary), 12);
  EXPECT_EQ(slotOf(&ApplyModule::isApplyPossible), 13);
  EXPECT_EQ(slotOf(&ApplyModule::isAutoApplyNecessary), 14);
  EXPECT_EQ(slotOf(&ApplyModule::isAutoApplyPossible), 15);
  EXPECT_EQ(slotOf(&ApplyModule::isUpdateInfoRelevant), 16);
  EXPECT_EQ(slotOf(&ApplyModule::updateAlways), 17);
  EXPECT_EQ(slotOf(&ApplyModule::usesSharedResources), 18);
  EXPECT_EQ(slotOf(&ApplyModule::enableDesignSwitch), 19);
  EXPECT_EQ(slotOf(&ApplyModule::getSpeedRate), 20);
  EXPECT_EQ(slotOf(&ApplyModule::createApplyCommand), 21);
  EXPECT_EQ(slotOf(&ApplyModule::createAutoApplyCommand), 22);
  EXPECT_EQ(slotOf(&ApplyModule::createMessageHandlingCmd), 23);
  EXPECT_EQ(slotOf(&ApplyModule::isDependencyGraphApplyNecessary), 24);
  EXPECT_EQ(slotOf(OneMoreModule::graphChanged()), 25);
  EXPECT_EQ(slotOf(&OneMoreModule::oneMore), 26);
}

template <typename Command>
void expectCommandSlots() {
  EXPECT_EQ(slotOf(&Command::execute), 2);
  EXPECT_EQ(slotOf(&Command::undo), 3);
  EXPECT_EQ(slotOf(&Command::redo), 4);
  EXPECT_EQ(slotOf(&Command::getDescription), 5);
  EXPECT_EQ(slotOf(&Command::getSpeedRate), 6);
  EXPECT_EQ(slotOf(&Command::isRedoCapable), 7);
}

TEST(SlotOrderTest, ApplyModuleDataInterface) {
  EXPECT_EQ(slotOf(&ApplyModuleDataInterface::getUndoType), 2);
  struct OneMore : ApplyModuleDataInterface {
    virtual void oneMore() {}
  };
  EXPECT_EQ(slotOf(&OneMore::oneMore), 3);
}

TEST(SlotOrderTest, ApplyCommand) {
  expectCommandSlots<ApplyCommand>();
  EXPECT_EQ(slotOf(&ApplyCommand::doExecute), 8);
  EXPECT_EQ(slotOf(&ApplyCommand::doUndo), 9);
  EXPECT_EQ(slotOf(&OneMoreApplyCommand::oneMore), 10);
}

TEST(SlotOrderTest, ApplyMacroCmd) {
  expectCommandSlots<ApplyMacroCmd>();
  EXPECT_EQ(slotOf(OneMoreMacro::prepare()), 8);
  EXPECT_EQ(slotOf(OneMoreMacro::finalize()), 9);
  EXPECT_EQ(slotOf(&OneMoreMacro::oneMore), 10);
}

TEST(SlotOrderTest, UpdateApplyModulesCmd) {
  expectCommandSlots<UpdateApplyModulesCmd>();
  EXPECT_EQ(slotOf(OneMoreUpdate::prepare()), 8);
  EXPECT_EQ(slotOf(OneMoreUpdate::finalize()), 9);
  EXPECT_EQ(slotOf(&UpdateApplyModulesCmd::startExecution), 10);
  EXPECT_EQ(slotOf(&UpdateApplyModulesCmd::continueExecution), 11);
  EXPECT_EQ(slotOf(OneMoreUpdate::running()), 12);
  EXPECT_EQ(slotOf(&UpdateApplyModulesCmd::isApplyCommandMultiThreaded), 13);
  EXPECT_EQ(slotOf(&UpdateApplyModulesCmd::isDesignSwitchEnabled), 14);
  EXPECT_EQ(slotOf(OneMoreUpdate::prepareModule()), 15);
  EXPECT_EQ(slotOf(OneMoreUpdate::logMessage()), 16);
  EXPECT_EQ(slotOf(OneMoreUpdate::suppressed()), 17);
  EXPECT_EQ(slotOf(OneMoreUpdate::canceled()), 18);
  EXPECT_EQ(slotOf(OneMoreUpdate::exception()), 19);
  EXPECT_EQ(slotOf(&OneMoreUpdate::oneMore), 20);
}

}  // namespace
}  // namespace Tessaril
