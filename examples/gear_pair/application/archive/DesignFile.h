#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "examples/gear_pair/application/GearPairDesign.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace GearPair {

/// A saved design that cannot be opened, or a design that cannot be saved, in one sentence that
/// names the place, and the file if there is one.
class DesignFileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A design as it was opened.
struct OpenedDesign {
  /// In no parameter tree yet.
  std::shared_ptr<GearPairDesign> design;
  /// The classes of the saved design with their versions; empty for a text.
  std::vector<Tessaril::ArchivedClass> classes;
  /// The file to which it is saved when no other is named; empty for a text, which is written by
  /// hand and not overwritten.
  std::filesystem::path file;
};

/// The bytes of a saved design: its values, the units, the state of each module, what each step was
/// computed from and what came out, and the links.
/// Requires: the design stands in a parameter tree, directly below the root.
std::string designBytes(const std::shared_ptr<const GearPairDesign>& design);
/// True for what begins as a saved design does, damaged or not; false for a text.
bool isSavedDesign(std::string_view bytes);

/// Opens a design from the bytes of a saved one. What they hold is checked before the design is
/// handed over: it is one that the program could have saved. Throws DesignFileError.
OpenedDesign openDesign(std::string bytes);
/// Opens a file: a saved design, or a design in the text form, told apart by what it begins with.
/// Throws DesignFileError or InputError.
OpenedDesign openDesignFile(const std::filesystem::path& file);
/// Replaces the file, or makes it; a failure leaves what was there. Throws DesignFileError.
/// Requires: as designBytes().
void saveDesignFile(const std::filesystem::path& file,
                    const std::shared_ptr<const GearPairDesign>& design);

}  // namespace GearPair
