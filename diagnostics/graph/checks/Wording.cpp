#include "diagnostics/graph/checks/Wording.h"

#include "diagnostics/graph/DisplayText.h"

namespace Tessaril::Diagnostics {
namespace {

constexpr std::size_t kMostListed = 6;
constexpr std::size_t kMostOfCycle = 12;
constexpr std::size_t kEndOfCycle = 3;

}  // namespace

std::string nameOf(const GraphSnapshot& snapshot, std::size_t module) {
  return cleanText(snapshot.modules.at(module).name);
}

std::string listed(const std::vector<std::string>& names) {
  const bool isCut = names.size() > kMostListed;
  const std::size_t shown = isCut ? kMostListed - 1 : names.size();
  std::string text;
  for (std::size_t place = 0; place < shown; ++place) {
    const bool isLast = place + 1 == names.size();
    text += (place == 0 ? "" : isLast ? " and " : ", ") + names[place];
  }
  return isCut ? text + " and " + std::to_string(names.size() - shown) + " more" : text;
}

std::string listed(const GraphSnapshot& snapshot, const std::vector<std::size_t>& modules) {
  std::vector<std::string> names;
  names.reserve(modules.size());
  for (const std::size_t module : modules) {
    names.push_back(nameOf(snapshot, module));
  }
  return listed(names);
}

std::string cycleText(const GraphSnapshot& snapshot, const std::vector<std::size_t>& cycle) {
  const std::size_t left = cycle.size() > kMostOfCycle ? cycle.size() - kMostOfCycle : 0;
  std::string text;
  for (std::size_t place = 0; place < cycle.size(); ++place) {
    if (left > 0 && place == kMostOfCycle - kEndOfCycle) {
      text += "... " + std::to_string(left) + " more ... -> ";
      place += left;
    }
    text += nameOf(snapshot, cycle[place]) + " -> ";
  }
  return text + nameOf(snapshot, cycle.front());
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace Tessaril::Diagnostics
