// write_seeds DIRECTORY: writes the archives that fuzzing starts from into DIRECTORY/open_archive
// and DIRECTORY/open_records.

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <string>
#include <utility>

#include "fuzz/ArchiveEditing.h"
#include "fuzz/StoredDesign.h"
#include "fuzz/StoredRecord.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tests/persistence/Step.h"

namespace Tessaril::Fuzz {
namespace {

using TestSupport::Step;
using StepPtr = std::shared_ptr<Step>;

class SeedDirectory {
 public:
  explicit SeedDirectory(std::filesystem::path path) : directory(std::move(path)) {
    std::filesystem::create_directories(directory);
  }

  void write(const std::string& name, const std::string& bytes) const {
    std::ofstream file(directory / name, std::ios::binary);
    file << bytes;
    if (!file.flush()) {
      throw TsException("Cannot write " + (directory / name).string());
    }
  }

 private:
  std::filesystem::path directory;
};

StepPtr addStep(Object& parent, const std::string& name) {
  auto step = std::make_shared<Step>(name);
  parent.addChild(step);
  return step;
}

/// The design with the links that its graph has.
std::string saveGraph(const std::shared_ptr<Object>& root, const StepPtr& marked = nullptr) {
  StoredDesign design{root, {}, {marked, std::make_shared<ApplyModule>(), marked}};
  const auto modules = modulesOf(design);
  ApplyGraph::storeApplyGraph(root, {modules.begin(), modules.end()}, design.links);
  return saveDesign(design);
}

std::string chain() {
  const auto root = std::make_shared<Object>("design");
  const StepPtr a = addStep(*root, "a");
  const StepPtr b = addStep(*root, "b");
  const StepPtr c = addStep(*root, "c");
  ApplyGraph::insertAfter(b, a);
  ApplyGraph::insertAfter(c, b);
  b->setActive(true, false);
  b->setConsistent(false, false);
  c->setFrozen(true, false);
  c->setAdditionalModule(true);
  return saveGraph(root, b);
}

std::string sideChainForkAndMerge() {
  const Identifier side(1, 2);
  const Identifier fork(3, 4);
  const auto root = std::make_shared<Object>("design");
  const StepPtr first = addStep(*root, "first");
  const StepPtr last = addStep(*root, "last");
  const StepPtr aside = addStep(*root, "aside");
  const StepPtr detour = addStep(*root, "detour");
  ApplyGraph::insertAfter(last, first);
  aside->setStartSideChainInsertMode(side, Identifier::getInvalidId());
  ApplyGraph::insertAccordingToInsertMode(aside, first);
  detour->setStartSideChainInsertMode(fork, Identifier::getInvalidId());
  ApplyGraph::insertAccordingToInsertMode(detour, first);
  ApplyGraph::addFork(detour, last);
  return saveGraph(root);
}

std::string tree() {
  const auto root = std::make_shared<Step>("whole");
  const StepPtr part = addStep(*root, "part");
  const StepPtr inner = addStep(*part,
                                "\xC3\xA4u\xC3\x9F"
                                "eres Teil");
  addStep(*inner, "part");
  root->addChild(std::make_shared<Object>("notes"));
  ApplyGraph::insertAfter(part, root);
  ApplyGraph::insertAfter(inner, part);
  return saveGraph(root);
}

std::string deepTree() {
  constexpr int kLevels = 12;
  const auto root = std::make_shared<Object>("0");
  std::shared_ptr<Object> level = root;
  for (int i = 1; i <= kLevels; ++i) {
    level = addStep(*level, std::to_string(i));
  }
  return saveGraph(root);
}

/// As deep as blocks may nest.
std::string deepestTree() {
  const auto root = std::make_shared<Object>("o");
  std::shared_ptr<Object> level = root;
  for (std::size_t i = 1; i < PersistenceArchiver::kMaxDepth; ++i) {
    const auto child = std::make_shared<Object>("o");
    level->addChild(child);
    level = child;
  }
  return saveGraph(root);
}

ApplyModuleData linksOf(const std::string& path, std::vector<Path> previous,
                        std::vector<Path> next) {
  ApplyModuleData links;
  links.path = Path(path);
  links.previousPaths = std::move(previous);
  links.nextPaths = std::move(next);
  return links;
}

std::string circle() {
  const auto root = std::make_shared<Object>("design");
  addStep(*root, "a");
  addStep(*root, "b");
  return saveDesign({root,
                     {linksOf("/a", {Path("/b")}, {Path("/b")}),
                      linksOf("b", {Path("a")}, {Path("./a"), Path("../a")})},
                     {}});
}

std::string linksToNowhere() {
  const auto root = std::make_shared<Object>("design");
  addStep(*root, "a");
  return saveDesign({root,
                     {linksOf("/a", {Path("/lost"), Path("/")}, {Path("/a/b"), Path()}),
                      linksOf("/lost", {Path("/a")}, {})},
                     {}});
}

void writeDesigns(const SeedDirectory& directory) {
  directory.write("nothing", saveDesign({}));
  directory.write("empty", saveDesign({std::make_shared<Object>("design"), {}, {}}));
  directory.write("chain", chain());
  directory.write("side_chain_fork_merge", sideChainForkAndMerge());
  directory.write("tree", tree());
  directory.write("deep_tree", deepTree());
  directory.write("deepest_tree", deepestTree());
  directory.write("circle", circle());
  directory.write("links_to_nowhere", linksToNowhere());
}

/// An archive with one record of class T that was written with another version than the present
/// one.
template <typename T>
std::string oldRecord(unsigned int version,
                      const std::function<void(PersistenceArchiver&)>& writeContents) {
  PersistenceArchiver archiver;
  NestedRecord::write(archiver, T::serialization_register,
                      [&](BaseClassRegister&) { writeContents(archiver); });
  EditableArchive archive(archiver.finish());
  archive.setNumber(archive.versionPlaces().front(), version);
  archive.seal();
  return archive.getBytes();
}

void writeBools(PersistenceArchiver& archiver, int count) {
  for (int i = 0; i < count; ++i) {
    archiver << (i % 2 == 0);
  }
}

std::string oldState(unsigned int version, int flags) {
  return oldRecord<ModuleState>(
      version, [flags](PersistenceArchiver& archiver) { writeBools(archiver, flags); });
}

/// What a module's record ended with at a version.
enum class ModuleEnd { Rate, InlineInsertInfo, FramedInsertInfo };

std::string oldModule(unsigned int version, bool hasTexts, ModuleEnd end) {
  return oldRecord<ApplyModule>(version, [&](PersistenceArchiver& archiver) {
    writeNested(archiver, ModuleState());
    archiver << true;
    if (hasTexts) {
      archiver << std::string("one") << std::string("two");
    }
    archiver.writeEnumeration(LegacyProgress::Speed::Slow);
    ApplyModuleInsertInfo info;
    info.setInsertMode(ApplyModuleInsertInfo::StartFork);
    info.setChainId(Identifier(1, 2));
    info.setMergeChainIds({Identifier(3, 4), Identifier(5, 6)});
    if (end == ModuleEnd::InlineInsertInfo) {
      archiver.writeEnumeration(info.getInsertMode());
      archiver << info.getChainId();
      writeContainer(archiver, info.getMergeChainIds());
    } else if (end == ModuleEnd::FramedInsertInfo) {
      writeNested(archiver, info);
    }
  });
}

void writeRecords(const SeedDirectory& directory) {
  StoredRecord record;
  record.state.setSkipped(true, false);
  record.insertInfo.setMergeChainIds({Identifier(1, 2), Identifier(3, 4)});
  record.module.setStartForkInsertMode(Identifier(1, 2), Identifier(3, 4));
  record.data = linksOf("/a", {Path("/b"), Path("../c")}, {Path("/d")});
  const std::pair<const char*, StoredRecord::Kind> kinds[] = {
      {"state", StoredRecord::Kind::State},
      {"insert_info", StoredRecord::Kind::InsertInfo},
      {"module", StoredRecord::Kind::Module},
      {"links", StoredRecord::Kind::Data}};
  for (const auto& [name, kind] : kinds) {
    record.kind = kind;
    directory.write(name, saveRecord(record));
  }
  directory.write("state_53013", oldState(53013, 3));
  directory.write("state_500000", oldState(500000, 4));
  directory.write("module_53013", oldModule(53013, true, ModuleEnd::Rate));
  directory.write("module_499999", oldModule(499999, false, ModuleEnd::Rate));
  directory.write("module_500000", oldModule(500000, false, ModuleEnd::InlineInsertInfo));
  directory.write("module_500001", oldModule(500001, false, ModuleEnd::FramedInsertInfo));
}

}  // namespace
}  // namespace Tessaril::Fuzz

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: write_seeds DIRECTORY\n";
    return 2;
  }
  try {
    const std::filesystem::path directory = argv[1];
    Tessaril::Fuzz::writeDesigns(Tessaril::Fuzz::SeedDirectory(directory / "open_archive"));
    Tessaril::Fuzz::writeRecords(Tessaril::Fuzz::SeedDirectory(directory / "open_records"));
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
}
