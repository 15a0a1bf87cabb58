// Tells what is in an archive, and compares that with what reading it gives.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/archive/DesignLoader.h"
#include "diagnostics/graph/GraphChecker.h"
#include "fuzz/Check.h"
#include "fuzz/StoredDesign.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril::Fuzz {
namespace {

using Diagnostics::ArchivedModule;
using Diagnostics::ArchivedObject;
using Diagnostics::GraphSnapshot;
using Diagnostics::InspectedArchive;
using Diagnostics::LoadedDesign;

bool isPlainText(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char letter) {
    return letter == '\n' || (static_cast<unsigned char>(letter) >= 0x20 && letter != 0x7F);
  });
}

/// Whatever the bytes hold can be told, and be compared.
InspectedArchive tell(const std::string& bytes) {
  InspectedArchive inspected = Diagnostics::inspectArchive(bytes);
  check(isPlainText(textOf(inspected, "archive", true)), "what is told fits a terminal");
  check(!Diagnostics::dumpJson(toJson(inspected)).empty(), "what is told can be written as JSON");
  check(compareArchives(inspected, inspected).isEmpty() || !inspected.problems().empty(),
        "an archive does not differ from itself");
  const GraphSnapshot snapshot = snapshotOf(inspected);
  toJson(checkGraph(snapshot), snapshot);
  return inspected;
}

/// An archive of any other contents.
void compareWithAnother(const InspectedArchive& inspected) {
  static const InspectedArchive empty =
      Diagnostics::inspectArchive(saveDesign({std::make_shared<Object>("design"), {}, {}}));
  check(isPlainText(textOf(compareArchives(inspected, empty))), "a difference fits a terminal");
  check(isPlainText(textOf(compareArchives(empty, inspected))), "a difference fits a terminal");
}

void gather(const std::shared_ptr<Object>& object, std::vector<std::shared_ptr<Object>>& objects) {
  objects.push_back(object);
  for (const std::shared_ptr<Object>& child : object->getChildren()) {
    gather(child, objects);
  }
}

ArchivedModule formOf(const ApplyModule& module) {
  ArchivedModule form;
  form.flags = {module.isActive(), module.isConsistent(), module.isInputOk(), module.isFrozen(),
                module.isSkipped()};
  form.additional = module.isAdditionalModule();
  form.speedRate = module.getSpeedRate();
  form.insertMode = module.getInsertMode();
  form.chainId = module.getChainId();
  form.mergeChainIds = module.getMergeChainIds();
  return form;
}

void checkObject(const ArchivedObject& told, const Object& object) {
  check(told.hasPlace && told.path == object.getPath(RequestedPathType::Absolute).toString(),
        "an object is told where it is");
  const auto* module = dynamic_cast<const ApplyModule*>(&object);
  check(told.module.has_value() == (module != nullptr), "a module is told to be one");
  check(told.className == (module != nullptr ? "Test.Step" : "Object"), "an object has its class");
  if (module != nullptr) {
    ArchivedModule form = formOf(*module);
    // The links decide that, and have been restored.
    form.startOfSideChain = told.module->startOfSideChain;
    check(*told.module == form, "a module is told as it is");
  }
}

bool isSame(const ApplyModuleData& left, const ApplyModuleData& right) {
  return left.path == right.path && left.previousPaths == right.previousPaths &&
         left.nextPaths == right.nextPaths && left.startOfSideChain == right.startOfSideChain;
}

/// Bytes of an identifier or a name may happen to look like the frame of a block.
bool mayBeALookalike(const Diagnostics::ArchiveProblem& problem) {
  return problem.byte && problem.text.starts_with("a block of the class ");
}

/// What the library wrote is told as reading it gives it, though it is not read.
void checkSaved(const StoredDesign& design) {
  const std::string saved = saveDesign(design);
  const InspectedArchive inspected = tell(saved);
  const std::vector<Diagnostics::ArchiveProblem> problems = inspected.problems();
  check(std::all_of(problems.begin(), problems.end(), &mayBeALookalike),
        "nothing is wrong with what the library wrote");
  const LoadedDesign loaded = Diagnostics::loadDesign(saved);
  std::vector<std::shared_ptr<Object>> objects;
  gather(loaded.design, objects);
  check(inspected.design.objects.size() == objects.size(), "every object is told");
  for (std::size_t i = 0; i < objects.size(); ++i) {
    checkObject(inspected.design.objects[i], *objects[i]);
  }
  check(std::equal(inspected.design.links.begin(), inspected.design.links.end(),
                   loaded.links.begin(), loaded.links.end(), &isSame),
        "the links are told as they are stored");
  check(inspected.droppedLinks == droppedLinks(loaded), "restoring drops what was told");
}

void inspect(const std::string& bytes) {
  compareWithAnother(tell(bytes));
  StoredDesign design;
  try {
    design = openDesign(bytes);
  } catch (const TsException&) {
    return;
  }
  if (design.root != nullptr) {
    checkSaved(design);
  }
}

}  // namespace
}  // namespace Tessaril::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tessaril::Fuzz::inspect(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
