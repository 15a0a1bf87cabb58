#include "fuzz/ArchiveEditing.h"

#include <zlib.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace Tessaril::Fuzz {
namespace {

constexpr std::string_view kMagic = "\x89TSR\r\n\x1a\n";
constexpr std::size_t kSizeAt = 12;
constexpr std::size_t kClassTableAt = 16;
constexpr std::size_t kNumberSize = 4;
/// The address of the end and the type id.
constexpr std::size_t kFrameSize = 2 * kNumberSize;
constexpr std::uint32_t kNoType = 0xBBAFA6C8;

/// One class as the table names it.
struct ClassEntry {
  std::uint32_t typeId;
  std::size_t versionAt;
};

/// As far as the table can be followed.
std::vector<ClassEntry> entriesOf(const EditableArchive& archive) {
  const Stretch table = archive.classTable();
  std::vector<ClassEntry> entries;
  std::size_t at = table.begin + kNumberSize;
  while (at + 3 * kNumberSize <= table.end) {
    const std::size_t nameSize = archive.number(at + kNumberSize);
    const std::size_t versionAt = at + 2 * kNumberSize + nameSize;
    if (versionAt + kNumberSize > table.end) {
      break;
    }
    entries.push_back({archive.number(at), versionAt});
    at = versionAt + kNumberSize;
  }
  return entries;
}

}  // namespace

EditableArchive::EditableArchive(std::string archive) : bytes(std::move(archive)) {
  bytes.resize(std::max(bytes.size(), kSmallestSize));
}

Stretch EditableArchive::body() const { return {kHeadSize, classTable().begin}; }

Stretch EditableArchive::classTable() const {
  const std::size_t end = bytes.size() - kChecksumSize;
  return {std::clamp<std::size_t>(number(kClassTableAt), kHeadSize, end - kNumberSize), end};
}

std::vector<Stretch> EditableArchive::blocks() const {
  std::unordered_set<std::uint32_t> typeIds{kNoType};
  for (const ClassEntry& entry : entriesOf(*this)) {
    typeIds.insert(entry.typeId);
  }
  const Stretch values = body();
  std::vector<Stretch> found;
  for (std::size_t at = values.begin; at + kFrameSize <= values.end; ++at) {
    const std::size_t end = number(at);
    if (end >= at + kFrameSize && end <= values.end && typeIds.contains(number(at + kNumberSize))) {
      found.push_back({at, end});
    }
  }
  return found;
}

std::vector<std::size_t> EditableArchive::versionPlaces() const {
  std::vector<std::size_t> places;
  for (const ClassEntry& entry : entriesOf(*this)) {
    places.push_back(entry.versionAt);
  }
  return places;
}

void EditableArchive::replace(const Stretch& stretch, std::string_view replacement) {
  // Modulo 2^32, so that a cut is the addition of a large number.
  const auto growth = static_cast<std::uint32_t>(replacement.size() - stretch.size());
  const Stretch table = classTable();
  for (const Stretch& block : blocks()) {
    const bool isReplaced = block.begin >= stretch.begin && block.begin < stretch.end;
    if (!isReplaced && block.end >= stretch.end) {
      setNumber(block.begin, static_cast<std::uint32_t>(block.end) + growth);
    }
  }
  if (table.begin >= stretch.end) {
    setNumber(kClassTableAt, static_cast<std::uint32_t>(table.begin) + growth);
  }
  bytes.replace(stretch.begin, stretch.size(), replacement);
  bytes.resize(std::max(bytes.size(), kSmallestSize));
}

std::string EditableArchive::movedTo(const Stretch& stretch, std::size_t address) const {
  EditableArchive moved(*this);
  for (const Stretch& block : blocks()) {
    if (block.begin >= stretch.begin && block.end <= stretch.end) {
      moved.setNumber(block.begin, static_cast<std::uint32_t>(block.end - stretch.begin + address));
    }
  }
  return moved.bytes.substr(stretch.begin, stretch.size());
}

void EditableArchive::setNumber(std::size_t address, std::uint32_t value) {
  for (std::size_t i = 0; i < kNumberSize; ++i) {
    bytes[address + i] = static_cast<char>(value >> (8 * i) & 0xFF);
  }
}

std::uint32_t EditableArchive::number(std::size_t address) const {
  std::uint32_t value = 0;
  for (std::size_t i = kNumberSize; i-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(bytes[address + i]);
  }
  return value;
}

void EditableArchive::seal() {
  bytes.replace(0, kMagic.size(), kMagic);
  setNumber(kSizeAt, static_cast<std::uint32_t>(bytes.size()));
  const std::size_t checksumAt = bytes.size() - kChecksumSize;
  setNumber(checksumAt, static_cast<std::uint32_t>(
                            crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), checksumAt)));
}

}  // namespace Tessaril::Fuzz
