#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <filesystem>
#include <iterator>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "tests/platform/persistence_archiver/StoredClass.h"
#include "tests/platform/reference/TemporaryDirectory.h"

// The calls of the system that the files of archives are read and written with, made to fail, to be
// interrupted, or to be the last ones of their process. The dynamic linker prefers the definitions
// of the program to those of the C library.

namespace {

/// What happens to the calls that are made while it lives.
struct Faults {
  Faults() { active = this; }
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;
  ~Faults() { active = nullptr; }

  static inline Faults* active = nullptr;

  /// The number of the call that fails, or with which the process dies, from 1 on; 0 for none.
  int faultAt = 0;
  /// Every call of this name fails.
  std::string failing;
  int error = EIO;
  enum class Death { None, Before, After } death = Death::None;
  /// No call reads or writes more bytes.
  std::size_t mostBytes = std::numeric_limits<std::size_t>::max();
  bool writesNothing = false;
  std::vector<std::string> calls;

  bool isFault(const std::string& name) {
    calls.push_back(name);
    return name == failing || static_cast<int>(calls.size()) == faultAt;
  }
};

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

template <typename Call>
auto withFaults(const char* name, const Call& call) -> decltype(call()) {
  Faults* const faults = Faults::active;
  if (faults == nullptr || !faults->isFault(name)) {
    return call();
  }
  if (faults->death == Faults::Death::Before) {
    ::raise(SIGKILL);
  }
  // A close that fails has closed nevertheless; nothing else that fails has had any effect.
  if (faults->death == Faults::Death::After || std::string(name) == "close") {
    call();
  }
  if (faults->death == Faults::Death::After) {
    ::raise(SIGKILL);
  }
  errno = faults->error;
  return -1;
}

std::size_t limited(std::size_t size) {
  return Faults::active != nullptr ? std::min(size, Faults::active->mostBytes) : size;
}

}  // namespace

#define REPLACES_THE_SYSTEMS extern "C" __attribute__((visibility("default")))

REPLACES_THE_SYSTEMS int open(const char* name, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return withFaults("open",
                    [&] { return next<int(const char*, int, ...)>("open")(name, flags, mode); });
}
REPLACES_THE_SYSTEMS int stat(const char* name, struct stat* status) noexcept {
  return withFaults("stat",
                    [&] { return next<int(const char*, struct stat*)>("stat")(name, status); });
}
REPLACES_THE_SYSTEMS int fstat(int file, struct stat* status) noexcept {
  return withFaults("fstat", [&] { return next<int(int, struct stat*)>("fstat")(file, status); });
}
REPLACES_THE_SYSTEMS int faccessat(int directory, const char* name, int mode, int flags) noexcept {
  return withFaults("faccessat", [&] {
    return next<int(int, const char*, int, int)>("faccessat")(directory, name, mode, flags);
  });
}
REPLACES_THE_SYSTEMS int fchmod(int file, mode_t mode) noexcept {
  return withFaults("fchmod", [&] { return next<int(int, mode_t)>("fchmod")(file, mode); });
}
REPLACES_THE_SYSTEMS ssize_t read(int file, void* place, std::size_t size) {
  return withFaults("read", [&] {
    return next<ssize_t(int, void*, std::size_t)>("read")(file, place, limited(size));
  });
}
REPLACES_THE_SYSTEMS ssize_t write(int file, const void* place, std::size_t size) {
  return withFaults("write", [&] {
    if (Faults::active != nullptr && Faults::active->writesNothing) {
      return ssize_t{0};
    }
    return next<ssize_t(int, const void*, std::size_t)>("write")(file, place, limited(size));
  });
}
REPLACES_THE_SYSTEMS int fsync(int file) {
  return withFaults("fsync", [&] { return next<int(int)>("fsync")(file); });
}
REPLACES_THE_SYSTEMS int close(int file) {
  return withFaults("close", [&] { return next<int(int)>("close")(file); });
}
REPLACES_THE_SYSTEMS int rename(const char* from, const char* to) noexcept {
  return withFaults("rename",
                    [&] { return next<int(const char*, const char*)>("rename")(from, to); });
}
REPLACES_THE_SYSTEMS int unlink(const char* name) noexcept {
  return withFaults("unlink", [&] { return next<int(const char*)>("unlink")(name); });
}

namespace Tessaril::ReferencePlatform {
namespace {

using PlatformTests::readText;
using PlatformTests::refusal;
using PlatformTests::TemporaryDirectory;
using PlatformTests::writeText;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kOld = "the old contents";
const std::string kNew = "the new contents, which are longer";

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// The directory is brought to the disk last: without that the rename could be lost, and with it no
// more than the rename.
const std::vector<std::string> kCallsForANewFile =
    words("stat open write fsync close rename open fsync close");
const std::vector<std::string> kCallsForAReplacedFile =
    words("stat faccessat open fchmod write fsync close rename open fsync close");
const std::vector<std::string> kCallsForReading = words("open fstat read read close");
constexpr int kCallsForTheDirectory = 3;

class FailingSystemTest : public testing::Test {
 protected:
  FailingSystemTest() { writeText(file, kOld); }
  ~FailingSystemTest() override { EXPECT_EQ(openFiles(), openBefore) << "Files were left open"; }

  /// Without the name of the file, which is another one each time.
  std::string messageOfReplacing() {
    return refusal([&] { replaceFile(file, kNew); }).substr(file.string().size());
  }
  std::string messageOfReading() {
    return refusal([&] { readFile(file); }).substr(file.string().size());
  }
  void expectOnly(const std::string& contents) {
    EXPECT_EQ(readText(file), contents);
    EXPECT_THAT(directory.names(), ElementsAre("design.tsr"));
  }

  TemporaryDirectory directory;
  const std::filesystem::path file = directory / "design.tsr";

 private:
  static std::set<std::string> openFiles() {
    std::set<std::string> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      numbers.insert(entry.path().filename().string());
    }
    return numbers;
  }
  const std::set<std::string> openBefore = openFiles();
};

/// How many of the calls decide about success.
int decisive(const std::vector<std::string>& calls) {
  return static_cast<int>(calls.size()) - kCallsForTheDirectory;
}

TEST_F(FailingSystemTest, ContentsAreOnTheDiskBeforeTheyTakeThePlace) {
  {
    Faults faults;
    replaceFile(file, kNew);
    EXPECT_EQ(faults.calls, kCallsForAReplacedFile);
  }
  std::filesystem::remove(file);
  Faults faults;
  replaceFile(file, kNew);
  EXPECT_EQ(faults.calls, kCallsForANewFile);
}

TEST_F(FailingSystemTest, AnyCallThatFailsLeavesTheOldFileWhole) {
  for (int call = 1; call <= decisive(kCallsForAReplacedFile); ++call) {
    SCOPED_TRACE(call);
    {
      Faults faults;
      faults.faultAt = call;
      EXPECT_EQ(messageOfReplacing(), ": cannot be written: Input/output error");
    }
    expectOnly(kOld);
  }
}

TEST_F(FailingSystemTest, AnyCallThatFailsLeavesNothingWhereThereWasNoFile) {
  std::filesystem::remove(file);
  for (int call = 1; call <= decisive(kCallsForANewFile); ++call) {
    SCOPED_TRACE(call);
    {
      Faults faults;
      faults.faultAt = call;
      EXPECT_EQ(messageOfReplacing(), ": cannot be written: Input/output error");
    }
    EXPECT_THAT(directory.names(), IsEmpty());
  }
}

TEST_F(FailingSystemTest, ADirectoryThatCannotBeSyncedDoesNotUndoTheRename) {
  const int calls = static_cast<int>(kCallsForAReplacedFile.size());
  for (int call = decisive(kCallsForAReplacedFile) + 1; call <= calls; ++call) {
    SCOPED_TRACE(call);
    writeText(file, kOld);
    {
      Faults faults;
      faults.faultAt = call;
      EXPECT_NO_THROW(replaceFile(file, kNew));
    }
    expectOnly(kNew);
  }
}

TEST_F(FailingSystemTest, SaysWhatTheSystemSays) {
  const auto reason = [&](const std::string& call, int error) {
    Faults faults;
    faults.failing = call;
    faults.error = error;
    return messageOfReplacing();
  };
  EXPECT_EQ(reason("write", ENOSPC), ": cannot be written: No space left on device");
  EXPECT_EQ(reason("fsync", EDQUOT), ": cannot be written: Disk quota exceeded");
  EXPECT_EQ(reason("open", EROFS), ": cannot be written: Read-only file system");
  EXPECT_EQ(reason("rename", ETXTBSY), ": cannot be written: Text file busy");
  expectOnly(kOld);
}

TEST_F(FailingSystemTest, AFileThatCannotBeRemovedDoesNotHideWhatFailed) {
  Faults faults;
  faults.faultAt = 5;
  faults.failing = "unlink";
  faults.error = ENOSPC;
  EXPECT_EQ(messageOfReplacing(), ": cannot be written: No space left on device");
}

TEST_F(FailingSystemTest, InterruptedCallsAreRepeated) {
  const int calls = static_cast<int>(kCallsForAReplacedFile.size());
  for (int call = 2; call <= calls; ++call) {
    SCOPED_TRACE(call);
    writeText(file, kOld);
    {
      Faults faults;
      faults.faultAt = call;
      faults.error = EINTR;
      EXPECT_NO_THROW(replaceFile(file, kNew));
    }
    expectOnly(kNew);
  }
}

TEST_F(FailingSystemTest, AFileIsWrittenInAsManyPiecesAsTheSystemTakes) {
  {
    Faults faults;
    faults.mostBytes = 1;
    replaceFile(file, kNew);
    EXPECT_EQ(std::count(faults.calls.begin(), faults.calls.end(), "write"),
              static_cast<std::ptrdiff_t>(kNew.size()));
  }
  expectOnly(kNew);
}

TEST_F(FailingSystemTest, AWriteThatFailsAfterSomePiecesLeavesTheOldFileWhole) {
  for (std::size_t piece = 1; piece <= kNew.size(); ++piece) {
    {
      Faults faults;
      faults.mostBytes = 1;
      faults.faultAt = static_cast<int>(4 + piece);
      EXPECT_EQ(messageOfReplacing(), ": cannot be written: Input/output error");
      EXPECT_EQ(faults.calls.at(3 + piece), "write");
    }
    expectOnly(kOld);
  }
}

TEST_F(FailingSystemTest, ASystemThatTakesNothingIsNotAskedForEver) {
  {
    Faults faults;
    faults.writesNothing = true;
    EXPECT_EQ(messageOfReplacing(), ": cannot be written: Input/output error");
  }
  expectOnly(kOld);
}

TEST_F(FailingSystemTest, ANameThatIsTakenIsReplacedByAnother) {
  {
    Faults faults;
    faults.faultAt = 3;
    faults.error = EEXIST;
    replaceFile(file, kNew);
    EXPECT_EQ(faults.calls.at(2), "open");
    EXPECT_EQ(faults.calls.at(3), "open");
  }
  expectOnly(kNew);
}

TEST_F(FailingSystemTest, NamesAreNotDrawnForEver) {
  {
    Faults faults;
    faults.failing = "open";
    faults.error = EEXIST;
    EXPECT_EQ(messageOfReplacing(), ": cannot be written: File exists");
  }
  expectOnly(kOld);
}

TEST_F(FailingSystemTest, AnyCallThatFailsIsToldByAReader) {
  {
    Faults faults;
    readFile(file);
    EXPECT_EQ(faults.calls, kCallsForReading);
  }
  const int decisiveCalls = static_cast<int>(kCallsForReading.size()) - 1;
  for (int call = 1; call <= decisiveCalls; ++call) {
    SCOPED_TRACE(call);
    Faults faults;
    faults.faultAt = call;
    EXPECT_EQ(messageOfReading(), ": cannot be read: Input/output error");
  }
  Faults faults;
  faults.faultAt = decisiveCalls + 1;
  EXPECT_EQ(readFile(file), kOld);
}

TEST_F(FailingSystemTest, InterruptedReadsAreRepeated) {
  for (int call = 1; call <= static_cast<int>(kCallsForReading.size()); ++call) {
    SCOPED_TRACE(call);
    Faults faults;
    faults.faultAt = call;
    faults.error = EINTR;
    EXPECT_EQ(readFile(file), kOld);
  }
}

TEST_F(FailingSystemTest, AFileIsReadInAsManyPiecesAsTheSystemGives) {
  Faults faults;
  faults.mostBytes = 1;
  EXPECT_EQ(readFile(file), kOld);
}

TEST_F(FailingSystemTest, AProcessThatDiesAtAnyCallLeavesOneOfTheFilesWhole) {
  const auto& calls = kCallsForAReplacedFile;
  const auto renaming = std::find(calls.begin(), calls.end(), "rename") - calls.begin() + 1;
  for (int call = 1; call <= static_cast<int>(calls.size()); ++call) {
    for (const Faults::Death death : {Faults::Death::Before, Faults::Death::After}) {
      SCOPED_TRACE(call);
      writeText(file, kOld);
      const pid_t child = ::fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        Faults faults;
        faults.faultAt = call;
        faults.death = death;
        replaceFile(file, kNew);
        ::_exit(0);
      }
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      ASSERT_TRUE(WIFSIGNALED(status)) << "The process did not die";
      const bool isRenamed = call > renaming || (call == renaming && death == Faults::Death::After);
      EXPECT_EQ(readText(file), isRenamed ? kNew : kOld);
      replaceFile(file, kNew);
      EXPECT_EQ(readText(file), kNew);
    }
  }
}

}  // namespace
}  // namespace Tessaril::ReferencePlatform
