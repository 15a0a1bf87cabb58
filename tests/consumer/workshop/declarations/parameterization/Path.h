#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/Export.h"

namespace Tessaril {

class PersistenceArchiver;

class WORKSHOP_API Path {
 public:
  Path() = default;
  explicit Path(std::string_view text);

  static Path absolute(const std::vector<std::string>& names);
  static Path relative(const std::vector<std::string>& names);

  bool isEmpty() const noexcept { return begin == Begin::Nowhere; }
  bool isAbsolute() const noexcept { return begin == Begin::Root; }
  const std::vector<std::string>& getNames() const noexcept { return names; }
  std::string toString() const;

  friend bool operator==(const Path&, const Path&) = default;

  static void serialization_register(void* descriptor);

 private:
  enum class Begin { Nowhere, Here, Root };

  void add(std::string_view name);
  void save(PersistenceArchiver& archiver) const;
  void load(PersistenceArchiver& archiver);

  Begin begin = Begin::Nowhere;
  std::vector<std::string> names;
};

}  // namespace Tessaril
