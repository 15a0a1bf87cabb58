#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/persistence/HandMadeArchive.h"
#include "tests/support/StoredDesign.h"

namespace Tessaril::TestSupport {

/// The bytes of a design with these modules, all below the root "design".
inline std::string savedGraph(std::string_view graphText) {
  return save(plant(graphOf<StoredModule>(graphText)));
}

/// The classes of the library, in their present versions, and those of an application.
inline std::vector<HandMadeArchive::Class> presentClasses(
    std::vector<HandMadeArchive::Class> own = {}) {
  std::vector<HandMadeArchive::Class> classes{{"Object", 1},
                                              {"Path", 1},
                                              {"Identifier", 1},
                                              {"ModuleState", 500001},
                                              {"ApplyModule", 500002},
                                              {"ApplyModuleInsertInfo", 500000},
                                              {"ApplyModuleData", 500000}};
  classes.insert(classes.end(), own.begin(), own.end());
  return classes;
}

/// A whole object of an application's class, with an Object part, an ApplyModule part, and a text
/// of its own; left open, so that the test may add to it.
inline HandMadeArchive& openStep(HandMadeArchive& archive, std::string_view className,
                                 std::string_view name, std::string_view note = "") {
  archive.open(className).open("Object").text(name).number(0).close();
  archive.open("ApplyModule");
  archive.open("ModuleState").flags({true, false, true, false, false}).close();
  archive.flags({false}).number(3);
  archive.open("ApplyModuleInsertInfo").number(0).id({0, 0}).ids({}).close().close();
  return archive.text(note);
}

inline HandMadeArchive& record(HandMadeArchive& archive, std::string_view module,
                               std::initializer_list<std::string_view> previous,
                               std::initializer_list<std::string_view> next) {
  return archive.path(module).paths(previous).paths(next).flags({false});
}

}  // namespace Tessaril::TestSupport
