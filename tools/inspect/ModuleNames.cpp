#include "tools/inspect/ModuleNames.h"

#include <algorithm>

#include "diagnostics/graph/ChainNames.h"
#include "tools/inspect/Commands.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::GraphSnapshot;
using Diagnostics::SnapshotModule;

bool endsWithPath(const std::string& name, const std::string& word) {
  return name.ends_with(word) && name.size() > word.size() &&
         name[name.size() - word.size() - 1] == '/';
}

std::vector<std::size_t> candidates(const std::vector<std::string>& names,
                                    const std::string& word) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == word) {
      return {i};
    }
    if (endsWithPath(names[i], word)) {
      found.push_back(i);
    }
  }
  return found;
}

std::vector<std::string> namesOf(const GraphSnapshot& snapshot) {
  std::vector<std::string> names;
  names.reserve(snapshot.modules.size());
  for (const SnapshotModule& module : snapshot.modules) {
    names.push_back(module.name);
  }
  return names;
}

}  // namespace

std::size_t findModule(const std::vector<std::string>& names, const std::string& word) {
  const std::vector<std::size_t> found =
      word.empty() ? std::vector<std::size_t>() : candidates(names, word);
  if (found.empty()) {
    throw InputError("there is no module \"" + word + "\"; 'tessaril-inspect show' lists them");
  }
  if (found.size() > 1) {
    throw InputError("\"" + word + "\" may be " + names[found[0]] + " or " + names[found[1]]);
  }
  return found.front();
}

std::size_t findModule(const GraphSnapshot& snapshot, const std::string& word) {
  return findModule(namesOf(snapshot), word);
}

ModulesByName::ModulesByName(const GraphSnapshot& snapshot) {
  const std::vector<std::string> names = namesOf(snapshot);
  for (std::size_t i = 0; i < names.size(); ++i) {
    whole.try_emplace(names[i], i);
    for (std::size_t slash = names[i].find('/'); slash != std::string::npos;
         slash = names[i].find('/', slash + 1)) {
      const auto [place, isNew] = ends.try_emplace(names[i].substr(slash + 1), i);
      if (!isNew) {
        place->second = std::nullopt;
      }
    }
  }
}

std::optional<std::size_t> ModulesByName::find(const std::string& word) const {
  if (const auto found = whole.find(word); found != whole.end()) {
    return found->second;
  }
  const auto found = ends.find(word);
  return found == ends.end() ? std::nullopt : found->second;
}

Identifier findChain(const GraphSnapshot& snapshot, const std::string& word) {
  const std::string wanted = word == "main" ? "main chain" : word;
  const Diagnostics::ChainNames names(snapshot);
  const auto found = std::find_if(
      snapshot.modules.begin(), snapshot.modules.end(), [&](const SnapshotModule& module) {
        return module.insertMode &&
               (names.nameOf(module.chainId) == wanted || module.chainId.toString() == wanted);
      });
  if (found == snapshot.modules.end()) {
    throw InputError("there is no chain \"" + word + "\"; 'tessaril-inspect show' names them");
  }
  return found->chainId;
}

}  // namespace Tessaril::Inspect
