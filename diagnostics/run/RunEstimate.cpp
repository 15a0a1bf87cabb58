#include "diagnostics/run/RunEstimate.h"

#include <algorithm>
#include <queue>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "diagnostics/run/ChangesBefore.h"
#include "diagnostics/run/RunJson.h"
#include "diagnostics/run/RunReasons.h"
#include "diagnostics/run/TextTable.h"
#include "diagnostics/run/VisitOrder.h"
#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/module/ApplyModule.h"

// The decisions of an update, without its commands: the modules on the way to the end in graph
// order, those off the way with everything behind them, and, with a horizon, what follows the end.

namespace Tessaril::Diagnostics {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;
using Links = std::vector<std::vector<std::size_t>>;

constexpr std::size_t kWidestName = 24;

class Rehearsal {
 public:
  Rehearsal(const RunRange& range, const EstimateOptions& options)
      : start(range.start.lock()), end(range.end.lock()), horizon(range.horizon.lock()) {
    if (start == nullptr || end == nullptr) {
      throw std::invalid_argument("cannot estimate an update without a start and an end module");
    }
    const ApplyUpdateInfo noMessages;
    for (const RangeModule& member : modulesOf(range, options.nameModule)) {
      EstimatedStep& step = estimate.steps.emplace_back();
      step.name = member.name;
      step.module = member.module;
      step.place = member.place;
      step.answers = askModule(*member.module, noMessages, member.module == end);
      step.flags = flagsOf(*member.module);
      indices.emplace(member.module.get(), modules.size());
      modules.push_back(member.module);
    }
    for (const ModulePtr& module : modules) {
      next.push_back(indicesOf(module->getNextApplyModules()));
      previous.push_back(indicesOf(module->getPreviousApplyModules()));
    }
    isVisited.resize(modules.size(), false);
    isClosed.resize(modules.size(), false);
    estimate.start = estimate.steps[indexOf(start)].name;
    estimate.end = estimate.steps[indexOf(end)].name;
    if (horizon != nullptr) {
      const auto place = indices.find(horizon.get());
      estimate.horizon = place != indices.end()
                             ? estimate.steps[place->second].name
                             : moduleName(*horizon, range.object.lock().get(), options.nameModule,
                                          modules.size() + 1);
    }
  }

  RunEstimate run() {
    VisitOrder onTheWay(previous, isVisited, scope());
    onTheWay.push(indexOf(start));
    wayVisit = &onTheWay;
    while (const auto module = onTheWay.takeNext()) {
      handleSubGraphs();
      decide(*module);
    }
    wayVisit = nullptr;
    if (horizon != nullptr && subGraphs.empty()) {
      for (const std::size_t following : next[indexOf(end)]) {
        subGraphs.push(following);
      }
    }
    handleSubGraphs();
    return ordered();
  }

 private:
  std::size_t indexOf(const ModulePtr& module) const { return indices.at(module.get()); }

  /// Of what lies in the range.
  template <typename List>
  std::vector<std::size_t> indicesOf(const List& links) const {
    std::vector<std::size_t> found;
    for (const auto& link : links) {
      if (const auto place = indices.find(link.lock().get()); place != indices.end()) {
        found.push_back(place->second);
      }
    }
    return found;
  }

  VisitOrder::Scope scope() const {
    std::unordered_set<ModulePtr> followers;
    start->gatherAllSuccessors(followers, end);
    VisitOrder::Scope found{indexOf(start)};
    for (const ModulePtr& module : followers) {
      found.insert(indexOf(module));
    }
    return found;
  }

  void decide(std::size_t module) {
    const EstimatedStep& step = estimate.steps[module];
    const PolicyAnswers& answers = step.answers;
    const bool isNeeded = answers.updateInfoRelevant || answers.applyNecessary;
    const bool isOnTheWay = step.place == Place::OnTheWay;
    if (isOnTheWay && answers.applyPossible && isNeeded && !endReached) {
      hasApplied = true;
      settle(module, Prospect::FullApply, need(step));
    } else if (hasApplied && answers.autoApplyPossible && answers.autoApplyNecessary) {
      if (endReached || !isOnTheWay) {
        rehearseSubGraph(module);
        setVisited(module);
        return;
      }
      settle(module, Prospect::AutoApply, need(step));
    } else if (hasApplied) {
      settle(module, Prospect::SignalOnly,
             need(step) + "; " + noAutoApplyReason(answers, step.flags, false));
    } else {
      settle(module, Prospect::PassedOver, need(step));
    }
    endReached = endReached || modules[module] == end;
    queueNext(module);
  }

  void queueNext(std::size_t module) {
    for (const std::size_t following : next[module]) {
      if (estimate.steps[following].place == Place::OnTheWay) {
        wayVisit->push(following);
      } else if (hasApplied) {
        subGraphs.push(following);
      }
    }
  }

  void handleSubGraphs() {
    while (!subGraphs.empty()) {
      const std::size_t root = subGraphs.front();
      subGraphs.pop();
      rehearseSubGraph(root);
    }
  }

  void rehearseSubGraph(std::size_t root) {
    if (isVisited[root]) {
      return;
    }
    const std::size_t begin = order.size();
    VisitOrder subGraph(previous, isVisited, openSubGraph(root));
    subGraph.push(root);
    while (const auto module = subGraph.takeNext()) {
      settle(*module, Prospect::AutoApply, whereIs(estimate.steps[*module]));
      subGraph.noteVisited(*module);
      for (const std::size_t following : next[*module]) {
        subGraph.push(following);
      }
    }
    closeFrom(begin);
  }

  /// The module and everything behind it, but for what is closed: visited, as all behind it is, so
  /// that nothing comes of it. Side chains often have much behind them in common.
  VisitOrder::Scope openSubGraph(std::size_t root) const {
    VisitOrder::Scope found{root};
    std::vector<std::size_t> pending{root};
    while (!pending.empty()) {
      const std::size_t module = pending.back();
      pending.pop_back();
      for (const std::size_t following : next[module]) {
        if (!isClosed[following] && found.insert(following).second) {
          pending.push_back(following);
        }
      }
    }
    return found;
  }

  /// Closes of what was visited last, from the place `begin` in the order on, what can be. What
  /// follows a module was visited behind it, unless it waits on a cycle.
  void closeFrom(std::size_t begin) {
    for (std::size_t place = order.size(); place-- > begin;) {
      const auto& following = next[order[place]];
      isClosed[order[place]] = std::all_of(following.begin(), following.end(),
                                           [this](std::size_t one) { return isClosed[one]; });
    }
  }

  void settle(std::size_t module, Prospect prospect, const std::string& reason) {
    EstimatedStep& step = estimate.steps[module];
    step.prospect = prospect;
    step.reason = reason;
    setVisited(module);
    order.push_back(module);
  }

  void setVisited(std::size_t module) {
    if (!isVisited[module]) {
      isVisited[module] = true;
      if (wayVisit != nullptr) {
        wayVisit->noteVisited(module);
      }
    }
  }

  static std::string need(const EstimatedStep& step) {
    return needOf(step.answers, step.flags, {});
  }

  std::string whereIs(const EstimatedStep& step) const {
    switch (step.place) {
      case Place::OnTheWay:
        return "behind " + estimate.end;
      case Place::OffTheWay:
        return "off the way to " + estimate.end;
      case Place::BehindEnd:
        return "behind " + estimate.end;
    }
    return {};
  }

  bool isApplied(std::size_t index) const {
    const Prospect prospect = estimate.steps[index].prospect;
    return prospect == Prospect::FullApply || prospect == Prospect::AutoApply;
  }

  /// The steps in the order of the run, with what may change them.
  RunEstimate ordered() {
    ChangesBefore applies = changes();
    RunEstimate result = std::move(estimate);
    std::vector<EstimatedStep> unordered = std::exchange(result.steps, {});
    std::vector<bool> isReached(modules.size(), false);
    for (std::size_t place = 0; place < order.size(); ++place) {
      isReached[order[place]] = true;
      EstimatedStep& step = result.steps.emplace_back(std::move(unordered[order[place]]));
      if (const std::size_t apply = applies.before(order[place], place); apply > 0) {
        step.mayChangeBy = apply - 1;
        step.reason += "; may change when " + result.steps[apply - 1].name + " is applied";
      }
    }
    for (std::size_t index = 0; index < modules.size(); ++index) {
      if (!isReached[index]) {
        EstimatedStep& step = result.steps.emplace_back(std::move(unordered[index]));
        step.reason = notReached(step, result.end, applies.before(index, order.size()) > 0);
      }
    }
    return result;
  }

  /// What would be applied, at its places in the order of the run, which count from 1.
  ChangesBefore changes() const {
    std::vector<std::size_t> applied(modules.size(), 0);
    for (std::size_t place = 0; place < order.size(); ++place) {
      applied[order[place]] = isApplied(order[place]) ? place + 1 : 0;
    }
    return {previous, std::move(applied)};
  }

  static std::string notReached(const EstimatedStep& step, const std::string& endName,
                                bool hasApplyBefore) {
    if (step.place == Place::OnTheWay) {
      return "it lies on or behind a cycle, or the start does not lead to it";
    }
    return (step.place == Place::BehindEnd ? "behind " : "off the way to ") + endName +
           (hasApplyBefore ? "; it lies on or behind a cycle"
                           : "; nothing it depends on would be applied");
  }

  ModulePtr start;
  ModulePtr end;
  ModulePtr horizon;
  RunEstimate estimate;
  std::vector<ModulePtr> modules;
  std::unordered_map<const ApplyModule*, std::size_t> indices;
  /// By index, as everything that follows.
  Links next;
  Links previous;
  std::vector<std::size_t> order;
  std::vector<bool> isVisited;
  /// Visited, and everything behind it too.
  std::vector<bool> isClosed;
  /// While there is one.
  VisitOrder* wayVisit = nullptr;
  std::queue<std::size_t> subGraphs;
  bool hasApplied = false;
  bool endReached = false;
};

}  // namespace

std::string prospectName(Prospect prospect) {
  switch (prospect) {
    case Prospect::FullApply:
      return "full apply";
    case Prospect::AutoApply:
      return "auto apply";
    case Prospect::SignalOnly:
      return "signal only";
    case Prospect::PassedOver:
      return "passed over";
    case Prospect::NotReached:
      return "not reached";
  }
  return {};
}

RunEstimate explainBefore(const RunRange& range, const EstimateOptions& options) {
  return Rehearsal(range, options).run();
}

RunEstimate explainBefore(const ModulePtr& start, const ModulePtr& end,
                          const std::shared_ptr<Object>& object) {
  return explainBefore(RunRange{object, start, end, {}});
}

namespace {

std::string answersCell(const PolicyAnswers& answers) {
  std::string text;
  const auto add = [&text](bool answer, char letter) { text += answer ? letter : '-'; };
  add(answers.updateInfoRelevant, 'r');
  add(answers.applyNecessary, 'n');
  add(answers.applyPossible, 'p');
  text += ' ';
  add(answers.autoApplyNecessary, 'n');
  add(answers.autoApplyPossible, 'p');
  text += ' ';
  add(answers.updateAlways, 'a');
  add(answers.usesSharedResources, 's');
  return text;
}

constexpr const char* kLegend =
    "\nAnswers: of the full apply relevant (r), necessary (n), possible (p); of the auto apply"
    "\nnecessary (n), possible (p); updates always (a), uses shared resources (s); - for no.\n";

}  // namespace

std::string tableOf(const RunEstimate& estimate, std::size_t width) {
  using Align = TextTable::Align;
  TextTable table({{"#", Align::Right, 0},
                   {"module", Align::Left, kWidestName},
                   {"would be", Align::Left, 0},
                   {"answers", Align::Left, 0},
                   {"why", Align::Left, 0}},
                  width);
  std::size_t number = 0;
  for (const EstimatedStep& step : estimate.steps) {
    const bool isReached = step.prospect != Prospect::NotReached;
    const std::string doubt = step.mayChangeBy ? "?" : "";
    table.addRow({isReached ? std::to_string(++number) : std::string(), step.name,
                  prospectName(step.prospect) + doubt, answersCell(step.answers), step.reason});
  }
  std::string heading =
      "First estimate of an update from " + estimate.start + " to " + estimate.end;
  heading += estimate.horizon.empty() ? "" : ", horizon " + estimate.horizon;
  heading += "; answers may change during the run, and messages travel only then";
  std::string text;
  for (const std::string& line : brokenInto(width, heading)) {
    text += line + "\n";
  }
  return text + "\n" + table.text() + kLegend;
}

nlohmann::ordered_json toJson(const RunEstimate& estimate) {
  using Json = nlohmann::ordered_json;
  Json steps = Json::array();
  for (const EstimatedStep& step : estimate.steps) {
    steps.push_back({{"module", step.name},
                     {"place", placeKey(step.place)},
                     {"prospect", prospectName(step.prospect)},
                     {"reason", step.reason},
                     {"mayChangeBy", step.mayChangeBy ? Json(estimate.steps[*step.mayChangeBy].name)
                                                      : Json(nullptr)},
                     {"answers", toJson(std::optional(step.answers))},
                     {"flags", toJson(std::optional(step.flags))}});
  }
  return inUtf8({{"isEstimate", true},
                 {"start", estimate.start},
                 {"end", estimate.end},
                 {"horizon", estimate.horizon.empty() ? Json(nullptr) : Json(estimate.horizon)},
                 {"steps", std::move(steps)}});
}

}  // namespace Tessaril::Diagnostics
