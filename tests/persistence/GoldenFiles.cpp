#include "tests/persistence/GoldenFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Tessaril::TestSupport {

std::vector<std::string> goldenFiles() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(TESSARIL_GOLDEN_DIR)) {
    if (entry.path().extension() == ".tsr") {
      names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string goldenFile(const std::string& name) {
  std::ifstream file(std::filesystem::path(TESSARIL_GOLDEN_DIR) / name, std::ios::binary);
  if (!file) {
    throw std::runtime_error("There is no golden file " + name);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

GoldenDesign readDesign(const std::string& archive) {
  PersistenceArchiver archiver(archive);
  GoldenDesign design;
  design.root = archiver.readShared<Object>();
  readContainer(archiver, design.links);
  design.first = archiver.readShared<ModuleState>();
  design.last = archiver.readShared<ModuleState>();
  design.following = archiver.readShared<ModuleState>();
  archiver.requireEnd();
  return design;
}

std::string writeDesign(const GoldenDesign& design) {
  PersistenceArchiver archiver;
  archiver.writeShared(design.root);
  writeContainer(archiver, design.links);
  archiver.writeShared(design.first);
  archiver.writeShared(design.last);
  archiver.writeShared(design.following);
  return archiver.finish();
}

}  // namespace Tessaril::TestSupport
