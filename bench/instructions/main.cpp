// instruction_items --list: names each item and how many modules it works on, an item a line.
// instruction_items ITEM: does its work, and collects in callgrind what that alone takes.

#include <valgrind/callgrind.h>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <thread>
#include <utility>

#include "bench/instructions/Item.h"

namespace {

using Tessaril::Bench::Item;
using Tessaril::Bench::Work;

std::vector<Item> allItems() {
  std::vector<Item> items;
  for (const auto& someItems : {Tessaril::Bench::walkItems(), Tessaril::Bench::traversalItems(),
                                Tessaril::Bench::updateItems(), Tessaril::Bench::editItems(),
                                Tessaril::Bench::storeItems()}) {
    items.insert(items.end(), someItems.begin(), someItems.end());
  }
  return items;
}

/// Reference counts are cheaper in a process that never had a second thread, and applications have
/// one.
void haveHadASecondThread() {
  std::thread([] {}).join();
}

bool hasDone(const Item& item, const Work& work) {
  const std::size_t met = work.met();
  if (met != item.modules) {
    std::cerr << item.name << " met " << met << " modules instead of " << item.modules << "\n";
  }
  return met == item.modules;
}

bool measure(const Item& item) {
  // What happens once in a process only, is not to be counted.
  const Work first = item.prepare();
  first.run();
  const Work counted = item.prepare();
  CALLGRIND_START_INSTRUMENTATION;
  counted.run();
  CALLGRIND_STOP_INSTRUMENTATION;
  return hasDone(item, first) && hasDone(item, counted);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: instruction_items --list | ITEM\n";
    return EXIT_FAILURE;
  }
  haveHadASecondThread();
  const bool isListAsked = std::strcmp(argv[1], "--list") == 0;
  for (const Item& item : allItems()) {
    if (isListAsked) {
      std::cout << item.name << " " << item.modules << "\n";
    } else if (item.name == argv[1]) {
      return measure(item) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
  }
  if (!isListAsked) {
    std::cerr << "no item " << argv[1] << "\n";
  }
  return isListAsked ? EXIT_SUCCESS : EXIT_FAILURE;
}
