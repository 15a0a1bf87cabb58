#include "tests/support/ScriptedDesign.h"

#include <sstream>
#include <utility>

#include "tessaril/platform/logging/LogMessage.h"

namespace Tessaril::TestSupport {

ScriptedCache::ScriptedCache(EventLog& log) : eventLog(log) {}

void ScriptedCache::beginUpdate() {
  eventLog.add(EventKind::Run, "cache:begin");
  if (whenBegun) {
    whenBegun();
  }
}

void ScriptedCache::endUpdate() {
  eventLog.add(EventKind::Run, "cache:end");
  if (whenEnded) {
    whenEnded();
  }
}

namespace {

const std::string& nameOf(const std::shared_ptr<ApplyModule>& module) {
  return dynamic_cast<const Object&>(*module).getName();
}

std::string percentText(double value) {
  std::ostringstream text;
  text << value << '%';
  return text.str();
}

}  // namespace

ScriptedUpdate::ScriptedUpdate(EventLog& log, std::shared_ptr<Object> design,
                               std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end,
                               std::shared_ptr<ApplyModule> horizon)
    : UpdateApplyModulesCmd(std::move(design), std::move(start), std::move(end),
                            std::move(horizon)),
      eventLog(log) {
  connectToSigFinished(Signals::Slot<void(bool)>([this](bool success) {
    eventLog.add(EventKind::Run, success ? "finish(true)" : "finish(false)");
    if (whenFinished) {
      whenFinished(success);
    }
  }));
  getProgressPtr()->connectToSigChanged(Signals::Slot<void()>([this] { writeProgress(); }));
}

bool ScriptedUpdate::isApplySuppressed(std::shared_ptr<ApplyModule> module) const {
  eventLog.add(EventKind::Hook, "suppress?" + nameOf(module));
  return suppresses && suppresses(nameOf(module));
}

bool ScriptedUpdate::shouldApplyChainBeCanceled(std::shared_ptr<ApplyModule> module) const {
  eventLog.add(EventKind::Hook, "cancel?" + nameOf(module));
  return cancels && cancels(nameOf(module));
}

void ScriptedUpdate::prepareExecute(std::shared_ptr<CommandBase> command) {
  UpdateApplyModulesCmd::prepareExecute(command);
  if (whenPrepared) {
    whenPrepared();
  }
}

void ScriptedUpdate::finalizeExecute(std::shared_ptr<CommandBase> command) {
  UpdateApplyModulesCmd::finalizeExecute(command);
  if (whenFinalized) {
    whenFinalized();
  }
}

// Sub-commands report from their own thread, but one at a time.
void ScriptedUpdate::writeProgress() {
  const double value = getProgressPtr()->getValue();
  if (std::exchange(valueSeen, value) != value) {
    eventLog.add(EventKind::Progress, percentText(value));
  }
  const auto messages = getProgressPtr()->getLogMessages();
  for (std::size_t i = messagesSeen; i < messages.size(); ++i) {
    eventLog.add(EventKind::User, "user{" + messages[i].getText() + "}");
  }
  messagesSeen = messages.size();
}

ScriptedDesign::ScriptedDesign(std::string_view graphText)
    : ScriptedDesign(
          [&](const ModuleFactory& factory) { return TestSupport::graph(graphText, factory); }) {}

ScriptedDesign::ScriptedDesign(const std::function<TestGraph(const ModuleFactory&)>& makeGraph)
    : graph(makeGraph([this](const std::string& name) {
        return std::make_shared<ScriptedModule>(log, name);
      })) {
  plantModules();
}

void ScriptedDesign::plantModules() {
  for (const auto& member : graph) {
    root->addChild(std::dynamic_pointer_cast<Object>(member.module));
  }
}

ScriptedModule& ScriptedDesign::operator[](std::string_view name) const {
  return *graph.as<ScriptedModule>(name);
}

std::shared_ptr<ApplyModule> ScriptedDesign::module(std::string_view name) const {
  return name.empty() ? nullptr : graph[name];
}

void ScriptedDesign::needApply(std::string_view names) {
  for (const std::string& name : namesIn(names)) {
    (*this)[name].necessary = true;
  }
}

void ScriptedDesign::forEachModule(const std::function<void(ScriptedModule&)>& change) {
  for (const auto& member : graph) {
    change((*this)[member.name]);
  }
}

void ScriptedDesign::writeIntoDocument() {
  forEachModule([this](ScriptedModule& module) {
    for (CommandMaking* making : {&module.apply, &module.autoApply, &module.message}) {
      if (making->script) {
        making->script->document = &document;
        making->script->name = module.getName();
        making->script->value = making == &module.apply ? "applied" : "auto";
      }
    }
  });
}

std::shared_ptr<ScriptedUpdate> ScriptedDesign::update(std::string_view start, std::string_view end,
                                                       std::string_view horizon) {
  return std::make_shared<ScriptedUpdate>(log, root, module(start), module(end), module(horizon));
}

std::shared_ptr<ScriptedUpdate> ScriptedDesign::cachedUpdate(std::string_view start,
                                                             std::string_view end,
                                                             std::string_view horizon) {
  auto result = update(start, end, horizon);
  result->setApplyCache(cache);
  return result;
}

std::string ScriptedDesign::tell(const std::function<void()>& body) {
  log.take();
  const std::string thrown = whatIsThrownBy(body);
  std::string events = log.take();
  if (thrown != "nothing") {
    events += (events.empty() ? "throws{" : " throws{") + thrown + "}";
  }
  return events;
}

std::string ScriptedDesign::run(ScriptedUpdate& update) {
  return tell([&] { update.execute(); });
}

std::string ScriptedDesign::run(std::string_view start, std::string_view end,
                                std::string_view horizon) {
  return run(*update(start, end, horizon));
}

std::string ScriptedDesign::undo(CommandBase& command) {
  return tell([&] { command.undo(); });
}

std::string ScriptedDesign::redo(CommandBase& command) {
  return tell([&] { command.redo(); });
}

std::vector<std::string> namesIn(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> names;
  for (std::string name; stream >> name;) {
    names.push_back(name);
  }
  return names;
}

}  // namespace Tessaril::TestSupport
