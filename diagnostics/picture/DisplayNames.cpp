#include "diagnostics/picture/DisplayNames.h"

#include <algorithm>

#include "diagnostics/graph/DisplayText.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kLongest = 40;
constexpr std::size_t kLongestInBrief = 18;

std::string_view folderOf(std::string_view name) {
  const std::size_t slash = name.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : name.substr(0, slash + 1);
}

std::string_view leafOf(std::string_view name) { return name.substr(folderOf(name).size()); }

std::string_view commonFolder(std::string_view one, std::string_view other) {
  const auto difference = std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first;
  return folderOf(one.substr(0, static_cast<std::size_t>(difference - one.begin())));
}

std::string commonFolderOf(const GraphSnapshot& snapshot) {
  if (snapshot.modules.empty()) {
    return {};
  }
  std::string_view folder = folderOf(snapshot.modules.front().name);
  for (const SnapshotModule& module : snapshot.modules) {
    folder = commonFolder(folder, folderOf(module.name));
  }
  return std::string(folder);
}

}  // namespace

DisplayNames::DisplayNames(const GraphSnapshot& snapshot) : folder(commonFolderOf(snapshot)) {
  std::vector<std::string> leaves;
  leaves.reserve(snapshot.modules.size());
  for (const SnapshotModule& module : snapshot.modules) {
    leaves.emplace_back(leafOf(module.name));
  }
  std::sort(leaves.begin(), leaves.end());
  for (auto place = leaves.begin();
       (place = std::adjacent_find(place, leaves.end())) != leaves.end();) {
    ambiguousLeaves.push_back(*place);
    place = std::upper_bound(place, leaves.end(), *place);
  }
}

std::string_view DisplayNames::withoutFolder(std::string_view name) const {
  return name.starts_with(folder) ? name.substr(folder.size()) : name;
}

std::string DisplayNames::longName(std::string_view name) const {
  return shortened(cleanText(withoutFolder(name)), kLongest);
}

std::string DisplayNames::shortName(std::string_view name) const {
  const std::string_view leaf = leafOf(name);
  const bool saysTooLittle =
      leaf.empty() || std::binary_search(ambiguousLeaves.begin(), ambiguousLeaves.end(), leaf);
  return shortened(cleanText(saysTooLittle ? withoutFolder(name) : leaf), kLongestInBrief);
}

}  // namespace Tessaril::Diagnostics
