#include <algorithm>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/graph/SnapshotJson.h"
#include "diagnostics/picture/Picture.h"
#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tools/inspect/Commands.h"
#include "tools/inspect/InputFile.h"
#include "tools/inspect/ModuleNames.h"
#include "tools/inspect/RunFile.h"

namespace Tessaril::Inspect {
namespace {

using Diagnostics::GraphSnapshot;
using Diagnostics::ModuleSelection;
using Diagnostics::PictureDetail;

class Filters {
 public:
  Filters(const GraphSnapshot& graph, const DrawOptions& drawOptions)
      : snapshot(graph), options(drawOptions) {}

  /// Empty where nothing is filtered.
  std::optional<ModuleSelection> selected() {
    if (options.chain) {
      narrow(modulesOfChain(snapshot, findChain(snapshot, *options.chain)));
    }
    if (options.ancestors) {
      narrow(ancestorsOf(snapshot, findModule(snapshot, *options.ancestors), options.depth));
    }
    if (options.followers) {
      narrow(followersOf(snapshot, findModule(snapshot, *options.followers), options.depth));
    }
    if (options.around) {
      narrow(neighbourhoodOf(snapshot, findModule(snapshot, *options.around), options.depth));
    }
    if (options.from && options.to) {
      narrow(modulesBetween(snapshot, findModule(snapshot, *options.from),
                            findModule(snapshot, *options.to)));
    }
    return selection;
  }

 private:
  void narrow(ModuleSelection passed) {
    selection = selection ? Diagnostics::inBoth(*selection, passed) : std::move(passed);
  }

  const GraphSnapshot& snapshot;
  const DrawOptions& options;
  std::optional<ModuleSelection> selection;
};

/// A report names modules as seen from the design, a picture by their paths from the root. Modules
/// that the file does not have any more get no mark.
Diagnostics::RunMarks marksOf(const std::string& file, const GraphSnapshot& snapshot) {
  std::vector<Diagnostics::RunReport> runs = readRuns(file);
  if (runs.empty()) {
    throw InputError(file + ": no run is recorded in it");
  }
  const ModulesByName modules(snapshot);
  for (Diagnostics::ReportedModule& module : runs.back().modules) {
    if (const std::optional<std::size_t> found = modules.find(module.name)) {
      module.name = snapshot.modules[*found].name;
    }
  }
  return runMarksOf(runs.back(), snapshot);
}

PictureDetail detailOf(const DrawOptions& options) {
  if (options.detail == "auto") {
    return PictureDetail::kAutomatic;
  }
  return options.detail == "full" ? PictureDetail::kFull : PictureDetail::kBrief;
}

std::string jsonOf(const GraphSnapshot& snapshot, const std::optional<ModuleSelection>& shown) {
  nlohmann::ordered_json json = toJson(snapshot);
  json["shown"] = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < snapshot.modules.size(); ++i) {
    if (!shown || std::binary_search(shown->begin(), shown->end(), i)) {
      json["shown"].push_back(snapshot.modules[i].name);
    }
  }
  return Diagnostics::dumpJson(json);
}

std::string pictureOf(const DrawOptions& options) {
  const GraphSnapshot snapshot = graphOf(options.file, options.libraries);
  Diagnostics::PictureOptions picture;
  picture.title = options.title;
  picture.detail = detailOf(options);
  picture.legend = !options.noLegend;
  picture.shown = Filters(snapshot, options).selected();
  if (options.run) {
    picture.runMarks = marksOf(*options.run, snapshot);
  }
  if (options.json) {
    return jsonOf(snapshot, picture.shown);
  }
  return options.dot ? dotText(snapshot, picture) : svgText(snapshot, picture);
}

}  // namespace

int draw(const DrawOptions& options, std::ostream& output) {
  if (options.depth && !options.ancestors && !options.followers && !options.around) {
    throw InputError("--depth requires --ancestors, --followers or --around; see --help");
  }
  if (options.target && isArchive(*options.target)) {
    throw InputError(*options.target + ": is a saved design, which a picture does not replace");
  }
  const std::string text = pictureOf(options);
  if (options.target) {
    ReferencePlatform::replaceFile(*options.target, text);
  } else {
    output << text;
  }
  return kFine;
}

}  // namespace Tessaril::Inspect
