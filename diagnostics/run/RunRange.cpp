#include "diagnostics/run/RunRange.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <typeinfo>
#include <unordered_set>
#include <utility>

#include "tessaril/commands/ApplyUpdateInfo.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/framework_interfaces/ApplyUpdateMessage.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Diagnostics {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;

std::string pathFrom(const Object* origin, const ApplyModule& module) {
  const auto* object = dynamic_cast<const Object*>(&module);
  if (object == nullptr) {
    return {};
  }
  if (origin == nullptr || &object->getRoot() != &origin->getRoot()) {
    return object->getName();
  }
  try {
    return object->getPath(origin, RequestedPathType::Absolute).toString();
  } catch (const std::exception&) {
    // A tree of the host may have no path to what does not lie under the origin.
    return object->getName();
  }
}

class RangeReader {
 public:
  RangeReader(const RunRange& runRange, const ModuleNaming& moduleNaming)
      : object(runRange.object.lock()),
        start(runRange.start.lock()),
        end(runRange.end.lock()),
        naming(moduleNaming) {}

  std::vector<RangeModule> read() {
    if (start == nullptr || end == nullptr) {
      return {};
    }
    end->gatherAllDependencies(onTheWay, start);
    onTheWay.insert(end);
    end->gatherAllSuccessors(behindEnd, nullptr);
    ApplyGraph::forSemanticOrderedModuleRange([this](const ModulePtr& module) { add(module); },
                                              start, nullptr);
    const auto addAndGoOn = [this](const ModulePtr& module) {
      add(module);
      return true;
    };
    add(start);
    start->forAllFollowingModules(addAndGoOn);
    add(end);
    end->forAllFollowingModules(addAndGoOn);
    return std::move(modules);
  }

 private:
  void add(const ModulePtr& module) {
    if (!added.insert(module).second) {
      return;
    }
    modules.push_back(
        {module, moduleName(*module, object.get(), naming, modules.size() + 1), placeOf(module)});
  }

  Place placeOf(const ModulePtr& module) const {
    if (onTheWay.contains(module)) {
      return Place::OnTheWay;
    }
    return behindEnd.contains(module) ? Place::BehindEnd : Place::OffTheWay;
  }

  std::shared_ptr<Object> object;
  ModulePtr start;
  ModulePtr end;
  const ModuleNaming& naming;
  std::unordered_set<ModulePtr> onTheWay;
  std::unordered_set<ModulePtr> behindEnd;
  std::unordered_set<ModulePtr> added;
  std::vector<RangeModule> modules;
};

std::string classNameOf(const ApplyUpdateMessage& message) {
  const char* const mangled = typeid(message).name();
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 ? readable.get() : mangled;
}

}  // namespace

std::string moduleName(const ApplyModule& module, const Object* origin, const ModuleNaming& naming,
                       std::size_t number) {
  std::string name = naming ? naming(module) : std::string();
  if (name.empty()) {
    name = pathFrom(origin, module);
  }
  return name.empty() ? "module " + std::to_string(number) : name;
}

std::string placeName(Place place) {
  switch (place) {
    case Place::OnTheWay:
      return "on the way";
    case Place::OffTheWay:
      return "off the way";
    case Place::BehindEnd:
      return "behind the end";
  }
  return {};
}

std::vector<RangeModule> modulesOf(const RunRange& range, const ModuleNaming& naming) {
  return RangeReader(range, naming).read();
}

PolicyAnswers askModule(const ApplyModule& module, const ApplyUpdateInfo& info, bool isEnd) {
  PolicyAnswers answers;
  answers.updateInfoRelevant = module.isUpdateInfoRelevant(info);
  answers.applyNecessary = module.isApplyNecessary(isEnd);
  answers.applyPossible = module.isApplyPossible();
  answers.autoApplyNecessary = module.isAutoApplyNecessary();
  answers.autoApplyPossible = module.isAutoApplyPossible();
  answers.updateAlways = module.updateAlways();
  answers.usesSharedResources = module.usesSharedResources();
  return answers;
}

SnapshotFlags flagsOf(const ApplyModule& module) {
  return {module.isActive(), module.isConsistent(), module.isInputOk(), module.isFrozen(),
          module.isSkipped()};
}

std::vector<MessageNote> notesOf(const ApplyUpdateInfo& info, const MessageNaming& naming,
                                 bool ask) {
  std::vector<MessageNote> notes;
  for (const auto& message : ApplyUpdateInfo(info).getAllUpdateMessages()) {
    MessageNote& note = notes.emplace_back();
    note.name = naming ? naming(*message) : classNameOf(*message);
    if (ask) {
      note.empty = message->isEmpty();
      note.global = message->isGlobal();
    }
  }
  return notes;
}

}  // namespace Tessaril::Diagnostics
