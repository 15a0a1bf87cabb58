#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/GraphInvariants.h"
#include "tests/support/GraphText.h"
#include "tests/support/PrivateLinks.h"

namespace Tessaril::TestSupport {

/// A graph under edit that listens to its modules' graph hooks.
class EditFixture : public ::testing::Test {
 protected:
  /// Reads a graph; nothing has been called yet.
  void given(std::string_view graphText) {
    g = graph(graphText);
    hookCalls.clear();
    for (const auto& member : g) {
      g.as<TestModule>(member.name)->whenGraphChanges = [this](TestModule& module) {
        hookCalls += (hookCalls.empty() ? "" : " ") + module.getModuleName();
        if (module.getModuleName() == failing) {
          throw std::runtime_error("no " + failing);
        }
      };
    }
  }

  /// The module, or null for "~".
  ModulePtr m(std::string_view name) const { return name == "~" ? nullptr : g[name]; }

  /// The graph as text. Both ends of every link have to agree, but for the violations named, which
  /// the edit is meant to leave.
  std::string shown(const std::vector<std::string>& violations = {}) const {
    EXPECT_THAT(linkViolations(g), ::testing::UnorderedElementsAreArray(violations));
    return text(g);
  }

  /// Whose onApplyGraphChanged() has been called since, in order: "A B A".
  std::string calls() { return std::exchange(hookCalls, {}); }

  TestGraph g;
  /// The hook of this module throws.
  std::string failing;

 private:
  std::string hookCalls;
};

}  // namespace Tessaril::TestSupport
