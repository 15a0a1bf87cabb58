#pragma once

#include <algorithm>
#include <cstddef>
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

/// A block that is open, and the class of what stands in it.
struct Frame {
  /// Without an object; in reading, with the version that was written.
  BaseClassRegister descriptor;
  /// The address of the block.
  unsigned int start = 0;
  /// In reading, the address of the first byte behind the block.
  unsigned int end = 0;
};

// Each block that is begun has to be ended with the same frame, unless something was thrown.

TESSARIL_APPLY_EXPORT Frame beginWriting(PersistenceArchiver& archiver, Registration registration);
TESSARIL_APPLY_EXPORT void endWriting(PersistenceArchiver& archiver, const Frame& frame);
TESSARIL_APPLY_EXPORT Frame beginReading(PersistenceArchiver& archiver, Registration registration);
TESSARIL_APPLY_EXPORT void endReading(PersistenceArchiver& archiver, const Frame& frame);

/// Frames what `contents` writes. `contents` gets the descriptor of the class, without an object.
template <typename Contents>
void write(PersistenceArchiver& archiver, Registration registration, const Contents& contents) {
  Frame frame = beginWriting(archiver, registration);
  contents(frame.descriptor);
  endWriting(archiver, frame);
}

/// Reads a block by `contents`, which gets the descriptor of the expected class, without an object
/// and with the version that was written.
template <typename Contents>
void read(PersistenceArchiver& archiver, Registration registration, const Contents& contents) {
  Frame frame = beginReading(archiver, registration);
  contents(frame.descriptor);
  endReading(archiver, frame);
}

/// The number of elements as it stands in an archive. Throws std::length_error where it does not
/// fit.
TESSARIL_APPLY_EXPORT unsigned int storedCount(std::size_t count);

}  // namespace NestedRecord

/// One block for the object.
template <typename T>
void writeNested(PersistenceArchiver& archiver, const T& object) {
  NestedRecord::write(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    descriptor.object = const_cast<T*>(&object);
    descriptor.save(archiver, descriptor);
  });
}

/// Loads `object` from what writeNested() has written.
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

/// Makes `elements` what writeContainer() has written. Elements that are there already are loaded
/// over. Throws ArchiveException for a number of elements that the archive cannot hold.
template <typename T>
void readContainer(PersistenceArchiver& archiver, std::vector<T>& elements) {
  NestedRecord::read(archiver, T::serialization_register, [&](BaseClassRegister& descriptor) {
    unsigned int count = 0;
    archiver >> count;
    archiver.check_container_size(count);
    elements.resize(std::min<std::size_t>(count, elements.size()));
    // Memory is taken as elements arrive: a number that is too large must not claim any for those
    // that never come. Most containers are short, and have all of it at once.
    constexpr std::size_t kShort = 4;
    elements.reserve(std::min<std::size_t>(count, kShort));
    for (std::size_t i = 0; i < count; ++i) {
      if (i == elements.size()) {
        elements.emplace_back();
      }
      descriptor.object = &elements[i];
      descriptor.load(archiver, descriptor);
    }
  });
}

}  // namespace Tessaril
