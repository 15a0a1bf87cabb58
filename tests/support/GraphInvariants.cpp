#include "tests/support/GraphInvariants.h"

#include <algorithm>
#include <set>

namespace Tessaril::TestSupport {

namespace {

using Links = std::vector<std::weak_ptr<ApplyModule>>;
using Sentences = std::vector<std::string>;

std::vector<ModulePtr> liveModules(const Links& links) {
  std::vector<ModulePtr> modules;
  for (const auto& link : links) {
    if (auto module = link.lock()) {
      modules.push_back(module);
    }
  }
  return modules;
}

bool isMember(const TestGraph& graph, const ModulePtr& module) {
  return std::any_of(graph.begin(), graph.end(),
                     [&](const auto& member) { return member.module == module; });
}

std::string timesText(std::ptrdiff_t count) {
  return count == 2 ? "twice" : count == 3 ? "thrice" : std::to_string(count) + " times";
}

// One list of one module, seen from that module.
struct Side {
  const Links& (ApplyModule::*list)() const;
  bool (ApplyModule::*knows)(ModulePtr) const;
  bool forwards;
};

constexpr Side kSides[] = {
    {&ApplyModule::getNextApplyModules, &ApplyModule::hasPreviousApplyModule, true},
    {&ApplyModule::getPreviousApplyModules, &ApplyModule::hasNextApplyModule, false},
};

void checkList(const TestGraph& graph, const TestGraph::Member& member, const Side& side,
               Sentences& sentences) {
  const auto neighbours = liveModules((member.module.get()->*side.list)());
  for (auto place = neighbours.begin(); place != neighbours.end(); ++place) {
    if (std::find(neighbours.begin(), place, *place) != place) {
      continue;
    }
    const auto other = graph.nameOf(*place);
    const auto link = side.forwards ? member.name + " -> " + other : other + " -> " + member.name;
    if (*place == member.module) {
      sentences.push_back(link + " links a module with itself");
    } else if (isMember(graph, *place) && !((*place).get()->*side.knows)(member.module)) {
      sentences.push_back(link + " is not known to " + other);
    }
    const auto count = std::count(place, neighbours.end(), *place);
    if (count > 1) {
      sentences.push_back(link + " stands " + timesText(count) + " in " + member.name);
    }
  }
}

std::string chainNames(const std::set<std::string>& names) {
  std::string result;
  for (const auto& name : names) {
    result += (result.empty() ? "" : "+") + name;
  }
  return result;
}

void checkStartFlag(const TestGraph::Member& member, Sentences& sentences) {
  const auto& module = *member.module;
  const auto previous = liveModules(module.getPreviousApplyModules());
  const bool goesOnBackwards = std::any_of(
      previous.begin(), previous.end(),
      [&](const ModulePtr& parent) { return parent->getChainId() == module.getChainId(); });
  if (module.isStartOfSideChain() && previous.empty()) {
    sentences.push_back(member.name + " starts a side chain but follows nothing");
  } else if (module.isStartOfSideChain() && goesOnBackwards) {
    sentences.push_back(member.name + " starts a side chain within its chain");
  } else if (!module.isStartOfSideChain() && !previous.empty() && !goesOnBackwards &&
             module.getInsertMode() == ApplyModuleInsertInfo::StartSideChain) {
    sentences.push_back(member.name + " is in side mode but not flagged");
  }
}

void checkMerge(const TestGraph::Member& member, Sentences& sentences) {
  const auto& module = *member.module;
  const auto previous = liveModules(module.getPreviousApplyModules());
  const auto count = std::to_string(previous.size());
  const bool isMerge = module.getInsertMode() == ApplyModuleInsertInfo::MergeFork;
  if (isMerge && previous.size() < 2) {
    sentences.push_back(member.name + " is in merge mode but has " + count + " previous");
  } else if (!isMerge && previous.size() > 1) {
    sentences.push_back(member.name + " has " + count + " previous but is not in merge mode");
  } else if (isMerge) {
    std::set<std::string> merged;
    for (const auto& id : module.getMergeChainIds()) {
      merged.insert(chainName(id));
    }
    std::set<std::string> followed;
    for (const auto& parent : previous) {
      followed.insert(chainName(parent->getChainId()));
    }
    if (merged != followed) {
      sentences.push_back(member.name + " merges " + chainNames(merged) + " but follows " +
                          chainNames(followed));
    }
  }
}

}  // namespace

std::vector<std::string> linkViolations(const TestGraph& graph) {
  Sentences sentences;
  for (const auto& member : graph) {
    for (const auto& side : kSides) {
      checkList(graph, member, side, sentences);
    }
  }
  // A link of a module with itself is met on both sides.
  Sentences unique;
  for (const auto& sentence : sentences) {
    if (std::find(unique.begin(), unique.end(), sentence) == unique.end()) {
      unique.push_back(sentence);
    }
  }
  return unique;
}

std::vector<std::string> chainViolations(const TestGraph& graph) {
  Sentences sentences;
  for (const auto& member : graph) {
    checkStartFlag(member, sentences);
    checkMerge(member, sentences);
  }
  return sentences;
}

}  // namespace Tessaril::TestSupport
