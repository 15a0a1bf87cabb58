// Opens a saved gear pair design, brings it up to date, and saves it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "examples/gear_pair/application/DesignSession.h"
#include "examples/gear_pair/application/KeyFigures.h"
#include "examples/gear_pair/application/archive/DesignFile.h"
#include "fuzz/Check.h"

namespace GearPair::Fuzz {
namespace {

using Tessaril::Fuzz::check;

std::string savedAgain(const std::string& bytes) {
  const DesignSession session(openDesign(bytes), nullptr);
  return designBytes(session.design());
}

std::string flagsOf(const GearPairDesign& design) {
  std::ostringstream flags;
  for (const auto& module : design.getModules()) {
    flags << module->getName() << module->isConsistent() << module->isInputOk()
          << module->isFrozen() << module->isSkipped() << module->hasResult() << ' ';
  }
  return flags.str();
}

std::string textsOf(const GearPairDesign& design) {
  std::string texts = flagsOf(design) + keyFigures(design);
  for (const auto& text :
       {design.report()->getResult(), design.plan()->getResult(), design.drawing()->getResult()}) {
    texts += text != nullptr ? *text : "";
  }
  return texts;
}

/// What was opened is complete enough for everything that a user does with it. Some undo steps
/// compute anew what the file held, so that not every number comes back if the file made it up.
void use(DesignSession& session) {
  const GearPairDesign& design = *session.design();
  const std::string before = flagsOf(design);
  session.update();
  const std::string updated = designBytes(session.design());
  const std::string after = textsOf(design);
  check(savedAgain(updated) == updated, "a design that was updated is read as it was saved");
  session.undo();
  check(flagsOf(design) == before, "the undo brings back every flag");
  session.redo();
  check(textsOf(design) == after, "the redo brings back every text");
}

void open(const std::string& bytes) {
  OpenedDesign opened;
  try {
    opened = openDesign(bytes);
  } catch (const DesignFileError&) {
    return;
  }
  DesignSession session(opened, nullptr);
  const std::string saved = designBytes(session.design());
  check(savedAgain(saved) == saved, "a saved design is read as it was written");
  use(session);
}

}  // namespace
}  // namespace GearPair::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  GearPair::Fuzz::open(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
