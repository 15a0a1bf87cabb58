#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class PersistenceArchiver;

/// The way to an object of the parameter tree, as a list of names.
///
/// Absolute paths start at the root, whose own name is left out, and print as "/a/b" (the root
/// itself as "/"). Relative paths start at some object and print as "a/b"; ".." climbs to the
/// parent and "." is the object itself. The empty path, which default construction gives, leads
/// nowhere: it differs from ".". Two slashes in a row count as one, a slash at the end and the name
/// "." between others count for nothing; ".." is kept.
class TESSARIL_PLATFORM_EXPORT Path {
 public:
  Path();
  /// Reads the text form; the empty text gives the empty path.
  explicit Path(std::string_view text);

  /// Requires, here and below: names hold no '/'.
  static Path absolute(std::vector<std::string> names);
  /// An empty list of names gives the path ".".
  static Path relative(std::vector<std::string> names);

  bool isEmpty() const noexcept;
  bool isAbsolute() const noexcept;
  /// The names from first to last; empty for "/", "." and the empty path.
  const std::vector<std::string>& getNames() const noexcept;
  std::string toString() const;

  friend bool operator==(const Path&, const Path&) = default;

  /// Fills the class record of "Path" into a BaseClassRegister.
  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);

  enum class Kind { Empty, Relative, Absolute };
  Path(Kind pathKind, std::vector<std::string> pathNames);

  Kind kind = Kind::Empty;
  std::vector<std::string> names;
};

}  // namespace Tessaril
