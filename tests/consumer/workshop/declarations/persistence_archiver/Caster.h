#pragma once

#include "tessaril/platform/Export.h"

namespace Tessaril {

class WORKSHOP_API Caster {
 public:
  virtual ~Caster() = default;

  virtual void* toBase(void* derived) const = 0;
  virtual void* toDerived(void* base) const = 0;
};

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
