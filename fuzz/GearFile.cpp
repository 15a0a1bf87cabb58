// Parses the text form of a gear pair.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "examples/gear_pair/calculation/DesignInput.h"
#include "fuzz/Check.h"

namespace GearPair::Fuzz {
namespace {

using Tessaril::Fuzz::check;

std::optional<DesignInput> parsed(std::string_view text) {
  try {
    return parseDesign(text, "design.gear");
  } catch (const InputError& error) {
    check(std::string_view(error.what()).starts_with("design.gear:"), "a refusal names its line");
    return std::nullopt;
  }
}

/// What a design prints of itself, whole or value by value, says the same again.
void checkTexts(const DesignInput& input) {
  const std::string text = writeDesign(input);
  check(parseDesign(text, "written.gear") == input, "a written design is read back");
  for (const ValueDescription& value : describeValues()) {
    DesignInput again = input;
    setValue(again, value.name + " = " + valueText(input, value.name));
    check(again == input, "a value is read back as it was printed");
  }
}

/// Every line as an assignment to a design that stands.
void assignLines(std::string_view text, const DesignInput& input) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : text.size());
    DesignInput changed = input;
    try {
      setValue(changed, line);
    } catch (const InputError&) {
      check(changed == input, "a refused assignment leaves the design as it was");
    }
  }
}

DesignInput exampleDesign() {
  std::string text;
  for (const ValueDescription& value : describeValues()) {
    text += value.name + " = " + value.example + "\n";
  }
  return parseDesign(text, "example.gear");
}

void parse(std::string_view text) {
  static const DesignInput example = exampleDesign();
  const std::optional<DesignInput> input = parsed(text);
  if (input) {
    checkTexts(*input);
  }
  assignLines(text, input.value_or(example));
}

}  // namespace
}  // namespace GearPair::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  GearPair::Fuzz::parse({reinterpret_cast<const char*>(data), size});
  return 0;
}
