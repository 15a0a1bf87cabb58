#pragma once

#include <vector>

#include "tessaril/Export.h"
#include "tessaril/platform/parameterization/Path.h"

namespace Tessaril {

class PersistenceArchiver;

/// The place of one module in its graph, as it is stored: the module and its neighbours by their
/// paths in the parameter tree. Written and read by ApplyGraph.
struct TESSARIL_APPLY_EXPORT ApplyModuleData {
  /// Empty paths; no start of a side chain.
  ApplyModuleData();
  ApplyModuleData(const ApplyModuleData&);
  ApplyModuleData(ApplyModuleData&&) noexcept;
  ApplyModuleData& operator=(const ApplyModuleData&);
  ApplyModuleData& operator=(ApplyModuleData&&) noexcept;
  ~ApplyModuleData();

  Path path;
  /// In the order of the module's list.
  std::vector<Path> previousPaths;
  /// In the order of the module's list.
  std::vector<Path> nextPaths;
  bool startOfSideChain = false;

  /// True when the class is known to the archiver, which it is from the load of the library on.
  static const bool s_force_serialization_registration;
  /// Fills the class record of "ApplyModuleData" into the BaseClassRegister that `descriptor`
  /// points to.
  static void serialization_register(void* descriptor);
  /// Both without regard to the version: there is one layout.
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);

 private:
  static const unsigned int s_serialization_type_id;
};

}  // namespace Tessaril
