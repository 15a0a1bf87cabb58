#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

#include "tessaril/Export.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {

// Objects within the records of other objects: base parts, members, containers. Each stands in a
// framed block under its own class and is read with the version with which that class was written,
// whatever the version of the record around it. A class that the archive does not name is read in
// its newest layout; one that was framed without a type, in its oldest (version 0).
//
// T is the class as which the object is written, with a static serialization_register: for a base
// part it has to be named, as in writeNested<ApplyModule>(archiver, *this). What the archiver
// throws passes on; an object is left as far as it was filled then.

/// Any thread that may use the archiver.
namespace NestedRecord {

using Registration = void (*)(void* descriptor);
using Contents = std::function<void(BaseClassRegister& descriptor)>;

/// Frames what `contents` writes. `contents` gets the descriptor of the class, without an object.
TESSARIL_APPLY_EXPORT void write(PersistenceArchiver& archiver, Registration registration,
                                 const Contents& contents);
/// Reads a block by `contents`, which gets the descriptor of the expected class, without an object
/// and with the version that was written.
TESSARIL_APPLY_EXPORT void read(PersistenceArchiver& archiver, Registration registration,
                                const Contents& contents);
/// The number of elements as it stands in an archive. Throws std::length_error where it does not
/// fit.
TESSARIL_APPLY_EXPORT unsigned int storedCount(std::size_t count);

}  // namespace NestedRecord

template <typename T>
void writeNested(PersistenceArchiver& archiver, const T& object) {
  NestedRecord::write(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    descriptor.object = const_cast<T*>(&object);
    descriptor.save(archiver, descriptor);
  });
}

template <typename T>
void readNested(PersistenceArchiver& archiver, T& object) {
  NestedRecord::read(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    descriptor.object = &object;
    descriptor.load(archiver, descriptor);
  });
}

/// One block for all elements, under their class: their number, then each of them.
template <typename T>
void writeContainer(PersistenceArchiver& archiver, const std::vector<T>& elements) {
  NestedRecord::write(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    archiver << NestedRecord::storedCount(elements.size());
    for (const T& element : elements) {
      descriptor.object = const_cast<T*>(&element);
      descriptor.save(archiver, descriptor);
    }
  });
}

template <typename T>
void readContainer(PersistenceArchiver& archiver, std::vector<T>& elements) {
  NestedRecord::read(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    unsigned int count = 0;
    archiver >> count;
    archiver.check_container_size(count);
    elements.resize(std::min<std::size_t>(count, elements.size()));
    for (std::size_t i = 0; i < count; ++i) {
      // One by one: a number that is too large must not claim memory for elements that never come.
      if (i == elements.size()) {
        elements.emplace_back();
      }
      descriptor.object = &elements[i];
      descriptor.load(archiver, descriptor);
    }
  });
}

}  // namespace Tessaril
