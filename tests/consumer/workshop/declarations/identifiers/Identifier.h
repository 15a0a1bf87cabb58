#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class PersistenceArchiver;

class WORKSHOP_API Identifier {
 public:
  constexpr Identifier() noexcept = default;
  constexpr Identifier(std::uint64_t high, std::uint64_t low) noexcept : front(high), back(low) {}

  static const Identifier& getInvalidId() noexcept;
  static Identifier createRandom();
  static std::optional<Identifier> fromString(std::string_view text);

  constexpr bool isNull() const noexcept { return (front | back) == 0; }
  std::string toString() const;
  std::size_t hash() const noexcept;

  static void serialization_register(void* descriptor);
  friend WORKSHOP_API PersistenceArchiver& operator<<(PersistenceArchiver& archiver,
                                                      const Identifier& id);
  friend WORKSHOP_API PersistenceArchiver& operator>>(PersistenceArchiver& archiver,
                                                      Identifier& id);
  friend constexpr bool operator==(const Identifier&, const Identifier&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const Identifier&,
                                                    const Identifier&) noexcept = default;

 private:
  std::uint64_t front = 0;
  std::uint64_t back = 0;
};

}  // namespace Tessaril

template <>
struct std::hash<Tessaril::Identifier> {
  std::size_t operator()(const Tessaril::Identifier& id) const noexcept { return id.hash(); }
};
