#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "tessaril/graph/ModuleNumbers.h"
#include "tessaril/graph/NumberSet.h"
#include "tessaril/graph/OrderedQueue.h"
#include "tessaril/module/LinkEdits.h"
#include "tessaril/module/LinkList.h"

// Internal to the library.

namespace Tessaril {

class ApplyModule;

/// In which order an update visits its graph. What ApplyGraph::getNextModuleInOrder() would answer,
/// asked with queues and sets of modules, is found here on numbers: every module that the run meets
/// gets one; every list of links is read once. The modules of the range and those visited are held
/// until the next run, those of a sub-graph while it is visited.
///
/// The graph may change while a run waits for commands of the application. When links have been
/// edited (see LinkEdits), lists are read anew and the queues are filled anew, in their order, so
/// the answers are always those for the links as they are. The range stays what it was.
class UpdateOrder {
 public:
  using ModulePtr = std::shared_ptr<ApplyModule>;
  using Number = ModuleNumbers::Number;
  class SubGraph;

  UpdateOrder();
  UpdateOrder(const UpdateOrder&) = delete;
  UpdateOrder& operator=(const UpdateOrder&) = delete;
  ~UpdateOrder();

  /// Queues start behind what a run before has left in the queue, forgets what was visited and
  /// finds the range. What the queue was when it was saved is kept.
  void begin(const ModulePtr& start, const ModulePtr& end);

  /// Lets go of what only a run needs. Everything else goes on as if nothing had been.
  void rest();

  /// Null for a module that has gone.
  ModulePtr module(Number number) const { return modules.module(number); }
  /// Requires: the module is in the range, or was visited or queued, or belongs to a sub-graph that
  /// is being visited. It lives as long as that holds.
  ApplyModule& heldModule(Number number) const {
    const ModulePtr& held = modules.heldModule(number);
    return held != nullptr ? *held : *modules.module(number);
  }
  Number numberOf(const ModulePtr& module) { return numberOf(module, ModuleNumbers::As::Known); }
  /// True for the end and its dependencies back to the start.
  bool isOnTheWay(Number number) const { return nodes[number].isOnTheWay; }
  bool isOnTheWay(const ApplyModule& module) const {
    const Number number = modules.find(&module);
    return number != kNone && isOnTheWay(number);
  }

  void setVisited(Number number);
  void setUnvisited(const ModulePtr& module);

  /// The first module in the queue that waits for no unvisited module of the range; nothing, and an
  /// empty queue, when there is none.
  std::optional<Number> takeNext();
  void queue(Number number);
  void saveQueue();
  void restoreQueue();

  /// Calls `use` with every live next module, in list order. `use` must not call the application.
  template <typename Use>
  void forEachNext(Number number, const Use& use) {
    followEdits();
    const List list = read(next, number);
    for (std::uint32_t i = list.begin; i != list.end; ++i) {
      if (modules.isLive(next.neighbours[i])) {
        use(next.neighbours[i]);
      }
    }
  }

  /// True for the horizon and its dependencies. Requires: one horizon a run.
  bool isUpstreamOf(const ModulePtr& horizon, Number number);

  /// Calls `use` with the modules that ApplyGraph::forSemanticOrderedModuleRange() visits.
  template <typename Use>
  void forEachInRange(Number from, Number end, const Use& use) {
    findRangeOrder(from, end);
    for (std::size_t i = range.begin; i < range.order.size(); ++i) {
      if (const ApplyModule* const held = modules.heldModule(range.order[i]).get()) {
        use(*held);
      } else if (const ModulePtr known = module(range.order[i])) {
        use(*known);
      }
    }
  }

 private:
  using As = ModuleNumbers::As;
  static constexpr Number kNone = ModuleNumbers::kNone;

  /// Places among the neighbours of all modules.
  struct List {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
    std::uint32_t edition = 0;

    std::uint32_t size() const { return end - begin; }
  };
  struct Lists {
    List next{};
    List previous{};
  };
  struct Node {
    bool isOnTheWay = false;
    /// The start or one of its followers as far as the end.
    bool isInRange = false;
    bool isVisited = false;
    /// How many links lead here when the range is gathered.
    std::uint32_t metForwards = 0;
    std::uint32_t metBackwards = 0;
  };
  /// The links in one direction, as far as they have been read.
  struct Side {
    const LinkList& (*linksOf)(const ApplyModule&);
    List Lists::*list;
    std::vector<Number> neighbours{};
  };
  class Counts {
   public:
    std::uint32_t operator[](Number number) const { return in.contains(number) ? of[number] : 0; }
    /// True if it is the first time.
    bool add(Number number);
    void clear() { in.clear(); }

   private:
    NumberSet in;
    std::vector<std::uint32_t> of;
  };
  /// What a sub-graph needs for its visit, kept for the next one.
  struct Work {
    OrderedQueue queue;
    NumberSet scope;
    std::vector<Number> members;
    /// Those that the run does not hold already.
    std::vector<ModulePtr> held;
  };

  void readPrevious(const std::vector<Number>& numbers);
  void loadAhead(const Side& side, const std::vector<Number>& numbers, std::size_t place) const;
  void forget();
  void followEdits();
  void refillQueues();
  void wake();
  Number numberOf(const ModulePtr& module, As how);
  void makeNodes();
  /// Modules that are met for the first time become numbered, and `how` says whether held. Nothing
  /// comes of a module that has gone.
  List read(Side& side, Number number, As how = As::Known) {
    const List list = lists[number].*side.list;
    return list.edition == edition ? list : readAnew(side, number, how);
  }
  List readAnew(Side& side, Number number, As how);
  template <typename Meet>
  void gather(Number from, Number stop, Side& side, As how, const Meet& meet);
  /// The first neighbour before the module, from place `searched` on, that `holdsBack`.
  template <typename HoldsBack>
  Number findBefore(Number number, std::uint32_t& searched, const HoldsBack& holdsBack) {
    const List list = read(previous, number);
    for (; searched < list.size(); ++searched) {
      const Number neighbour = previous.neighbours[list.begin + searched];
      if (holdsBack(nodes[neighbour], neighbour)) {
        return neighbour;
      }
    }
    return kNone;
  }
  auto searchInRange();
  auto searchIn(const NumberSet& scope);
  bool isVisited(Number number) const { return nodes[number].isVisited; }
  std::vector<ModulePtr> modulesOf(const std::vector<Number>& numbers) const;
  void keepSavedQueue();
  void noteReopened();

  void findRangeOrder(Number from, Number end);
  bool leadsOnlyOn(std::size_t place);
  void gatherRange(Number from, Number end);
  void makeRangeOrder(Number from, Number end);

  ModuleNumbers modules;
  std::vector<Node> nodes;
  std::vector<Lists> lists;
  /// Empty but for a moment.
  std::vector<ModulePtr> modulesBefore;
  /// None while at rest.
  std::optional<LinkEdits::Reader> edits;
  std::uint64_t editsSeen = 0;
  /// Lists of another edition have to be read anew.
  std::uint32_t edition = 1;
  /// The range of the run, and the edition of the lists that it was gathered from.
  Number startNumber = kNone;
  Number endNumber = kNone;
  std::uint32_t rangeEdition = 0;
  Side next;
  Side previous;
  /// What a gathering goes on from.
  std::vector<Number> reached;

  OrderedQueue moduleQueue;
  /// The queue when it was saved, unless the queue itself knows.
  std::vector<Number> savedModuleQueue;
  bool queueKnowsSaved = false;
  /// What is in the queue while at rest.
  std::vector<Number> restingQueue;

  /// Modules behind which there is nothing unvisited. A reopening makes them unknown.
  NumberSet closed;
  std::uint32_t reopenings = 0;
  SubGraph* innermost = nullptr;
  std::vector<std::unique_ptr<Work>> idle;

  bool upstreamIsKnown = false;
  NumberSet upstream;

  struct Range {
    std::vector<Number> order;
    /// Where the order asked for last begins.
    std::size_t begin = 0;
    Number end = kNone;
    Counts metForwards;
    Counts metBackwards;
    NumberSet scope;
    NumberSet visited;
    OrderedQueue queue{OrderedQueue::Repeats::LeftOut};
    /// That of the run, as it was gathered when the run began; what was met then stands in the
    /// nodes.
    bool isWhole = false;
  };
  Range range;
};

/// The visit of one module and everything behind it, in order, leaving out what the run has visited
/// before. Visits may be nested.
class UpdateOrder::SubGraph {
 public:
  SubGraph(UpdateOrder& order, Number root);
  SubGraph(const SubGraph&) = delete;
  SubGraph& operator=(const SubGraph&) = delete;
  ~SubGraph();

  std::optional<Number> takeNext();
  void queueNextOf(Number number);

 private:
  friend class UpdateOrder;

  void holdMeanwhile(Number number);
  void queue(Number number);
  void refill();
  void end();

  UpdateOrder& order;
  SubGraph* outer;
  std::unique_ptr<Work> work;
  std::uint32_t reopenings;
  bool isOver = false;
};

}  // namespace Tessaril
