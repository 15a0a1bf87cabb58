#include "reference_platform/persistence_archiver/ArchiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>

#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril::ReferencePlatform {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestArchive = std::numeric_limits<std::uint32_t>::max();

[[noreturn]] void refuse(const fs::path& file, const std::string& why) {
  throw ArchiveException(file.string() + ": " + why);
}

[[noreturn]] void fail(int error) { throw std::system_error(error, std::generic_category()); }

/// The result of a call of the system, which is called again where a signal interrupted it.
template <typename Call>
auto checked(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  if (result < 0) {
    fail(errno);
  }
  return result;
}

/// An open file, closed at the end of its scope.
class FileDescriptor {
 public:
  explicit FileDescriptor(int opened) : number(opened) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (number >= 0) {
      ::close(number);
    }
  }

  int get() const { return number; }
  /// Throws when the system says that something was lost.
  void close() {
    // An interrupted close has closed the file all the same.
    if (::close(std::exchange(number, -1)) != 0 && errno != EINTR) {
      fail(errno);
    }
  }

 private:
  int number;
};

/// The name of a file that is removed at the end of its scope, unless it has been given away.
class TemporaryName {
 public:
  explicit TemporaryName(std::string file) : name(std::move(file)) {}
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;
  ~TemporaryName() {
    if (!name.empty()) {
      ::unlink(name.c_str());
    }
  }

  void renameTo(const std::string& target) {
    checked([&] { return std::rename(name.c_str(), target.c_str()); });
    name.clear();
  }

 private:
  std::string name;
};

struct stat statusOf(int descriptor) {
  struct stat status {};
  checked([&] { return ::fstat(descriptor, &status); });
  return status;
}

std::string readAll(int descriptor, std::size_t expectedSize) {
  std::string contents;
  std::size_t size = 0;
  // One byte more than the file should have, to meet its end.
  std::size_t room = expectedSize + 1;
  for (;;) {
    if (room > kLargestArchive + 1) {
      fail(EFBIG);
    }
    contents.resize(room);
    const ssize_t got =
        checked([&] { return ::read(descriptor, contents.data() + size, room - size); });
    size += static_cast<std::size_t>(got);
    if (got == 0) {
      contents.resize(size);
      return contents;
    }
    if (size == room) {
      room *= 2;
    }
  }
}

void writeAll(int descriptor, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written =
        checked([&] { return ::write(descriptor, contents.data(), contents.size()); });
    if (written == 0) {
      fail(EIO);
    }
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
}

/// The file itself, behind any symbolic links; it need not exist.
fs::path behindLinks(fs::path file) {
  constexpr int kMostLinks = 40;
  for (int links = 0; fs::is_symlink(fs::symlink_status(file)); ++links) {
    if (links == kMostLinks) {
      fail(ELOOP);
    }
    file = file.parent_path() / fs::read_symlink(file);
  }
  return file;
}

/// Of the file that stands there; none where there is none. Throws where a rename, which asks only
/// the directory, would replace a device or a file that is write-protected.
std::optional<mode_t> permissionsOfReplaceable(const fs::path& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    if (errno == ENOENT) {
      return std::nullopt;
    }
    fail(errno);
  }
  if (S_ISDIR(status.st_mode)) {
    fail(EISDIR);
  }
  if (!S_ISREG(status.st_mode)) {
    refuse(file, "cannot be written: it is no ordinary file");
  }
  checked([&] { return ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS); });
  return status.st_mode & 0777;
}

std::string randomNameBeside(const fs::path& file) {
  const std::string unique = '.' + Identifier::createRandom().toString().substr(0, 8);
  const std::string name = file.filename().string().substr(0, NAME_MAX - 1 - unique.size());
  return (file.parent_path() / ('.' + name + unique)).string();
}

/// Makes a file of a new name beside another one, opened for writing; returns its descriptor.
int createBeside(const fs::path& file, mode_t permissions, std::string& name) {
  constexpr int kMostAttempts = 1000;
  for (int attempt = 1;; ++attempt) {
    name = randomNameBeside(file);
    const int opened = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
    if (opened >= 0) {
      return opened;
    }
    // A process that was forked from this one draws the same names.
    if ((errno != EEXIST && errno != EINTR) || attempt == kMostAttempts) {
      fail(errno);
    }
  }
}

/// Brings a rename to the disk. Where a file system does not support that, the rename is as safe as
/// that system makes it; the new contents stand in any case.
void syncDirectory(const fs::path& directory) {
  const int opened =
      ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened >= 0) {
    ::fsync(opened);
    ::close(opened);
  }
}

void replaceResolved(const fs::path& target, std::string_view contents) {
  constexpr mode_t kWhatTheUserAllows = 0666;
  const std::optional<mode_t> permissions = permissionsOfReplaceable(target);
  std::string name;
  FileDescriptor replacement(createBeside(target, permissions.value_or(kWhatTheUserAllows), name));
  TemporaryName temporary(std::move(name));
  if (permissions) {
    checked([&] { return ::fchmod(replacement.get(), *permissions); });
  }
  writeAll(replacement.get(), contents);
  checked([&] { return ::fsync(replacement.get()); });
  replacement.close();
  temporary.renameTo(target.string());
  syncDirectory(target.parent_path());
}

}  // namespace

std::string readFile(const fs::path& file) {
  try {
    const FileDescriptor opened(
        checked([&] { return ::open(file.c_str(), O_RDONLY | O_CLOEXEC); }));
    const struct stat status = statusOf(opened.get());
    // A device may have no end.
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
      refuse(file, "cannot be read: it is a device");
    }
    return readAll(opened.get(), static_cast<std::size_t>(status.st_size));
  } catch (const std::system_error& error) {
    refuse(file, "cannot be read: " + error.code().message());
  }
}

void replaceFile(const fs::path& file, std::string_view contents) {
  try {
    replaceResolved(behindLinks(file), contents);
  } catch (const std::system_error& error) {
    refuse(file, "cannot be written: " + error.code().message());
  }
}

std::unique_ptr<PersistenceArchiver> openArchive(const fs::path& file) {
  std::string contents = readFile(file);
  try {
    return std::make_unique<PersistenceArchiver>(std::move(contents));
  } catch (const ArchiveException& e) {
    refuse(file, e.what());
  }
}

void saveArchive(const fs::path& file, PersistenceArchiver& archive) {
  replaceFile(file, archive.finish());
}

}  // namespace Tessaril::ReferencePlatform
