#pragma once

#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril {

/// An archive cannot be read or written.
class WORKSHOP_API ArchiveException : public TsException {
 public:
  using TsException::TsException;
};

}  // namespace Tessaril
