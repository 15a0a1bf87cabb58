#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Tessaril::Inspect {

struct Result {
  int exitCode = -1;
  std::string output;
  std::string errors;
};

/// Runs programs as a user does, in a folder that is removed with the test.
class InspectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder =
        std::filesystem::path(::testing::TempDir()) /
        ("tessaril_inspect_" + std::to_string(::getpid()) + test->test_suite_name() + test->name());
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
  }
  void TearDown() override { std::filesystem::remove_all(folder); }

  /// A file of the folder with that contents; gives its name.
  std::string file(const std::string& name, const std::string& contents) const {
    std::ofstream(folder / name, std::ios::binary) << contents;
    return name;
  }
  std::string contentsOf(const std::string& name) const {
    std::ifstream stream(folder / name, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
  }

  /// In a shell, with the folder as the present one.
  Result run(const std::string& program, const std::string& arguments,
             const std::string& before = {}) const {
    const std::string errors = (folder / "errors.txt").string();
    const std::string command = "cd '" + folder.string() + "' && " + before + " '" + program +
                                "' " + arguments + " 2>'" + errors + "'";
    Result result;
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
      ADD_FAILURE() << "cannot run " << command;
      return result;
    }
    std::array<char, 4096> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
      result.output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.errors = contentsOf("errors.txt");
    return result;
  }
  Result inspect(const std::string& arguments, const std::string& before = {}) const {
    return run(TESSARIL_INSPECT, arguments, before);
  }

  /// What the program says when it cannot do what was asked: one line, and nothing else.
  std::string refusal(const std::string& arguments, const std::string& before = {}) const {
    const Result result = inspect(arguments, before);
    EXPECT_EQ(result.exitCode, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_EQ(result.errors.find('\n') + 1, result.errors.size()) << arguments;
    return result.errors;
  }

  std::filesystem::path folder;
};

}  // namespace Tessaril::Inspect
