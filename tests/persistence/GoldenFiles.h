#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tessaril/module/ModuleState.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/platform/parameterization/Object.h"

// The archives in golden/, as users have them on their disks. What is in them is described by
// golden/write_golden_files.py.

namespace Tessaril::TestSupport {

/// The names of all files, sorted.
std::vector<std::string> goldenFiles();
std::string goldenFile(const std::string& name);

/// An archive with one framed object.
template <typename T>
void readWhole(const std::string& archive, T& object) {
  PersistenceArchiver archiver(archive);
  readNested(archiver, object);
  archiver.requireEnd();
}
template <typename T>
std::string writeWhole(const T& object) {
  PersistenceArchiver archiver;
  writeNested(archiver, object);
  return archiver.finish();
}

/// What the files of whole designs hold.
struct GoldenDesign {
  std::shared_ptr<Object> root;
  std::vector<ApplyModuleData> links;
  std::shared_ptr<ModuleState> first;
  std::shared_ptr<ModuleState> last;
  std::shared_ptr<ModuleState> following;
};

GoldenDesign readDesign(const std::string& archive);
std::string writeDesign(const GoldenDesign& design);

}  // namespace Tessaril::TestSupport
