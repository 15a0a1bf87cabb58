#include "bench/Shapes.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace Tessaril::Bench {

namespace {

Number asNumber(std::size_t value) { return static_cast<Number>(value); }

Shape withoutLinks(std::string name, std::size_t modules) {
  return {.name = std::move(name), .modules = modules, .links = {}, .end = asNumber(modules - 1)};
}

/// From `fork` to merges and to a chain, each step of which leads to a merge, and from all merges
/// to the module that is returned. Numbers: the fork, the merges, the steps.
Number addMerges(Shape& shape, Number fork, Number mergeCount, Number stepCount) {
  const Number firstMerge = fork + 1;
  const Number firstStep = firstMerge + mergeCount;
  const Number next = firstStep + stepCount;
  for (Number merge = firstMerge; merge < firstStep; ++merge) {
    shape.links.emplace_back(fork, merge);
  }
  for (Number step = firstStep; step < next; ++step) {
    shape.links.emplace_back(step == firstStep ? fork : step - 1, step);
  }
  for (Number i = 0; i < mergeCount; ++i) {
    shape.links.emplace_back(firstStep + i, firstMerge + i);
    shape.links.emplace_back(firstMerge + i, next);
  }
  if (stepCount > mergeCount || stepCount == 0) {
    shape.links.emplace_back(next - 1, next);
  }
  return next;
}

/// The same on every platform, unlike the distributions of the standard library.
std::size_t below(std::mt19937_64& random, std::size_t bound) { return random() % bound; }

}  // namespace

Shape chain(std::size_t modules) {
  Shape shape = withoutLinks("chain", modules);
  for (Number i = 1; i < modules; ++i) {
    shape.links.emplace_back(i - 1, i);
  }
  return shape;
}

Shape ladder(std::size_t modules) {
  Shape shape = withoutLinks("ladder", modules);
  for (Number i = 1; i < modules; ++i) {
    if (i >= 2) {
      shape.links.emplace_back(i - 2, i);
    }
    if (i % 2 == 1) {
      shape.links.emplace_back(i - 1, i);
    }
  }
  return shape;
}

Shape sideChains(std::size_t modules) {
  Shape shape = withoutLinks("side chains", modules);
  Number last = 0;
  for (Number i = 1; i < modules; ++i) {
    const bool isMain = i % 20 < 10;
    if (i % 20 == 10) {
      shape.sideChainStarts.push_back(i);
    }
    shape.links.emplace_back(isMain ? last : i - 1, i);
    last = isMain ? i : last;
  }
  shape.end = last;
  return shape;
}

Shape merges(std::size_t modules) {
  constexpr Number kWaiting = 20;
  Shape shape = withoutLinks("merges", modules);
  Number fork = 0;
  while (fork < shape.end) {
    const Number left = shape.end - fork - 1;
    const Number mergeCount = std::min(kWaiting, left / 2);
    fork = addMerges(shape, fork, mergeCount, std::min(kWaiting, left - mergeCount));
  }
  return shape;
}

Shape starvingMerges(std::size_t modules) {
  Shape shape = withoutLinks("starving", modules);
  // Numbers: the start, the chain, the merges.
  const Number chainEnd = asNumber(modules / 2);
  for (Number merge = chainEnd + 1; merge < modules; ++merge) {
    shape.links.emplace_back(0, merge);
  }
  for (Number step = 1; step <= chainEnd; ++step) {
    shape.links.emplace_back(step - 1, step);
  }
  for (Number merge = chainEnd + 1; merge < modules; ++merge) {
    shape.links.emplace_back(chainEnd, merge);
  }
  return shape;
}

Shape randomLinks(std::size_t modules) {
  constexpr std::size_t kNear = 100;
  Shape shape = withoutLinks("random", modules);
  std::mt19937_64 random(modules);
  for (Number i = 1; i < modules; ++i) {
    const std::size_t wanted = std::min<std::size_t>(i, 2 + i % 2);
    std::vector<Number> previous;
    while (previous.size() < wanted) {
      const std::size_t reach = previous.empty() ? std::min<std::size_t>(i, kNear) : i;
      const Number candidate = i - 1 - asNumber(below(random, reach));
      if (std::find(previous.begin(), previous.end(), candidate) == previous.end()) {
        previous.push_back(candidate);
        shape.links.emplace_back(candidate, i);
      }
    }
  }
  return shape;
}

Shape fan(std::size_t modules) {
  Shape shape = withoutLinks("fan", modules);
  for (Number i = 1; i + 1 < modules; ++i) {
    shape.links.emplace_back(0, i);
    shape.links.emplace_back(i, shape.end);
  }
  return shape;
}

std::vector<Shape> allShapes(std::size_t modules) {
  return {chain(modules),          ladder(modules),      sideChains(modules), merges(modules),
          starvingMerges(modules), randomLinks(modules), fan(modules)};
}

bool isLinear(const Shape& shape) {
  return shape.name == "chain" || shape.name == "ladder" || shape.name == "side chains";
}

std::vector<Number> shuffled(std::size_t modules) {
  std::vector<Number> numbers(modules);
  std::iota(numbers.begin(), numbers.end(), Number{0});
  std::mt19937_64 random(modules);
  for (std::size_t i = modules; i > 1; --i) {
    std::swap(numbers[i - 1], numbers[below(random, i)]);
  }
  return numbers;
}

}  // namespace Tessaril::Bench
