#pragma once

#include <string>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {

class PersistenceArchiver;

namespace TestSupport {

/// A module of the stored designs that lie in golden/: an object of the parameter tree, registered
/// as "Test.Step", version 1. Its record, an Object part and an ApplyModule part, never changes.
class Step : public ApplyModule, public Object {
 public:
  explicit Step(std::string name = "step");
  ~Step() override;

  static const bool s_force_serialization_registration;
  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
};

}  // namespace TestSupport
}  // namespace Tessaril
