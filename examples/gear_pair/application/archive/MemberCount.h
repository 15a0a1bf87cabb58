#pragma once

#include <concepts>
#include <cstddef>
#include <type_traits>

namespace GearPair {

/// Stands for a value of any type where a member is initialised. Never evaluated.
struct AnyValue {
  // Implicit, as that is what it is for.
  // NOLINTNEXTLINE(google-explicit-constructor,hicpp-explicit-conversions)
  template <typename T>
  operator T() const;
};

/// How many members an aggregate has: as many as it takes initialisers.
template <typename Struct, typename... Found>
consteval std::size_t memberCount() {
  if constexpr (requires { Struct{Found()..., AnyValue()}; }) {
    return memberCount<Struct, Found..., AnyValue>();
  } else {
    return sizeof...(Found);
  }
}

/// A struct of that type, constant or not: to write it or to read it.
template <typename T, typename Struct>
concept Of = std::same_as<std::remove_const_t<T>, Struct>;

}  // namespace GearPair
