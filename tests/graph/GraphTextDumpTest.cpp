#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <typeinfo>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/GraphText.h"

namespace Tessaril {
namespace {

namespace fs = std::filesystem;
using TestSupport::graph;
using TestSupport::graphOf;
using TestSupport::ModulePtr;
using TestSupport::ObjectModule;
using TestSupport::TestGraph;
using TestSupport::TestModule;

class GraphTextDump : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder = fs::path(::testing::TempDir()) / (std::string("tessaril_dump_") + test->name());
    fs::remove_all(folder);
    fs::create_directory(folder);
  }

  void TearDown() override { fs::remove_all(folder); }

  std::string path(const std::string& name) const { return (folder / name).string(); }

  std::string content(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  /// What is written, asked with that module.
  std::string dump(const ModulePtr& module) const {
    ApplyGraph::write(module, path("dump.txt"));
    return content("dump.txt");
  }

  /// The modules become children of a design object.
  TestGraph design(std::string_view graphText) {
    auto g = graphOf<ObjectModule>(graphText);
    root = std::make_shared<Object>("design");
    for (const auto& member : g) {
      root->addChild(std::dynamic_pointer_cast<Object>(member.module));
    }
    return g;
  }

  std::shared_ptr<Object> root;
  fs::path folder;
};

TEST_F(GraphTextDump, OfOneModule) {
  const auto g = design("A");
  EXPECT_EQ(dump(g["A"]),
            "Node:\n"
            "=====\n"
            "Name: A  AbsolutePath: /A\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "\n");
}

TEST_F(GraphTextDump, OfAModuleDeepInTheTree) {
  const auto g = graphOf<ObjectModule>("A");
  root = std::make_shared<Object>("design");
  const auto part = std::make_shared<Object>("part");
  root->addChild(part);
  part->addChild(g.as<ObjectModule>("A"));
  EXPECT_THAT(dump(g["A"]), testing::HasSubstr("\nName: A  AbsolutePath: /part/A\n"));
}

TEST_F(GraphTextDump, OfSideChainsAndNeighbours) {
  const auto g = design("A -> B; A -> (S):s -> T:s");
  EXPECT_EQ(dump(g["A"]),
            "Node:\n"
            "=====\n"
            "Name: A  AbsolutePath: /A\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "    Name: B  AbsolutePath: /B\n"
            "    Name: S (S) AbsolutePath: /S\n"
            "\n"
            // The last-listed next module comes first, with all behind it.
            "Node:\n"
            "=====\n"
            "Name: S (S) AbsolutePath: /S\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "    Name: A  AbsolutePath: /A\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "    Name: T  AbsolutePath: /T\n"
            "\n"
            "Node:\n"
            "=====\n"
            "Name: T  AbsolutePath: /T\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "    Name: S (S) AbsolutePath: /S\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "\n"
            "Node:\n"
            "=====\n"
            "Name: B  AbsolutePath: /B\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "    Name: A  AbsolutePath: /A\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "\n");
}

TEST_F(GraphTextDump, ListsPreviousModulesInTheirOrder) {
  const auto g = design("A -> C -> M; A -> B -> M");
  EXPECT_THAT(dump(g["A"]), testing::HasSubstr("Node:\n"
                                               "=====\n"
                                               "Name: M  AbsolutePath: /M\n"
                                               "  Previous Nodes:\n"
                                               "  ---------------\n"
                                               "    Name: C  AbsolutePath: /C\n"
                                               "    Name: B  AbsolutePath: /B\n"
                                               "  Next Nodes:\n"
                                               "  -----------\n"
                                               "\n"));
}

TEST_F(GraphTextDump, ListsAMergeOnce) {
  const auto g = design("A -> C -> M; A -> B -> M");
  const auto text = dump(g["A"]);
  const auto first = text.find("\nName: M ");
  ASSERT_NE(first, std::string::npos);
  EXPECT_EQ(text.find("\nName: M ", first + 1), std::string::npos);
}

TEST_F(GraphTextDump, OfModulesThatAreNoObjectsNamesTheirType) {
  const auto g = graph("A -> (B)");
  const std::string description = std::string("No Object: ") + typeid(TestModule).name() + "\n";
  EXPECT_EQ(dump(g["A"]),
            "Node:\n"
            "=====\n" +
                description +
                "  Previous Nodes:\n"
                "  ---------------\n"
                "  Next Nodes:\n"
                "  -----------\n"
                "    " +
                description +
                "\n"
                "Node:\n"
                "=====\n" +
                description +
                "  Previous Nodes:\n"
                "  ---------------\n"
                "    " +
                description +
                "  Next Nodes:\n"
                "  -----------\n"
                "\n");
}

TEST_F(GraphTextDump, NamesTheTypeOfTheObjectNotOfThePointer) {
  const auto module = std::make_shared<ApplyModule>();
  EXPECT_THAT(dump(module),
              testing::HasSubstr(std::string("No Object: ") + typeid(ApplyModule).name() + "\n"));
}

TEST_F(GraphTextDump, LeavesOutWhatHasGone) {
  const auto g = design("~ -> A -> ~; A -> B; ~ -> B");
  const auto text = dump(g["B"]);
  EXPECT_EQ(text,
            "Node:\n"
            "=====\n"
            "Name: A  AbsolutePath: /A\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "    Name: B  AbsolutePath: /B\n"
            "\n"
            "Node:\n"
            "=====\n"
            "Name: B  AbsolutePath: /B\n"
            "  Previous Nodes:\n"
            "  ---------------\n"
            "    Name: A  AbsolutePath: /A\n"
            "  Next Nodes:\n"
            "  -----------\n"
            "\n");
}

TEST_F(GraphTextDump, IsTheSameFromAnyModuleOfTheGraph) {
  const auto g = design("A -> B -> C; A -> (S):s -> T:s; B -> F:f -> C");
  const auto expected = dump(g["A"]);
  for (const auto& member : g) {
    EXPECT_EQ(dump(member.module), expected) << member.name;
  }
}

TEST_F(GraphTextDump, ReplacesAFile) {
  const auto g = design("A");
  std::ofstream(path("dump.txt")) << std::string(5000, 'x');
  EXPECT_EQ(dump(g["A"]).substr(0, 6), "Node:\n");
  EXPECT_LT(content("dump.txt").size(), 200U);
}

TEST_F(GraphTextDump, IntoAFolderThatIsMissingDoesNothing) {
  const auto g = design("A");
  EXPECT_NO_THROW(ApplyGraph::write(g["A"], path("missing/dump.txt")));
  EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(GraphTextDump, OntoAFolderDoesNothing) {
  const auto g = design("A");
  fs::create_directory(path("taken"));
  EXPECT_NO_THROW(ApplyGraph::write(g["A"], path("taken")));
  EXPECT_TRUE(fs::is_directory(path("taken")));
  EXPECT_TRUE(fs::is_empty(path("taken")));
}

TEST_F(GraphTextDump, IntoAFileWithoutNameDoesNothing) {
  const auto g = design("A");
  EXPECT_NO_THROW(ApplyGraph::write(g["A"], ""));
}

TEST_F(GraphTextDump, OfNullWritesNothing) {
  EXPECT_NO_THROW(ApplyGraph::write(nullptr, path("dump.txt")));
  EXPECT_FALSE(fs::exists(path("dump.txt")));
}

}  // namespace
}  // namespace Tessaril
