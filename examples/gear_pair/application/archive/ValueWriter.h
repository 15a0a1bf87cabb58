#pragma once

#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include "examples/gear_pair/application/Shared.h"
#include "examples/gear_pair/application/archive/CalculationFields.h"
#include "tessaril/persistence/NestedRecord.h"

namespace GearPair {

/// Writes the values of a design into an archive: numbers, texts, and structs by their fields(). A
/// shared value is written once, and then referred to by its number, so that the values that steps
/// have in common are in common again when they have been read.
class ValueWriter {
 public:
  explicit ValueWriter(Tessaril::PersistenceArchiver& target) : archiver(target) {}

  template <typename T>
  void write(const T& value) {
    if constexpr (std::is_same_v<T, double> || std::is_same_v<T, bool> ||
                  std::is_same_v<T, std::string>) {
      archiver << value;
    } else if constexpr (std::is_same_v<T, int>) {
      archiver << static_cast<unsigned int>(value);
    } else if constexpr (std::is_same_v<T, std::size_t>) {
      archiver << std::uint64_t{value};
    } else if constexpr (std::is_enum_v<T>) {
      archiver.writeEnumeration(value);
    } else {
      fields(*this, value);
    }
  }

  void write(const MayBeInfinite<const double>& value) { archiver << value.number; }

  void write(const Polyline& line) {
    archiver << Tessaril::NestedRecord::storedCount(line.size());
    for (const Point& point : line) {
      write(point);
    }
  }

  /// Requires: the value is there.
  template <typename T>
  void write(const Shared<T>& value) {
    const auto next = static_cast<unsigned int>(numbers.size() + 1);
    const auto [entry, isNew] = numbers.emplace(value.get(), next);
    archiver << entry->second;
    if (isNew) {
      write(*value);
    }
  }

  /// Called by fields().
  template <typename Struct, typename... Members>
  void operator()(const Struct& /*value*/, const Members&... members) {
    static_assert(sizeof...(Members) == memberCount<Struct>(), "a member is not stored");
    (write(members), ...);
  }

 private:
  Tessaril::PersistenceArchiver& archiver;
  /// Number 1 is the first. The values live as long as the design that is written.
  std::map<const void*, unsigned int> numbers;
};

}  // namespace GearPair
