#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/persistence/ApplyModuleData.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Bench {

/// The same design as plain structures, and cereal's binary archive, which writes fields one after
/// the other: no frames, no versions, no checksum, no look at what is read. The fields are those of
/// our records, in their order: a tree of polymorphic shared pointers, and links as paths. What our
/// objects are besides their fields (names that are found, signals, owners) the structures are not.
class CerealDesign {
 public:
  CerealDesign();
  CerealDesign(const Object& root, const std::vector<ApplyModuleData>& links);
  ~CerealDesign();
  CerealDesign(CerealDesign&&) noexcept;
  CerealDesign& operator=(CerealDesign&&) noexcept;

  /// Through a string stream, as cereal has it.
  std::string save() const;
  static CerealDesign open(const std::string& archive);

  /// Of the root.
  std::size_t childCount() const;
  std::size_t linkCount() const;

 private:
  struct Data;
  std::unique_ptr<Data> data;
};

}  // namespace Tessaril::Bench
