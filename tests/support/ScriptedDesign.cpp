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

template <typename Engine>
ScriptedUpdateOf<Engine>::ScriptedUpdateOf(EventLog& log, std::shared_ptr<Object> design,
                                           std::shared_ptr<ApplyModule> start,
                                           std::shared_ptr<ApplyModule> end,
                                           std::shared_ptr<ApplyModule> horizon)
    : Engine(std::move(design), std::move(start), std::move(end), std::move(horizon)),
      eventLog(log) {
  this->connectToSigFinished(Signals::Slot<void(bool)>([this](bool success) {
    eventLog.add(EventKind::Run, success ? "finish(true)" : "finish(false)");
    if (whenFinished) {
      whenFinished(success);
    }
  }));
  this->getProgressPtr()->connectToSigChanged(Signals::Slot<void()>([this] { writeProgress(); }));
}

template <typename Engine>
bool ScriptedUpdateOf<Engine>::isApplySuppressed(std::shared_ptr<ApplyModule> module) const {
  eventLog.add(EventKind::Hook, "suppress?" + nameOf(module));
  return suppresses && suppresses(nameOf(module));
}

template <typename Engine>
bool ScriptedUpdateOf<Engine>::shouldApplyChainBeCanceled(
    std::shared_ptr<ApplyModule> module) const {
  eventLog.add(EventKind::Hook, "cancel?" + nameOf(module));
  return cancels && cancels(nameOf(module));
}

template <typename Engine>
void ScriptedUpdateOf<Engine>::prepareApplyCommandAndModule(std::shared_ptr<CommandBase> command,
                                                            std::shared_ptr<ApplyModule> module) {
  Engine::prepareApplyCommandAndModule(command, module);
  if (whenHandedData) {
    whenHandedData(nameOf(module));
  }
}

template <typename Engine>
void ScriptedUpdateOf<Engine>::handleException(std::exception& e) {
  if (!handles || !handles(e)) {
    Engine::handleException(e);
  }
}

template <typename Engine>
void ScriptedUpdateOf<Engine>::prepareExecute(std::shared_ptr<CommandBase> command) {
  Engine::prepareExecute(command);
  if (whenPrepared) {
    whenPrepared();
  }
}

template <typename Engine>
void ScriptedUpdateOf<Engine>::finalizeExecute(std::shared_ptr<CommandBase> command) {
  Engine::finalizeExecute(command);
  if (whenFinalized) {
    whenFinalized();
  }
}

// Sub-commands report from their own thread, but one at a time.
template <typename Engine>
void ScriptedUpdateOf<Engine>::writeProgress() {
  const double value = this->getProgressPtr()->getValue();
  if (std::exchange(valueSeen, value) != value) {
    eventLog.add(EventKind::Progress, percentText(value));
  }
  const auto messages = this->getProgressPtr()->getLogMessages();
  for (std::size_t i = messagesSeen; i < messages.size(); ++i) {
    eventLog.add(EventKind::User, "user{" + messages[i].getText() + "}");
  }
  messagesSeen = messages.size();
}

template class ScriptedUpdateOf<UpdateApplyModulesCmd>;
template class ScriptedUpdateOf<Literal::LiteralUpdate>;

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

std::string ScriptedDesign::run(CommandBase& update) {
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
