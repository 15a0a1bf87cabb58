#include "diagnostics/archive/ArchiveReport.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/InputFile.h"

namespace Tessaril::Inspect {

int diff(const DiffOptions& options, std::ostream& output) {
  const Diagnostics::InspectedArchive before = inspectWholeFile(options.before);
  const Diagnostics::InspectedArchive after = inspectWholeFile(options.after);
  const Diagnostics::ArchiveComparison comparison = compareArchives(before, after);
  output << (options.json ? Diagnostics::dumpJson(toJson(comparison)) : textOf(comparison));
  return comparison.isEmpty() ? kFine : kFindings;
}

}  // namespace Tessaril::Inspect
