#pragma once

#include <string>
#include <vector>

namespace GearPair {

/// A table of a report: a label at the left, then numbers aligned at the right, then the unit.
class TextTable {
 public:
  /// A row of one value.
  void add(const std::string& label, const std::string& value, const std::string& unit = "");

  /// A row of one value for each gear.
  void add(const std::string& label, const std::string& pinion, const std::string& wheel,
           const std::string& unit);

  /// The rows, each indented by two blanks and ended by a line feed, without blanks at line ends.
  std::string text() const;

 private:
  struct Row {
    std::string label;
    std::vector<std::string> values;
    std::string unit;
  };

  std::vector<Row> rows_;
};

/// A heading, underlined, after a blank line.
std::string sectionHeading(const std::string& title);

}  // namespace GearPair
