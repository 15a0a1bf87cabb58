#include "diagnostics/guards/GraphGuard.h"

#include <algorithm>

#include "diagnostics/graph/DisplayText.h"
#include "diagnostics/guards/LinkImage.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

// The guard's own lock is never held while something of others is called: names are made before,
// texts and reports after.

namespace Tessaril::Diagnostics {
namespace {

using Kind = GraphWork::Kind;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }
std::string onThread(unsigned thread) { return "on thread " + std::to_string(thread); }

std::string runText(const GraphWork& run) {
  std::string text =
      "the update " + quoted(run.name) + ", started " + onThread(run.thread) + ", ran";
  if (!run.lastCommandOf.empty()) {
    text += " (its last command was prepared for " + run.lastCommandOf;
    if (run.subCommandThread) {
      text += "; one is executed " + onThread(*run.subCommandThread);
    }
    text += ")";
  }
  return text;
}

std::string workText(const GraphWork& work) {
  const std::string of = work.module.empty() ? std::string() : " of " + work.module;
  switch (work.kind) {
    case Kind::Run:
      return runText(work);
    case Kind::Walk:
      return quoted(work.name) + of + " walked " + onThread(work.thread);
    case Kind::Hook:
    case Kind::Question:
    case Kind::Operation:
      break;
  }
  return work.name + of + " was called " + onThread(work.thread);
}

std::string offenceText(const GuardViolation& offence, GraphWork::Kind kind,
                        const std::string& links) {
  if (!offence.update.empty()) {
    return offence.operation + " of the update " + quoted(offence.update) + " was called " +
           onThread(offence.thread);
  }
  if (!links.empty()) {
    const std::string edited =
        kind == Kind::Hook ? "edited " + onThread(offence.thread) : "found edited";
    return "the links of " + offence.module + " were " + edited + " (" + links + ")";
  }
  return workText({kind, offence.operation, offence.module, offence.thread, {}, {}});
}

std::string ongoingText(const std::vector<GraphWork>& ongoing) {
  std::string text;
  for (const GraphWork& work : ongoing) {
    text += (text.empty() ? " while " : ", and ") + workText(work);
  }
  return text;
}

}  // namespace

struct GraphGuard::Work {
  WorkNumber number = 0;
  std::thread::id thread;
  /// Of a run.
  const void* update = nullptr;
  std::optional<std::thread::id> subCommandThread{};
  /// Of a run; null where links are not compared.
  std::shared_ptr<LinkImage> image{};
  /// Edits of this step have been reported.
  bool hasReportedEdit = false;
  GraphWork told;
};

struct GraphGuard::Offender {
  Kind kind = Kind::Operation;
  std::string operation;
  /// Null where it is an update's operation.
  const ApplyModule* module = nullptr;
  std::string update{};
  /// An edit of the module's links.
  bool isEdit = false;
};

GraphGuard::GraphGuard(ViolationHandler theHandler, ModuleNaming theNaming)
    : handler(std::move(theHandler)), naming(std::move(theNaming)) {}
GraphGuard::~GraphGuard() = default;

GraphGuard::WorkNumber GraphGuard::beginWork(Kind kind, std::string_view name,
                                             const ApplyModule* module) {
  enforce([this] { return ruleOfThread(); }, {kind, std::string(name), module});
  return add(kind, std::string(name), module);
}

GraphGuard::WorkNumber GraphGuard::beginHook(const ApplyModule& module) {
  {
    const std::lock_guard lock(mutex);
    for (Work& work : works) {
      work.hasReportedEdit = true;
    }
  }
  enforce([this] { return ruleAgainstEdit(); },
          {Kind::Hook, "onApplyGraphChanged", &module, {}, true});
  return add(Kind::Hook, "onApplyGraphChanged", &module);
}

void GraphGuard::endWork(WorkNumber number) noexcept {
  const std::lock_guard lock(mutex);
  std::erase_if(works, [number](const Work& work) { return work.number == number; });
}

void GraphGuard::beginRun(const void* update, const std::string& description) {
  aboutToCall("startExecution", description, nullptr);
  std::shared_ptr<LinkImage> image = imageOfLinks();
  const std::lock_guard lock(mutex);
  Work& run = append(Kind::Run);
  run.update = update;
  run.image = std::move(image);
  run.told.name = description;
}

void GraphGuard::aboutToCall(std::string_view operation, const std::string& description,
                             const void* blockedBy) {
  const auto rule = [this, blockedBy]() -> std::optional<GraphRule> {
    const bool isBlocked = std::any_of(works.begin(), works.end(), [blockedBy](const Work& work) {
      return work.told.kind == Kind::Run && (blockedBy == nullptr || work.update == blockedBy);
    });
    return isBlocked ? std::optional(GraphRule::NoStartDuringRun) : std::nullopt;
  };
  enforce(rule, {Kind::Run, std::string(operation), nullptr, description});
}

void GraphGuard::aboutToContinue(const void* update, const std::string& description) {
  const auto rule = [this, update]() -> std::optional<GraphRule> {
    const Work* const run = findRun(update);
    const bool isOther = run != nullptr && run->thread != std::this_thread::get_id();
    return isOther ? std::optional(GraphRule::OneThread) : std::nullopt;
  };
  enforce(rule, {Kind::Run, "continueExecution", nullptr, description});
}

void GraphGuard::commandPrepared(const void* update, const ApplyModule* module) {
  const std::string name = module == nullptr ? std::string() : nameOf(*module);
  const std::lock_guard lock(mutex);
  if (Work* const run = findRun(update)) {
    run->told.lastCommandOf = name;
  }
}

void GraphGuard::compareLinks(const void* update) {
  std::shared_ptr<LinkImage> image;
  bool hasReportedEdit = false;
  {
    const std::lock_guard lock(mutex);
    if (Work* const run = findRun(update)) {
      image = run->image;
      hasReportedEdit = std::exchange(run->hasReportedEdit, false);
    }
  }
  if (image == nullptr) {
    return;
  }
  const auto edited = image->takeEdited();
  if (hasReportedEdit) {
    return;
  }
  for (const auto& module : edited) {
    enforce([] { return GraphRule::NoEditDuringRun; },
            {Kind::Operation, "comparison of links", module.get(), {}, true});
  }
}

void GraphGuard::subCommandBegins(const void* update) {
  const std::lock_guard lock(mutex);
  if (Work* const run = findRun(update)) {
    run->subCommandThread = std::this_thread::get_id();
    run->told.subCommandThread = numberOf(std::this_thread::get_id());
  }
}

// May come late, when the next sub-command has begun on another thread.
void GraphGuard::subCommandEnds(const void* update) noexcept {
  const std::lock_guard lock(mutex);
  Work* const run = findRun(update);
  if (run != nullptr && run->subCommandThread == std::this_thread::get_id()) {
    run->subCommandThread.reset();
    run->told.subCommandThread.reset();
  }
}

void GraphGuard::watchLinksOf(const std::shared_ptr<const ApplyModule>& module) {
  const std::lock_guard lock(mutex);
  std::erase_if(watched, [](const auto& origin) { return origin.expired(); });
  watched.push_back(module);
}

GraphGuard::WorkNumber GraphGuard::getLastWork() const {
  const std::lock_guard lock(mutex);
  return lastWork;
}

void GraphGuard::endRuns(const void* update, WorkNumber after) noexcept {
  const std::lock_guard lock(mutex);
  std::erase_if(works, [update, after](const Work& work) {
    return work.update == update && work.told.kind == Kind::Run && work.number > after;
  });
}

void GraphGuard::enforce(const BrokenRule& brokenRule, const Offender& offender) {
  GuardViolation violation;
  {
    const std::lock_guard lock(mutex);
    const std::optional<GraphRule> rule = brokenRule();
    if (!rule) {
      return;
    }
    violation.rule = *rule;
    violation.thread = numberOf(std::this_thread::get_id());
    for (const Work& work : works) {
      violation.ongoing.push_back(work.told);
    }
  }
  violation.operation = offender.operation;
  violation.update = offender.update;
  std::string links;
  if (offender.module != nullptr) {
    violation.module = nameOf(*offender.module);
    links = offender.isEdit ? linksOf(*offender.module) : std::string();
  }
  violation.text =
      cleanText(ruleName(violation.rule) + ": " + offenceText(violation, offender.kind, links) +
                ongoingText(violation.ongoing));
  if (handler) {
    handler(violation);
  }
}

GraphGuard::WorkNumber GraphGuard::add(Kind kind, std::string name, const ApplyModule* module) {
  std::string moduleName = module == nullptr ? std::string() : nameOf(*module);
  const std::lock_guard lock(mutex);
  Work& work = append(kind);
  work.told.name = std::move(name);
  work.told.module = std::move(moduleName);
  return work.number;
}

GraphGuard::Work& GraphGuard::append(Kind kind) {
  Work& work = works.emplace_back();
  work.number = ++lastWork;
  work.thread = std::this_thread::get_id();
  work.told.kind = kind;
  work.told.thread = numberOf(work.thread);
  return work;
}

std::optional<GraphRule> GraphGuard::ruleOfThread() const {
  const auto thread = std::this_thread::get_id();
  const bool isForeign = std::any_of(works.begin(), works.end(), [thread](const Work& work) {
    const bool ownsGraph = work.told.kind == Kind::Run || work.told.kind == Kind::Hook;
    return ownsGraph && work.thread != thread && work.subCommandThread != thread;
  });
  return isForeign ? std::optional(GraphRule::OneThread) : std::nullopt;
}

// Of several the widest one: what is wrong with the edit is its moment.
std::optional<GraphRule> GraphGuard::ruleAgainstEdit() const {
  constexpr std::pair<Kind, GraphRule> kRules[] = {
      {Kind::Run, GraphRule::NoEditDuringRun},
      {Kind::Walk, GraphRule::NoEditDuringWalk},
      {Kind::Hook, GraphRule::NoEditDuringEdit},
      {Kind::Question, GraphRule::NoEditDuringQuestion},
  };
  for (const auto& [kind, rule] : kRules) {
    if (std::any_of(works.begin(), works.end(), [forbidding = kind](const Work& work) {
          return work.told.kind == forbidding;
        })) {
      return rule;
    }
  }
  return std::nullopt;
}

std::shared_ptr<LinkImage> GraphGuard::imageOfLinks() const {
  std::vector<std::weak_ptr<const ApplyModule>> origins;
  {
    const std::lock_guard lock(mutex);
    origins = watched;
  }
  return origins.empty() ? nullptr : std::make_shared<LinkImage>(origins);
}

GraphGuard::Work* GraphGuard::findRun(const void* update) {
  const auto run = std::find_if(works.rbegin(), works.rend(), [update](const Work& work) {
    return work.told.kind == Kind::Run && work.update == update;
  });
  return run == works.rend() ? nullptr : &*run;
}

unsigned GraphGuard::numberOf(std::thread::id thread) {
  return threadNumbers.try_emplace(thread, static_cast<unsigned>(threadNumbers.size() + 1))
      .first->second;
}

std::string GraphGuard::nameOf(const ApplyModule& module) const {
  std::string name = naming ? naming(module) : std::string();
  const auto* const object = dynamic_cast<const Object*>(&module);
  if (name.empty() && object != nullptr) {
    name = object->getParent() == nullptr ? object->getName()
                                          : object->getPath(RequestedPathType::Absolute).toString();
  }
  return name.empty() ? "a module without a name" : name;
}

std::string GraphGuard::linksOf(const ApplyModule& module) const {
  const auto namesOf = [this](const std::vector<std::weak_ptr<ApplyModule>>& links) {
    std::string names;
    for (const auto& link : links) {
      const std::shared_ptr<ApplyModule> neighbour = link.lock();
      names += (names.empty() ? "" : ", ") +
               (neighbour == nullptr ? std::string("one that is gone") : nameOf(*neighbour));
    }
    return names.empty() ? std::string("nothing") : names;
  };
  return "it follows " + namesOf(module.getPreviousApplyModules()) + " and leads to " +
         namesOf(module.getNextApplyModules()) + " now";
}

}  // namespace Tessaril::Diagnostics
