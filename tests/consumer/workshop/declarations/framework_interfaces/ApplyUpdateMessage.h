#pragma once

#include <memory>

namespace Tessaril {

class ApplyUpdateMessage {
 public:
  virtual ~ApplyUpdateMessage() = default;

  virtual std::shared_ptr<ApplyUpdateMessage> clone() const = 0;
  virtual bool isEmpty() const = 0;
  virtual bool isGlobal() const = 0;
};

}  // namespace Tessaril
