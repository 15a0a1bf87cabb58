#include "diagnostics/run/RunJson.h"

#include <algorithm>
#include <utility>

#include "diagnostics/run/RunReasons.h"

namespace Tessaril::Diagnostics {

using Json = nlohmann::ordered_json;

Json toJson(const std::optional<PolicyAnswers>& answers) {
  if (!answers) {
    return nullptr;
  }
  return {{"updateInfoRelevant", answers->updateInfoRelevant},
          {"applyNecessary", answers->applyNecessary},
          {"applyPossible", answers->applyPossible},
          {"autoApplyNecessary", answers->autoApplyNecessary},
          {"autoApplyPossible", answers->autoApplyPossible},
          {"updateAlways", answers->updateAlways},
          {"usesSharedResources", answers->usesSharedResources}};
}

Json toJson(const std::optional<SnapshotFlags>& flags) {
  if (!flags) {
    return nullptr;
  }
  return {{"active", flags->active},
          {"consistent", flags->consistent},
          {"inputOk", flags->inputOk},
          {"frozen", flags->frozen},
          {"skipped", flags->skipped}};
}

namespace {

void putIntoUtf8(std::string& text) {
  const bool isAscii = std::all_of(text.begin(), text.end(), [](char letter) {
    return static_cast<unsigned char>(letter) < 0x80;
  });
  if (!isAscii) {
    const std::string written = Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    text = Json::parse(written).get<std::string>();
  }
}

void putIntoUtf8(Json& json) {
  if (auto* const text = json.get_ptr<Json::string_t*>()) {
    putIntoUtf8(*text);
  } else if (json.is_structured()) {
    for (Json& part : json) {
      putIntoUtf8(part);
    }
  }
}

}  // namespace

Json inUtf8(Json json) {
  putIntoUtf8(json);
  return json;
}

std::string placeKey(Place place) {
  switch (place) {
    case Place::OnTheWay:
      return "onTheWay";
    case Place::OffTheWay:
      return "offTheWay";
    case Place::BehindEnd:
      return "behindEnd";
  }
  return {};
}

namespace {

std::string kindKey(RunReport::Kind kind) {
  switch (kind) {
    case RunReport::Kind::Run:
      return "run";
    case RunReport::Kind::Undo:
      return "undo";
    case RunReport::Kind::Redo:
      return "redo";
  }
  return {};
}

Json toJson(const std::vector<MessageNote>& messages) {
  Json list = Json::array();
  for (const MessageNote& message : messages) {
    list.push_back({{"name", message.name},
                    {"empty", orNull(message.empty)},
                    {"global", orNull(message.global)}});
  }
  return list;
}

Json nameOf(const RunReport& report, const std::optional<std::size_t>& module) {
  return module ? Json(report.modules[*module].name) : Json(nullptr);
}

Json microseconds(const std::optional<Microseconds>& duration) {
  return duration ? Json(duration->count()) : Json(nullptr);
}

Json toJson(const RunReport& report, const RunStep& step) {
  return {{"module", report.modules[step.module].name},
          {"done", deedName(step.deed)},
          {"reason", step.reason},
          {"failure", step.failure.empty() ? Json(nullptr) : Json(step.failure)},
          {"beginMicroseconds", microseconds(step.begin)},
          {"durationMicroseconds", microseconds(step.duration)},
          {"durationIsBound", step.durationIsBound},
          {"thread", orNull(step.thread)},
          {"answers", toJson(step.answers)},
          {"flags", toJson(step.flags)},
          {"changedBefore", nameOf(report, step.changedBefore)},
          {"inconsistentBefore", nameOf(report, step.inconsistentBefore)},
          {"received", toJson(step.received)},
          {"left", toJson(step.left)},
          {"progressBefore", orNull(step.progressBefore)},
          {"progressAfter", orNull(step.progressAfter)}};
}

Json toJson(const ReportedModule& module) {
  return {{"name", module.name},
          {"place", placeKey(module.place)},
          {"next", module.next},
          {"speedRate", orNull(module.speedRate)},
          {"consistent", orNull(module.consistent)},
          {"commandsWatched", module.commandsWatched}};
}

}  // namespace

Json toJson(const RunReport& report) {
  Json json{{"kind", kindKey(report.kind)},
            {"outcome", outcomeName(report.outcome)},
            {"description", report.description},
            {"failure", report.failure.empty() ? Json(nullptr) : Json(report.failure)},
            {"start", nameOf(report, report.start)},
            {"end", nameOf(report, report.end)},
            {"horizon", nameOf(report, report.horizon)},
            {"announced", report.announced},
            {"durationMicroseconds", report.duration.count()}};
  Json modules = Json::array();
  for (const ReportedModule& module : report.modules) {
    modules.push_back(toJson(module));
  }
  Json steps = Json::array();
  for (const RunStep& step : report.steps) {
    steps.push_back(toJson(report, step));
  }
  json["modules"] = std::move(modules);
  json["steps"] = std::move(steps);
  json["stillInconsistent"] = stillInconsistent(report);
  return inUtf8(std::move(json));
}

namespace {

constexpr int kProcess = 1;

/// Writes trace events of one run behind the other.
class Trace {
 public:
  void add(const RunReport& report) {
    lastEnd = Microseconds(0.0);
    Json run = event("X", titleOf(report), kindKey(report.kind), Microseconds(0.0), 0);
    run["dur"] = report.duration.count();
    run["args"] = {{"outcome", outcomeName(report.outcome)}};
    events.push_back(std::move(run));
    for (const RunStep& step : report.steps) {
      if (step.begin) {
        addExecution(report, step);
      } else if (wasSeen(step.deed)) {
        addDecision(report, step);
      }
    }
    offset += report.duration;
  }

  Json take() {
    Json all = Json::array();
    all.push_back(named("process_name", 0, "apply framework"));
    for (unsigned thread = 0; thread <= workers; ++thread) {
      all.push_back(named("thread_name", thread,
                          thread == 0 ? "update" : "worker " + std::to_string(thread)));
    }
    for (Json& event : events) {
      all.push_back(std::move(event));
    }
    // An object that grows copies what it holds.
    Json trace = Json::object();
    trace.get_ref<Json::object_t&>().reserve(2);
    trace["traceEvents"] = std::move(all);
    trace["displayTimeUnit"] = "ms";
    return trace;
  }

 private:
  static Json named(const char* what, unsigned thread, const std::string& name) {
    return {{"name", what},
            {"ph", "M"},
            {"pid", kProcess},
            {"tid", thread},
            {"args", {{"name", name}}}};
  }

  Json event(const char* phase, const std::string& name, const std::string& category,
             Microseconds begin, unsigned thread) const {
    return {{"name", name},    {"cat", category}, {"ph", phase}, {"ts", (offset + begin).count()},
            {"pid", kProcess}, {"tid", thread}};
  }

  void addExecution(const RunReport& report, const RunStep& step) {
    const unsigned thread = step.thread.value_or(0);
    workers = std::max(workers, thread);
    Json execution =
        event("X", report.modules[step.module].name, deedName(step.deed), *step.begin, thread);
    execution["dur"] = step.duration.value_or(Microseconds(0.0)).count();
    execution["args"] = arguments(step);
    lastEnd = *step.begin + step.duration.value_or(Microseconds(0.0));
    events.push_back(std::move(execution));
  }

  // Decisions take no time of their own: they stand where what was executed before them ended.
  void addDecision(const RunReport& report, const RunStep& step) {
    Json decision = event("i", report.modules[step.module].name, deedName(step.deed), lastEnd, 0);
    decision["s"] = "t";
    decision["args"] = arguments(step);
    events.push_back(std::move(decision));
  }

  static Json arguments(const RunStep& step) {
    Json arguments{{"why", step.reason}};
    if (!step.failure.empty()) {
      arguments["failure"] = step.failure;
    }
    if (!step.received.empty()) {
      arguments["received"] = joinedNames(step.received);
    }
    if (step.durationIsBound) {
      arguments["atMost"] = true;
    }
    return arguments;
  }

  Json events = Json::array();
  Microseconds offset{0.0};
  Microseconds lastEnd{0.0};
  unsigned workers = 0;
};

}  // namespace

Json traceOf(const std::vector<RunReport>& reports) {
  Trace trace;
  for (const RunReport& report : reports) {
    trace.add(report);
  }
  return inUtf8(trace.take());
}

}  // namespace Tessaril::Diagnostics
