#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril {
namespace {

const Identifier kSample(0x0123456789ABCDEF, 0xFEDCBA9876543210);
const std::string kSampleText = "01234567-89ab-cdef-fedc-ba9876543210";

/// Asked for before main, by a library of its own.
const bool kInvalidIsNullDuringStaticInitialisation = Identifier::getInvalidId().isNull();

TEST(IdentifierTest, DefaultConstructionGivesTheInvalidIdentifier) {
  EXPECT_TRUE(Identifier().isNull());
  EXPECT_EQ(Identifier(), Identifier::getInvalidId());
  EXPECT_EQ(Identifier(), Identifier(0, 0));
}

TEST(IdentifierTest, TheInvalidIdentifierServesStaticInitialisation) {
  EXPECT_TRUE(kInvalidIsNullDuringStaticInitialisation);
  static_assert(Identifier().isNull());
  static_assert(std::is_trivially_destructible_v<Identifier>);
}

TEST(IdentifierTest, TheInvalidIdentifierIsOneObject) {
  EXPECT_EQ(&Identifier::getInvalidId(), &Identifier::getInvalidId());
}

TEST(IdentifierTest, OnlyTheValueThatIsEntirelyZeroIsNull) {
  EXPECT_TRUE(Identifier(0, 0).isNull());
  EXPECT_FALSE(Identifier(1, 0).isNull());
  EXPECT_FALSE(Identifier(0, 1).isNull());
  EXPECT_FALSE(Identifier(0x8000000000000000, 0).isNull());
  EXPECT_FALSE(Identifier(0, 0x8000000000000000).isNull());
}

TEST(IdentifierTest, IsAValue) {
  Identifier copy = kSample;
  EXPECT_EQ(copy, kSample);
  copy = Identifier();
  EXPECT_TRUE(copy.isNull());
  EXPECT_FALSE(kSample.isNull());
}

TEST(IdentifierTest, EqualityLooksAtBothHalves) {
  EXPECT_EQ(Identifier(1, 2), Identifier(1, 2));
  EXPECT_NE(Identifier(1, 2), Identifier(1, 3));
  EXPECT_NE(Identifier(1, 2), Identifier(3, 2));
  EXPECT_NE(Identifier(1, 2), Identifier(2, 1));
}

TEST(IdentifierTest, IsOrderedByTheFirstHalfFirst) {
  EXPECT_LT(Identifier(1, 9), Identifier(2, 0));
  EXPECT_LT(Identifier(1, 1), Identifier(1, 2));
  EXPECT_GT(Identifier(0x8000000000000000, 0), Identifier(1, 0));
  EXPECT_LE(Identifier(1, 1), Identifier(1, 1));
  const std::map<Identifier, int> ordered{{Identifier(2, 0), 2}, {Identifier(1, 0), 1}};
  EXPECT_EQ(ordered.begin()->second, 1);
}

TEST(IdentifierTest, EqualIdentifiersHaveEqualHashes) {
  EXPECT_EQ(kSample.hash(), Identifier(kSample).hash());
  EXPECT_EQ(std::hash<Identifier>()(kSample), kSample.hash());
}

TEST(IdentifierTest, TheHashTellsNeighbouringAndSwappedValuesApart) {
  std::set<std::size_t> hashes;
  std::size_t count = 0;
  for (std::uint64_t high = 0; high < 32; ++high) {
    for (std::uint64_t low = 0; low < 32; ++low) {
      hashes.insert(Identifier(high, low).hash());
      ++count;
    }
  }
  EXPECT_EQ(hashes.size(), count);
}

TEST(IdentifierTest, WritesLowerCaseHexadecimalGroups) {
  EXPECT_EQ(kSample.toString(), kSampleText);
  EXPECT_EQ(Identifier().toString(), "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(Identifier(0, 1).toString(), "00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(Identifier(~0ULL, ~0ULL).toString(), "ffffffff-ffff-ffff-ffff-ffffffffffff");
}

TEST(IdentifierTest, ReadsWhatItWrites) {
  EXPECT_EQ(Identifier::fromString(kSampleText), kSample);
  EXPECT_EQ(Identifier::fromString(Identifier().toString()), Identifier());
  for (int i = 0; i < 100; ++i) {
    const Identifier random = Identifier::createRandom();
    EXPECT_EQ(Identifier::fromString(random.toString()), random);
  }
}

TEST(IdentifierTest, ReadsLettersInEitherCase) {
  EXPECT_EQ(Identifier::fromString("01234567-89AB-cdEF-FEDC-BA9876543210"), kSample);
}

class IdentifierBadTextTest : public testing::TestWithParam<std::string> {};

TEST_P(IdentifierBadTextTest, IsRefused) {
  EXPECT_EQ(Identifier::fromString(GetParam()), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, IdentifierBadTextTest,
    testing::Values("", "0", "0123456789abcdeffedcba9876543210",
                    "01234567-89ab-cdef-fedc-ba987654321",     // one digit short
                    "01234567-89ab-cdef-fedc-ba98765432100",   // one too many
                    " 01234567-89ab-cdef-fedc-ba9876543210",   // blank before
                    "01234567-89ab-cdef-fedc-ba9876543210 ",   // blank behind
                    "{01234567-89ab-cdef-fedc-ba9876543210}",  // braces
                    "0123456-789ab-cdef-fedc-ba9876543210",    // a hyphen out of place
                    "01234567089ab-cdef-fedc-ba9876543210",    // a digit for a hyphen
                    "01234567-89ab-cdef-fedc-ba98765432-0",    // a hyphen for a digit
                    "01234567-89ab-cdef-fedc-ba987654321g",    // no hexadecimal digit
                    "01234567-89ab-cdef-fedc-ba987654321/",    // next to the digits
                    "01234567-89ab-cdef-fedc-ba987654321:",    // likewise
                    "01234567-89ab-cdef-fedc-ba987654321@",    // next to the letters
                    "01234567-89ab-cdef-fedc-ba987654321`",    // likewise
                    "01234567-89ab-cdef-fedc-ba98765432+1", "01234567-89ab-cdef-fedc-ba98765432 1",
                    "0x234567-89ab-cdef-fedc-ba9876543210",
                    std::string("01234567-89ab-cdef-fedc-ba987654321\0", 36)));

TEST(IdentifierTest, RandomIdentifiersHaveTheVersionFourLayout) {
  for (int i = 0; i < 1000; ++i) {
    const std::string text = Identifier::createRandom().toString();
    EXPECT_EQ(text[14], '4') << text;
    EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos) << text;
  }
}

TEST(IdentifierTest, RandomIdentifiersAreNeitherNullNorTwiceTheSame) {
  std::unordered_set<Identifier> seen;
  for (int i = 0; i < 10'000; ++i) {
    const Identifier created = Identifier::createRandom();
    EXPECT_FALSE(created.isNull());
    EXPECT_TRUE(seen.insert(created).second) << created.toString();
  }
}

TEST(IdentifierTest, EveryFreeBitOfARandomIdentifierVaries) {
  const Identifier first = Identifier::createRandom();
  std::set<std::size_t> constantPlaces;
  for (std::size_t place = 0; place < first.toString().size(); ++place) {
    constantPlaces.insert(place);
  }
  for (int i = 0; i < 1000; ++i) {
    const std::string text = Identifier::createRandom().toString();
    std::erase_if(constantPlaces,
                  [&](std::size_t place) { return text[place] != first.toString()[place]; });
  }
  EXPECT_EQ(constantPlaces, (std::set<std::size_t>{8, 13, 14, 18, 23}));
}

TEST(IdentifierTest, ThreadsCreateDifferentIdentifiers) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kEach = 1000;
  std::vector<std::vector<Identifier>> created(kThreads);
  std::vector<std::thread> threads;
  for (auto& own : created) {
    threads.emplace_back([&own] {
      for (std::size_t i = 0; i < kEach; ++i) {
        own.push_back(Identifier::createRandom());
      }
    });
  }
  std::unordered_set<Identifier> all;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads[i].join();
    all.insert(created[i].begin(), created[i].end());
  }
  EXPECT_EQ(all.size(), kThreads * kEach);
}

}  // namespace
}  // namespace Tessaril
