#include "tessaril/persistence/NestedRecord.h"

#include <ios>
#include <limits>
#include <stdexcept>

namespace Tessaril::NestedRecord {
namespace {

unsigned int position(const PersistenceArchiver& archiver) {
  return static_cast<unsigned int>(static_cast<std::streamoff>(archiver.tellp()));
}

/// The version of what stands in the block; makes a class known that the archive does not name.
unsigned int storedVersion(PersistenceArchiver& archiver, unsigned int typeHash,
                           const BaseClassRegister& expected) {
  if (typeHash == BaseClassRegister::kNoType) {
    return 0;
  }
  const BaseClassRegister* archived = archiver.findClass(typeHash);
  if (archived == nullptr) {
    archiver.addClass(typeHash, expected);
    return BaseClassRegister::kNoVersion;
  }
  return archived->typeId != BaseClassRegister::kNoType ? archived->version
                                                        : BaseClassRegister::kNoVersion;
}

}  // namespace

Frame beginWriting(PersistenceArchiver& archiver, Registration registration) {
  Frame frame;
  frame.start = position(archiver) + 4;
  registration(&frame.descriptor);
  archiver.mark_object_start(frame.start, frame.descriptor.typeId);
  return frame;
}

void endWriting(PersistenceArchiver& archiver, const Frame& frame) {
  archiver.mark_object_end(frame.start, position(archiver));
}

Frame beginReading(PersistenceArchiver& archiver, Registration registration) {
  Frame frame;
  archiver.read_to_address_header(frame.start, frame.end);
  unsigned int typeHash = 0;
  archiver >> typeHash;
  registration(&frame.descriptor);
  frame.descriptor.version = storedVersion(archiver, typeHash, frame.descriptor);
  return frame;
}

void endReading(PersistenceArchiver& archiver, const Frame& frame) {
  archiver.end_read_to_address(frame.end);
}

unsigned int storedCount(std::size_t count) {
  if (count > std::numeric_limits<unsigned int>::max()) {
    throw std::length_error("More elements than an archive can count");
  }
  return static_cast<unsigned int>(count);
}

}  // namespace Tessaril::NestedRecord
