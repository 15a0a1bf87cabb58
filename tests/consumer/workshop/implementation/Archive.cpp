#include <cxxabi.h>

#include <bit>
#include <cstdlib>
#include <limits>
#include <new>
#include <stdexcept>
#include <string_view>

#include "Casts.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {
namespace {

// Behind the values and the classes: where the values end, and the check sum of all before it.
constexpr std::size_t kSizeOfEnd = 4;
constexpr std::size_t kSizeOfSum = 8;

/// Two texts of one length that differ in one place never have the same one: each step is a
/// one-to-one map of the sum so far.
std::uint64_t checkSum(std::string_view text) {
  std::uint64_t sum = 0x9AE1'6A3B'2F90'404F;
  for (const char letter : text) {
    sum = std::rotl((sum ^ static_cast<unsigned char>(letter)) * 0x9DDF'EA08'EB38'2D69, 29);
  }
  return sum ^ text.size();
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string readableName(const std::type_info& type) {
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), &std::free);
  return name ? name.get() : type.name();
}

}  // namespace

PersistenceArchiver::PersistenceArchiver(std::string archive)
    : mode(Mode::Reading), bytes(std::move(archive)) {
  if (bytes.size() < kSizeOfEnd + kSizeOfSum) {
    throw ArchiveException("This is no archive: it is too short");
  }
  at = end = bytes.size() - kSizeOfSum;
  const std::uint64_t expected = checkSum(std::string_view(bytes).substr(0, end));
  end = bytes.size();
  if (read(kSizeOfSum) != expected) {
    throw ArchiveException("This is no archive, or it is damaged: its check sum is wrong");
  }
  at = bytes.size() - kSizeOfSum - kSizeOfEnd;
  const auto values = static_cast<std::size_t>(read(kSizeOfEnd));
  at = values;
  readClasses();
  at = 0;
  end = values;
}

void PersistenceArchiver::readClasses() {
  unsigned int count = 0;
  *this >> count;
  for (unsigned int i = 0; i < count; ++i) {
    ArchivedClass found;
    *this >> found.typeId >> found.name >> found.version;
    const BaseClassRegister* const registered = findFactory(found.name);
    BaseClassRegister record = registered ? *registered : BaseClassRegister();
    record.version = found.version;
    known.emplace(found.typeId, record);
    classes.push_back(found);
  }
}

std::string PersistenceArchiver::finish() {
  require(Mode::Writing);
  if (!blocks.empty()) {
    throw std::logic_error("A block of the archive is open");
  }
  const auto values = at;
  *this << static_cast<unsigned int>(classes.size());
  for (const ArchivedClass& each : classes) {
    *this << each.typeId << each.name << each.version;
  }
  write(values, kSizeOfEnd);
  write(checkSum(bytes), kSizeOfSum);
  mode = Mode::Written;
  at = values;
  return std::exchange(bytes, {});
}

void PersistenceArchiver::requireEnd() const {
  require(Mode::Reading);
  if (at != end || !blocks.empty()) {
    refuse("not everything has been read");
  }
}

void PersistenceArchiver::require(Mode needed) const {
  if (mode != needed) {
    throw std::logic_error(needed == Mode::Reading ? "The archive is not open for reading"
                                                   : "The archive is not open for writing");
  }
}

void PersistenceArchiver::refuse(const std::string& why) const {
  throw ArchiveException("At byte " + std::to_string(at) + ": " + why);
}

void PersistenceArchiver::write(std::uint64_t value, std::size_t size) {
  require(Mode::Writing);
  for (std::size_t i = 0; i < size; ++i) {
    bytes += static_cast<char>(value >> 8 * i & 0xFF);
  }
  at = bytes.size();
  if (at > std::numeric_limits<unsigned int>::max()) {
    refuse("the archive becomes too large");
  }
}

std::size_t PersistenceArchiver::limit() const { return blocks.empty() ? end : blocks.back(); }

void PersistenceArchiver::requireBytes(std::size_t size) const {
  require(Mode::Reading);
  if (at > limit() || size > limit() - at) {
    refuse("there are not as many bytes as should be read");
  }
}

std::uint64_t PersistenceArchiver::read(std::size_t size) {
  requireBytes(size);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) {
    value |= std::uint64_t{static_cast<unsigned char>(bytes[at++])} << 8 * i;
  }
  return value;
}

PersistenceArchiver& PersistenceArchiver::operator<<(const bool& value) {
  write(value ? 1 : 0, 1);
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator<<(const unsigned int& value) {
  write(value, 4);
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator<<(const std::uint64_t& value) {
  write(value, 8);
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator<<(const double& value) {
  write(std::bit_cast<std::uint64_t>(value), 8);
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator<<(const std::string& value) {
  write(value.size(), 4);
  bytes += value;
  at = bytes.size();
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(bool& value) {
  value = read(1) != 0;
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator>>(unsigned int& value) {
  value = static_cast<unsigned int>(read(4));
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator>>(std::uint64_t& value) {
  value = read(8);
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator>>(double& value) {
  value = std::bit_cast<double>(read(8));
  return *this;
}
PersistenceArchiver& PersistenceArchiver::operator>>(std::string& value) {
  const auto size = static_cast<std::size_t>(read(4));
  requireBytes(size);
  value = bytes.substr(at, size);
  at += size;
  return *this;
}

void PersistenceArchiver::mark_object_start(unsigned int start, unsigned int typeHash) {
  require(Mode::Writing);
  if (start != at + 4) {
    throw std::logic_error("A block does not begin here");
  }
  if (blocks.size() == kMaxDepth) {
    refuse("blocks nest deeper than " + std::to_string(kMaxDepth));
  }
  blocks.push_back(start);
  write(0, 4);
  *this << typeHash;
  const std::string name = getRegisteredName(typeHash);
  if (!name.empty() && known.try_emplace(typeHash).second) {
    classes.push_back({typeHash, name, getCurrentVersion(typeHash)});
  }
}

void PersistenceArchiver::mark_object_end(unsigned int start, unsigned int blockEnd) {
  require(Mode::Writing);
  if (blocks.empty() || blocks.back() != start || blockEnd != at) {
    throw std::logic_error("This is not the end of the innermost block");
  }
  blocks.pop_back();
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[start - 4 + i] = static_cast<char>(at >> 8 * i & 0xFF);
  }
}

void PersistenceArchiver::read_to_address_header(unsigned int& start, unsigned int& blockEnd) {
  require(Mode::Reading);
  const auto found = static_cast<unsigned int>(read(4));
  if (blocks.size() == kMaxDepth || found < at + 4 || found > limit()) {
    refuse("no block stands here");
  }
  start = static_cast<unsigned int>(at);
  blockEnd = found;
  blocks.push_back(found);
}

void PersistenceArchiver::end_read_to_address(unsigned int blockEnd) {
  require(Mode::Reading);
  if (blocks.empty() || blocks.back() != blockEnd) {
    throw std::logic_error("This is not the end of the innermost block");
  }
  at = blockEnd;
  blocks.pop_back();
}

void PersistenceArchiver::check_container_size(unsigned int count) const { requireBytes(count); }

const BaseClassRegister* PersistenceArchiver::findClass(unsigned int typeHash) const {
  const auto found = known.find(typeHash);
  return found != known.end() ? &found->second : nullptr;
}

void PersistenceArchiver::addClass(unsigned int typeHash, const BaseClassRegister& descriptor) {
  require(Mode::Reading);
  known.emplace(typeHash, descriptor).first->second.object = nullptr;
}

void PersistenceArchiver::writeObject(std::shared_ptr<const void> object, unsigned int typeId,
                                      unsigned int expectedId, const std::type_info& type) {
  require(Mode::Writing);
  const std::string name = getRegisteredName(typeId);
  if (name.empty()) {
    refuse("the class " + readableName(type) + " is not registered");
  }
  BaseClassRegister descriptor = *findFactory(name);
  if (!descriptor.create || !descriptor.load || !descriptor.save ||
      !Workshop::castsBetween(typeId, expectedId)) {
    refuse("objects of " + quoted(name) + " could not be read again as " +
           quoted(getRegisteredName(expectedId)));
  }
  const void* const address = object.get();
  const auto [place, isNew] =
      numbers.try_emplace({typeId, address}, static_cast<unsigned int>(numbers.size() + 1));
  *this << place->second;
  if (!isNew) {
    return;
  }
  written.push_back(std::move(object));
  descriptor.object = const_cast<void*>(address);
  const auto start = static_cast<unsigned int>(at + 4);
  mark_object_start(start, typeId);
  descriptor.save(*this, descriptor);
  mark_object_end(start, static_cast<unsigned int>(at));
}

std::shared_ptr<void> PersistenceArchiver::readObject(unsigned int expectedId) {
  const auto number = static_cast<std::size_t>(read(4));
  if (number == 0) {
    return nullptr;
  }
  if (number > objects.size() + 1) {
    refuse("there is no object of that number");
  }
  return number > objects.size() ? readNewObject(expectedId)
                                 : asBase(objects[number - 1], expectedId);
}

std::shared_ptr<void> PersistenceArchiver::readNewObject(unsigned int expectedId) {
  unsigned int start = 0;
  unsigned int blockEnd = 0;
  unsigned int typeHash = 0;
  read_to_address_header(start, blockEnd);
  *this >> typeHash;
  const BaseClassRegister* const stored = findClass(typeHash);
  if (!stored || !stored->create || !stored->load || !stored->createContainer) {
    refuse("the object's class is not known here");
  }
  requireCasts(stored->typeId, expectedId);
  BaseClassRegister descriptor = *stored;
  descriptor.object = descriptor.create();
  if (descriptor.object == nullptr) {
    throw std::bad_alloc();
  }
  // Number and owner come first: the object may be referred to while it is still being read.
  const ReadObject made{stored->typeId, descriptor.createContainer()->adopt(1, descriptor.object)};
  objects.push_back(made);
  descriptor.load(*this, descriptor);
  end_read_to_address(blockEnd);
  return asBase(made, expectedId);
}

std::vector<const Caster*> PersistenceArchiver::requireCasts(unsigned int typeId,
                                                             unsigned int expectedId) const {
  const auto casts = Workshop::castsBetween(typeId, expectedId);
  if (!casts) {
    refuse("an object of " + quoted(getRegisteredName(typeId)) + " is no " +
           quoted(getRegisteredName(expectedId)));
  }
  return *casts;
}

std::shared_ptr<void> PersistenceArchiver::asBase(const ReadObject& found,
                                                  unsigned int expectedId) const {
  void* address = found.object.get();
  for (const Caster* caster : requireCasts(found.typeId, expectedId)) {
    address = caster->toBase(address);
  }
  return {found.object, address};
}

}  // namespace Tessaril
