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

/// A 128 bit identifier, used by the apply framework to name chains.
///
/// The value that is entirely zero is the invalid (null) identifier. Default construction gives it.
/// A host guarantees value semantics, that getInvalidId() may be called during static
/// initialisation of any library, and that text form and value convert into each other without
/// loss.
class TESSARIL_PLATFORM_EXPORT Identifier {
 public:
  /// The invalid identifier.
  constexpr Identifier() noexcept = default;
  constexpr Identifier(std::uint64_t high, std::uint64_t low) noexcept
      : highHalf(high), lowHalf(low) {}

  static const Identifier& getInvalidId() noexcept;
  /// A new random identifier (version 4 layout); never the invalid one.
  static Identifier createRandom();
  /// Reads the text form written by toString(); letters in either case. Empty for any other text.
  static std::optional<Identifier> fromString(std::string_view text);

  /// True exactly for the invalid identifier.
  constexpr bool isNull() const noexcept { return highHalf == 0 && lowHalf == 0; }
  /// "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" in lower-case hexadecimal digits.
  std::string toString() const;
  std::size_t hash() const noexcept;

  /// Fills the class record of "Identifier" into a BaseClassRegister.
  static void serialization_register(void* descriptor);
  /// All 128 bits.
  friend TESSARIL_PLATFORM_EXPORT PersistenceArchiver& operator<<(PersistenceArchiver& archiver,
                                                                  const Identifier& id);
  friend TESSARIL_PLATFORM_EXPORT PersistenceArchiver& operator>>(PersistenceArchiver& archiver,
                                                                  Identifier& id);

  friend constexpr bool operator==(const Identifier&, const Identifier&) noexcept = default;
  friend constexpr std::strong_ordering operator<=>(const Identifier&,
                                                    const Identifier&) noexcept = default;

 private:
  std::uint64_t highHalf = 0;
  std::uint64_t lowHalf = 0;
};

}  // namespace Tessaril

template <>
struct std::hash<Tessaril::Identifier> {
  std::size_t operator()(const Tessaril::Identifier& id) const noexcept { return id.hash(); }
};
