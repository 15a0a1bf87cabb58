#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "diagnostics/picture/Picture.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"

namespace Tessaril {
namespace {

using testing::HasSubstr;

// The numbers that a document repeats are those that hold.
class LimitsTest : public testing::Test {
 protected:
  static std::string limits() {
    std::ostringstream text;
    text << std::ifstream(TESSARIL_LIMITS_DOCUMENT).rdbuf();
    return text.str();
  }
};

TEST_F(LimitsTest, OfArchives) {
  EXPECT_THAT(limits(), HasSubstr("Blocks nest at most " +
                                  std::to_string(PersistenceArchiver::kMaxDepth) + " deep"));
  EXPECT_THAT(limits(),
              HasSubstr("Format version " + std::to_string(PersistenceArchiver::kFormatVersion) +
                        " is written, and the newest that is read"));
}

TEST_F(LimitsTest, OfPictures) {
  EXPECT_THAT(limits(), HasSubstr("Pictures in full are for up to " +
                                  std::to_string(Diagnostics::kMostModulesInFull) + " modules"));
}

}  // namespace
}  // namespace Tessaril
