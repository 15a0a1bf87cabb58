#include "examples/gear_pair/cli/ModuleTable.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "examples/gear_pair/application/GearPairDesign.h"
#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

struct Column {
  const char* heading;
  int width;
};

constexpr Column kColumns[] = {{"module", 14},   {"chain", 9},  {"active", 8}, {"consistent", 12},
                               {"input ok", 10}, {"frozen", 8}, {"skipped", 9}};
constexpr const char* kLastHeading = "in the last step";
constexpr int kNarrowestText = 24;

/// "no" where a designer would want to look, "-" where "no" is the rule.
std::string expected(bool flag) { return flag ? "yes" : "no"; }
std::string exceptional(bool flag) { return flag ? "yes" : "-"; }

std::vector<std::string> cellsOf(const DesignModule& module) {
  return {module.getName(),
          GearPairDesign::chainName(module),
          expected(module.isActive()),
          expected(module.isConsistent()),
          expected(module.isInputOk()),
          exceptional(module.isFrozen()),
          exceptional(module.isSkipped())};
}

std::string joined(const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += padded(cells[i], kColumns[i].width);
  }
  return line;
}

std::vector<std::string> broken(const std::string& text, int width) {
  std::vector<std::string> lines(1);
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    std::string& line = lines.back();
    if (!line.empty() && characterCount(line) + 1 + characterCount(word) > width) {
      lines.push_back(word);
    } else {
      line += (line.empty() ? "" : " ") + word;
    }
  }
  return lines;
}

std::string row(const std::vector<std::string>& cells, const std::string& text, int textWidth) {
  const std::string front = joined(cells);
  std::string result;
  for (const std::string& line : broken(text, textWidth)) {
    result += (result.empty() ? front : std::string(front.size(), ' ')) + line + "\n";
  }
  return result;
}

std::string textOf(const DesignModule& module, const RunAccount& account) {
  const auto found = account.find(module.getName());
  return found == account.end() ? "left as it is" : found->second;
}

}  // namespace

std::string moduleTable(const GearPairDesign& design, const RunAccount& account, int width) {
  std::vector<std::string> headings;
  int columnsWidth = 0;
  for (const Column& column : kColumns) {
    headings.emplace_back(column.heading);
    columnsWidth += column.width;
  }
  const int textWidth = std::max(kNarrowestText, width - columnsWidth);
  std::string table = row(headings, kLastHeading, textWidth);
  for (const auto& module : design.getModules()) {
    table += row(cellsOf(*module), textOf(*module, account), textWidth);
  }
  return table;
}

}  // namespace GearPair
