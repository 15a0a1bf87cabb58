#include "diagnostics/picture/RunMarks.h"

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "diagnostics/run/RunReport.h"

namespace Tessaril::Diagnostics {
namespace {

/// Finds the modules of a report in a snapshot.
class ModuleFinder {
 public:
  explicit ModuleFinder(const GraphSnapshot& snapshot) : modules(snapshot.modules) {
    for (std::size_t index = 0; index < modules.size(); ++index) {
      byName.emplace(modules[index].name, index);
      if (modules[index].module != nullptr) {
        byModule.emplace(modules[index].module.get(), index);
      }
    }
  }

  std::optional<std::size_t> find(const ReportedModule& reported) const {
    const std::shared_ptr<const ApplyModule> module = reported.module.lock();
    if (const auto place = byModule.find(module.get()); place != byModule.end()) {
      return place->second;
    }
    const auto place = byName.find(reported.name);
    const bool isAnother =
        place != byName.end() && module != nullptr && modules[place->second].module != nullptr;
    return place == byName.end() || isAnother ? std::nullopt : std::optional(place->second);
  }

 private:
  const std::vector<SnapshotModule>& modules;
  std::unordered_map<const ApplyModule*, std::size_t> byModule;
  std::unordered_map<std::string, std::size_t> byName;
};

/// The order in which steps speak for their module: the lesser first.
std::pair<bool, Deed> rankOf(const RunStep& step) { return {!step.begin, step.deed}; }

/// The mark of one module: gathers its steps.
struct Gathered {
  const RunStep* spokesman = nullptr;
  const RunStep* failure = nullptr;
  std::optional<Microseconds> duration;

  void add(const RunStep& step) {
    if (spokesman == nullptr || rankOf(step) < rankOf(*spokesman)) {
      spokesman = &step;
    }
    if (failure == nullptr && !step.failure.empty()) {
      failure = &step;
    }
    if (step.duration) {
      duration = duration.value_or(Microseconds{0.0}) + *step.duration;
    }
  }

  RunMark mark() const {
    if (failure != nullptr) {
      return {deedName(failure->deed) + " failed", RunEffect::kFailed, duration, failure->failure};
    }
    const RunEffect effect = spokesman->begin ? RunEffect::kExecuted : RunEffect::kNone;
    return {deedName(spokesman->deed), effect, duration, spokesman->reason};
  }
};

}  // namespace

RunMarks runMarksOf(const RunReport& report, const GraphSnapshot& snapshot) {
  const ModuleFinder finder(snapshot);
  std::map<std::size_t, Gathered> gathered;
  for (const RunStep& step : report.steps) {
    if (const auto index = finder.find(report.modules.at(step.module))) {
      gathered[*index].add(step);
    }
  }
  RunMarks marks;
  for (const auto& [index, steps] : gathered) {
    marks.emplace(index, steps.mark());
  }
  return marks;
}

}  // namespace Tessaril::Diagnostics
