#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

#include "tests/diagnostics/graph/SnapshotSupport.h"
#include "tests/diagnostics/picture/DocumentedPicture.h"
#include "tests/diagnostics/picture/SvgReading.h"

namespace Tessaril::Diagnostics {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::string contentOf(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

TEST(DocumentedPicture, StandsInTheDocument) {
  const std::string root = TESSARIL_ROOT_DIR;
  const std::string source = contentOf(root + "/tests/diagnostics/picture/DocumentedPicture.cpp");
  const std::string document = contentOf(root + "/docs/diagnostics.md");
  const std::string marker = "stands in docs/diagnostics.md.\n";

  ASSERT_THAT(source, HasSubstr(marker));
  EXPECT_THAT(document,
              HasSubstr("```cpp\n" + source.substr(source.find(marker) + marker.size()) + "```\n"));
}

TEST(DocumentedPicture, IsDrawn) {
  const TestSupport::TestGraph graph = TestSupport::graph("A -> B -> C -> D");
  const GraphSnapshot snapshot = snapshotOf(graph);
  RunReport report;
  ReportedModule& module = report.modules.emplace_back();
  module.name = "B";
  module.module = graph["B"];
  report.steps.emplace_back().deed = Deed::Signalled;
  std::ostringstream picture;
  drawGraph(snapshot, report, picture);
  const std::vector<std::string> texts = textsIn(picture.str());

  EXPECT_THAT(texts, Contains("Around the first module"));
  EXPECT_THAT(texts, Contains("C"));
  EXPECT_THAT(texts, Not(Contains("D")));
  EXPECT_THAT(texts, Contains("signalled"));
}

}  // namespace
}  // namespace Tessaril::Diagnostics
