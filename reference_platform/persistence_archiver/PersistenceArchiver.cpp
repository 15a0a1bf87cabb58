#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

#include <cxxabi.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "reference_platform/persistence_archiver/ArchiveLayout.h"
#include "reference_platform/persistence_archiver/ClassRegistry.h"

// The layout of an archive is described, byte by byte, in docs/format.md.

namespace Tessaril {
namespace {

using ReferencePlatform::ClassRegistry;

using ReferencePlatform::ArchiveLayout::kChecksumSize;
using ReferencePlatform::ArchiveLayout::kClassTableAt;
using ReferencePlatform::ArchiveLayout::kFormatVersionAt;
using ReferencePlatform::ArchiveLayout::kFrameSize;
using ReferencePlatform::ArchiveLayout::kHeadSize;
using ReferencePlatform::ArchiveLayout::kMagic;
using ReferencePlatform::ArchiveLayout::kSizeAt;
using ReferencePlatform::ArchiveLayout::kSmallestArchive;
using ReferencePlatform::ArchiveLayout::kSmallestClass;

/// The version of a class that is registered without one of its own.
constexpr unsigned int kDefaultClassVersion = 500002;

/// The same number with its bytes in the other order on a machine that keeps the highest first.
template <typename Number>
Number littleEndian(Number value) {
  if constexpr (std::endian::native == std::endian::little || sizeof(Number) == 1) {
    return value;
  } else {
    Number swapped = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      swapped = static_cast<Number>(swapped << 8 | (value >> (8 * i) & 0xFF));
    }
    return swapped;
  }
}

template <typename Number>
Number numberAt(const char* place) {
  Number value = 0;
  std::memcpy(&value, place, sizeof(Number));
  return littleEndian(value);
}

template <typename Number>
void putNumber(char* place, Number value) {
  value = littleEndian(value);
  std::memcpy(place, &value, sizeof(Number));
}

std::uint32_t checksumOf(std::string_view text) {
  return static_cast<std::uint32_t>(
      crc32_z(0, reinterpret_cast<const Bytef*>(text.data()), text.size()));
}

/// Whether objects of the class can be made and filled.
bool canBeRead(const BaseClassRegister& record) {
  return record.create != nullptr && record.load != nullptr && record.createContainer != nullptr;
}

/// The object as the class that the casters lead to.
std::shared_ptr<void> asBase(std::shared_ptr<void> object,
                             const ClassRegistry::CasterPath& casters) {
  void* address = object.get();
  for (const Caster* caster : casters) {
    address = caster->toBase(address);
  }
  return {std::move(object), address};
}

/// The archived class as this program knows it, with the version that was written.
BaseClassRegister recordOf(const ArchivedClass& archived) {
  BaseClassRegister record;
  if (const BaseClassRegister* known = PersistenceArchiver::findFactory(archived.name)) {
    record = *known;
  } else {
    record.typeId = archived.typeId;
  }
  record.version = archived.version;
  return record;
}

std::string quotedName(unsigned int typeId) {
  return '"' + ClassRegistry::get().nameOf(typeId) + '"';
}

}  // namespace

// Registration

BaseClassRegister* PersistenceArchiver::registerFactory(const std::string& name,
                                                        const BaseClassRegister& record,
                                                        unsigned int version) {
  return ClassRegistry::get().add(name, record, version);
}

const BaseClassRegister* PersistenceArchiver::findFactory(const std::string& name) {
  const unsigned int typeId = getHashForName(name);
  return getRegisteredName(typeId) == name ? ClassRegistry::get().find(typeId) : nullptr;
}

std::string PersistenceArchiver::getRegisteredName(unsigned int typeId) {
  return ClassRegistry::get().nameOf(typeId);
}

unsigned int PersistenceArchiver::getHashForName(const std::string& name) {
  // FNV-1a.
  std::uint32_t hash = 0x811C9DC5;
  for (const char letter : name) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 0x01000193;
  }
  return hash == 0 || hash == BaseClassRegister::kNoType ? hash + 1 : hash;
}

unsigned int PersistenceArchiver::getHashForType(unsigned int hash) {
  return ClassRegistry::get().typeOfHash(hash);
}

void PersistenceArchiver::registerHash(unsigned int hash, unsigned int typeId) {
  ClassRegistry::get().addHash(hash, typeId);
}

bool PersistenceArchiver::registerCaster(unsigned int derivedId, unsigned int baseId,
                                         Caster* caster) {
  return ClassRegistry::get().addCaster(derivedId, baseId, std::unique_ptr<Caster>(caster));
}

unsigned int PersistenceArchiver::getCurrentVersion(unsigned int typeId) {
  const BaseClassRegister* record = ClassRegistry::get().find(typeId);
  return record != nullptr ? record->registeredVersion : kDefaultClassVersion;
}

// The archive as a whole

PersistenceArchiver::PersistenceArchiver() {
  bytes = kMagic;
  bytes.resize(kHeadSize);
  next = limit = kHeadSize;
}

PersistenceArchiver::PersistenceArchiver(std::string archive)
    : mode(Mode::Reading), bytes(std::move(archive)) {
  readHead();
}

PersistenceArchiver::~PersistenceArchiver() = default;

std::string PersistenceArchiver::finish() {
  requireMode(Mode::Writing);
  if (!openBlocks.empty()) {
    throw std::logic_error("An archive cannot be completed while a block is open");
  }
  const unsigned int tableAddress = position();
  writeNumber(static_cast<std::uint32_t>(classes.size()));
  for (const ArchivedClass& archived : classes) {
    *this << archived.typeId << archived.name << archived.version;
  }
  const auto size = static_cast<std::uint32_t>(position() + kChecksumSize);
  putNumber<std::uint32_t>(&bytes[kFormatVersionAt], kFormatVersion);
  putNumber<std::uint32_t>(&bytes[kSizeAt], size);
  putNumber<std::uint32_t>(&bytes[kClassTableAt], tableAddress);
  writeNumber(checksumOf(std::string_view(bytes).substr(0, next)));
  mode = Mode::Written;
  bytes.resize(next);
  next = limit = 0;
  return std::move(bytes);
}

void PersistenceArchiver::readHead() {
  if (!std::string_view(bytes).starts_with(kMagic)) {
    throw ArchiveException("this is no design archive: it does not begin like one");
  }
  if (bytes.size() < kSmallestArchive) {
    throw ArchiveException("cut at byte " + std::to_string(bytes.size()) +
                           ", within the head of the archive");
  }
  const auto numberInHead = [this](std::size_t at) { return numberAt<std::uint32_t>(&bytes[at]); };
  const std::size_t size = numberInHead(kSizeAt);
  if (bytes.size() != size) {
    throw ArchiveException((bytes.size() < size ? "cut at byte " : "damaged: goes on to byte ") +
                           std::to_string(bytes.size()) + " of " + std::to_string(size));
  }
  const std::size_t checksumAt = size - kChecksumSize;
  if (numberInHead(checksumAt) != checksumOf(std::string_view(bytes).substr(0, checksumAt))) {
    throw ArchiveException("damaged: the checksum at byte " + std::to_string(checksumAt) +
                           " is not that of the bytes before it");
  }
  const unsigned int formatVersion = numberInHead(kFormatVersionAt);
  if (formatVersion > kFormatVersion) {
    throw ArchiveException("written in format " + std::to_string(formatVersion) +
                           ", which is newer than this program's format " +
                           std::to_string(kFormatVersion));
  }
  if (formatVersion == 0) {
    throw ArchiveException("damaged: byte 8 names format 0, which there is none");
  }
  const std::size_t tableAddress = numberInHead(kClassTableAt);
  if (tableAddress < kHeadSize || tableAddress > checksumAt) {
    throw ArchiveException("damaged: byte 16 says that the class table begins at byte " +
                           std::to_string(tableAddress));
  }
  next = tableAddress;
  limit = bodyEnd = checksumAt;
  readClassTable();
  next = kHeadSize;
  limit = bodyEnd = tableAddress;
}

void PersistenceArchiver::readClassTable() {
  const auto count = readNumber<std::uint32_t>();
  if (count > (bodyEnd - next) / kSmallestClass) {
    refuse("a class table of " + std::to_string(count) + " classes does not fit into the archive");
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    ArchivedClass archived;
    *this >> archived.typeId >> archived.name >> archived.version;
    if (!classTable.try_emplace(archived.typeId, recordOf(archived)).second) {
      refuse("the class table names two classes with the type id " +
             std::to_string(archived.typeId));
    }
    classes.push_back(std::move(archived));
  }
  requireEnd();
}

void PersistenceArchiver::requireEnd() const {
  requireMode(Mode::Reading);
  if (next != bodyEnd) {
    refuse(std::to_string(bodyEnd - next) + " bytes are left over");
  }
}

const std::vector<ArchivedClass>& PersistenceArchiver::getClasses() const noexcept {
  return classes;
}

// Values

PersistenceArchiver& PersistenceArchiver::operator<<(const bool& value) {
  return writeNumber(static_cast<std::uint8_t>(value ? 1 : 0));
}

PersistenceArchiver& PersistenceArchiver::operator<<(const unsigned int& value) {
  return writeNumber(static_cast<std::uint32_t>(value));
}

PersistenceArchiver& PersistenceArchiver::operator<<(const std::uint64_t& value) {
  return writeNumber(value);
}

PersistenceArchiver& PersistenceArchiver::operator<<(const double& value) {
  static_assert(std::numeric_limits<double>::is_iec559);
  return writeNumber(std::bit_cast<std::uint64_t>(value));
}

PersistenceArchiver& PersistenceArchiver::operator<<(const std::string& value) {
  constexpr std::size_t kLengthSize = sizeof(std::uint32_t);
  char* const room = roomFor(kLengthSize + value.size());
  putNumber(room, static_cast<std::uint32_t>(value.size()));
  value.copy(room + kLengthSize, value.size());
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(bool& value) {
  const unsigned int place = position();
  const auto number = readNumber<std::uint8_t>();
  if (number > 1) {
    refuseAt(place, std::to_string(number) + " is neither true nor false");
  }
  value = number == 1;
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(unsigned int& value) {
  value = readNumber<std::uint32_t>();
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(std::uint64_t& value) {
  value = readNumber<std::uint64_t>();
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(double& value) {
  value = std::bit_cast<double>(readNumber<std::uint64_t>());
  return *this;
}

PersistenceArchiver& PersistenceArchiver::operator>>(std::string& value) {
  const std::size_t size = readNumber<std::uint32_t>();
  value.assign(take(size), size);
  return *this;
}

template <typename Number>
PersistenceArchiver& PersistenceArchiver::writeNumber(Number value) {
  putNumber(roomFor(sizeof(Number)), value);
  return *this;
}

template <typename Number>
Number PersistenceArchiver::readNumber() {
  return numberAt<Number>(take(sizeof(Number)));
}

char* PersistenceArchiver::roomFor(std::size_t size) {
  if (mode != Mode::Writing || size > limit - next) {
    makeRoom(size);
  }
  char* const room = bytes.data() + next;
  next += size;
  return room;
}

void PersistenceArchiver::makeRoom(std::size_t size) {
  requireMode(Mode::Writing);
  constexpr std::size_t kMostBytes = std::numeric_limits<std::uint32_t>::max() - kChecksumSize;
  if (size > kMostBytes - next) {
    throw ArchiveException("An archive cannot be larger than 4 GiB");
  }
  // No more than will soon be used: the string has spare room behind its end, which costs nothing
  // before it is touched.
  constexpr std::size_t kMostAhead = 0x10000;
  limit = std::max(next + size, std::min(limit + std::min(limit, kMostAhead), kMostBytes));
  bytes.resize(limit);
}

const char* PersistenceArchiver::take(std::size_t size) {
  if (mode != Mode::Reading || size > limit - next) {
    refuseToTake(size);
  }
  const char* const taken = bytes.data() + next;
  next += size;
  return taken;
}

void PersistenceArchiver::refuseToTake(std::size_t size) const {
  requireMode(Mode::Reading);
  refuse(std::to_string(size) + " bytes are needed where " + std::to_string(limit - next) +
         " are left");
}

// Framed blocks

std::fpos<std::mbstate_t> PersistenceArchiver::tellp() const {
  return static_cast<std::streamoff>(position());
}

unsigned int PersistenceArchiver::position() const { return static_cast<unsigned int>(next); }

std::size_t PersistenceArchiver::blockEnd() const {
  return openBlocks.empty() ? bodyEnd : openBlocks.back();
}

void PersistenceArchiver::openBlock(unsigned int address) {
  if (openBlocks.size() == kMaxDepth) {
    refuse("objects are nested more than " + std::to_string(kMaxDepth) + " deep");
  }
  openBlocks.push_back(address);
}

void PersistenceArchiver::mark_object_start(unsigned int start, unsigned int typeHash) {
  requireMode(Mode::Writing);
  if (start != position() + sizeof(std::uint32_t)) {
    throw std::logic_error("A block begins 4 bytes behind the present position");
  }
  openBlock(start);
  char* const frame = roomFor(kFrameSize);
  putNumber<std::uint32_t>(frame, 0);
  putNumber<std::uint32_t>(frame + sizeof(std::uint32_t), typeHash);
  if (!classTable.contains(typeHash)) {
    nameClass(typeHash);
  }
}

void PersistenceArchiver::nameClass(unsigned int typeHash) {
  if (const BaseClassRegister* record = ClassRegistry::get().find(typeHash)) {
    classTable.emplace(typeHash, *record);
    classes.push_back({typeHash, getRegisteredName(typeHash), record->registeredVersion});
  }
}

void PersistenceArchiver::mark_object_end(unsigned int start, unsigned int end) {
  requireMode(Mode::Writing);
  if (openBlocks.empty() || openBlocks.back() != start || end != position()) {
    throw std::logic_error("The innermost block is closed first, and at the present position");
  }
  putNumber<std::uint32_t>(&bytes[start - sizeof(std::uint32_t)], end);
  openBlocks.pop_back();
}

void PersistenceArchiver::read_to_address_header(unsigned int& start, unsigned int& end) {
  const unsigned int place = position();
  end = readNumber<std::uint32_t>();
  start = position();
  if (end < start + sizeof(std::uint32_t) || end > limit) {
    refuseAt(place, "a block is said to end at byte " + std::to_string(end));
  }
  openBlock(end);
  limit = end;
}

void PersistenceArchiver::end_read_to_address(unsigned int end) {
  requireMode(Mode::Reading);
  if (openBlocks.empty() || openBlocks.back() != end) {
    throw std::logic_error("The innermost block is closed first");
  }
  next = end;
  openBlocks.pop_back();
  limit = blockEnd();
}

void PersistenceArchiver::check_container_size(unsigned int count) const {
  requireMode(Mode::Reading);
  // Every element takes a byte at least.
  if (const std::size_t left = limit - next; count > left) {
    refuse(std::to_string(count) + " elements cannot be held by " + std::to_string(left) +
           " bytes");
  }
}

// The classes of this archive

const BaseClassRegister* PersistenceArchiver::findClass(unsigned int typeHash) const {
  const auto found = classTable.find(typeHash);
  return found != classTable.end() ? &found->second : nullptr;
}

void PersistenceArchiver::addClass(unsigned int typeHash, const BaseClassRegister& descriptor) {
  requireMode(Mode::Reading);
  const auto [place, isNew] = classTable.try_emplace(typeHash, descriptor);
  if (isNew) {
    place->second.object = nullptr;
  }
}

// Shared objects

void PersistenceArchiver::writeNull() { writeNumber(std::uint32_t{0}); }

const PersistenceArchiver::WrittenClass* PersistenceArchiver::findWrittenClass(
    const std::type_info& type, unsigned int expectedTypeId) const {
  const auto found = writtenClasses.find({&type, expectedTypeId});
  return found != writtenClasses.end() ? &found->second : nullptr;
}

const PersistenceArchiver::WrittenClass& PersistenceArchiver::addWrittenClass(
    const std::type_info& type, unsigned int typeId, unsigned int expectedTypeId) {
  if (!ClassRegistry::get().pathToBase(typeId, expectedTypeId)) {
    throw ArchiveException("No casters lead from the class " + quotedName(typeId) + " to " +
                           quotedName(expectedTypeId) + ": it could not be read again");
  }
  const BaseClassRegister* const record = ClassRegistry::get().find(typeId);
  if (record == nullptr || record->save == nullptr || !canBeRead(*record)) {
    throw ArchiveException("Objects of the class " + quotedName(typeId) +
                           " cannot be stored on their own: the class lacks operations for that");
  }
  const WrittenClass written{record, &containerOf(*record)};
  return writtenClasses.emplace(ReachedClass<const std::type_info*>{&type, expectedTypeId}, written)
      .first->second;
}

void PersistenceArchiver::writeObject(std::shared_ptr<const void> object,
                                      const WrittenClass& written) {
  if (const std::uint32_t known = written.container->numberOf(object.get())) {
    writeNumber(known);
    return;
  }
  const unsigned int typeId = written.record->typeId;
  objects.push_back({typeId, written.container});
  const auto number = static_cast<std::uint32_t>(objects.size());
  BaseClassRegister descriptor = *written.record;
  descriptor.object = const_cast<void*>(object.get());
  written.container->keep(number, std::move(object));
  writeNumber(number);
  const auto start = static_cast<unsigned int>(position() + sizeof(std::uint32_t));
  mark_object_start(start, typeId);
  descriptor.save(*this, descriptor);
  mark_object_end(start, position());
}

std::shared_ptr<void> PersistenceArchiver::readObject(unsigned int expectedTypeId) {
  const unsigned int place = position();
  const auto number = readNumber<std::uint32_t>();
  if (number == 0) {
    return nullptr;
  }
  if (number == objects.size() + 1) {
    return readNewObject(expectedTypeId);
  }
  if (number > objects.size()) {
    refuseAt(place, "the shared object " + std::to_string(number) + " comes after only " +
                        std::to_string(objects.size()));
  }
  const SharedObject& known = objects[number - 1];
  return asBase(known.container->find(number), requireCasters(known.typeId, expectedTypeId));
}

std::shared_ptr<void> PersistenceArchiver::readNewObject(unsigned int expectedTypeId) {
  unsigned int start = 0;
  unsigned int end = 0;
  unsigned int typeHash = 0;
  read_to_address_header(start, end);
  *this >> typeHash;
  const ReadClass& read = readClass(typeHash, expectedTypeId, start);
  objects.push_back({read.record.typeId, read.container});
  BaseClassRegister descriptor = read.record;
  descriptor.object = descriptor.create();
  if (descriptor.object == nullptr) {
    throw std::bad_alloc();
  }
  std::shared_ptr<void> object =
      read.container->adopt(static_cast<std::uint32_t>(objects.size()), descriptor.object);
  descriptor.load(*this, descriptor);
  end_read_to_address(end);
  return asBase(std::move(object), read.casters);
}

/// Asked before an object is made, so that nothing of a wrong class is ever loaded.
const PersistenceArchiver::ReadClass& PersistenceArchiver::readClass(unsigned int typeHash,
                                                                     unsigned int expectedTypeId,
                                                                     unsigned int start) {
  const ReachedClass<unsigned int> reached{typeHash, expectedTypeId};
  if (const auto known = readClasses.find(reached); known != readClasses.end()) {
    return known->second;
  }
  const BaseClassRegister record = classOfObject(typeHash);
  if (!canBeRead(record)) {
    refuseAt(start, "this program cannot make an object of the class " + archivedName(typeHash));
  }
  auto casters = requireCasters(record.typeId, expectedTypeId);
  PointerMapContainerBase& container = containerOf(record);
  return readClasses.emplace(reached, ReadClass{record, std::move(casters), &container})
      .first->second;
}

BaseClassRegister PersistenceArchiver::classOfObject(unsigned int typeHash) {
  const auto found = classTable.find(typeHash);
  if (found == classTable.end()) {
    return {};
  }
  if (!canBeRead(found->second)) {
    // It may have been registered since the archive was opened.
    if (const ArchivedClass* const archived = archivedClass(typeHash)) {
      found->second = recordOf(*archived);
    }
  }
  return found->second;
}

std::vector<const Caster*> PersistenceArchiver::requireCasters(unsigned int typeId,
                                                               unsigned int expectedTypeId) const {
  auto path = ClassRegistry::get().pathToBase(typeId, expectedTypeId);
  if (!path) {
    refuse("an object of the class " + quotedName(typeId) + " stands where one of " +
           quotedName(expectedTypeId) + " is expected");
  }
  return std::move(*path);
}

PointerMapContainerBase& PersistenceArchiver::containerOf(const BaseClassRegister& record) {
  auto& container = containers[record.typeId];
  if (container == nullptr) {
    container = record.createContainer();
  }
  return *container;
}

// Errors

const ArchivedClass* PersistenceArchiver::archivedClass(unsigned int typeHash) const {
  const auto found =
      std::find_if(classes.begin(), classes.end(),
                   [&](const ArchivedClass& archived) { return archived.typeId == typeHash; });
  return found != classes.end() ? &*found : nullptr;
}

std::string PersistenceArchiver::archivedName(unsigned int typeHash) const {
  const ArchivedClass* const archived = archivedClass(typeHash);
  return archived != nullptr ? '"' + archived->name + '"'
                             : "of the unknown type id " + std::to_string(typeHash);
}

void PersistenceArchiver::requireMode(Mode required) const {
  if (mode != required) {
    throw std::logic_error(required == Mode::Reading ? "This archive is not for reading"
                                                     : "This archive is not for writing");
  }
}

void PersistenceArchiver::refuse(const std::string& why) const { refuseAt(position(), why); }

void PersistenceArchiver::refuseAt(std::size_t place, const std::string& why) {
  throw ArchiveException("byte " + std::to_string(place) + ": " + why);
}

void PersistenceArchiver::refuseUnregistered(const std::type_info& type) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  throw ArchiveException(std::string("The class ") + (name != nullptr ? name.get() : type.name()) +
                         " is not registered: its objects cannot be written");
}

}  // namespace Tessaril
