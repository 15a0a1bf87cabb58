#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/guards/GuardedModule.h"
#include "diagnostics/guards/GuardedUpdate.h"
#include "tests/support/ScriptedDesign.h"

namespace Tessaril::TestSupport {

/// Keeps what a guard reports, and lets it happen. One thread at a time.
class ViolationLog {
 public:
  Diagnostics::ViolationHandler handler();
  /// What was reported since the last call.
  std::vector<Diagnostics::GuardViolation> take();
  /// The texts, each with a line break.
  std::string takeTexts();

 private:
  std::vector<Diagnostics::GuardViolation> violations;
};

/// A scripted design whose modules and updates a guard watches.
class GuardedDesign : public ScriptedDesign {
 public:
  using Update = Diagnostics::GuardedUpdate<ScriptedUpdate>;

  GuardedDesign(std::shared_ptr<Diagnostics::GraphGuard> guard, std::string_view graphText);

  std::shared_ptr<Update> guardedUpdate(std::string_view start, std::string_view end);
  /// Puts a new module behind the one of that name: an edit that several hooks tell of.
  void insertBehind(std::string_view name);
  /// Adds a link from one module to another, and the one back.
  void link(std::string_view from, std::string_view to);

  std::shared_ptr<Diagnostics::GraphGuard> guard;

 private:
  std::vector<std::shared_ptr<ApplyModule>> inserted;
};

}  // namespace Tessaril::TestSupport
