#pragma once

#include <functional>
#include <utility>

namespace Tessaril::ReferencePlatform {

/// Keeps what was added to a service for as long as it lives. Moves; does not copy. Default: keeps
/// nothing.
class [[nodiscard]] Registration {
 public:
  Registration() noexcept = default;
  /// Requires: `removal` does not throw.
  explicit Registration(std::function<void()> removal) : remove(std::move(removal)) {}
  Registration(Registration&& other) noexcept : remove(std::exchange(other.remove, nullptr)) {}
  Registration& operator=(Registration&& other) noexcept {
    if (this != &other) {
      end();
      remove = std::exchange(other.remove, nullptr);
    }
    return *this;
  }
  ~Registration() { end(); }

  /// Removes at once. Does nothing the second time.
  void end() noexcept {
    if (const auto removal = std::exchange(remove, nullptr)) {
      removal();
    }
  }

 private:
  std::function<void()> remove;
};

}  // namespace Tessaril::ReferencePlatform
