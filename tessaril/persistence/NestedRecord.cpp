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

void write(PersistenceArchiver& archiver, Registration registration, const Contents& contents) {
  const unsigned int start = position(archiver) + 4;
  BaseClassRegister descriptor;
  registration(&descriptor);
  archiver.mark_object_start(start, descriptor.typeId);
  contents(descriptor);
  archiver.mark_object_end(start, position(archiver));
}

void read(PersistenceArchiver& archiver, Registration registration, const Contents& contents) {
  unsigned int start = 0;
  unsigned int end = 0;
  archiver.read_to_address_header(start, end);
  unsigned int typeHash = 0;
  archiver >> typeHash;
  BaseClassRegister descriptor;
  registration(&descriptor);
  descriptor.version = storedVersion(archiver, typeHash, descriptor);
  contents(descriptor);
  archiver.end_read_to_address(end);
}

unsigned int storedCount(std::size_t count) {
  if (count > std::numeric_limits<unsigned int>::max()) {
    throw std::length_error("More elements than an archive can count");
  }
  return static_cast<unsigned int>(count);
}

}  // namespace Tessaril::NestedRecord
