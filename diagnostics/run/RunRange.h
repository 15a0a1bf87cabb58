#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "diagnostics/graph/GraphSnapshot.h"

namespace Tessaril {

class ApplyModule;
class ApplyUpdateInfo;
class ApplyUpdateMessage;
class Object;

namespace Diagnostics {

/// What an update is asked to bring up to date: the arguments of UpdateApplyModulesCmd.
struct RunRange {
  std::weak_ptr<Object> object;
  std::weak_ptr<ApplyModule> start;
  std::weak_ptr<ApplyModule> end;
  /// Empty for none.
  std::weak_ptr<ApplyModule> horizon;
};

/// Where a module lies, seen from an update.
enum class Place {
  /// The end, or something that it depends on.
  OnTheWay,
  /// Reachable from the start, but neither on the way nor behind the end.
  OffTheWay,
  BehindEnd,
};

/// "on the way", "off the way", "behind the end".
std::string placeName(Place place);

/// A module that an update might meet.
struct RangeModule {
  std::shared_ptr<ApplyModule> module;
  std::string name;
  Place place = Place::OnTheWay;
};

/// What `naming` says, else the path from `origin` (without one, or in another tree, the name) of a
/// module that is an object, else "module 3" with the given number.
std::string moduleName(const ApplyModule& module, const Object* origin, const ModuleNaming& naming,
                       std::size_t number);

/// Everything that can be reached from the start of a range: first what an ordered traversal
/// visits, in its order, then what lies on or behind a cycle, in that of forAllFollowingModules(),
/// then, where the start does not lead to it, the end with what follows it. Empty when start or end
/// is gone.
///
/// Modules are called by moduleName(), with the range's object as origin.
/// Asks the modules nothing. Linear in the modules and links.
std::vector<RangeModule> modulesOf(const RunRange& range, const ModuleNaming& naming);

/// What a module answers to the questions of an update.
struct PolicyAnswers {
  bool updateInfoRelevant = false;
  bool applyNecessary = false;
  bool applyPossible = false;
  bool autoApplyNecessary = false;
  bool autoApplyPossible = false;
  bool updateAlways = false;
  bool usesSharedResources = false;

  friend bool operator==(const PolicyAnswers&, const PolicyAnswers&) = default;
};

/// Asks each question once, and passes on what the module throws.
PolicyAnswers askModule(const ApplyModule& module, const ApplyUpdateInfo& info, bool isEnd);
SnapshotFlags flagsOf(const ApplyModule& module);

/// One message that a command carried.
struct MessageNote {
  /// Its class with namespaces, or what the recorder was told to call it.
  std::string name;
  /// Both empty where the message was not asked.
  std::optional<bool> empty;
  std::optional<bool> global;

  friend bool operator==(const MessageNote&, const MessageNote&) = default;
};

using MessageNaming = std::function<std::string(const ApplyUpdateMessage&)>;

/// The messages in list order; with `ask`, each is asked whether it is empty and global.
std::vector<MessageNote> notesOf(const ApplyUpdateInfo& info, const MessageNaming& naming,
                                 bool ask);

}  // namespace Diagnostics
}  // namespace Tessaril
