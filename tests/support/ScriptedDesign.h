#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessaril/engine/UpdateApplyModulesCmd.h"
#include "tessaril/platform/framework_interfaces/ApplyCacheInterface.h"
#include "tessaril/platform/parameterization/Object.h"
#include "tessaril/platform/signals/Signal.h"
#include "tests/support/EventLog.h"
#include "tests/support/GraphText.h"
#include "tests/support/ScriptedModule.h"
#include "tests/support/literal/LiteralUpdate.h"

namespace Tessaril::TestSupport {

/// An apply cache that writes "cache:begin" and "cache:end".
class ScriptedCache : public ApplyCacheInterface {
 public:
  explicit ScriptedCache(EventLog& log);
  void beginUpdate() override;
  void endUpdate() override;

  std::function<void()> whenBegun;
  std::function<void()> whenEnded;

 private:
  EventLog& eventLog;
};

/// An update command whose hooks a test answers, and whose protected part a test may call: the
/// library's, or the literal one, both of which the support library holds.
template <typename Engine>
class ScriptedUpdateOf : public Engine {
 public:
  ScriptedUpdateOf(EventLog& log, std::shared_ptr<Object> design,
                   std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end,
                   std::shared_ptr<ApplyModule> horizon);

  using Engine::isRunning;
  using Engine::isSubCommandUnderWay;
  using Engine::needsFullApply;
  using Engine::setApplyCache;
  using Engine::stopApply;

  void prepareApplyCommandAndModule(std::shared_ptr<CommandBase> command,
                                    std::shared_ptr<ApplyModule> module) override;
  void handleException(std::exception& e) override;

  /// Answer false where not set; they get the module's name and may throw.
  std::function<bool(const std::string&)> suppresses;
  std::function<bool(const std::string&)> cancels;
  /// Called for each apply and auto apply command, with its module's name, once it has been handed
  /// messages and cache; may throw.
  std::function<void(const std::string&)> whenHandedData;
  /// Called for each sub-command before it is started, and when it has ended; may throw.
  std::function<void()> whenPrepared;
  std::function<void()> whenFinalized;
  /// Called with a failure; true: it is dealt with. May throw.
  std::function<bool(std::exception&)> handles;
  /// Called when the end of the run is announced; may throw.
  std::function<void(bool)> whenFinished;

 protected:
  bool isApplySuppressed(std::shared_ptr<ApplyModule> module) const override;
  bool shouldApplyChainBeCanceled(std::shared_ptr<ApplyModule> module) const override;
  void prepareExecute(std::shared_ptr<CommandBase> command) override;
  void finalizeExecute(std::shared_ptr<CommandBase> command) override;

 private:
  void writeProgress();

  EventLog& eventLog;
  double valueSeen = 0.0;
  std::size_t messagesSeen = 0;
};

using ScriptedUpdate = ScriptedUpdateOf<UpdateApplyModulesCmd>;
using ScriptedLiteralUpdate = ScriptedUpdateOf<Literal::LiteralUpdate>;

/// A design with an apply graph of scripted modules, written as in GraphText.h, and one event log
/// for everything.
class ScriptedDesign {
 public:
  explicit ScriptedDesign(std::string_view graphText);
  explicit ScriptedDesign(const std::function<TestGraph(const ModuleFactory&)>& makeGraph);

  ScriptedModule& operator[](std::string_view name) const;
  std::shared_ptr<ApplyModule> module(std::string_view name) const;

  /// The modules with these names, separated by spaces, need a full apply.
  void needApply(std::string_view names);
  void forEachModule(const std::function<void(ScriptedModule&)>& change);
  /// Every command that a module makes from now on writes its module's name into the document.
  /// Scripts that are set later have to do so themselves.
  void writeIntoDocument();

  /// An update of the range; an empty name for no horizon.
  std::shared_ptr<ScriptedUpdate> update(std::string_view start, std::string_view end,
                                         std::string_view horizon = {});
  /// The same with a cache, which lives as long as the design.
  std::shared_ptr<ScriptedUpdate> cachedUpdate(std::string_view start, std::string_view end,
                                               std::string_view horizon = {});
  /// Executes `update` and says what happened; ends with "throws{...}" where something is thrown.
  std::string run(CommandBase& update);
  std::string run(std::string_view start, std::string_view end, std::string_view horizon = {});
  /// The same for an undo and for a redo.
  std::string undo(CommandBase& command);
  std::string redo(CommandBase& command);

  EventLog log;
  LogRecorder recorder{log};
  std::shared_ptr<Object> root = std::make_shared<Object>("design");
  std::shared_ptr<ScriptedCache> cache = std::make_shared<ScriptedCache>(log);
  Document document;
  TestGraph graph;

 private:
  void plantModules();
  std::string tell(const std::function<void()>& body);
};

/// The names in a text, which are separated by spaces.
std::vector<std::string> namesIn(std::string_view text);

}  // namespace Tessaril::TestSupport
