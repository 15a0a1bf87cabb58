#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

namespace Tessaril::PlatformTests {

/// A new, empty directory, removed at the end of its scope with all that is in it.
class TemporaryDirectory {
 public:
  TemporaryDirectory() : path(std::filesystem::temp_directory_path() / "tessaril-test-XXXXXX") {
    std::string name = path.string();
    if (::mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("A temporary directory cannot be made");
    }
    path = name;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() { std::filesystem::remove_all(path); }

  std::filesystem::path operator/(const std::string& name) const { return path / name; }
  const std::filesystem::path& get() const { return path; }
  /// The names of what is in it.
  std::set<std::string> names() const {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      found.insert(entry.path().filename().string());
    }
    return found;
  }

 private:
  std::filesystem::path path;
};

inline void writeText(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

inline std::string readText(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace Tessaril::PlatformTests
