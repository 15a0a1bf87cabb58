#include "examples/gear_pair/application/archive/DesignFile.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "examples/gear_pair/application/archive/DesignValidation.h"
#include "examples/gear_pair/calculation/TextTools.h"
#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tessaril/graph/ApplyGraph.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"

namespace GearPair {

namespace {

using Tessaril::ApplyGraph;
using Tessaril::ApplyModuleData;
using Tessaril::ArchivedClass;
using Tessaril::BaseClassRegister;
using Tessaril::PersistenceArchiver;

[[noreturn]] void refuse(const std::string& why) { throw Tessaril::ArchiveException(why); }

/// So that the classes of an archive can be asked for before any of its objects is read.
void registerClasses() {
  Tessaril::registeredTypeId<GearPairDesign>();
  Tessaril::registeredTypeId<DesignModule>();
}

void requireReadable(const ArchivedClass& archived) {
  const BaseClassRegister* known = PersistenceArchiver::findFactory(archived.name);
  if (known == nullptr || known->typeId != archived.typeId) {
    refuse("holds objects of the class " + inQuotes(archived.name) +
           ", which this program does not know");
  }
  if (archived.version == 0) {
    refuse("holds objects of the class " + inQuotes(archived.name) +
           " in version 0, which there never was");
  }
  if (archived.version > known->registeredVersion) {
    refuse("holds objects of the class " + inQuotes(archived.name) + " in version " +
           std::to_string(archived.version) + ", which is newer than this program's version " +
           std::to_string(known->registeredVersion));
  }
}

std::shared_ptr<GearPairDesign> readDesign(PersistenceArchiver& archiver) {
  auto design = archiver.readShared<GearPairDesign>();
  if (design == nullptr || design->getParent() != nullptr) {
    refuse("byte 20: there is no design");
  }
  return design;
}

/// The links are stored by paths, which lead through the tree that the design stood in.
void readLinks(PersistenceArchiver& archiver, const std::shared_ptr<GearPairDesign>& design) {
  std::vector<ApplyModuleData> links;
  Tessaril::readContainer(archiver, links);
  const auto root = std::make_shared<Tessaril::Object>("gear pair designer");
  root->addChild(design);
  ApplyGraph::restoreApplyGraph(root, links);
  root->removeChild(*design);
}

OpenedDesign readAll(PersistenceArchiver& archiver) {
  for (const ArchivedClass& archived : archiver.getClasses()) {
    requireReadable(archived);
  }
  auto design = readDesign(archiver);
  readLinks(archiver, design);
  archiver.requireEnd();
  if (const std::string objection = objectionToDesign(*design); !objection.empty()) {
    refuse(objection);
  }
  return {std::move(design), archiver.getClasses(), {}};
}

/// The archiver says itself at which byte it refuses what it reads; others do not know.
OpenedDesign readNamingThePlace(PersistenceArchiver& archiver) {
  try {
    return readAll(archiver);
  } catch (const Tessaril::ArchiveException&) {
    throw;
  } catch (const std::exception& e) {
    const auto byte = static_cast<std::streamoff>(archiver.tellp());
    refuse("byte " + std::to_string(byte) + ": " + e.what());
  }
}

/// A sentence that quotes the file may hold anything.
std::string oneLine(std::string sentence) {
  constexpr std::size_t kLongest = 500;
  sentence.resize(std::min(sentence.size(), kLongest));
  std::replace_if(
      sentence.begin(), sentence.end(),
      [](char c) { return static_cast<unsigned char>(c) < 0x20U || c == 0x7F; }, '?');
  return sentence;
}

}  // namespace

std::string designBytes(const std::shared_ptr<const GearPairDesign>& design) {
  PersistenceArchiver archiver;
  archiver.writeShared(design);
  std::vector<ApplyModuleData> links;
  ApplyGraph::storeApplyGraph(design, {design->start()}, links);
  Tessaril::writeContainer(archiver, links);
  return archiver.finish();
}

// No text holds a zero byte, and the head of every archive holds some.
bool isSavedDesign(std::string_view bytes) {
  return bytes.starts_with('\x89') || bytes.find('\0') != std::string_view::npos;
}

OpenedDesign openDesign(std::string bytes) {
  try {
    registerClasses();
    PersistenceArchiver archiver(std::move(bytes));
    return readNamingThePlace(archiver);
  } catch (const std::exception& e) {
    throw DesignFileError(oneLine(e.what()));
  }
}

OpenedDesign openDesignFile(const std::filesystem::path& file) {
  std::string bytes;
  try {
    bytes = Tessaril::ReferencePlatform::readFile(file);
  } catch (const Tessaril::ArchiveException& e) {
    throw DesignFileError(e.what());
  }
  if (!isSavedDesign(bytes)) {
    return {GearPairDesign::create(parseDesign(bytes, file.string())), {}, {}};
  }
  try {
    OpenedDesign opened = openDesign(std::move(bytes));
    opened.file = file;
    return opened;
  } catch (const DesignFileError& e) {
    throw DesignFileError(file.string() + ": " + e.what());
  }
}

void saveDesignFile(const std::filesystem::path& file,
                    const std::shared_ptr<const GearPairDesign>& design) {
  try {
    Tessaril::ReferencePlatform::replaceFile(file, designBytes(design));
  } catch (const Tessaril::ArchiveException& e) {
    throw DesignFileError(e.what());
  }
}

}  // namespace GearPair
