#include "tests/support/ScriptedModule.h"

#include <algorithm>
#include <utility>

#include "tessaril/platform/framework_interfaces/ApplyCmdFactory.h"

namespace Tessaril::TestSupport {

Answer::Answer(bool always) : sequence{always} {}
Answer::Answer(std::initializer_list<bool> answers) : sequence(answers) {}
Answer::Answer(std::function<bool()> answer) : function(std::move(answer)) {}

bool Answer::operator()() {
  if (function) {
    return function();
  }
  return sequence[std::min(asked++, sequence.size() - 1)];
}

class ScriptedModule::Factory : public ApplyCmdFactory {
 public:
  explicit Factory(ScriptedModule& servedModule) : module(servedModule) {}

  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object) override {
    module.objectGiven = object;
    return module.make(module.apply, ":makeApply", ":apply");
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> object,
                                                      bool mayRunAlone) override {
    module.objectGiven = object;
    const std::string mark = mayRunAlone ? "(alone)" : "";
    return module.make(module.autoApply, ":makeAuto" + mark, ":auto" + mark);
  }
  std::shared_ptr<CommandBase> createMessageHandlingCmd(std::shared_ptr<Object> object,
                                                        std::shared_ptr<ApplyUpdateMessage> message,
                                                        bool flag) override {
    module.objectGiven = object;
    if (module.message.whenGivenMessage) {
      module.message.whenGivenMessage(message);
    }
    return module.make(module.message, flag ? ":makeMessage(flag)" : ":makeMessage", ":message");
  }

 private:
  ScriptedModule& module;
};

ScriptedModule::ScriptedModule(EventLog& log, const std::string& name)
    : Object(name), eventLog(log) {
  apply.script.emplace();
  autoApply.script.emplace();
  setApplyCmdFactory(std::make_shared<Factory>(*this));
  connectToSigStateChanged(Signals::Slot<void()>([this] {
    eventLog.add(EventKind::Signal, getName() + ":signal");
    if (whenSignalled) {
      whenSignalled();
    }
  }));
}

ScriptedModule::~ScriptedModule() = default;

bool ScriptedModule::isConsistent() const { return ask(consistent, "?consistent"); }
bool ScriptedModule::isApplyNecessary(bool isEndModule) const {
  const bool asEnd = isEndModule && necessaryAsEnd;
  return ask(asEnd ? *necessaryAsEnd : necessary, isEndModule ? "?necessary(end)" : "?necessary");
}
bool ScriptedModule::isApplyPossible() const { return ask(possible, "?possible"); }
bool ScriptedModule::isAutoApplyNecessary() const { return ask(autoNecessary, "?autoNecessary"); }
bool ScriptedModule::isAutoApplyPossible() const { return ask(autoPossible, "?autoPossible"); }
bool ScriptedModule::isUpdateInfoRelevant(const ApplyUpdateInfo& info) const {
  Answer plainAnswer([&] { return ApplyModule::isUpdateInfoRelevant(info); });
  return ask(relevant ? *relevant : plainAnswer, "?relevant");
}
bool ScriptedModule::updateAlways() const { return ask(always, "?always"); }
bool ScriptedModule::usesSharedResources() const { return ask(shared, "?shared"); }

LegacyProgress::Speed::Rate ScriptedModule::getSpeedRate() const {
  eventLog.add(EventKind::Rate, getName() + "?rate");
  return speedRate;
}

bool ScriptedModule::ask(Answer& answer, const std::string& question) const {
  eventLog.add(EventKind::Question, getName() + question);
  return answer();
}

std::shared_ptr<CommandBase> ScriptedModule::make(CommandMaking& making,
                                                  const std::string& creation,
                                                  const std::string& event) {
  eventLog.add(EventKind::Creation, getName() + creation);
  if (making.whenMade) {
    making.whenMade();
  }
  if (making.make) {
    return making.make();
  }
  if (!making.script) {
    return nullptr;
  }
  CommandScript script = *making.script;
  script.name += "#" + std::to_string(madeCommands.size());
  auto command = makeScriptedCommand(eventLog, getName() + event, std::move(script));
  madeCommands.push_back(command);
  return command;
}

}  // namespace Tessaril::TestSupport
