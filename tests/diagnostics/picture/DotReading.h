#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/picture/Picture.h"

/// Reads what a test wants to know out of a picture's DOT text, a statement a line.
namespace Tessaril::Diagnostics {

/// The statement of a module's node, or of what stands beside it, as "m3_dead_next"; empty where
/// there is none.
std::string nodeStatement(const std::string& dot, const std::string& node);
/// The statement of the edge; empty where there is none.
std::string edgeStatement(const std::string& dot, const std::string& from, const std::string& to);
/// The value of an attribute of a statement, without quotes or angle brackets; empty where it has
/// none.
std::string attributeOf(const std::string& statement, std::string_view name);
/// The texts in the markup of an HTML-like label, with references resolved, "|" between them.
std::string wordsOf(std::string_view markup);

/// What is written on a module: wordsOf() its label.
std::string wordsOn(const std::string& dot, std::size_t module);
/// What is written above the picture.
std::string headWords(const std::string& dot);
/// The nodes in the cluster with that heading, in order, without stubs; empty where there is none.
std::vector<std::string> nodesUnder(const std::string& dot, const std::string& heading);
/// The headings of the clusters, in order.
std::vector<std::string> headings(const std::string& dot);

}  // namespace Tessaril::Diagnostics
