#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril::TestSupport {

/// The type id of a registered name: FNV-1a of its letters.
constexpr std::uint32_t typeIdOf(std::string_view name) {
  std::uint32_t hash = 2166136261U;
  for (const char letter : name) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
  }
  return hash;
}

/// An archive that a test puts together value by value, without the archiver: what the archiver
/// writes is compared with it, and what the archiver reads comes from it.
class HandMadeArchive {
 public:
  /// An entry of the class table.
  struct Class {
    std::string name;
    std::uint32_t version;
  };
  struct Id {
    std::uint64_t high;
    std::uint64_t low;

    Identifier get() const { return {high, low}; }
  };

  HandMadeArchive();

  HandMadeArchive& flags(std::initializer_list<bool> values);
  HandMadeArchive& number(std::uint32_t value);
  HandMadeArchive& number64(std::uint64_t value);
  HandMadeArchive& text(std::string_view value);
  HandMadeArchive& id(const Id& value);

  /// Frames, under a class, everything up to the close() that belongs to it.
  HandMadeArchive& open(std::string_view className);
  HandMadeArchive& openWithHash(std::uint32_t typeHash);
  HandMadeArchive& close();

  HandMadeArchive& ids(std::initializer_list<Id> values);
  HandMadeArchive& paths(std::initializer_list<std::string_view> values);
  HandMadeArchive& path(std::string_view value);

  /// The whole archive, with a class table of these classes. Requires: every block is closed.
  std::string with(const std::vector<Class>& classes) const;

 private:
  std::string bytes;
  std::vector<std::size_t> openBlocks;
};

/// Gives the archive the size and the checksum that belong to its bytes. Requires: it has a head
/// and room for the checksum at its end.
void repair(std::string& archive);

}  // namespace Tessaril::TestSupport
