#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/platform/persistence_archiver/StoredClass.h"

namespace Tessaril {
namespace {

using PlatformTests::messageOf;
using PlatformTests::refusal;
using testing::HasSubstr;
using testing::IsEmpty;

/// What comes back of a value that was written.
template <typename T>
T afterRoundTrip(const T& value, T before = T()) {
  PersistenceArchiver writing;
  writing << value;
  PersistenceArchiver reading(writing.finish());
  reading >> before;
  reading.requireEnd();
  return before;
}

std::string anArchive() {
  PersistenceArchiver writing;
  writing << 7U;
  return writing.finish();
}

TEST(ArchiveValuesTest, Booleans) {
  EXPECT_TRUE(afterRoundTrip(true, false));
  EXPECT_FALSE(afterRoundTrip(false, true));
}

TEST(ArchiveValuesTest, UnsignedNumbers) {
  for (const unsigned int value : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0x12345678U, 0xFFFFFFFFU}) {
    EXPECT_EQ(afterRoundTrip(value), value);
  }
}

TEST(ArchiveValuesTest, LongUnsignedNumbers) {
  for (const std::uint64_t value :
       {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{0xFFFFFFFF}, std::uint64_t{0x100000000},
        std::uint64_t{0x0123456789ABCDEF}, std::numeric_limits<std::uint64_t>::max()}) {
    EXPECT_EQ(afterRoundTrip(value), value);
  }
}

TEST(ArchiveValuesTest, RealNumbersBitByBit) {
  using Limits = std::numeric_limits<double>;
  const double nanWithPayload = std::bit_cast<double>(std::uint64_t{0x7FF8'DEAD'BEEF'0001});
  const double negativeNan = std::bit_cast<double>(std::uint64_t{0xFFF8'0000'0000'0000});
  for (const double value :
       {0.0, -0.0, 1.0, -1.5, 0.1, Limits::min(), Limits::denorm_min(), Limits::max(),
        Limits::lowest(), Limits::epsilon(), Limits::infinity(), -Limits::infinity(),
        Limits::quiet_NaN(), nanWithPayload, negativeNan}) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(afterRoundTrip(value)),
              std::bit_cast<std::uint64_t>(value))
        << value;
  }
}

TEST(ArchiveValuesTest, Texts) {
  const std::string long_text(100000, 'x');
  for (const std::string& value :
       {std::string(), std::string("a"), std::string("\0 with zero bytes \0", 19),
        std::string("gr\xC3\xBC\xC3\x9F dich"), std::string("\xFF\xFE no UTF-8"), long_text}) {
    EXPECT_EQ(afterRoundTrip(value, std::string("was there before")), value);
  }
}

enum class Tooth : unsigned int { Straight = 0, Helical = 7, Largest = 0xFFFFFFFF };
enum class Signed { Negative = -1, Zero = 0, Smallest = std::numeric_limits<int>::min() };
enum class Small : unsigned char { Zero, Largest = 255 };
enum Plain { kNone, kSome };

template <typename Enumeration>
Enumeration enumerationAfterRoundTrip(Enumeration value) {
  PersistenceArchiver writing;
  writing.writeEnumeration(value);
  PersistenceArchiver reading(writing.finish());
  Enumeration result{};
  reading.readEnumeration(result);
  reading.requireEnd();
  return result;
}

TEST(ArchiveValuesTest, Enumerations) {
  for (const Tooth value : {Tooth::Straight, Tooth::Helical, Tooth::Largest}) {
    EXPECT_EQ(enumerationAfterRoundTrip(value), value);
  }
  for (const Signed value : {Signed::Negative, Signed::Zero, Signed::Smallest}) {
    EXPECT_EQ(enumerationAfterRoundTrip(value), value);
  }
  EXPECT_EQ(enumerationAfterRoundTrip(Small::Largest), Small::Largest);
  EXPECT_EQ(enumerationAfterRoundTrip(kSome), kSome);
}

TEST(ArchiveValuesTest, EnumerationsAreNotCheckedAgainstTheEnumerators) {
  EXPECT_EQ(enumerationAfterRoundTrip(static_cast<Tooth>(5)), static_cast<Tooth>(5));
}

TEST(ArchiveValuesTest, EnumerationsAreNumbersOf32Bits) {
  PersistenceArchiver writing;
  writing.writeEnumeration(Tooth::Helical);
  PersistenceArchiver reading(writing.finish());
  unsigned int number = 0;
  reading >> number;
  EXPECT_EQ(number, 7U);
  reading.requireEnd();
}

TEST(ArchiveValuesTest, ValuesFollowEachOtherInTheOrderOfWriting) {
  PersistenceArchiver writing;
  writing << true << 12U << std::uint64_t{34} << 5.6 << std::string("seven") << false;
  PersistenceArchiver reading(writing.finish());
  bool first = false;
  unsigned int second = 0;
  std::uint64_t third = 0;
  double fourth = 0;
  std::string fifth;
  bool sixth = true;
  reading >> first >> second >> third >> fourth >> fifth >> sixth;
  EXPECT_TRUE(first);
  EXPECT_EQ(second, 12U);
  EXPECT_EQ(third, 34U);
  EXPECT_EQ(fourth, 5.6);
  EXPECT_EQ(fifth, "seven");
  EXPECT_FALSE(sixth);
  reading.requireEnd();
}

template <typename T>
concept CanBeWritten = requires(PersistenceArchiver& archiver, T value) {
  archiver << value;
};

TEST(ArchiveValuesTest, ManyValuesFollowEachOtherWithLongTextsBetweenThem) {
  constexpr unsigned int kValues = 50000;
  const auto textAt = [](unsigned int i) {
    return std::string(i % 5000 == 0 ? 300000 + i : i % 20, static_cast<char>('a' + i % 26));
  };
  PersistenceArchiver writing;
  for (unsigned int i = 0; i < kValues; ++i) {
    writing << i << (i % 3 == 0) << textAt(i);
  }
  PersistenceArchiver reading(writing.finish());
  for (unsigned int i = 0; i < kValues; ++i) {
    unsigned int number = 0;
    bool flag = false;
    std::string text;
    reading >> number >> flag >> text;
    ASSERT_EQ(number, i);
    ASSERT_EQ(flag, i % 3 == 0);
    ASSERT_EQ(text, textAt(i));
  }
  reading.requireEnd();
}

TEST(ArchiveValuesTest, APointerIsNoValue) {
  static_assert(CanBeWritten<unsigned int> && CanBeWritten<std::string>);
  static_assert(!CanBeWritten<const char*> && !CanBeWritten<char*> && !CanBeWritten<void*>);
  static_assert(!CanBeWritten<std::shared_ptr<int>>);
  // Which of the numbers should it be?
  static_assert(!CanBeWritten<int> && !CanBeWritten<char>);
}

TEST(ArchiveValuesTest, TellsTheBytesFromTheBeginning) {
  const auto at = [](const PersistenceArchiver& archiver) {
    return static_cast<std::streamoff>(archiver.tellp());
  };
  PersistenceArchiver writing;
  const auto begin = at(writing);
  writing << 1U << std::string("text");
  const auto end = at(writing);
  EXPECT_GT(end, begin + 4);
  PersistenceArchiver reading(writing.finish());
  EXPECT_EQ(at(reading), begin);
  unsigned int number = 0;
  std::string text;
  reading >> number >> text;
  EXPECT_EQ(at(reading), end);
}

TEST(ArchiveValuesTest, AnEmptyArchiveIsAnArchive) {
  PersistenceArchiver writing;
  PersistenceArchiver reading(writing.finish());
  EXPECT_NO_THROW(reading.requireEnd());
  EXPECT_THAT(reading.getClasses(), IsEmpty());
}

TEST(ArchiveValuesTest, TheSameContentsGiveTheSameBytes) { EXPECT_EQ(anArchive(), anArchive()); }

TEST(ArchiveValuesTest, RefusesToReadBeyondTheEnd) {
  PersistenceArchiver reading(anArchive());
  unsigned int number = 0;
  reading >> number;
  EXPECT_THROW(reading >> number, ArchiveException);
}

template <typename T>
void expectTooShort(T value) {
  PersistenceArchiver writing;
  writing << true;
  PersistenceArchiver reading(writing.finish());
  const T before = value;
  EXPECT_THAT(refusal([&] { reading >> value; }), HasSubstr("byte "));
  EXPECT_EQ(value, before);
}

TEST(ArchiveValuesTest, AValueThatIsCutIsRefusedAndNotChanged) {
  expectTooShort(5U);
  expectTooShort(std::uint64_t{6});
  expectTooShort(7.5);
  expectTooShort(std::string("text"));
}

TEST(ArchiveValuesTest, RefusesATextThatIsLongerThanTheArchive) {
  PersistenceArchiver writing;
  writing << 0xFFFFFFFFU << true;
  PersistenceArchiver reading(writing.finish());
  std::string text = "before";
  EXPECT_THAT(refusal([&] { reading >> text; }), HasSubstr("byte "));
  EXPECT_EQ(text, "before");
}

TEST(ArchiveValuesTest, TellsWhenNotEverythingHasBeenRead) {
  PersistenceArchiver reading(anArchive());
  EXPECT_THAT(refusal([&] { reading.requireEnd(); }), HasSubstr("byte "));
  unsigned int number = 0;
  reading >> number;
  EXPECT_NO_THROW(reading.requireEnd());
}

TEST(ArchiveValuesTest, RefusesWhatIsNoArchive) {
  EXPECT_THROW(PersistenceArchiver(std::string()), ArchiveException);
  EXPECT_THROW(PersistenceArchiver(std::string("a text that was meant for something else")),
               ArchiveException);
  EXPECT_THROW(PersistenceArchiver(std::string(1000, '\0')), ArchiveException);
}

TEST(ArchiveValuesTest, RefusesAnArchiveThatIsCut) {
  const std::string whole = anArchive();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_THROW(PersistenceArchiver(whole.substr(0, size)), ArchiveException) << size;
  }
}

TEST(ArchiveValuesTest, RefusesAnArchiveThatIsTooLong) {
  EXPECT_THROW(PersistenceArchiver(anArchive() + '\0'), ArchiveException);
  EXPECT_THROW(PersistenceArchiver(anArchive() + anArchive()), ArchiveException);
}

TEST(ArchiveValuesTest, RefusesAnArchiveWithAnyBitChanged) {
  const std::string whole = anArchive();
  for (std::size_t i = 0; i < 8 * whole.size(); ++i) {
    std::string damaged = whole;
    damaged[i / 8] = static_cast<char>(damaged[i / 8] ^ (1 << i % 8));
    EXPECT_THROW(PersistenceArchiver{damaged}, ArchiveException) << "bit " << i;
  }
}

TEST(ArchiveExceptionTest, IsAnExceptionOfTheApplicationAndAValue) {
  static_assert(std::is_base_of_v<TsException, ArchiveException>);
  const ArchiveException first("first");
  ArchiveException copy = first;
  EXPECT_STREQ(copy.what(), "first");
  EXPECT_EQ(copy.getSourceLocation().line(), first.getSourceLocation().line());
  copy = ArchiveException("second");
  EXPECT_STREQ(copy.what(), "second");
}

// The wrong way round

TEST(ArchiveModeTest, AnArchiveThatIsWrittenCannotBeRead) {
  PersistenceArchiver archive;
  archive << 1U;
  bool truth = false;
  unsigned int number = 0;
  unsigned int other = 0;
  std::uint64_t longNumber = 0;
  double real = 0;
  std::string text;
  EXPECT_THROW(archive >> truth, std::logic_error);
  EXPECT_THROW(archive >> number, std::logic_error);
  EXPECT_THROW(archive >> longNumber, std::logic_error);
  EXPECT_THROW(archive >> real, std::logic_error);
  EXPECT_THROW(archive >> text, std::logic_error);
  EXPECT_THROW(archive.read_to_address_header(number, other), std::logic_error);
  EXPECT_THROW(archive.end_read_to_address(0), std::logic_error);
  EXPECT_THROW(archive.check_container_size(0), std::logic_error);
  EXPECT_THROW(archive.requireEnd(), std::logic_error);
  EXPECT_THROW(archive.addClass(1, {}), std::logic_error);
}

void expectNotWritable(PersistenceArchiver& archive) {
  EXPECT_THROW(archive << true, std::logic_error);
  EXPECT_THROW(archive << 1U, std::logic_error);
  EXPECT_THROW(archive << std::uint64_t{1}, std::logic_error);
  EXPECT_THROW(archive << 1.0, std::logic_error);
  EXPECT_THROW(archive << std::string("text"), std::logic_error);
  EXPECT_THROW(archive << std::string(), std::logic_error);
  const auto start = static_cast<unsigned int>(static_cast<std::streamoff>(archive.tellp()) + 4);
  EXPECT_THROW(archive.mark_object_start(start, 1), std::logic_error);
  EXPECT_THROW(archive.mark_object_end(start, start), std::logic_error);
  EXPECT_THROW(archive.finish(), std::logic_error);
}

TEST(ArchiveModeTest, AnArchiveThatIsReadCannotBeWritten) {
  PersistenceArchiver archive(anArchive());
  expectNotWritable(archive);
  unsigned int number = 0;
  archive >> number;
  EXPECT_EQ(number, 7U);
}

TEST(ArchiveModeTest, AnArchiveThatIsFinishedCanBeNeitherWrittenNorRead) {
  PersistenceArchiver archive;
  archive << 7U;
  archive.finish();
  expectNotWritable(archive);
  unsigned int number = 0;
  EXPECT_THROW(archive >> number, std::logic_error);
  EXPECT_THROW(archive.requireEnd(), std::logic_error);
}

TEST(ArchiveModeTest, SaysWhatIsWrong) {
  PersistenceArchiver writing;
  PersistenceArchiver reading(anArchive());
  unsigned int number = 0;
  EXPECT_THAT(messageOf<std::logic_error>([&] { writing >> number; }), HasSubstr("reading"));
  EXPECT_THAT(messageOf<std::logic_error>([&] { reading << number; }), HasSubstr("writing"));
}

}  // namespace
}  // namespace Tessaril
