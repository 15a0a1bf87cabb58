#include "tests/diagnostics/guards/GuardedDesign.h"

#include <utility>

#include "tessaril/graph/ApplyGraph.h"

namespace Tessaril::TestSupport {

using Diagnostics::GraphGuard;
using Diagnostics::GuardedModule;
using Diagnostics::GuardViolation;

Diagnostics::ViolationHandler ViolationLog::handler() {
  return [this](const GuardViolation& violation) { violations.push_back(violation); };
}

std::vector<GuardViolation> ViolationLog::take() { return std::exchange(violations, {}); }

std::string ViolationLog::takeTexts() {
  std::string texts;
  for (const GuardViolation& violation : take()) {
    texts += violation.text + "\n";
  }
  return texts;
}

GuardedDesign::GuardedDesign(std::shared_ptr<GraphGuard> theGuard, std::string_view graphText)
    : ScriptedDesign([&](const ModuleFactory&) {
        return TestSupport::graph(graphText, [&](const std::string& name) {
          return std::make_shared<GuardedModule<ScriptedModule>>(theGuard, log, name);
        });
      }),
      guard(std::move(theGuard)) {}

std::shared_ptr<GuardedDesign::Update> GuardedDesign::guardedUpdate(std::string_view start,
                                                                    std::string_view end) {
  return std::make_shared<Update>(guard, log, root, module(start), module(end), nullptr);
}

void GuardedDesign::insertBehind(std::string_view name) {
  inserted.push_back(std::make_shared<ApplyModule>());
  ApplyGraph::insertAfter(inserted.back(), module(name));
}

void GuardedDesign::link(std::string_view from, std::string_view to) {
  ApplyGraph::insert(module(to), module(from), nullptr, false);
}

}  // namespace Tessaril::TestSupport
