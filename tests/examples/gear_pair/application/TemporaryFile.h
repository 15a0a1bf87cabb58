#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace GearPair {

/// A file of this process in the folder for temporary files; removed with this object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& name)
      : file(std::filesystem::path(testing::TempDir()) / (std::to_string(getpid()) + "_" + name)) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::filesystem::remove(file); }

  std::string name() const { return file.string(); }
  std::string content() const {
    std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path file;
};

}  // namespace GearPair
