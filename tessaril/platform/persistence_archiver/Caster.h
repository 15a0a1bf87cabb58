#pragma once

#include "tessaril/platform/Export.h"

namespace Tessaril {

/// Converts the addresses of objects between a class and one of its bases, for those who know the
/// two classes only by their type ids. Null stays null.
class TESSARIL_PLATFORM_EXPORT Caster {
 public:
  Caster();
  Caster(const Caster&) = delete;
  Caster& operator=(const Caster&) = delete;
  virtual ~Caster();

  virtual void* toBase(void* derived) const = 0;
  /// Requires: the object is one of the derived class.
  virtual void* toDerived(void* base) const = 0;
};

/// The conversions of one pair of classes. Requires: Base is no virtual base of Derived.
template <typename Base, typename Derived>
class CasterAccess final : public Caster {
 public:
  void* toBase(void* derived) const override {
    return static_cast<Base*>(static_cast<Derived*>(derived));
  }
  void* toDerived(void* base) const override {
    return static_cast<Derived*>(static_cast<Base*>(base));
  }
};

}  // namespace Tessaril
