#pragma once

#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// A command was not started, because a stop was requested.
class WORKSHOP_API CommandStopped : public TsException {
 public:
  using TsException::TsException;
};

}  // namespace Tessaril
