#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tessaril/platform/command_pattern/CommandBase.h"
#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"
#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/framework_interfaces/ModuleStateInterface.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {
namespace {

using testing::ElementsAre;

/// The place of a virtual operation in its class's table, as the common C++ ABI encodes it in a
/// pointer to member. A destructor takes two places.
template <typename Operation>
std::size_t placeOf(Operation operation) {
  std::uintptr_t encoded = 0;
  std::memcpy(&encoded, &operation, sizeof(encoded));
  return encoded / sizeof(void*);
}

// The library's classes were laid out against these tables, so their order is fixed.

TEST(ModuleStateInterfaceTest, OperationsStandInTheirPlaces) {
  using Interface = ModuleStateInterface;
  EXPECT_EQ(placeOf(&Interface::isActive), 2U);
  EXPECT_EQ(placeOf(&Interface::isConsistent), 3U);
  EXPECT_EQ(placeOf(&Interface::isInputOk), 4U);
  EXPECT_EQ(placeOf(&Interface::isFrozen), 5U);
  EXPECT_EQ(placeOf(&Interface::connectToSigStateChanged), 6U);
  EXPECT_EQ(placeOf(&Interface::sendStateChangeSignal), 7U);
  EXPECT_EQ(placeOf(&Interface::sendStateChangeSignalsOfFollowingModules), 8U);
  EXPECT_EQ(placeOf(&Interface::setActive), 9U);
  EXPECT_EQ(placeOf(&Interface::setConsistent), 10U);
  EXPECT_EQ(placeOf(&Interface::computeIsInputOk), 11U);
}

TEST(ApplyCmdFactoryTest, OperationsStandInTheirPlaces) {
  EXPECT_EQ(placeOf(&ApplyCmdFactory::createApplyCommand), 2U);
  EXPECT_EQ(placeOf(&ApplyCmdFactory::createAutoApplyCommand), 3U);
  EXPECT_EQ(placeOf(&ApplyCmdFactory::createMessageHandlingCmd), 4U);
}

template <typename Interface>
class InterfaceTest : public testing::Test {};

using Interfaces =
    testing::Types<ModuleStateInterface, ApplyCmdFactory, ApplyCacheInterface, ApplyUpdateMessage>;
TYPED_TEST_SUITE(InterfaceTest, Interfaces);

TYPED_TEST(InterfaceTest, IsAnAbstractBaseClass) {
  EXPECT_TRUE(std::is_abstract_v<TypeParam>);
  EXPECT_TRUE(std::has_virtual_destructor_v<TypeParam>);
}

/// Writes its name into a list when it is destroyed.
class LastWords {
 public:
  LastWords(std::vector<std::string>& words, std::string name)
      : list(words), ownName(std::move(name)) {}
  LastWords(const LastWords&) = delete;
  LastWords& operator=(const LastWords&) = delete;
  ~LastWords() { list.push_back(ownName); }

 private:
  std::vector<std::string>& list;
  std::string ownName;
};

class State final : public ModuleStateInterface {
 public:
  explicit State(std::vector<std::string>& words) : lastWords(words, "state") {}
  bool isActive() const override { return true; }
  bool isConsistent() const override { return false; }
  bool isInputOk() const override { return true; }
  bool isFrozen() const override { return false; }
  Signals::Connection connectToSigStateChanged(const Signals::Slot<void()>& slot) const override {
    return changed.connect(slot);
  }
  void sendStateChangeSignal() const override { changed.emit(); }
  void sendStateChangeSignalsOfFollowingModules() const override {}
  void setActive(bool /*value*/, bool /*sendSignal*/) override {}
  void setConsistent(bool /*value*/, bool /*sendSignal*/) override {}
  bool computeIsInputOk() const override { return false; }

 private:
  LastWords lastWords;
  Signals::Signal<void()> changed;
};

class Factory final : public ApplyCmdFactory {
 public:
  explicit Factory(std::vector<std::string>& words) : lastWords(words, "factory") {}
  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> /*object*/) override {
    return nullptr;
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                      bool /*mayRunAlone*/) override {
    return nullptr;
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> /*object*/, std::shared_ptr<ApplyUpdateMessage> /*message*/,
      bool /*flag*/) override {
    return nullptr;
  }

 private:
  LastWords lastWords;
};

class Cache final : public ApplyCacheInterface {
 public:
  explicit Cache(std::vector<std::string>& words) : lastWords(words, "cache") {}
  void beginUpdate() override {}
  void endUpdate() override {}

 private:
  LastWords lastWords;
};

class Message final : public ApplyUpdateMessage {
 public:
  explicit Message(std::vector<std::string>& words) : lastWords(words, "message") {}
  std::shared_ptr<ApplyUpdateMessage> clone() const override { return nullptr; }
  bool isEmpty() const override { return true; }
  bool isGlobal() const override { return false; }

 private:
  LastWords lastWords;
};

TEST(FrameworkInterfacesTest, AreDestroyedThroughTheInterface) {
  std::vector<std::string> words;
  std::unique_ptr<ModuleStateInterface>(std::make_unique<State>(words)).reset();
  std::unique_ptr<ApplyCmdFactory>(std::make_unique<Factory>(words)).reset();
  std::unique_ptr<ApplyCacheInterface>(std::make_unique<Cache>(words)).reset();
  std::unique_ptr<ApplyUpdateMessage>(std::make_unique<Message>(words)).reset();
  EXPECT_THAT(words, ElementsAre("state", "factory", "cache", "message"));
}

TEST(FrameworkInterfacesTest, AreToldApartByTheirDynamicType) {
  std::vector<std::string> words;
  const std::unique_ptr<ModuleStateInterface> state = std::make_unique<State>(words);
  EXPECT_NE(dynamic_cast<State*>(state.get()), nullptr);
  EXPECT_EQ(dynamic_cast<Object*>(state.get()), nullptr);
  EXPECT_EQ(dynamic_cast<ApplyCmdFactory*>(state.get()), nullptr);
}

}  // namespace
}  // namespace Tessaril
