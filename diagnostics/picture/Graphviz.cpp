#include "diagnostics/picture/Graphviz.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <locale>
#include <memory>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

extern char** environ;  // NOLINT(readability-redundant-declaration)

// The process reads from and writes to unnamed temporary files rather than pipes: no side ever has
// to wait for the other to read, whatever the sizes.

namespace Tessaril::Diagnostics {
namespace {

std::string errorText(int code) { return std::generic_category().message(code); }

class TemporaryFile {
 public:
  TemporaryFile() : file(std::tmpfile(), &std::fclose) {
    if (file == nullptr) {
      throw PictureError("No temporary file can be made for Graphviz: " + errorText(errno));
    }
  }

  int descriptor() const { return ::fileno(file.get()); }

  // Past the buffers of the stream, since the process shares the place in the file.

  void write(std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = ::write(descriptor(), text.data(), text.size());
      if (count < 0) {
        throw PictureError("A temporary file for Graphviz cannot be written: " + errorText(errno));
      }
      text.remove_prefix(static_cast<std::size_t>(count));
    }
    rewind();
  }

  std::string read() {
    rewind();
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t count = 0; (count = ::read(descriptor(), block.data(), block.size())) > 0;) {
      text.append(block.data(), static_cast<std::size_t>(count));
    }
    return text;
  }

 private:
  void rewind() { ::lseek(descriptor(), 0, SEEK_SET); }

  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
};

class FileActions {
 public:
  FileActions() { posix_spawn_file_actions_init(&actions); }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;
  ~FileActions() { posix_spawn_file_actions_destroy(&actions); }

  void connect(const TemporaryFile& file, int descriptor) {
    posix_spawn_file_actions_adddup2(&actions, file.descriptor(), descriptor);
  }
  const posix_spawn_file_actions_t* get() const { return &actions; }

 private:
  posix_spawn_file_actions_t actions;
};

pid_t start(std::vector<std::string> commandLine, const FileActions& files) {
  const std::string program = commandLine.front();
  std::vector<char*> arguments;
  arguments.reserve(commandLine.size() + 1);
  for (std::string& argument : commandLine) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  pid_t process = 0;
  const int code =
      posix_spawnp(&process, program.c_str(), files.get(), nullptr, arguments.data(), environ);
  if (code == ENOENT) {
    throw PictureError("Graphviz is needed to draw: there is no program \"" + program +
                       "\". Install the package graphviz, or write the picture as DOT.");
  }
  if (code != 0) {
    throw PictureError("Graphviz's program \"" + program +
                       "\" cannot be started: " + errorText(code));
  }
  return process;
}

/// As a shell counts it.
int exitCodeOf(pid_t process) {
  int status = 0;
  while (::waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string onOneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

/// What the process writes for `dotText`, in the formats that its options ask for, one behind the
/// other; SVG among them.
std::string outputOf(const std::string& dotText, const std::vector<std::string>& commandLine) {
  TemporaryFile input;
  TemporaryFile output;
  TemporaryFile errors;
  input.write(dotText);
  FileActions files;
  files.connect(input, STDIN_FILENO);
  files.connect(output, STDOUT_FILENO);
  files.connect(errors, STDERR_FILENO);
  const int exitCode = exitCodeOf(start(commandLine, files));
  const std::string complaint = onOneLine(errors.read());
  std::string text = output.read();
  if (exitCode != 0 || text.find("</svg>") == std::string::npos) {
    throw PictureError("Graphviz's program \"" + commandLine.front() +
                       "\" made no picture (exit code " + std::to_string(exitCode) + ")" +
                       (complaint.empty() ? std::string() : ": " + complaint));
  }
  return text;
}

/// From the lines "node m1 0.5 1.25 ..." of Graphviz's plain format.
std::map<std::string, double> nodesFromLeftIn(const std::string& plain) {
  std::map<std::string, double> nodes;
  std::istringstream lines(plain);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    std::string kind;
    std::string name;
    double fromLeft = 0.0;
    if (words >> kind >> name >> fromLeft && kind == "node") {
      nodes.emplace(name, fromLeft);
    }
  }
  return nodes;
}

}  // namespace

std::string svgOfDot(const std::string& dotText, const std::string& program) {
  return outputOf(dotText, {program, "-Tsvg"});
}

LaidOutPicture layOut(const std::string& dotText, const std::string& program) {
  const std::string output = outputOf(dotText, {program, "-Tplain", "-Tsvg"});
  constexpr std::string_view kEndOfPlain = "\nstop\n";
  const std::size_t end = output.find(kEndOfPlain);
  if (end == std::string::npos) {
    return {output, {}};
  }
  return {output.substr(end + kEndOfPlain.size()), nodesFromLeftIn(output.substr(0, end))};
}

}  // namespace Tessaril::Diagnostics
