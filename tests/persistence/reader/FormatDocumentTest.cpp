#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>

#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tests/support/StoredDesign.h"

namespace Tessaril {
namespace {

using TestSupport::graphOf;
using TestSupport::plant;
using TestSupport::StoredDesign;
using TestSupport::StoredModule;

std::string hexText(std::string_view bytes) {
  std::string result;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    char text[8];
    std::snprintf(text, sizeof(text), i % 16 == 15 ? "%02X\n" : "%02X ",
                  static_cast<unsigned>(static_cast<unsigned char>(bytes[i])));
    result += text;
  }
  return result;
}

/// A line of a dump: an address of four digits, two blanks, the bytes, two blanks, a remark.
const std::regex kDumpLine("([0-9A-F]{4})  ((?:[0-9A-F]{2} )*[0-9A-F]{2})(?:  .*)?");

/// The bytes of all dump lines of the document. Their addresses have to follow from each other.
std::string documentedBytes() {
  std::ifstream document(TESSARIL_FORMAT_DOCUMENT);
  EXPECT_TRUE(document) << TESSARIL_FORMAT_DOCUMENT;
  std::string bytes;
  std::smatch match;
  for (std::string line; std::getline(document, line);) {
    if (std::regex_match(line, match, kDumpLine)) {
      EXPECT_EQ(std::stoul(match[1], nullptr, 16), bytes.size()) << line;
      std::istringstream text(match[2]);
      for (std::string byte; text >> byte;) {
        bytes += static_cast<char>(std::stoi(byte, nullptr, 16));
      }
    }
  }
  return bytes;
}

TEST(FormatDocumentTest, ShowsWhatIsWritten) {
  const StoredDesign design = plant(graphOf<StoredModule>("A -> (B):c[active,side]"));
  design.graph.as<StoredModule>("B")->note = "hi";
  EXPECT_EQ(hexText(documentedBytes()), hexText(save(design)));
}

TEST(FormatDocumentTest, ShowsWhatCanBeRead) {
  const StoredDesign opened = TestSupport::open(documentedBytes());
  EXPECT_EQ(text(opened.graph), "A -> (B):c[active,side]");
  EXPECT_EQ(opened.graph.as<StoredModule>("B")->note, "hi");
}

/// The rows "| `Name` | 0xTypeId | version |".
TEST(FormatDocumentTest, NamesTheClassesWithTheirTypeIdsAndVersions) {
  // The host's classes become known when they are first stored.
  save(plant(graphOf<StoredModule>("A")));
  std::ifstream document(TESSARIL_FORMAT_DOCUMENT);
  const std::regex row(R"(\| `(\w+)` \| 0x([0-9A-F]{8}) \| (\d+) \|)");
  std::smatch match;
  int rows = 0;
  for (std::string line; std::getline(document, line);) {
    if (std::regex_match(line, match, row)) {
      ++rows;
      const BaseClassRegister* known = PersistenceArchiver::findFactory(match[1]);
      ASSERT_NE(known, nullptr) << line;
      EXPECT_EQ(known->typeId, std::stoul(match[2], nullptr, 16)) << line;
      EXPECT_EQ(known->registeredVersion, std::stoul(match[3])) << line;
    }
  }
  EXPECT_EQ(rows, 7);
}

}  // namespace
}  // namespace Tessaril
