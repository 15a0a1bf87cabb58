#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Names as people see them. Internal to the diagnostics.

namespace Tessaril::Diagnostics {

/// Well-formed UTF-8 that XML accepts: what is not gets the replacement character, and line breaks
/// and tabs become spaces.
std::string cleanText(std::string_view text);

/// At most `most` characters, the middle taken out: names of a series differ at their ends.
/// Requires: well-formed UTF-8, at least three characters.
std::string shortened(const std::string& text, std::size_t most);

}  // namespace Tessaril::Diagnostics
