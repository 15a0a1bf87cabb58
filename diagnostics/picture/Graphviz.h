#pragma once

#include <map>
#include <stdexcept>
#include <string>

namespace Tessaril::Diagnostics {

/// A picture could not be laid out. The text is one line for the user.
class PictureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Lays DOT text out as SVG with Graphviz, by a process of `program`, which gets the text on its
/// standard input. Without a slash in its name, the program is looked for on the search path.
/// Throws PictureError when the program cannot be started or does not accept the text. On any
/// thread; waits for the process.
std::string svgOfDot(const std::string& dotText, const std::string& program = "dot");

struct LaidOutPicture {
  std::string svg;
  /// How far from the left the middle of each node lies, by the node's name, in inches.
  std::map<std::string, double> nodesFromLeft;
};

/// The same, and where the nodes have come to lie.
LaidOutPicture layOut(const std::string& dotText, const std::string& program = "dot");

}  // namespace Tessaril::Diagnostics
