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

template <typename Use>
void ReadyOrder::forEachOf(Number module, const Use& use) const {
  for (Index index = module < firstOfModule.size() ? firstOfModule[module] : kNone; index != kNone;
       index = entries[index].nextOfModule) {
    if (!entries[index].isRemoved) {
      use(index);
    }
  }
}

void ReadyOrder::push(Number module, bool flag, bool isCandidate) {
  const auto index = static_cast<Index>(entries.size());
  if (module >= firstOfModule.size()) {
    firstOfModule.resize(module + 1, kNone);
  }
  entries.push_back({0, kNone, kNone, firstOfModule[module], module, flag, false});
  firstOfModule[module] = index;
  ++living;

  // Before a cursor at the head is behind the tail.
  const bool atTail = cursor == head;
  const Index before = atTail ? tail : entries[cursor].before;
  const Index behind = atTail ? kNone : cursor;
  entries[index].label = labelBetween(before, behind);
  link(index, before, behind);
  if (cursor == kNone) {
    cursor = index;
  }
  if (isCandidate) {
    (atTail ? fromCursorOn : beforeCursor).inOrder.push_back(index);
  }
}

void ReadyOrder::setCandidate(Number module) {
  forEachOf(module, [this](Index index) { setCandidateEntry(index); });
}

// The cursor stays where it is: an entry that it stands at comes first.
void ReadyOrder::setCandidateOnce(Number module) {
  Index first = kNone;
  forEachOf(module, [&](Index index) {
    if (first == kNone || comesBefore(index, first)) {
      first = index;
    }
  });
  forEachOf(module, [&](Index index) {
    if (index != first) {
      remove(index);
    }
  });
  setCandidateEntry(first);
}

bool ReadyOrder::comesBefore(Index left, Index right) const {
  const bool isLeftNear = isFromCursorOn(left);
  return isLeftNear == isFromCursorOn(right) ? isLater(right, left) : isLeftNear;
}

void ReadyOrder::setCandidateEntry(Index index) {
  addToHeap(isFromCursorOn(index) ? fromCursorOn : beforeCursor, index);
}

/// kNone when there is none, wherever the cursor stands.
ReadyOrder::Index ReadyOrder::takeFirstCandidate() {
  const Index index = takeFirst(fromCursorOn);
  if (index != kNone) {
    return index;
  }
  comeRound();
  return takeFirst(fromCursorOn);
}

ReadyOrder::Taken ReadyOrder::takeOut(Index index) {
  cursor = entries[index].behind;
  remove(index);
  if (cursor == kNone) {
    comeRound();
  }
  return {entries[index].module, entries[index].flag};
}

void ReadyOrder::remove(Index index) {
  entries[index].isRemoved = true;
  --living;
  if (isSaved) {
    removedSinceSave.push_back(index);
  } else {
    unlink(index);
  }
}

void ReadyOrder::drop() {
  fromCursorOn.clear();
  beforeCursor.clear();
  for (Index index = head; index != kNone;) {
    const Index behind = entries[index].behind;
    if (!entries[index].isRemoved) {
      remove(index);
    }
    index = behind;
  }
  cursor = head;
}

void ReadyOrder::clear() {
  forEachPushed([this](Number module) { firstOfModule[module] = kNone; });
  entries.clear();
  living = 0;
  head = tail = cursor = kNone;
  fromCursorOn.clear();
  beforeCursor.clear();
  isSaved = false;
  removedSinceSave.clear();
}

template <typename Use>
void ReadyOrder::forEachLinked(Index first, const Use& use) const {
  for (Index index = first; index != kNone; index = entries[index].behind) {
    use(index);
  }
  for (Index index = head; index != first; index = entries[index].behind) {
    use(index);
  }
}

std::vector<ReadyOrder::Number> ReadyOrder::modules() const {
  std::vector<Number> found;
  forEachLinked(cursor, [&](Index index) {
    if (!entries[index].isRemoved) {
      found.push_back(entries[index].module);
    }
  });
  return found;
}

void ReadyOrder::save() {
  for (const Index index : removedSinceSave) {
    unlink(index);
  }
  removedSinceSave.clear();
  if (cursor == kNone) {
    comeRound();
  }
  isSaved = true;
  savedCursor = cursor;
  savedCount = entries.size();
}

std::vector<ReadyOrder::Number> ReadyOrder::savedModules() const {
  std::vector<Number> found;
  forEachLinked(savedCursor, [&](Index index) {
    if (index < savedCount) {
      found.push_back(entries[index].module);
    }
  });
  return found;
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
  beforeCursor.clear();
}

void ReadyOrder::Candidates::clear() {
  inOrder.clear();
  taken = 0;
  heap.clear();
}

/// kNone when there is nothing more.
ReadyOrder::Index ReadyOrder::takeFirst(Candidates& candidates) {
  const bool hasInOrder = candidates.taken < candidates.inOrder.size();
  if (candidates.heap.empty()) {
    return hasInOrder ? candidates.inOrder[candidates.taken++] : kNone;
  }
  if (hasInOrder && !isLater(candidates.inOrder[candidates.taken], candidates.heap.front())) {
    return candidates.inOrder[candidates.taken++];
  }
  std::pop_heap(candidates.heap.begin(), candidates.heap.end(),
                [this](Index left, Index right) { return isLater(left, right); });
  const Index index = candidates.heap.back();
  candidates.heap.pop_back();
  return index;
}

void ReadyOrder::addToHeap(Candidates& candidates, Index index) {
  candidates.heap.push_back(index);
  std::push_heap(candidates.heap.begin(), candidates.heap.end(),
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
