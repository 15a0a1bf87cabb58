#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tessaril/platform/parameterization/Path.h"

namespace Tessaril {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PathTest, DefaultConstructionGivesTheEmptyPath) {
  const Path path;
  EXPECT_TRUE(path.isEmpty());
  EXPECT_FALSE(path.isAbsolute());
  EXPECT_THAT(path.getNames(), IsEmpty());
  EXPECT_EQ(path.toString(), "");
  EXPECT_EQ(path, Path(""));
}

TEST(PathTest, TheEmptyPathIsNotTheObjectItselfNorTheRoot) {
  EXPECT_NE(Path(), Path("."));
  EXPECT_NE(Path(), Path("/"));
  EXPECT_NE(Path("."), Path("/"));
}

TEST(PathTest, ReadsAbsolutePaths) {
  const Path path("/a/b c");
  EXPECT_FALSE(path.isEmpty());
  EXPECT_TRUE(path.isAbsolute());
  EXPECT_THAT(path.getNames(), ElementsAre("a", "b c"));
}

TEST(PathTest, ReadsRelativePaths) {
  const Path path("../a");
  EXPECT_FALSE(path.isEmpty());
  EXPECT_FALSE(path.isAbsolute());
  EXPECT_THAT(path.getNames(), ElementsAre("..", "a"));
}

TEST(PathTest, ReadsTheRoot) {
  const Path path("/");
  EXPECT_FALSE(path.isEmpty());
  EXPECT_TRUE(path.isAbsolute());
  EXPECT_THAT(path.getNames(), IsEmpty());
}

TEST(PathTest, ReadsTheObjectItself) {
  const Path path(".");
  EXPECT_FALSE(path.isEmpty());
  EXPECT_FALSE(path.isAbsolute());
  EXPECT_THAT(path.getNames(), IsEmpty());
}

TEST(PathTest, IsMadeFromNames) {
  EXPECT_EQ(Path::absolute({"a", "b"}), Path("/a/b"));
  EXPECT_EQ(Path::absolute({}), Path("/"));
  EXPECT_EQ(Path::relative({"..", "a"}), Path("../a"));
  EXPECT_EQ(Path::relative({}), Path("."));
}

TEST(PathTest, EqualityLooksAtKindAndNames) {
  EXPECT_EQ(Path("a/b"), Path("a/b"));
  EXPECT_NE(Path("a/b"), Path("/a/b"));
  EXPECT_NE(Path("a/b"), Path("a"));
  EXPECT_NE(Path("a/b"), Path("a/c"));
}

TEST(PathTest, LeavesOutWhatLeadsNowhereElse) {
  EXPECT_EQ(Path("a//b"), Path("a/b"));
  EXPECT_EQ(Path("a/b/"), Path("a/b"));
  EXPECT_EQ(Path("./a/./b/."), Path("a/b"));
  EXPECT_EQ(Path("//"), Path("/"));
  EXPECT_EQ(Path("/."), Path("/"));
  EXPECT_EQ(Path("./."), Path("."));
  EXPECT_EQ(Path::relative({".", "a"}), Path("a"));
  EXPECT_EQ(Path::absolute({"a", "."}), Path("/a"));
}

TEST(PathTest, KeepsTheStepsUp) {
  EXPECT_THAT(Path("a/../b").getNames(), ElementsAre("a", "..", "b"));
}

TEST(PathTest, NamesMayHoldDots) {
  EXPECT_THAT(Path("a.b/.c/...").getNames(), ElementsAre("a.b", ".c", "..."));
}

class PathRoundTripTest : public testing::TestWithParam<std::string> {};

TEST_P(PathRoundTripTest, PrintsWhatItRead) { EXPECT_EQ(Path(GetParam()).toString(), GetParam()); }

INSTANTIATE_TEST_SUITE_P(Texts, PathRoundTripTest,
                         testing::Values("", "/", ".", "..", "/a", "/a/b", "a", "a/b", "../..",
                                         "../a/b", "/..", "name with blanks/\xC3\xA4"));

}  // namespace
}  // namespace Tessaril
