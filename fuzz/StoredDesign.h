#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Fuzz {

/// What an application stores: its objects, and the links of the modules among them. The modules
/// are of the class "Test.Step", and the layout is that of the stored designs of the tests.
struct StoredDesign {
  /// Null for none.
  std::shared_ptr<Object> root;
  std::vector<ApplyModuleData> links;
  /// Modules that the application remembers, most of them from the tree. Null for none.
  std::array<std::shared_ptr<ApplyModule>, 3> marked;
};

std::string saveDesign(const StoredDesign& design);
/// Throws TsException for what is no stored design. The links are not made.
StoredDesign openDesign(const std::string& bytes);

/// The modules of the tree, parents first.
std::vector<std::shared_ptr<ApplyModule>> modulesOf(const StoredDesign& design);

}  // namespace Tessaril::Fuzz
