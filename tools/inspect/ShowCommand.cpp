#include <algorithm>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/archive/ArchiveText.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/InputFile.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::ClassStanding;
using Diagnostics::InspectedArchive;
using Diagnostics::InspectedClass;

/// Why the classes that are known here cannot read the design; empty when they can. Then its own
/// objects say which links are dropped.
std::string whyNotReadable(InspectedArchive& archive) {
  try {
    archive.droppedLinks = droppedLinks(Diagnostics::loadDesign(archive.bytes));
    return {};
  } catch (const std::exception& e) {
    return e.what();
  }
}

bool isFine(const InspectedArchive& archive) {
  return archive.problems().empty() && archive.droppedLinks.empty() &&
         std::none_of(
             archive.classes.begin(), archive.classes.end(),
             [](const InspectedClass& known) { return known.standing() == ClassStanding::Newer; });
}

bool hasUnknown(const InspectedArchive& archive) {
  return std::any_of(
      archive.classes.begin(), archive.classes.end(),
      [](const InspectedClass& known) { return known.standing() == ClassStanding::Unknown; });
}

std::string readableLine(const std::string& whyNot, bool classesAreMissing) {
  if (whyNot.empty()) {
    return "\nReads with the classes known here.\n";
  }
  return classesAreMissing ? "\nReading it takes the application's classes; see --load.\n"
                           : "\nDoes not read: " + Diagnostics::oneLine(whyNot) + "\n";
}

}  // namespace

int show(const ShowOptions& options, std::ostream& output) {
  loadLibraries(options.libraries);
  InspectedArchive archive = inspectFile(options.file);
  const std::string whyNot = whyNotReadable(archive);
  if (options.json) {
    nlohmann::ordered_json json = toJson(archive, options.blocks);
    json["readable"] = whyNot.empty();
    json["whyNotReadable"] =
        whyNot.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(whyNot);
    output << Diagnostics::dumpJson(json);
  } else {
    output << textOf(archive, options.file, options.blocks)
           << readableLine(whyNot, options.libraries.empty() && hasUnknown(archive));
  }
  // Without the application's libraries its classes cannot be expected to be known.
  const bool isExpectedToRead = !options.libraries.empty();
  return isFine(archive) && (whyNot.empty() || !isExpectedToRead) ? kFine : kFindings;
}

}  // namespace Tessaril::Inspect
