#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tessaril::Diagnostics {

/// All that is written in an SVG picture, in order, with references resolved. Titles and tooltips
/// are not among it.
std::vector<std::string> textsIn(std::string_view svg);
std::size_t count(std::string_view text, std::string_view part);

}  // namespace Tessaril::Diagnostics
