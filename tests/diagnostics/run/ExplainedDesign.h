#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/run/ObservedUpdate.h"
#include "diagnostics/run/RunEstimate.h"
#include "diagnostics/run/WatchedFactories.h"
#include "tests/support/ScriptedDesign.h"

namespace Tessaril::TestSupport {

/// A clock that stands still until a test moves it. May be moved and read on any thread.
class TestClock {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  void advance(std::chrono::microseconds time);
  TimePoint now() const;

 private:
  mutable std::mutex mutex;
  TimePoint time{};
};

/// A scripted design whose updates are observed, and whose factories are known, so that they can be
/// watched.
struct ExplainedDesign {
  using Update = Diagnostics::ObservedUpdate<ScriptedUpdate>;

  explicit ExplainedDesign(std::string_view graphText, bool askAgain = true);
  explicit ExplainedDesign(const std::function<TestGraph(const ModuleFactory&)>& makeGraph,
                           bool askAgain = true);

  Diagnostics::RunRange range(std::string_view start, std::string_view end,
                              std::string_view horizon = {}) const;
  std::shared_ptr<Update> update(std::string_view start, std::string_view end,
                                 std::string_view horizon = {});
  std::unique_ptr<Diagnostics::WatchedFactories> watch();
  /// Executes an update, drops what it throws, and answers with the report.
  Diagnostics::RunReport run(std::string_view start, std::string_view end,
                             std::string_view horizon = {});
  Diagnostics::RunReport reportOf(CommandBase& update);
  /// Each full apply and auto apply of the module takes that long from now on.
  void lasts(std::string_view module, std::chrono::microseconds time);

  ScriptedModule& operator[](std::string_view name) const { return design[name]; }

  /// Shared with the recorder, which commands may keep alive.
  std::shared_ptr<TestClock> clock = std::make_shared<TestClock>();
  ScriptedDesign design;
  std::shared_ptr<Diagnostics::RunRecorder> recorder;
  std::vector<std::shared_ptr<ApplyCmdFactory>> factories;

 private:
  void setUp(bool askAgain);
};

/// What was done, in one line: "A:full apply B:signalled C:not reached".
std::string deeds(const Diagnostics::RunReport& report);
/// The same of an estimate; "?" behind what may change.
std::string prospects(const Diagnostics::RunEstimate& estimate);
/// Why the first step of the module was done. Throws std::out_of_range where it has none.
std::string reasonOf(const Diagnostics::RunReport& report, std::string_view module);
const Diagnostics::RunStep& stepOf(const Diagnostics::RunReport& report, std::string_view module);

}  // namespace Tessaril::TestSupport
