#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tests/support/EventLog.h"
#include "tests/support/ScriptedCommand.h"

namespace Tessaril::TestSupport {

/// What a module answers to one of its questions, call by call.
class Answer {
 public:
  Answer(bool always);  // NOLINT(google-explicit-constructor)
  /// One answer after the other; the last one is repeated.
  Answer(std::initializer_list<bool> answers);
  Answer(std::function<bool()> answer);  // NOLINT(google-explicit-constructor)

  bool operator()();

 private:
  std::vector<bool> sequence;
  std::size_t asked = 0;
  std::function<bool()> function;
};

/// How a module makes one kind of command. Without a script it makes none.
struct CommandMaking {
  std::optional<CommandScript> script{};
  /// Called before the command is made; may throw.
  std::function<void()> whenMade{};
  /// Gets the message object that a message command is made with.
  std::function<void(const std::shared_ptr<ApplyUpdateMessage>&)> whenGivenMessage{};
  /// Takes the place of the script.
  std::function<std::shared_ptr<CommandBase>()> make{};
};

/// A module of the parameter tree that writes into an event log which questions it is asked and
/// which commands it makes, and that answers and behaves as a test says. Unlike a plain module it
/// can be applied; it makes apply and auto apply commands, but no message commands.
///
/// Its commands are called "A:apply", "A:auto" (or "A:auto(alone)") and "A:message". What they
/// write into a document they write under names of their own: that of their script with the number
/// of the command behind it, as in "A#0".
class ScriptedModule : public ApplyModule, public Object {
 public:
  ScriptedModule(EventLog& log, const std::string& name);
  ~ScriptedModule() override;

  bool isConsistent() const override;
  bool isApplyNecessary(bool isEndModule) const override;
  bool isApplyPossible() const override;
  bool isAutoApplyNecessary() const override;
  bool isAutoApplyPossible() const override;
  bool isUpdateInfoRelevant(const ApplyUpdateInfo& info) const override;
  bool updateAlways() const override;
  bool usesSharedResources() const override;
  LegacyProgress::Speed::Rate getSpeedRate() const override;

  mutable Answer consistent = true;
  mutable Answer necessary = false;
  /// Takes the place of `necessary` where the module is asked as the end of the range.
  mutable std::optional<Answer> necessaryAsEnd;
  mutable Answer possible = true;
  mutable Answer autoNecessary = true;
  mutable Answer autoPossible = true;
  /// Not set: as a plain module answers.
  mutable std::optional<Answer> relevant;
  mutable Answer always = true;
  mutable Answer shared = false;
  LegacyProgress::Speed::Rate speedRate = LegacyProgress::Speed::Normal;

  CommandMaking apply;
  CommandMaking autoApply;
  CommandMaking message;
  /// Called by a slot of the state-changed signal; may throw.
  std::function<void()> whenSignalled;
  /// What the factory was given last.
  std::weak_ptr<Object> objectGiven;
  std::vector<std::shared_ptr<CommandBase>> madeCommands;

 private:
  class Factory;
  bool ask(Answer& answer, const std::string& question) const;
  std::shared_ptr<CommandBase> make(CommandMaking& making, const std::string& creation,
                                    const std::string& event);

  EventLog& eventLog;
};

}  // namespace Tessaril::TestSupport
