#pragma once

#include <string>

#include "diagnostics/picture/ModuleLook.h"

// Internal to the picture.

namespace Tessaril::Diagnostics {

/// A table that explains `signs` and nothing else, in columns: states, words on modules, places in
/// the graph, links. Empty when there is nothing to explain.
std::string legendTable(const Signs& signs, const PictureStyle& style);

/// How a link that shows `signs` is drawn.
DotAttributes lineOf(const Signs& signs, const PictureStyle& style);

/// What a dead entry leads to.
std::string crossMarkup();

/// What stands for neighbours that the picture leaves out.
std::string moreMarkup(std::size_t count, const PictureStyle& style);

}  // namespace Tessaril::Diagnostics
