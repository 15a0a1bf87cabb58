#pragma once

#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// The tree cannot do what was asked.
class WORKSHOP_API ObjectException : public TsException {
 public:
  using TsException::TsException;
};

}  // namespace Tessaril
