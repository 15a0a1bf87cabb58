#include "tests/diagnostics/picture/DocumentedPicture.h"

#include <ostream>

// The text from here on stands in docs/diagnostics.md.
#include "diagnostics/picture/Picture.h"

namespace Tessaril::Diagnostics {

void drawGraph(const GraphSnapshot& snapshot, const RunReport& lastRun, std::ostream& out) {
  PictureOptions options;
  options.title = "Around the first module";
  options.shown = neighbourhoodOf(snapshot, 0, 2);
  options.runMarks = runMarksOf(lastRun, snapshot);
  out << svgText(snapshot, options);
}

}  // namespace Tessaril::Diagnostics
