#include "examples/gear_pair/cli/ClassList.h"

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

std::string classList(const std::vector<Tessaril::ArchivedClass>& classes, int width) {
  std::string lines;
  std::string line = "Classes and versions in the file:";
  for (std::size_t i = 0; i < classes.size(); ++i) {
    const std::string word = " " + excerpt(classes[i].name) + " " +
                             std::to_string(classes[i].version) +
                             (i + 1 < classes.size() ? "," : "");
    if (characterCount(line) + characterCount(word) > width) {
      lines += line + "\n";
      line = " ";
    }
    line += word;
  }
  return lines + line + "\n";
}

}  // namespace GearPair
