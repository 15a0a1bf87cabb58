#pragma once

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// A cache of results that the commands of one update run share.
///
/// beginUpdate and endUpdate are called on the run's own thread. A run that ends twice (a cancelled
/// or suppressed one) calls endUpdate twice; a run that leaves by an exception may not call it.
class TESSARIL_PLATFORM_EXPORT ApplyCacheInterface {
 public:
  virtual ~ApplyCacheInterface();

  virtual void beginUpdate() = 0;
  virtual void endUpdate() = 0;

 protected:
  ApplyCacheInterface() = default;
  ApplyCacheInterface(const ApplyCacheInterface&) = default;
  ApplyCacheInterface& operator=(const ApplyCacheInterface&) = default;
};

}  // namespace Tessaril
