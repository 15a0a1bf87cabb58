// write_gear_seeds DIRECTORY: writes the saved gear pair designs that fuzzing starts from into
// DIRECTORY/open_gear_design.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "examples/gear_pair/application/DesignSession.h"
#include "examples/gear_pair/application/archive/DesignFile.h"

namespace GearPair {
namespace {

DesignInput smallPair() {
  return parseDesign(
      "module = 2.5\npinion_teeth = 20\nwheel_teeth = 41\nface_width = 30\ntorque = 100\n"
      "speed = 1450\npinion_material = 16MnCr5\nwheel_material = 42CrMo4\n",
      "seed.gear");
}

void updateUpTo(DesignSession& session, const std::shared_ptr<DesignModule>& module) {
  session.run(session.makeUpdate(module, false));
}

/// Leaves of the polylines, of which a saved design mostly consists, no more points than have to
/// be.
void thinOut(ToothModule& module) {
  auto form = std::make_shared<ToothForm>(*module.getResult());
  const Polyline& flank = form->flank;
  form->flank = {flank.front(), flank[form->involuteStart], flank.back()};
  form->involuteStart = 1;
  const Polyline& outline = form->outline;
  form->outline = {outline.front(), outline[outline.size() / 3], outline[2 * outline.size() / 3]};
  module.setRecord({module.getRecord().inputs, form});
}

std::string withResults(UnitSystem units) {
  DesignSession session(smallPair(), nullptr);
  session.setUnitSystem(units);
  const auto design = session.design();
  for (const auto& teeth : {design->pinion(), design->wheel()}) {
    updateUpTo(session, teeth);
    thinOut(*teeth);
  }
  session.run(session.makeUpdate(design->strength(), false));
  return designBytes(design);
}

void write(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  if (!stream.flush()) {
    throw DesignFileError("Cannot write " + file.string());
  }
}

void writeSeeds(const std::filesystem::path& directory) {
  std::filesystem::create_directories(directory);
  DesignSession session(smallPair(), nullptr);
  write(directory / "as_stated", designBytes(session.design()));
  session.setFlag(session.design()->wheel(), ModuleFlag::kSkipped, true);
  session.setFlag(session.design()->mesh(), ModuleFlag::kFrozen, true);
  updateUpTo(session, session.design()->requirements());
  write(directory / "requirements", designBytes(session.design()));
  write(directory / "results", withResults(UnitSystem::kMetric));
}

}  // namespace
}  // namespace GearPair

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: write_gear_seeds DIRECTORY\n";
    return 2;
  }
  try {
    GearPair::writeSeeds(std::filesystem::path(argv[1]) / "open_gear_design");
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
