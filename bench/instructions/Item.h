#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// Fixed pieces of work whose instructions are counted, see .ci/instructions.
namespace Tessaril::Bench {

/// What is counted, and what shows afterwards that it was done.
struct Work {
  std::function<void()> run;
  /// The number of modules that `run` has done something with.
  std::function<std::size_t()> met;
};

struct Item {
  std::string name;
  /// What `met` has to answer. The instructions are also told a module.
  std::size_t modules;
  /// Makes everything that the work needs. The work can run once.
  std::function<Work()> prepare;
};

std::vector<Item> walkItems();
std::vector<Item> traversalItems();
std::vector<Item> updateItems();
std::vector<Item> editItems();
std::vector<Item> storeItems();

}  // namespace Tessaril::Bench
