#include "tools/inspect/RunFile.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_map>
#include <utility>

#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tools/inspect/Commands.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::Deed;
using Diagnostics::Microseconds;
using Diagnostics::Place;
using Diagnostics::ReportedModule;
using Diagnostics::RunReport;
using Diagnostics::RunStep;
using nlohmann::json;

[[noreturn]] void refuse(const std::string& why) { throw InputError("no recorded run: " + why); }

std::string quoted(const std::string& text) { return '"' + text + '"'; }

const json& valueOf(const json& object, const char* key) {
  if (!object.is_object() || !object.contains(key)) {
    refuse(quoted(key) + " is missing");
  }
  return object.at(key);
}

const json& listOf(const json& object, const char* key) {
  const json& list = valueOf(object, key);
  if (!list.is_array()) {
    refuse(quoted(key) + " is no list");
  }
  return list;
}

/// Empty for null.
std::string textOf(const json& object, const char* key) {
  const json& value = valueOf(object, key);
  if (!value.is_string() && !value.is_null()) {
    refuse(quoted(key) + " is no text");
  }
  return value.is_null() ? std::string() : value.get<std::string>();
}

/// Times and percentages: none is negative, or beyond the age of a person.
std::optional<double> numberOf(const json& object, const char* key) {
  const json& value = valueOf(object, key);
  if (value.is_null()) {
    return std::nullopt;
  }
  if (!value.is_number()) {
    refuse(quoted(key) + " is no number");
  }
  constexpr double kHighest = 1e15;
  if (!(value.get<double>() >= 0.0 && value.get<double>() <= kHighest)) {
    refuse(quoted(key) + " is " + value.dump());
  }
  return value.get<double>();
}

std::optional<Microseconds> durationOf(const json& object, const char* key) {
  const std::optional<double> number = numberOf(object, key);
  return number ? std::optional(Microseconds(*number)) : std::nullopt;
}

std::optional<int> rateOf(const json& object, const char* key) {
  constexpr double kHighest = 5.0;
  const std::optional<double> number = numberOf(object, key);
  if (!number) {
    return std::nullopt;
  }
  if (*number > kHighest || *number != std::floor(*number)) {
    refuse(quoted(key) + " is " + valueOf(object, key).dump() + ", which is no speed rate");
  }
  return static_cast<int>(*number);
}

/// What a key may say, and what it means.
template <typename Meaning, std::size_t count>
Meaning meaningOf(const json& object, const char* key,
                  const std::array<std::pair<const char*, Meaning>, count>& known) {
  const std::string text = textOf(object, key);
  for (const auto& [word, meaning] : known) {
    if (text == word) {
      return meaning;
    }
  }
  refuse(quoted(key) + " is " + quoted(text));
}

Deed deedOf(const json& step) {
  for (const Deed deed :
       {Deed::FullApply, Deed::AutoApply, Deed::MessageHandled, Deed::Signalled, Deed::PassedOver,
        Deed::NoApplyCommand, Deed::Suppressed, Deed::Cancelled, Deed::NotReached, Deed::Undone,
        Deed::NotSeen, Deed::Redone, Deed::ExecutedAgain}) {
    if (deedName(deed) == textOf(step, "done")) {
      return deed;
    }
  }
  refuse("\"done\" is " + quoted(textOf(step, "done")));
}

/// Places in a list of `count`.
std::vector<std::size_t> indicesOf(const json& object, const char* key, std::size_t count) {
  std::vector<std::size_t> indices;
  for (const json& index : listOf(object, key)) {
    if (!index.is_number_unsigned() || index.get<std::uint64_t>() >= count) {
      refuse(quoted(key) + " names a module that is not there");
    }
    indices.push_back(index.get<std::size_t>());
  }
  return indices;
}

ReportedModule moduleOf(const json& described, std::size_t modules) {
  constexpr std::array<std::pair<const char*, Place>, 3> kPlaces{{{"onTheWay", Place::OnTheWay},
                                                                  {"offTheWay", Place::OffTheWay},
                                                                  {"behindEnd", Place::BehindEnd}}};
  ReportedModule module;
  module.name = textOf(described, "name");
  module.place = meaningOf(described, "place", kPlaces);
  module.next = indicesOf(described, "next", modules);
  module.speedRate = rateOf(described, "speedRate");
  return module;
}

class RunReader {
 public:
  RunReport read(const json& recorded) {
    constexpr std::array<std::pair<const char*, RunReport::Kind>, 3> kKinds{
        {{"run", RunReport::Kind::Run},
         {"undo", RunReport::Kind::Undo},
         {"redo", RunReport::Kind::Redo}}};
    report.kind = meaningOf(recorded, "kind", kKinds);
    report.description = textOf(recorded, "description");
    report.duration = durationOf(recorded, "durationMicroseconds").value_or(Microseconds(0.0));
    const json& modules = listOf(recorded, "modules");
    for (const json& module : modules) {
      report.modules.push_back(moduleOf(module, modules.size()));
      indices.try_emplace(report.modules.back().name, report.modules.size() - 1);
    }
    for (const json& step : listOf(recorded, "steps")) {
      report.steps.push_back(stepOf(step));
    }
    return std::move(report);
  }

 private:
  RunStep stepOf(const json& recorded) const {
    RunStep step;
    const auto module = indices.find(textOf(recorded, "module"));
    if (module == indices.end()) {
      refuse(quoted(textOf(recorded, "module")) + " is none of its modules");
    }
    step.module = module->second;
    step.deed = deedOf(recorded);
    step.reason = textOf(recorded, "reason");
    step.failure = textOf(recorded, "failure");
    step.begin = durationOf(recorded, "beginMicroseconds");
    step.duration = durationOf(recorded, "durationMicroseconds");
    step.progressAfter = numberOf(recorded, "progressAfter");
    return step;
  }

  RunReport report;
  std::unordered_map<std::string, std::size_t> indices;
};

std::vector<RunReport> runsOf(const json& recorded) {
  std::vector<RunReport> runs;
  if (!recorded.is_array()) {
    runs.push_back(RunReader().read(recorded));
  } else {
    for (const json& one : recorded) {
      runs.push_back(RunReader().read(one));
    }
  }
  return runs;
}

json parsed(const std::string& text) {
  try {
    return json::parse(text);
  } catch (const json::parse_error& e) {
    throw InputError("no JSON: it breaks off or goes wrong at byte " + std::to_string(e.byte));
  }
}

}  // namespace

std::vector<RunReport> readRuns(const std::string& file) {
  const std::string text = ReferencePlatform::readFile(file);
  try {
    return runsOf(parsed(text));
  } catch (const InputError& e) {
    throw InputError(file + ": " + e.what());
  }
}

}  // namespace Tessaril::Inspect
