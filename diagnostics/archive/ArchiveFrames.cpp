#include "diagnostics/archive/ArchiveFrames.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "diagnostics/archive/ArchiveText.h"
#include "reference_platform/persistence_archiver/ArchiveLayout.h"

namespace Tessaril::Diagnostics {
namespace {

namespace Layout = ReferencePlatform::ArchiveLayout;

constexpr std::size_t kNumberSize = sizeof(std::uint32_t);

std::string at(std::size_t byte) { return std::to_string(byte); }

class FrameScan {
 public:
  explicit FrameScan(std::string_view archive) : bytes(archive) { found.size = bytes.size(); }

  ArchiveFrames scan() {
    if (!readHead() || *found.formatVersion > PersistenceArchiver::kFormatVersion) {
      return std::move(found);
    }
    const bool tableIsNamed = *found.classTableAt >= Layout::kHeadSize &&
                              *found.classTableAt + Layout::kChecksumSize <= *found.statedSize;
    if (tableIsNamed) {
      readClassTable();
    }
    bodyEnd = std::min(bytes.size(), tableIsNamed ? *found.classTableAt : bytes.size());
    scanBlocks(Layout::kHeadSize, tableIsNamed ? *found.classTableAt : *found.statedSize, 0);
    tellWhereItIsCut();
    return std::move(found);
  }

 private:
  static constexpr std::size_t kMostProblems = 20;

  /// False where nothing behind the head can be looked at.
  bool readHead() {
    if (const std::string refusal = refusalOf(bytes); !refusal.empty()) {
      found.problems.push_back({{}, refusal});
    }
    if (!bytes.starts_with(Layout::kMagic) || bytes.size() < Layout::kHeadSize) {
      return false;
    }
    found.formatVersion = Layout::numberAt(bytes, Layout::kFormatVersionAt);
    found.statedSize = Layout::numberAt(bytes, Layout::kSizeAt);
    found.classTableAt = Layout::numberAt(bytes, Layout::kClassTableAt);
    return true;
  }

  static std::string refusalOf(std::string_view archive) {
    try {
      PersistenceArchiver opened{std::string(archive)};
      return {};
    } catch (const ArchiveException& e) {
      return e.what();
    }
  }

  // The class table

  void readClassTable() {
    std::size_t place = *found.classTableAt;
    const std::size_t end = std::min(bytes.size(), *found.statedSize - Layout::kChecksumSize);
    if (place + Layout::kCountSize > end) {
      return;
    }
    const std::size_t count = Layout::numberAt(bytes, place);
    place += Layout::kCountSize;
    for (std::size_t i = 0; i < count; ++i) {
      const std::optional<ArchivedClass> next = classAt(place, end);
      if (!next) {
        addProblem(place, "class " + std::to_string(i + 1) + " of the class table is not whole");
        return;
      }
      names.try_emplace(next->typeId, shortened(next->name));
      found.classes.push_back(*next);
    }
  }

  /// Goes on behind the class that stands at `place`.
  std::optional<ArchivedClass> classAt(std::size_t& place, std::size_t end) const {
    if (Layout::kSmallestClass > end - place) {
      return std::nullopt;
    }
    ArchivedClass archived;
    archived.typeId = Layout::numberAt(bytes, place);
    const std::size_t length = Layout::numberAt(bytes, place + kNumberSize);
    if (length > end - place - Layout::kSmallestClass) {
      return std::nullopt;
    }
    archived.name = bytes.substr(place + 2 * kNumberSize, length);
    archived.version = Layout::numberAt(bytes, place + 2 * kNumberSize + length);
    place += Layout::kSmallestClass + length;
    return archived;
  }

  /// Null for what is no type id of a class.
  const std::string* classOf(std::uint32_t typeId) {
    const auto known = names.find(typeId);
    if (known != names.end()) {
      return &known->second;
    }
    std::string registered =
        found.classes.empty() ? PersistenceArchiver::getRegisteredName(typeId) : std::string();
    return registered.empty() ? nullptr : &(names[typeId] = std::move(registered));
  }

  // Blocks

  void scanBlocks(std::size_t begin, std::size_t end, std::size_t depth) {
    const std::size_t last = std::min(end, bodyEnd);
    std::size_t place = begin;
    while (place + Layout::kFrameSize <= last) {
      const std::string* className = classOf(Layout::numberAt(bytes, place + kNumberSize));
      place = className == nullptr ? place + 1 : behindBlock({place, 0, depth, *className}, end);
    }
  }

  std::size_t behindBlock(ArchivedBlock block, std::size_t endAround) {
    block.end = Layout::numberAt(bytes, block.begin);
    const std::size_t contents = block.begin + Layout::kFrameSize;
    if (block.end < contents || block.end > endAround) {
      addProblem(block.begin,
                 "a block of the class " + block.className + " is said to end at byte " +
                     at(block.end) +
                     (block.end < contents
                          ? ", before its own contents"
                          : ", behind what is around it, which ends at byte " + at(endAround)));
      return contents;
    }
    if (block.depth == PersistenceArchiver::kMaxDepth) {
      addProblem(block.begin, "blocks are nested more than " + at(block.depth) + " deep");
      return block.end;
    }
    found.blocks.push_back(block);
    scanBlocks(contents, block.end, block.depth + 1);
    return block.end;
  }

  void tellWhereItIsCut() {
    const auto innermost =
        std::find_if(found.blocks.rbegin(), found.blocks.rend(),
                     [this](const ArchivedBlock& block) { return block.end > bytes.size(); });
    if (innermost != found.blocks.rend()) {
      addProblem(bytes.size(), "cut within the block of the class " + innermost->className +
                                   " that begins at byte " + at(innermost->begin) +
                                   " and ends at byte " + at(innermost->end));
    }
  }

  void addProblem(std::size_t byte, const std::string& text) {
    if (found.problems.size() < kMostProblems) {
      found.problems.push_back({byte, text});
    }
  }

  std::string_view bytes;
  std::size_t bodyEnd = 0;
  /// By type id; shortened.
  std::unordered_map<std::uint32_t, std::string> names;
  ArchiveFrames found;
};

}  // namespace

std::string ArchiveProblem::toString() const {
  return (byte ? "byte " + at(*byte) + ": " : std::string()) + text;
}

ArchiveFrames framesOf(std::string_view bytes) { return FrameScan(bytes).scan(); }

}  // namespace Tessaril::Diagnostics
