#include "examples/gear_pair/calculation/TextTable.h"

#include <cstddef>

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr int kLabelWidth = 38;
constexpr int kValueWidth = 14;

std::string withoutTrailingBlanks(const std::string& line) {
  return line.substr(0, line.find_last_not_of(' ') + 1);
}

}  // namespace

void TextTable::add(const std::string& label, const std::string& value, const std::string& unit) {
  rows_.push_back({label, {value}, unit});
}

void TextTable::add(const std::string& label, const std::string& pinion, const std::string& wheel,
                    const std::string& unit) {
  rows_.push_back({label, {pinion, wheel}, unit});
}

std::string TextTable::text() const {
  std::string result;
  for (const Row& row : rows_) {
    std::string line = "  " + padded(row.label, kLabelWidth);
    for (const std::string& value : row.values) {
      line += padded(value, kValueWidth, true);
    }
    result += withoutTrailingBlanks(line + "  " + row.unit) + "\n";
  }
  return result;
}

std::string sectionHeading(const std::string& title) {
  const std::string rule(static_cast<std::size_t>(characterCount(title)), '-');
  return "\n" + title + "\n" + rule + "\n";
}

}  // namespace GearPair
