#include "tessaril/graph/ReadyOrder.h"

#include <algorithm>
#include <utility>

namespace Tessaril {
namespace {

constexpr std::uint64_t kFirstLabel = std::uint64_t{1} << 32;
/// Of the labels between two entries, or behind the last one, a new entry takes this part, since
/// more will follow it.
constexpr std::uint64_t kPartOfGap = 64;
constexpr std::uint64_t kLongestStep = std::uint64_t{1} << 32;

}  // namespace

void ReadyOrder::push(Number module, bool flag, bool isReady) {
  const auto index = static_cast<Index>(entries.size());
  if (module >= firstOfModule.size()) {
    firstOfModule.resize(module + 1, kNone);
  }
  entries.push_back({0, kNone, kNone, firstOfModule[module], module, flag, false});
  firstOfModule[module] = index;

  // Before a cursor at the head is behind the tail.
  const bool atTail = cursor == head;
  const Index before = atTail ? tail : entries[cursor].before;
  const Index behind = atTail ? kNone : cursor;
  entries[index].label = labelBetween(before, behind);
  link(index, before, behind);
  if (cursor == kNone) {
    cursor = index;
  }
  if (isReady) {
    (atTail ? fromCursorOn : beforeCursor).inOrder.push_back(index);
  }
}

void ReadyOrder::setReady(Number module) {
  for (Index index = module < firstOfModule.size() ? firstOfModule[module] : kNone; index != kNone;
       index = entries[index].nextOfModule) {
    addToHeap(isFromCursorOn(index) ? fromCursorOn : beforeCursor, index);
  }
}

std::optional<ReadyOrder::Taken> ReadyOrder::take() {
  const Index index = takeFirstLiving();
  if (index == kNone) {
    return std::nullopt;
  }
  cursor = index;
  unlink(index);
  if (cursor == kNone) {
    comeRound();
  }
  const Taken taken{entries[index].module, entries[index].flag};
  for (Index other = firstOfModule[taken.module]; other != kNone;
       other = entries[other].nextOfModule) {
    entries[other].isDead = true;
  }
  firstOfModule[taken.module] = kNone;
  return taken;
}

ReadyOrder::Index ReadyOrder::takeFirstLiving() {
  for (bool hasComeRound = false;;) {
    const Index index = takeFirst(fromCursorOn);
    if (index == kNone) {
      if (hasComeRound) {
        return kNone;
      }
      comeRound();
      hasComeRound = true;
    } else if (entries[index].isDead) {
      unlink(index);
    } else {
      return index;
    }
  }
}

void ReadyOrder::link(Index index, Index before, Index behind) {
  entries[index].before = before;
  entries[index].behind = behind;
  (before != kNone ? entries[before].behind : head) = index;
  (behind != kNone ? entries[behind].before : tail) = index;
}

void ReadyOrder::unlink(Index index) {
  Entry& entry = entries[index];
  (entry.before != kNone ? entries[entry.before].behind : head) = entry.behind;
  (entry.behind != kNone ? entries[entry.behind].before : tail) = entry.before;
  if (cursor == index) {
    cursor = entry.behind;
  }
}

void ReadyOrder::comeRound() {
  cursor = head;
  std::swap(fromCursorOn, beforeCursor);
  beforeCursor.inOrder.clear();
  beforeCursor.taken = 0;
  beforeCursor.heap.clear();
}

/// kNone when there is nothing more.
ReadyOrder::Index ReadyOrder::takeFirst(Ready& ready) {
  const bool hasInOrder = ready.taken < ready.inOrder.size();
  if (ready.heap.empty()) {
    return hasInOrder ? ready.inOrder[ready.taken++] : kNone;
  }
  if (hasInOrder && !isLater(ready.inOrder[ready.taken], ready.heap.front())) {
    return ready.inOrder[ready.taken++];
  }
  std::pop_heap(ready.heap.begin(), ready.heap.end(),
                [this](Index left, Index right) { return isLater(left, right); });
  const Index index = ready.heap.back();
  ready.heap.pop_back();
  return index;
}

void ReadyOrder::addToHeap(Ready& ready, Index index) {
  ready.heap.push_back(index);
  std::push_heap(ready.heap.begin(), ready.heap.end(),
                 [this](Index left, Index right) { return isLater(left, right); });
}

ReadyOrder::Label ReadyOrder::labelBetween(Index before, Index behind) {
  if (before == kNone) {
    return kFirstLabel;
  }
  const auto gap = [&] {
    const Label end = behind != kNone ? entries[behind].label : ~Label{0};
    return end - entries[before].label;
  };
  if (gap() < 2) {
    labelAnew(before);
  }
  return entries[before].label + std::clamp<Label>(gap() / kPartOfGap, 1, kLongestStep);
}

/// Spreads the labels of the smallest stretch around an entry that is thinly labelled. The larger a
/// stretch, the thinner it has to be, so that a stretch which was spread lasts for a while.
void ReadyOrder::labelAnew(Index around) {
  constexpr unsigned int kFirstBits = 4;
  constexpr double kThinner = 4.0 / 3.0;
  Index first = around;
  Index last = around;
  std::uint64_t count = 1;
  double allowed = kThinner * kThinner * kThinner;
  for (unsigned int bits = kFirstBits;; ++bits) {
    allowed *= kThinner;
    const Label mask = bits < 64 ? (Label{1} << bits) - 1 : ~Label{0};
    const Label begin = entries[around].label & ~mask;
    for (; entries[first].before != kNone && entries[entries[first].before].label >= begin;
         ++count) {
      first = entries[first].before;
    }
    for (; entries[last].behind != kNone && entries[entries[last].behind].label - begin <= mask;
         ++count) {
      last = entries[last].behind;
    }
    if (static_cast<double>(count) <= allowed) {
      const Label step = mask / (count + 1);
      Label label = begin;
      for (Index index = first;; index = entries[index].behind) {
        label += step;
        entries[index].label = label;
        if (index == last) {
          return;
        }
      }
    }
  }
}

}  // namespace Tessaril
