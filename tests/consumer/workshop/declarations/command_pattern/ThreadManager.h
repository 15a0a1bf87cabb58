#pragma once

#include <functional>

namespace Tessaril {

class ThreadManager {
 public:
  virtual ~ThreadManager() = default;

  virtual void start(std::function<void()> job) = 0;
  virtual void waitUntil(const std::function<bool()>& done) = 0;
};

}  // namespace Tessaril
