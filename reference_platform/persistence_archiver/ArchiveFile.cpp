#include "reference_platform/persistence_archiver/ArchiveFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril::ReferencePlatform {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const fs::path& file, const std::string& why) {
  throw ArchiveException(file.string() + ": " + why);
}

[[noreturn]] void refuseWithErrno(const fs::path& file, const std::string& what) {
  refuse(file, what + ": " + std::generic_category().message(errno));
}

/// An open file, closed at the end of its scope.
class FileDescriptor {
 public:
  explicit FileDescriptor(int opened) : number(opened) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { close(); }

  int get() const { return number; }
  /// False when the system says that something was lost.
  bool close() {
    const int closing = std::exchange(number, -1);
    return closing < 0 || ::close(closing) == 0;
  }

 private:
  int number;
};

/// The new contents on their way to the place of the old ones.
class NewFile {
 public:
  explicit NewFile(const fs::path& replaced)
      : target(replaced), name(unusedNameBeside(replaced)), descriptor(create(name)) {
    if (descriptor.get() < 0) {
      name.clear();
      refuseWithErrno(target, "cannot be written");
    }
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (!name.empty()) {
      ::unlink(name.c_str());
    }
  }

  void write(std::string_view contents) {
    while (!contents.empty()) {
      const ssize_t written = ::write(descriptor.get(), contents.data(), contents.size());
      if (written < 0 && errno != EINTR) {
        refuseWithErrno(target, "cannot be written");
      }
      contents.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
  }

  void takePermissionsOf(const fs::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0 &&
        ::fchmod(descriptor.get(), status.st_mode & 07777) != 0) {
      refuseWithErrno(target, "cannot be written");
    }
  }

  void takeThePlace() {
    if (::fsync(descriptor.get()) != 0 || !descriptor.close() ||
        std::rename(name.c_str(), target.c_str()) != 0) {
      refuseWithErrno(target, "cannot be written");
    }
    name.clear();
  }

 private:
  static std::string unusedNameBeside(const fs::path& file) {
    const std::string unique = Identifier::createRandom().toString().substr(0, 8);
    return (file.parent_path() / ('.' + file.filename().string() + '.' + unique)).string();
  }
  static int create(const std::string& name) {
    constexpr mode_t kReadAndWrite = 0666;
    return ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadAndWrite);
  }

  const fs::path& target;
  /// Empty when there is nothing to remove.
  std::string name;
  FileDescriptor descriptor;
};

/// A write-protected file could be replaced all the same: its directory decides about that.
void requireWritable(const fs::path& file) {
  if (::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT) {
    refuseWithErrno(file, "cannot be written");
  }
}

/// Brings a rename to the disk. Where a file system does not support that, the rename is as safe as
/// that system makes it; the new contents stand in any case.
void syncDirectory(const fs::path& directory) {
  const FileDescriptor opened(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() >= 0) {
    ::fsync(opened.get());
  }
}

/// The file itself, behind any symbolic links.
fs::path resolved(const fs::path& file) {
  std::error_code error;
  fs::path target = fs::weakly_canonical(fs::absolute(file, error), error);
  return error ? file : target;
}

}  // namespace

std::string readFile(const fs::path& file) {
  const FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  if (opened.get() < 0) {
    refuseWithErrno(file, "cannot be read");
  }
  struct stat status {};
  if (::fstat(opened.get(), &status) != 0) {
    refuseWithErrno(file, "cannot be read");
  }
  std::string contents(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t size = 0;
  // One byte more is asked for than the file should have, to meet its end.
  for (;;) {
    if (size == contents.size()) {
      contents.resize(size + 1 + size / 2);
    }
    const ssize_t got = ::read(opened.get(), contents.data() + size, contents.size() - size);
    if (got == 0) {
      break;
    }
    if (got < 0 && errno != EINTR) {
      refuseWithErrno(file, "cannot be read");
    }
    size += got > 0 ? static_cast<std::size_t>(got) : 0;
  }
  contents.resize(size);
  return contents;
}

void replaceFile(const fs::path& file, std::string_view contents) {
  const fs::path target = resolved(file);
  requireWritable(target);
  NewFile replacement(target);
  replacement.takePermissionsOf(target);
  replacement.write(contents);
  replacement.takeThePlace();
  syncDirectory(target.parent_path());
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
