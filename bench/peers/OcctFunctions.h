#pragma once

#include <cstdint>
#include <memory>

#include "bench/Shapes.h"

namespace Tessaril::Bench {

/// A shape as OpenCASCADE functions on the labels of a document, which depend on one another
/// through their graph nodes.
class OcctFunctions {
 public:
  explicit OcctFunctions(const Shape& shape);
  ~OcctFunctions();

  /// Iterates over the functions in the order of their dependences and executes each, which adds
  /// its number plus one to a sum, the answer. The iterator does not look at execution statuses,
  /// so that none has to be written.
  std::uint64_t execute() const;
  /// The same as an application recomputes a document: with the status of each function, which
  /// resetStatus() has set back.
  std::uint64_t executeWithStatus() const;
  void resetStatus() const;

 private:
  struct Data;
  std::unique_ptr<Data> data;
};

}  // namespace Tessaril::Bench
