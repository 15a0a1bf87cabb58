#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tessaril/module/LinkList.h"
#include "tests/support/RandomGraph.h"
#include "tests/support/TestModule.h"

// The addresses beside the references stand in the list itself as long as there are few, and in a
// block of their own otherwise: every change that crosses the border moves them.

namespace Tessaril {
namespace {

using ModulePtr = std::shared_ptr<ApplyModule>;

class LinkListTest : public testing::Test {
 protected:
  LinkListTest() {
    for (int i = 0; i < 12; ++i) {
      modules.push_back(std::make_shared<TestSupport::TestModule>(std::string(1, char('a' + i))));
    }
  }

  LinkList listOf(std::size_t count) const {
    LinkList links;
    for (std::size_t i = 0; i < count; ++i) {
      links.add(modules[i]);
    }
    return links;
  }

  std::vector<ModulePtr> modules;
};

void expectHolds(const LinkList& links, const std::vector<ModulePtr>& expected) {
  ASSERT_EQ(links.size(), expected.size());
  for (std::size_t place = 0; place < expected.size(); ++place) {
    EXPECT_EQ(links.links()[place].lock(), expected[place]) << "at " << place;
    EXPECT_EQ(links.address(place), expected[place].get()) << "at " << place;
    EXPECT_EQ(links.isLive(place), expected[place] != nullptr) << "at " << place;
  }
}

TEST_F(LinkListTest, CopiesOwnTheirAddresses) {
  for (std::size_t count = 0; count < 6; ++count) {
    LinkList original = listOf(count);
    const LinkList copy(original);
    LinkList assigned = listOf(5 - count);
    assigned = original;
    original.clear();
    original.add(modules.back());
    const std::vector<ModulePtr> expected(modules.begin(),
                                          std::next(modules.begin(), std::ptrdiff_t(count)));
    expectHolds(copy, expected);
    expectHolds(assigned, expected);
    expectHolds(original, {modules.back()});
  }
}

TEST_F(LinkListTest, TakesItselfInAssignment) {
  LinkList links = listOf(4);
  const LinkList& same = links;
  links = same;
  expectHolds(links, {modules[0], modules[1], modules[2], modules[3]});
}

TEST_F(LinkListTest, SwapsListsOfAnyTwoLengths) {
  for (std::size_t left = 0; left < 5; ++left) {
    for (std::size_t right = 0; right < 5; ++right) {
      LinkList a = listOf(left);
      LinkList b = listOf(right);
      a.swap(b);
      a.add(modules[10]);
      b.add(modules[11]);
      std::vector<ModulePtr> expected(modules.begin(),
                                      std::next(modules.begin(), std::ptrdiff_t(right)));
      expected.push_back(modules[10]);
      expectHolds(a, expected);
      EXPECT_EQ(b.size(), left + 1);
      EXPECT_EQ(b.address(left), modules[11].get());
    }
  }
}

TEST_F(LinkListTest, MovesAnEntryWithItsAddress) {
  for (const std::size_t count : {2U, 5U}) {
    LinkList links = listOf(count);
    links.move(count - 1, 0);
    links.erase(count - 1, count);
    std::vector<ModulePtr> expected(modules.begin(),
                                    std::next(modules.begin(), std::ptrdiff_t(count - 1)));
    expected.front() = modules[count - 1];
    expectHolds(links, expected);
  }
}

TEST_F(LinkListTest, AnEmptyPointerIsAnEntryThatHasExpired) {
  LinkList links = listOf(3);
  links.set(1, nullptr);
  links.add(nullptr);
  expectHolds(links, {modules[0], nullptr, modules[2], nullptr});
}

TEST_F(LinkListTest, RandomChangesAreThoseOfAPlainList) {
  TestSupport::forSeeds(200, [this](std::uint64_t seed) {
    TestSupport::Random random(seed);
    LinkList links;
    std::vector<ModulePtr> model;
    for (int step = 0; step < 40; ++step) {
      const ModulePtr& module = modules[random.below(modules.size())];
      const std::size_t place = random.below(model.size() + 1);
      const auto at = [&model](std::size_t index) {
        return std::next(model.begin(), std::ptrdiff_t(index));
      };
      switch (random.below(6)) {
        case 0:
        case 1:
        case 2:
          links.add(module);
          model.push_back(module);
          break;
        case 3: {
          const std::size_t end = place + random.below(model.size() - place + 1);
          links.erase(place, end);
          model.erase(at(place), at(end));
          break;
        }
        case 4:
          if (place < model.size()) {
            links.set(place, module);
            model[place] = module;
          }
          break;
        default:
          links.reserve(place * 2);
          if (random.percent(10)) {
            links.clear();
            model.clear();
          }
      }
      expectHolds(links, model);
    }
  });
}

}  // namespace
}  // namespace Tessaril
