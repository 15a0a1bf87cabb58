#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "diagnostics/archive/DroppedLinks.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Diagnostics {

/// A saved design as its application would have it: real objects of the application's classes, with
/// their links restored.
struct LoadedDesign {
  /// What the paths of the links start at. Holds everything else; the modules know their parents by
  /// address only.
  std::shared_ptr<Object> treeRoot;
  /// What was saved: the root of the tree, or an object right below it.
  std::shared_ptr<Object> design;
  /// In the order of the tree.
  std::vector<std::shared_ptr<ApplyModule>> modules;
  std::vector<ApplyModuleData> links;
};

/// Opens an application's shared library, whose initialisation registers the classes of its designs
/// as objects of the tree: with registerBaseClass<Object, ...>(), as for every object that is read
/// as a child of another. The library stays open, since nothing is ever unregistered. Throws
/// std::runtime_error, one sentence, when it cannot be opened.
///
/// The library has to share the apply library and its services with this process.
void loadApplicationLibrary(const std::filesystem::path& library);

/// Reads a design with the classes that are registered: its root object, then the links, as
/// docs/storing_designs.md lays them out. What stands behind them is the application's affair and
/// not looked at. Throws what reading throws, which is an std::exception that names the place or
/// what is refused.
///
/// The loaded objects may do whatever their application has them do when they are read.
LoadedDesign loadDesign(const std::string& bytes);

/// What restoring the links has left out, as the application's own objects say.
std::vector<DroppedLink> droppedLinks(const LoadedDesign& loaded);

}  // namespace Tessaril::Diagnostics
