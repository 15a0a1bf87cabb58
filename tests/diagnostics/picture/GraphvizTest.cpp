#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "diagnostics/picture/Graphviz.h"
#include "diagnostics/picture/Picture.h"
#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/diagnostics/picture/SvgReading.h"
#include "tests/support/RandomGraph.h"

// These need Graphviz's program "dot".

namespace Tessaril::Diagnostics {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::string errorOf(const std::string& dot, const std::string& program) {
  try {
    svgOfDot(dot, program);
  } catch (const PictureError& error) {
    return error.what();
  }
  return "no error";
}

TEST(Graphviz, LaysATextOut) {
  const std::string svg = svgOfDot("digraph { a -> b }");

  EXPECT_THAT(svg, HasSubstr("<svg "));
  EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
  EXPECT_EQ(count(svg, "class=\"node\""), 2U);
}

TEST(Graphviz, TakesMoreTextThanAPipeHolds) {
  std::string dot = "digraph {\n" + std::string(1'000'000, '\n');
  for (int node = 0; node < 1000; ++node) {
    dot += 'n' + std::to_string(node) + ";\n";
  }
  EXPECT_EQ(count(svgOfDot(dot + "}\n"), "class=\"node\""), 1000U);
}

TEST(Graphviz, ThatIsNotInstalledIsAskedForInOneLine) {
  EXPECT_THAT(errorOf("digraph {}", "tessaril-no-such-program"),
              AllOf(HasSubstr("\"tessaril-no-such-program\""), HasSubstr("graphviz"),
                    Not(HasSubstr("\n"))));
}

TEST(Graphviz, ThatCannotBeStartedIsReported) {
  EXPECT_THAT(errorOf("digraph {}", "/"), AllOf(HasSubstr("\"/\""), Not(HasSubstr("\n"))));
}

TEST(Graphviz, SaysInOneLineWhatItObjectsTo) {
  EXPECT_THAT(errorOf("digraph {\na -> -> b\n}", "dot"),
              AllOf(HasSubstr("syntax error in line 2"), Not(HasSubstr("\n"))));
}

TEST(Graphviz, ThatFailsOrDrawsNothingIsReported) {
  EXPECT_THAT(errorOf("digraph {}", "false"), HasSubstr("exit code 1"));
  EXPECT_THAT(errorOf("digraph {}", "true"), HasSubstr("exit code 0"));
}

TEST(Graphviz, ThatFailsIsNotBelievedWhatItHasDrawn) {
  const std::filesystem::path program =
      std::filesystem::path(testing::TempDir()) / "tessaril-failing-dot";
  std::ofstream(program) << "#!/bin/sh\necho '<svg></svg>'\necho 'out of ink' >&2\nexit 3\n";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);

  EXPECT_THAT(errorOf("digraph {}", program), HasSubstr("(exit code 3): out of ink"));
  std::filesystem::remove(program);
}

TEST(Graphviz, DrawsEveryModuleLinkAndChain) {
  const std::string svg =
      svgText(snapshotOf(TestSupport::graph("A -> B -> C; A -> (S):one[side] -> T:one; C -> ~")));

  // The dead entry has a node and an edge of its own.
  EXPECT_EQ(count(svg, "class=\"node\""), 6U);
  EXPECT_EQ(count(svg, "class=\"edge\""), 5U);
  EXPECT_EQ(count(svg, "class=\"cluster\""), 2U);
  EXPECT_THAT(textsIn(svg), Contains("main chain"));
  EXPECT_THAT(textsIn(svg), Contains("chain 1"));
}

TEST(Graphviz, TellsWhereNodesLie) {
  const LaidOutPicture picture = layOut("digraph { left; right; other; left -> other }");

  EXPECT_THAT(picture.svg, AllOf(testing::StartsWith("<?xml"), testing::EndsWith("</svg>\n")));
  ASSERT_EQ(picture.nodesFromLeft.size(), 3U);
  EXPECT_EQ(picture.nodesFromLeft.at("left"), picture.nodesFromLeft.at("other"));
  EXPECT_LT(picture.nodesFromLeft.at("left"), picture.nodesFromLeft.at("right"));
}

TEST(Graphviz, DrawsNoLinkAcrossTheHeadingOfAChain) {
  PictureOptions options;
  options.chainNames = {{TestSupport::chain("one"), "first branch"},
                        {TestSupport::chain("two"), "other branch"},
                        {TestSupport::chain("three"), "third branch"}};
  const std::string svg =
      svgText(snapshotOf(TestSupport::graph("A -> B -> M -> Z; A -> F:one[fork] -> M; "
                                            "B -> (S):two[side]; M -> (T):three[side]")),
              options);

  EXPECT_THAT(crossedHeadingsIn(svg), testing::IsEmpty());
}

// One fork is longer than the stretch of the main chain that it goes past, and one that leads back
// to where the first comes in.
TEST(Graphviz, DrawsEveryLinkDownwards) {
  const std::string svg = svgText(snapshotOf(
      TestSupport::graph("A -> B -> C -> D; A -> F:one[fork] -> G:one -> H:one -> I:one -> J:one "
                         "-> C; A -> P:two[fork] -> Q:two -> R:two -> C; B -> (S):three[side]")));

  EXPECT_THAT(upwardLinksIn(svg), testing::IsEmpty());
}

TEST(Graphviz, WritesNamesAsTheyAre) {
  GraphSnapshot snapshot;
  const std::vector<std::string> names{
      R"(a "quoted" name)", "<B>&lt;</B>", R"(\N \G \l)", "Größe ≤ 5, 歯車", "{a|b}",
      "<!-- -->",           "]",           "x[1]]>"};
  for (const std::string& name : names) {
    snapshot.modules.emplace_back().name = name;
  }
  const std::vector<std::string> texts = textsIn(svgText(snapshot));

  for (const std::string& name : names) {
    EXPECT_THAT(texts, Contains(name));
  }
}

TEST(Graphviz, AcceptsAnyBytesAsAName) {
  GraphSnapshot snapshot;
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(byte);
    snapshot.modules.emplace_back().name = std::string(1, static_cast<char>(byte));
  }
  snapshot.modules.emplace_back().name = all;
  snapshot.modules[0].next.push_back({{}, all});
  PictureOptions options;
  options.title = all;
  options.detail = PictureDetail::kFull;
  options.runMarks[0] = {all, RunEffect::kExecuted, {}, all};
  options.chainNames[Identifier{}] = all;

  EXPECT_EQ(count(svgText(snapshot, options), "class=\"node\""), 258U);
}

TEST(Graphviz, AcceptsWhateverIsWrongWithAGraph) {
  TestSupport::forSeeds(15, [](std::uint64_t seed) {
    TestSupport::RandomGraphParameters parameters = TestSupport::faultyGraphs();
    parameters.modules = 14;
    parameters.chains = 3;
    const GraphSnapshot snapshot = snapshotOf(TestSupport::randomGraph(seed, parameters));
    for (const PictureDetail detail : {PictureDetail::kFull, PictureDetail::kBrief}) {
      PictureOptions options;
      options.detail = detail;
      options.runMarks[0] = {"applied", seed % 2 == 0 ? RunEffect::kExecuted : RunEffect::kFailed,
                             std::chrono::microseconds(seed), "changed"};
      EXPECT_GE(count(svgText(snapshot, options), "class=\"node\""), snapshot.modules.size());
    }
  });
}

TEST(Graphviz, DrawsThreeHundredModules) {
  TestSupport::RandomGraphParameters parameters;
  parameters.modules = 300;
  parameters.links = 1;
  parameters.chains = 20;
  parameters.flags = 10;
  const std::string svg = svgText(snapshotOf(TestSupport::randomGraph(7, parameters)));

  EXPECT_EQ(count(svg, "class=\"node\""), 300U);
  EXPECT_EQ(count(svg, "class=\"cluster\""), 21U);
}

}  // namespace
}  // namespace Tessaril::Diagnostics
