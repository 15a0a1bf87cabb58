#include "bench/UpdateDesign.h"

#include <string>

#include "tessaril/commands/ApplyCommand.h"

namespace Tessaril::Bench {

namespace {

/// Commands are made with the module and used in every run: making them is the application's work.
class TracedCommand : public ApplyCommand {
 public:
  TracedCommand(UpdateTrace& updateTrace, Number moduleNumber)
      : ApplyCommand("Module"), trace(updateTrace), number(moduleNumber) {}

  void doExecute(ApplyUpdateInfo& /*info*/) override { trace.add(UpdateEvent::Execute, number); }
  void doUndo(ApplyUpdateInfo& /*info*/) override { trace.add(UpdateEvent::Undo, number); }
  /// Both passes of an undo get their half.
  UndoType getUndoType() override { return number % 2 == 0 ? StorageUndo : DependentUndo; }

 private:
  UpdateTrace& trace;
  const Number number;
};

class TracedModule : public NumberedModule, public Object {
 public:
  TracedModule(UpdateTrace& updateTrace, Number moduleNumber, bool needsApply,
               UpdateDesign::Others otherwise)
      : NumberedModule(moduleNumber),
        Object("m" + std::to_string(moduleNumber)),
        trace(updateTrace),
        isApplyNeeded(needsApply),
        allowsAutoApply(otherwise != UpdateDesign::Others::Signalled) {
    if (needsApply || otherwise == UpdateDesign::Others::AutoApplied) {
      command = std::make_shared<TracedCommand>(trace, number);
    }
  }

  bool isUpdateInfoRelevant(const ApplyUpdateInfo& info) const override {
    return note(UpdateEvent::UpdateInfoRelevant), ApplyModule::isUpdateInfoRelevant(info);
  }
  bool isApplyNecessary(bool /*isEndModule*/) const override {
    return note(UpdateEvent::ApplyNecessary), isApplyNeeded;
  }
  bool isApplyPossible() const override { return note(UpdateEvent::ApplyPossible), true; }
  bool isAutoApplyNecessary() const override { return note(UpdateEvent::AutoApplyNecessary), true; }
  bool isAutoApplyPossible() const override {
    return note(UpdateEvent::AutoApplyPossible), allowsAutoApply;
  }
  bool updateAlways() const override { return note(UpdateEvent::UpdateAlways), true; }
  bool usesSharedResources() const override {
    return note(UpdateEvent::UsesSharedResources), false;
  }
  LegacyProgress::Speed::Rate getSpeedRate() const override {
    return note(UpdateEvent::SpeedRate), LegacyProgress::Speed::Normal;
  }
  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> /*object*/) override {
    return note(UpdateEvent::CreateApply), command;
  }
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> /*object*/,
                                                      bool /*mayRunAlone*/) override {
    return note(UpdateEvent::CreateAutoApply), command;
  }
  /// Nobody is told: how many listen to a module is up to the application.
  void sendStateChangeSignal() const override { note(UpdateEvent::Signal); }

 private:
  void note(UpdateEvent event) const { trace.add(event, number); }

  UpdateTrace& trace;
  std::shared_ptr<CommandBase> command;
  bool isApplyNeeded;
  bool allowsAutoApply;
};

bool isApplied(UpdateDesign::Applied applied, const Shape& shape, Number number) {
  switch (applied) {
    case UpdateDesign::Applied::Nothing:
      return false;
    case UpdateDesign::Applied::First:
      return number == 0;
    case UpdateDesign::Applied::Last:
      return number == shape.end;
    case UpdateDesign::Applied::All:
      return true;
  }
  return false;
}

/// Calls what led to events.
class Repetition {
 public:
  explicit Repetition(const std::shared_ptr<Object>& designObject) : object(designObject) {}

  void repeat(UpdateEvent event, ApplyModule& module) {
    switch (event) {
      case UpdateEvent::UpdateInfoRelevant:
        module.isUpdateInfoRelevant(info);
        return;
      case UpdateEvent::ApplyNecessary:
        module.isApplyNecessary(false);
        return;
      case UpdateEvent::ApplyPossible:
        module.isApplyPossible();
        return;
      case UpdateEvent::AutoApplyNecessary:
        module.isAutoApplyNecessary();
        return;
      case UpdateEvent::AutoApplyPossible:
        module.isAutoApplyPossible();
        return;
      case UpdateEvent::UpdateAlways:
        module.updateAlways();
        return;
      case UpdateEvent::UsesSharedResources:
        module.usesSharedResources();
        return;
      case UpdateEvent::SpeedRate:
        module.getSpeedRate();
        return;
      case UpdateEvent::CreateApply:
        made = module.createApplyCommand(object);
        return;
      case UpdateEvent::CreateAutoApply:
        made = module.createAutoApplyCommand(object, false);
        return;
      case UpdateEvent::Signal:
        module.sendStateChangeSignal();
        return;
      case UpdateEvent::Execute:
        made->execute();
        return;
      case UpdateEvent::Undo:
        return;
    }
  }

 private:
  std::shared_ptr<Object> object;
  ApplyUpdateInfo info;
  std::shared_ptr<CommandBase> made;
};

}  // namespace

UpdateDesign::UpdateDesign(const Shape& shape, Applied applied, Others others)
    : trace(std::make_unique<UpdateTrace>()),
      graph(shape,
            [&](Number number) {
              return std::make_shared<TracedModule>(*trace, number,
                                                    isApplied(applied, shape, number), others);
            }),
      root(std::make_shared<Object>("design")) {
  for (Number number = 0; number < graph.size(); ++number) {
    root->addChild(std::dynamic_pointer_cast<Object>(graph[number]));
  }
}

std::uint64_t UpdateDesign::undoEach(const std::vector<CommandBase*>& commands) const {
  for (CommandBase* command : commands) {
    command->undo();
  }
  return trace->take();
}

std::uint64_t UpdateDesign::replay(const std::vector<UpdateTrace::Entry>& events) const {
  Repetition repetition(root);
  for (const UpdateTrace::Entry entry : events) {
    repetition.repeat(static_cast<UpdateEvent>(entry % 16), *graph[entry / 16]);
  }
  return trace->take();
}

}  // namespace Tessaril::Bench
