#pragma once

namespace Tessaril {

class ApplyCacheInterface {
 public:
  virtual ~ApplyCacheInterface() = default;

  virtual void beginUpdate() = 0;
  virtual void endUpdate() = 0;
};

}  // namespace Tessaril
