#pragma once

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <typeindex>
#include <utility>
#include <vector>

#include "examples/gear_pair/application/Shared.h"
#include "examples/gear_pair/application/archive/CalculationFields.h"
#include "examples/gear_pair/application/archive/Objections.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace GearPair {

/// Reads what ValueWriter has written. Every value is checked; what no design can hold is refused
/// with an ArchiveException that names the byte.
class ValueReader {
 public:
  explicit ValueReader(Tessaril::PersistenceArchiver& source) : archiver(source) {}

  template <typename T>
  void read(T& value) {
    if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, std::string>) {
      archiver >> value;
    } else if constexpr (std::is_same_v<T, double>) {
      archiver >> value;
      requireThat(std::isfinite(value), "this is no finite number");
    } else if constexpr (std::is_same_v<T, int>) {
      value = static_cast<int>(readNumber());
    } else if constexpr (std::is_same_v<T, std::size_t>) {
      std::uint64_t number = 0;
      archiver >> number;
      value = number;
    } else if constexpr (std::is_enum_v<T>) {
      readOneOfTwo(value);
    } else {
      fields(*this, value);
      const std::string objection = objectionTo(value);
      requireThat(objection.empty(), objection);
    }
  }

  void read(MayBeInfinite<double>& value) {
    archiver >> value.number;
    requireThat(
        std::isfinite(value.number) || value.number == -std::numeric_limits<double>::infinity(),
        "this is no number");
  }

  // Point by point: a number that is too large must not claim memory for points that never come.
  void read(Polyline& line) {
    line.clear();
    for (unsigned int left = readNumber(); left > 0; --left) {
      read(line.emplace_back());
    }
  }

  template <typename T>
  void read(Shared<T>& value) {
    const unsigned int number = readNumber();
    if (number == known.size() + 1) {
      const auto added = std::make_shared<T>();
      read(*added);
      known.push_back({typeid(T), added});
    }
    requireThat(number >= 1 && number <= known.size() && known[number - 1].type == typeid(T),
                "there is no such value as number " + std::to_string(number));
    value = std::static_pointer_cast<const T>(known[number - 1].value);
  }

  /// Called by fields().
  template <typename Struct, typename... Members>
  void operator()(Struct& /*value*/, Members&&... members) {
    static_assert(sizeof...(Members) == memberCount<Struct>(), "a member is not stored");
    (read(members), ...);
  }

  /// Throws ArchiveException, "byte N: why", unless the condition holds.
  void requireThat(bool condition, const std::string& why) const {
    if (!condition) {
      const auto byte = static_cast<std::streamoff>(archiver.tellp());
      throw Tessaril::ArchiveException("byte " + std::to_string(byte) + ": " + why);
    }
  }

 private:
  struct KnownValue {
    std::type_index type;
    std::shared_ptr<const void> value;
  };

  unsigned int readNumber() {
    unsigned int number = 0;
    archiver >> number;
    return number;
  }

  /// The enumerations of a design have two values each.
  template <typename Enumeration>
  void readOneOfTwo(Enumeration& value) {
    static_assert(std::is_same_v<Enumeration, Member> || std::is_same_v<Enumeration, UnitSystem>);
    archiver.readEnumeration(value);
    requireThat(static_cast<unsigned int>(value) <= 1, "there is no such choice");
  }

  Tessaril::PersistenceArchiver& archiver;
  std::vector<KnownValue> known;
};

}  // namespace GearPair
