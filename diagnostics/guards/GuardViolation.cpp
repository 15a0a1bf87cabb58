#include "diagnostics/guards/GuardViolation.h"

#include <cstdlib>
#include <iostream>
#include <source_location>
#include <utility>

#include "tessaril/platform/logging/Logging.h"

namespace Tessaril::Diagnostics {

std::string ruleName(GraphRule rule) {
  switch (rule) {
    case GraphRule::NoEditDuringRun:
      return "no edit during a run";
    case GraphRule::NoEditDuringWalk:
      return "no edit during a walk";
    case GraphRule::NoEditDuringEdit:
      return "no edit during another edit";
    case GraphRule::NoEditDuringQuestion:
      return "no edit during a question";
    case GraphRule::NoStartDuringRun:
      return "no start during a run";
    case GraphRule::OneThread:
      return "one thread";
  }
  return {};
}

ViolationHandler abortOnViolation() {
  return [](const GuardViolation& violation) {
    std::cerr << violation.text + "\n" << std::flush;
    std::abort();
  };
}

GuardError::GuardError(GuardViolation theViolation)
    : std::logic_error(theViolation.text), violation(std::move(theViolation)) {}

const GuardViolation& GuardError::getViolation() const noexcept { return violation; }

ViolationHandler throwOnViolation() {
  return [](const GuardViolation& violation) { throw GuardError(violation); };
}

ViolationHandler logViolations() {
  return [](const GuardViolation& violation) {
    const auto where = std::source_location::current();
    Logging::logERROR(violation.text, "GraphGuard", where.function_name(),
                      static_cast<int>(where.line()));
  };
}

}  // namespace Tessaril::Diagnostics
