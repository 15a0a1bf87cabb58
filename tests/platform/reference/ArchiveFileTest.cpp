#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tests/platform/persistence_archiver/StoredClass.h"
#include "tests/platform/reference/ArchiveBytes.h"
#include "tests/platform/reference/TemporaryDirectory.h"

namespace Tessaril::ReferencePlatform {
namespace {

namespace fs = std::filesystem;

using PlatformTests::readText;
using PlatformTests::refusal;
using PlatformTests::TemporaryDirectory;
using PlatformTests::writeText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr unsigned int kPermissions = 07777;

unsigned int permissionsOf(const fs::path& file) {
  return static_cast<unsigned int>(fs::status(file).permissions()) & kPermissions;
}
void setPermissions(const fs::path& file, unsigned int permissions) {
  fs::permissions(file, static_cast<fs::perms>(permissions));
}

/// The umask, as it was again at the end of the scope.
class Umask {
 public:
  explicit Umask(mode_t mask) : before(::umask(mask)) {}
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;
  ~Umask() { ::umask(before); }

 private:
  mode_t before;
};

/// Acts as a user whom permissions stop, which they do not for root.
class OrdinaryUser {
 public:
  OrdinaryUser() : before(::geteuid()) {
    constexpr uid_t kNobody = 65534;
    if (before == 0) {
      EXPECT_EQ(::seteuid(kNobody), 0);
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  ~OrdinaryUser() { EXPECT_EQ(::seteuid(before), 0); }

 private:
  uid_t before;
};

class ArchiveFileTest : public testing::Test {
 protected:
  TemporaryDirectory directory;
  const fs::path file = directory / "design.tsr";
};

std::string messageFor(const fs::path& file, const std::string& rest) {
  return file.string() + ": " + rest;
}

// Reading

TEST_F(ArchiveFileTest, ReadsAFileWhole) {
  for (const std::size_t size : {0, 1, 2, 3, 4095, 4096, 4097, 300000}) {
    std::string contents(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      contents[i] = static_cast<char>(i * 7 + i / 256);
    }
    writeText(file, contents);
    EXPECT_EQ(readFile(file), contents) << size;
  }
}

TEST_F(ArchiveFileTest, ReadsWhatHasNoSizeOfItsOwn) {
  // A pipe says that it is empty until it is read.
  const fs::path pipe = directory / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const std::string contents(1000, 'p');
  std::thread writer([&] { writeText(pipe, contents); });
  EXPECT_EQ(readFile(pipe), contents);
  writer.join();
}

TEST_F(ArchiveFileTest, RefusesToReadWhatIsNotThere) {
  EXPECT_EQ(refusal([&] { readFile(file); }),
            messageFor(file, "cannot be read: No such file or directory"));
  EXPECT_EQ(refusal([&] { openArchive(file); }),
            messageFor(file, "cannot be read: No such file or directory"));
}

TEST_F(ArchiveFileTest, RefusesToReadADevice) {
  EXPECT_EQ(refusal([] { readFile("/dev/zero"); }),
            messageFor("/dev/zero", "cannot be read: it is a device"));
}

TEST_F(ArchiveFileTest, RefusesToReadADirectory) {
  EXPECT_EQ(refusal([&] { readFile(directory.get()); }),
            messageFor(directory.get(), "cannot be read: Is a directory"));
}

TEST_F(ArchiveFileTest, RefusesToReadWhatItMayNotRead) {
  writeText(file, "secret");
  setPermissions(directory.get(), 0755);
  setPermissions(file, 0200);
  const OrdinaryUser user;
  EXPECT_EQ(refusal([&] { readFile(file); }),
            messageFor(file, "cannot be read: Permission denied"));
}

TEST_F(ArchiveFileTest, RefusesWhatIsTooLargeForAnArchiveBeforeItIsRead) {
  writeText(file, "");
  fs::resize_file(file, 0x1'0000'0000);
  EXPECT_EQ(refusal([&] { readFile(file); }), messageFor(file, "cannot be read: File too large"));
}

// Writing

TEST_F(ArchiveFileTest, MakesAFile) {
  replaceFile(file, "contents");
  EXPECT_EQ(readText(file), "contents");
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, ReplacesTheContentsOfAFile) {
  writeText(file, "old and longer contents");
  replaceFile(file, "new");
  EXPECT_EQ(readText(file), "new");
  replaceFile(file, "");
  EXPECT_EQ(readText(file), "");
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, WhoHasTheOldFileOpenKeepsReadingIt) {
  writeText(file, "old");
  std::ifstream reader(file);
  replaceFile(file, "new");
  std::string text;
  reader >> text;
  EXPECT_EQ(text, "old");
}

TEST_F(ArchiveFileTest, ANewFileHasThePermissionsThatTheUserAllows) {
  for (const mode_t mask : {0022, 0077, 0000, 0007}) {
    const Umask scope(mask);
    replaceFile(file, "contents");
    EXPECT_EQ(permissionsOf(file), 0666 & ~mask);
    fs::remove(file);
  }
}

TEST_F(ArchiveFileTest, AReplacedFileKeepsItsPermissions) {
  const Umask scope(0027);
  for (const unsigned int permissions : {0600U, 0666U, 0640U, 0755U}) {
    writeText(file, "old");
    setPermissions(file, permissions);
    replaceFile(file, "new");
    EXPECT_EQ(permissionsOf(file), permissions);
    EXPECT_EQ(readText(file), "new");
  }
}

TEST_F(ArchiveFileTest, ASymbolicLinkStaysAndWhatItLeadsToIsReplaced) {
  fs::create_directory(directory / "elsewhere");
  writeText(directory / "elsewhere/target.tsr", "old");
  fs::create_symlink("elsewhere/target.tsr", directory / "middle");
  fs::create_symlink(directory / "middle", file);
  replaceFile(file, "new");
  EXPECT_EQ(fs::read_symlink(file), directory / "middle");
  EXPECT_EQ(fs::read_symlink(directory / "middle"), "elsewhere/target.tsr");
  EXPECT_EQ(readText(directory / "elsewhere/target.tsr"), "new");
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr", "elsewhere", "middle"));
}

TEST_F(ArchiveFileTest, ASymbolicLinkThatLeadsToNothingYetStaysToo) {
  fs::create_symlink("later.tsr", file);
  replaceFile(file, "new");
  EXPECT_EQ(fs::read_symlink(file), "later.tsr");
  EXPECT_EQ(readText(directory / "later.tsr"), "new");
}

TEST_F(ArchiveFileTest, RefusesSymbolicLinksThatLeadInACircle) {
  fs::create_symlink("b", directory / "a");
  fs::create_symlink("a", directory / "b");
  EXPECT_EQ(refusal([&] { replaceFile(directory / "a", "new"); }),
            messageFor(directory / "a", "cannot be written: Too many levels of symbolic links"));
  EXPECT_THAT(directory.names(), ElementsAre("a", "b"));
}

TEST_F(ArchiveFileTest, TakesANameRelativeToTheWorkingDirectory) {
  const fs::path before = fs::current_path();
  fs::current_path(directory.get());
  replaceFile("design.tsr", "new");
  EXPECT_EQ(readFile("design.tsr"), "new");
  EXPECT_EQ(refusal([&] { replaceFile("missing/design.tsr", "new"); }),
            "missing/design.tsr: cannot be written: No such file or directory");
  fs::current_path(before);
  EXPECT_EQ(readText(file), "new");
}

TEST_F(ArchiveFileTest, TakesNamesAsLongAsTheSystemDoes) {
  const fs::path longest = directory / std::string(255, 'n');
  replaceFile(longest, "contents");
  EXPECT_EQ(readText(longest), "contents");
  const fs::path tooLong = directory / std::string(256, 'n');
  EXPECT_EQ(refusal([&] { replaceFile(tooLong, "contents"); }),
            messageFor(tooLong, "cannot be written: File name too long"));
}

TEST_F(ArchiveFileTest, RefusesToWriteIntoADirectoryThatIsNotThere) {
  const fs::path lost = directory / "missing/design.tsr";
  EXPECT_EQ(refusal([&] { replaceFile(lost, "new"); }),
            messageFor(lost, "cannot be written: No such file or directory"));
}

TEST_F(ArchiveFileTest, RefusesToWriteBelowAFile) {
  writeText(file, "no directory");
  EXPECT_EQ(refusal([&] { replaceFile(file / "design.tsr", "new"); }),
            messageFor(file / "design.tsr", "cannot be written: Not a directory"));
}

TEST_F(ArchiveFileTest, RefusesToReplaceADirectory) {
  fs::create_directory(file);
  EXPECT_EQ(refusal([&] { replaceFile(file, "new"); }),
            messageFor(file, "cannot be written: Is a directory"));
  EXPECT_TRUE(fs::is_directory(file));
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, RefusesToReplaceWhatIsNoFile) {
  // As root, one could lose a device this way.
  ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(refusal([&] { replaceFile(file, "new"); }),
            messageFor(file, "cannot be written: it is no ordinary file"));
  EXPECT_TRUE(fs::is_fifo(file));
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, RefusesAnEmptyName) {
  EXPECT_EQ(refusal([&] { replaceFile("", "new"); }),
            ": cannot be written: No such file or directory");
}

TEST_F(ArchiveFileTest, RefusesToReplaceAWriteProtectedFile) {
  // Its directory would allow it.
  setPermissions(directory.get(), 0777);
  writeText(file, "old");
  setPermissions(file, 0444);
  {
    const OrdinaryUser user;
    EXPECT_EQ(refusal([&] { replaceFile(file, "new"); }),
              messageFor(file, "cannot be written: Permission denied"));
  }
  EXPECT_EQ(readText(file), "old");
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, RefusesToWriteIntoAWriteProtectedDirectory) {
  writeText(file, "old");
  setPermissions(file, 0666);
  setPermissions(directory.get(), 0555);
  {
    const OrdinaryUser user;
    EXPECT_EQ(refusal([&] { replaceFile(file, "new"); }),
              messageFor(file, "cannot be written: Permission denied"));
    EXPECT_EQ(refusal([&] { replaceFile(directory / "other.tsr", "new"); }),
              messageFor(directory / "other.tsr", "cannot be written: Permission denied"));
  }
  setPermissions(directory.get(), 0755);
  EXPECT_EQ(readText(file), "old");
  EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
}

TEST_F(ArchiveFileTest, RefusesToWriteWhereItMayNotLook) {
  setPermissions(directory.get(), 0000);
  {
    const OrdinaryUser user;
    EXPECT_EQ(refusal([&] { replaceFile(file, "new"); }),
              messageFor(file, "cannot be written: Permission denied"));
  }
  setPermissions(directory.get(), 0755);
}

// Files that cannot grow, as on a disk that is full: the limit of the process makes the system
// write what still fits, and refuse the rest.

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t size) : signalBefore(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit limit{size, before.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, signalBefore);
  }

 private:
  using Handler = void (*)(int);

  Handler signalBefore;
  rlimit before{};
};

TEST_F(ArchiveFileTest, AWriteThatEndsAnywhereLeavesTheOldFileWhole) {
  PersistenceArchiver archive;
  archive << std::string("sixteen letters.");
  const std::string contents = archive.finish();
  for (const bool isNew : {false, true}) {
    for (std::size_t size = 0; size < contents.size(); ++size) {
      if (!isNew) {
        writeText(file, "old");
      }
      std::string message;
      {
        const FileSizeLimit limit(size);
        message = refusal([&] { replaceFile(file, contents); });
      }
      EXPECT_EQ(message, messageFor(file, "cannot be written: File too large"));
      if (isNew) {
        EXPECT_THAT(directory.names(), IsEmpty()) << size;
      } else {
        EXPECT_THAT(directory.names(), ElementsAre("design.tsr")) << size;
        EXPECT_EQ(readText(file), "old");
      }
      fs::remove(file);
    }
  }
  const FileSizeLimit limit(contents.size());
  EXPECT_NO_THROW(replaceFile(file, contents));
}

// Archives

TEST_F(ArchiveFileTest, SavesAndOpensAnArchive) {
  PersistenceArchiver writing;
  writing << 7U;
  saveArchive(file, writing);
  const auto reading = openArchive(file);
  unsigned int number = 0;
  *reading >> number;
  reading->requireEnd();
  EXPECT_EQ(number, 7U);
}

TEST_F(ArchiveFileTest, AnOpenArchiveDoesNotNeedItsFile) {
  PersistenceArchiver writing;
  writing << 7U;
  saveArchive(file, writing);
  const auto reading = openArchive(file);
  fs::remove(file);
  unsigned int number = 0;
  *reading >> number;
  EXPECT_EQ(number, 7U);
}

TEST_F(ArchiveFileTest, AnArchiveWithAnOpenBlockIsNotSaved) {
  writeText(file, "old");
  PersistenceArchiver writing;
  writing.mark_object_start(ArchiveBytes::kHeadSize + 4, 1);
  EXPECT_THROW(saveArchive(file, writing), std::logic_error);
  EXPECT_EQ(readText(file), "old");
}

TEST_F(ArchiveFileTest, ADamagedArchiveIsRefusedByNameAndLeftAsItIs) {
  const std::string whole = PersistenceArchiver().finish();
  writeText(file, whole.substr(0, 20));
  EXPECT_EQ(refusal([&] { openArchive(file); }),
            messageFor(file, "cut at byte 20, within the head of the archive"));
  EXPECT_EQ(readText(file), whole.substr(0, 20));
  writeText(file, "");
  EXPECT_EQ(refusal([&] { openArchive(file); }),
            messageFor(file, "this is no design archive: it does not begin like one"));
}

// A process that is killed

/// Saves one of the two contents after the other for ever, and tells the pipe of each that stands.
[[noreturn]] void saveForEver(const fs::path& file, const std::string& first,
                              const std::string& second, int pipe) noexcept {
  for (;;) {
    for (const std::string* contents : {&first, &second}) {
      replaceFile(file, *contents);
      if (::write(pipe, "x", 1) != 1) {
        ::_exit(1);
      }
    }
  }
}

TEST_F(ArchiveFileTest, AProcessThatIsKilledLeavesOneOfTheTwoFilesWhole) {
  PersistenceArchiver first;
  first << std::string(20000, '1');
  const std::string firstBytes = first.finish();
  PersistenceArchiver second;
  second << std::string(70000, '2');
  const std::string secondBytes = second.finish();

  for (int round = 0; round < 50; ++round) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(pipe[0]);
      saveForEver(file, firstBytes, secondBytes, pipe[1]);
    }
    ::close(pipe[1]);
    // Killed somewhere within the save that follows.
    for (int saves = round % 5 + 1; saves > 0; --saves) {
      char told = 0;
      ASSERT_EQ(::read(pipe[0], &told, 1), 1);
    }
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    ::close(pipe[0]);

    const std::string found = readText(file);
    EXPECT_TRUE(found == firstBytes || found == secondBytes) << "round " << round;
    EXPECT_NO_THROW(openArchive(file));
  }
  // What the killed processes left behind hinders nobody.
  replaceFile(file, firstBytes);
  EXPECT_EQ(readText(file), firstBytes);
  for (const std::string& name : directory.names()) {
    EXPECT_TRUE(name == "design.tsr" || (name.starts_with(".design.tsr.") && name.size() == 20))
        << name;
  }
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
