#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tessaril::Diagnostics {

/// All that is written in an SVG picture, in order, with references resolved. Titles and tooltips
/// are not among it.
std::vector<std::string> textsIn(std::string_view svg);
/// "wheel, crossed by m0->m2" for each heading of a frame that a link is drawn across. How wide a
/// heading is, is estimated.
std::vector<std::string> crossedHeadingsIn(const std::string& svg);
/// "m4->m2" for each link that ends above its beginning.
std::vector<std::string> upwardLinksIn(const std::string& svg);
std::size_t count(std::string_view text, std::string_view part);

}  // namespace Tessaril::Diagnostics
