#include "tests/engine/model/RandomScenario.h"

#include <algorithm>
#include <list>
#include <stdexcept>
#include <utility>

#include "tessaril/graph/ApplyGraph.h"
#include "tests/support/PrivateLinks.h"
#include "tests/support/ScriptedMessage.h"

namespace Tessaril::RandomRuns {

namespace {

using TestSupport::Answer;
using TestSupport::CommandMaking;
using TestSupport::EventKind;
using TestSupport::ModuleFactory;
using TestSupport::ScriptedModule;
using TestSupport::TestGraph;

constexpr const char* kSpareNames[] = {"spare1", "spare2"};

std::string nameOfIndex(std::size_t index) {
  constexpr std::size_t kLetters = 26;
  const std::string letter(1, static_cast<char>('A' + index % kLetters));
  return index < kLetters ? letter : letter + std::to_string(index / kLetters);
}

template <typename T>
void shuffle(std::vector<T>& items, Dice& dice) {
  for (std::size_t left = items.size(); left > 1; --left) {
    std::swap(items[left - 1], items[dice.below(left)]);
  }
}

struct Link {
  std::size_t from;
  std::size_t to;
};
using LinkList = std::vector<Link>;

LinkList chainLinks(std::size_t count) {
  LinkList links;
  for (std::size_t to = 1; to < count; ++to) {
    links.push_back({to - 1, to});
  }
  return links;
}

/// A main chain; every third module is a side chain's, which may lead back into the main chain.
LinkList sideChainLinks(std::size_t count, Dice& dice) {
  LinkList links;
  std::size_t main = 0;
  for (std::size_t to = 1; to < count; ++to) {
    const bool isSide = to % 3 == 2 && to + 1 < count;
    links.push_back({main, to});
    if (isSide && dice.percent(50)) {
      links.push_back({to, to + 1});
    }
    main = isSide ? main : to;
  }
  return links;
}

LinkList fanLinks(std::size_t count) {
  LinkList links;
  for (std::size_t to = 1; to + 1 < count; ++to) {
    links.push_back({0, to});
    links.push_back({to, count - 1});
  }
  return links;
}

LinkList ladderLinks(std::size_t count) {
  LinkList links;
  for (std::size_t to = 1; to < count; ++to) {
    if (to >= 2) {
      links.push_back({to - 2, to});
    }
    if (to % 2 == 1 || to % 4 == 2) {
      links.push_back({to - 1, to});
    }
  }
  return links;
}

LinkList randomLinks(std::size_t count, Dice& dice) {
  LinkList links;
  // A density for each graph, so that large graphs are not all the same thicket.
  const unsigned more = static_cast<unsigned>(dice.below(1 + 300 / count));
  for (std::size_t to = 1; to < count; ++to) {
    const std::size_t parent = dice.below(to);
    for (std::size_t from = 0; from < to; ++from) {
      if (from == parent || dice.percent(more)) {
        links.push_back({from, to});
      }
    }
  }
  return links;
}

/// Many modules of which each waits for one that comes late.
LinkList mergeLinks(std::size_t count, Dice& dice) {
  LinkList links = chainLinks(count);
  for (std::size_t from = 0; from < count; ++from) {
    for (std::size_t left = dice.below(3); left > 0; --left) {
      links.push_back({from, from + 1 + dice.below(count)});
    }
  }
  std::erase_if(links, [count](const Link& link) { return link.to >= count; });
  return links;
}

LinkList linksOfAnyShape(std::size_t count, Dice& dice) {
  switch (dice.below(8)) {
    case 0:
      return chainLinks(count);
    case 1:
      return sideChainLinks(count, dice);
    case 2:
      return fanLinks(count);
    case 3:
      return ladderLinks(count);
    case 4:
      return mergeLinks(count, dice);
    default:
      return randomLinks(count, dice);
  }
}

void addFaults(LinkList& links, std::size_t count, Dice& dice) {
  for (std::size_t left = dice.below(3); left > 0; --left) {
    links.push_back({dice.below(count), dice.below(count)});
  }
  if (dice.percent(20)) {
    const std::size_t module = dice.below(count);
    links.push_back({module, module});
  }
  if (!links.empty() && dice.percent(40)) {
    links.push_back(links[dice.below(links.size())]);
  }
}

}  // namespace

std::uint64_t Dice::next() {
  state += 0x9e3779b97f4a7c15ULL;
  std::uint64_t mixed = state;
  mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9ULL;
  mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebULL;
  return mixed ^ (mixed >> 31);
}

Scenario::Scenario(std::uint64_t seed, const Ingredients& wanted, const ModuleMaker& makeModule)
    : dice(seed),
      moduleCount(wanted.leastModules + dice.below(wanted.mostModules - wanted.leastModules + 1)),
      necessary(wanted.necessary),
      hasFaults(dice.percent(wanted.faults)),
      hasThrows(dice.percent(wanted.throws)),
      hasStops(dice.percent(wanted.stops)),
      hasEdits(dice.percent(wanted.edits)),
      hasDrops(dice.percent(wanted.drops)),
      throwsLeft(1 + dice.below(6)),
      editsLeft(1 + dice.below(8 + moduleCount / 4)),
      dropsLeft(1 + dice.below(3)),
      stopsLeft(1 + dice.below(3)),
      design([&](const ModuleFactory& makePlain) {
        return makeGraph(makeModule == nullptr ? makePlain : [&](const std::string& name) {
          return makeModule(design.log, name);
        });
      }) {
  design.log.hear({EventKind::Step, EventKind::Signal, EventKind::Run, EventKind::Error,
                   EventKind::Trace, EventKind::User, EventKind::Question, EventKind::Hook,
                   EventKind::Rate, EventKind::Creation, EventKind::Message, EventKind::UndoType,
                   EventKind::Progress, EventKind::Other});
  pickRange();
  preservesState = !dice.percent(20);
  design.forEachModule([this](ScriptedModule& module) { script(module); });
  scriptCache();
}

// The graph

TestGraph Scenario::makeGraph(const ModuleFactory& factory) {
  TestGraph graph;
  for (std::size_t i = 0; i < moduleCount; ++i) {
    graph.add(nameOfIndex(i), factory(nameOfIndex(i)));
  }
  LinkList links = linksOfAnyShape(moduleCount, dice);
  if (hasFaults) {
    addFaults(links, moduleCount, dice);
  }
  const auto isMissing = [this] { return hasFaults && dice.percent(6); };
  const auto& members = graph.members();
  shuffle(links, dice);
  for (const Link& link : links) {
    if (!isMissing()) {
      TestSupport::PrivateLinks::nextList(*members[link.from].module).add(members[link.to].module);
    }
  }
  shuffle(links, dice);
  for (const Link& link : links) {
    if (!isMissing()) {
      TestSupport::PrivateLinks::previousList(*members[link.to].module)
          .add(members[link.from].module);
    }
  }
  if (hasFaults && moduleCount > 2 && dice.percent(30)) {
    graph.drop(nameOfIndex(1 + dice.below(moduleCount - 2)));
  }
  if (hasEdits) {
    for (const char* name : kSpareNames) {
      graph.add(name, factory(name));
    }
  }
  return graph;
}

// Most ranges span the whole graph: the others have little to tell.
void Scenario::pickRange() {
  const auto anyName = [this] {
    const auto& members = design.graph.members();
    return members[dice.below(members.size())].name;
  };
  start = dice.percent(65) ? nameOfIndex(0) : anyName();
  end = dice.percent(60) ? nameOfIndex(moduleCount - 1) : anyName();
  horizon = dice.percent(35) ? anyName() : std::string();
}

// The modules

void Scenario::script(ScriptedModule& module) {
  module.necessary = answer(necessary);
  if (dice.percent(20)) {
    module.necessaryAsEnd = answer(necessary);
  }
  module.possible = answer(85);
  module.autoNecessary = answer(60);
  module.autoPossible = answer(85);
  if (dice.percent(30)) {
    module.relevant = answer(40);
  }
  module.always = answer(40);
  module.shared = answer(25);
  module.consistent = answer(50);
  module.speedRate = static_cast<LegacyProgress::Speed::Rate>(dice.below(6));
  module.whenSignalled = happening(Throw | Edit, 4, module.getName());
  scriptCommand(module, module.apply);
  scriptCommand(module, module.autoApply);
  if (dice.percent(60)) {
    module.message.script.emplace();
    scriptCommand(module, module.message);
  }
  if (seldom(4)) {
    module.apply.script.reset();
  }
  if (dice.percent(12)) {
    module.autoApply.script.reset();
  }
  if (seldom(2)) {
    module.setApplyCmdFactory(nullptr);
  }
}

void Scenario::scriptCommand(ScriptedModule& module, CommandMaking& making) {
  const std::string& here = module.getName();
  making.whenMade = happening(Throw | Edit, 4, here);
  TestSupport::CommandScript& script = *making.script;
  script.undoType = static_cast<int>(dice.below(4));
  script.hasData = dice.percent(88);
  script.description = dice.percent(30) ? "do " + here : std::string();
  script.logDescription = dice.percent(30) ? "step " + here : std::string();
  script.speedRate = static_cast<LegacyProgress::Speed::Rate>(dice.below(6));
  script.redoCapable = dice.percent(90);
  // An apply command runs while it is under way, where nobody may stop the run.
  const unsigned stop = &making == &module.apply ? 0U : static_cast<unsigned>(Stop);
  const Happening executed = happening(Throw | Edit | RequestStop | stop, 12, here);
  const auto change = messageChange();
  const bool changesFirst = dice.percent(50);
  script.whenExecuted = [executed, change, changesFirst](ApplyUpdateInfo& info) {
    if (change && changesFirst) {
      change(info);
    }
    if (executed) {
      executed();
    }
    if (change && !changesFirst) {
      change(info);
    }
  };
  if (const Happening undone = happening(Throw, 8, here)) {
    script.whenUndone = [undone](ApplyUpdateInfo& /*info*/) { undone(); };
  }
  script.whenRedone = happening(Throw, 4, here);
  script.whenAskedForUndoType = happening(Throw, 4, here);
  script.whenDescribed = happening(Throw, 2, here);
  if (dice.percent(30)) {
    const double first = static_cast<double>(dice.below(100));
    script.whenRunning = [first](LegacyProgress& progress) {
      progress.setValue(first);
      progress.setValue(first + 20.0);
    };
  }
}

void Scenario::scriptCache() {
  design.cache->whenBegun = happening(Throw | Edit | Stop, 5);
  design.cache->whenEnded = happening(Throw | Edit, 5);
}

bool Scenario::seldom(unsigned percent) {
  constexpr std::size_t kSmall = 13;
  return dice.below(100 * std::max<std::size_t>(1, moduleCount / kSmall)) < percent;
}

Answer Scenario::answer(unsigned trueProbability) {
  const bool first = dice.percent(trueProbability);
  const Happening asked = happening(Throw, 2);
  if (!asked && dice.percent(60)) {
    return first;
  }
  const bool isSteady = dice.percent(30);
  const auto own = std::make_shared<Dice>(dice.next());
  return Answer([=] {
    if (asked) {
      asked();
    }
    return isSteady ? first : own->percent(trueProbability);
  });
}

std::function<void(ApplyUpdateInfo&)> Scenario::messageChange() {
  using Messages = std::list<std::shared_ptr<ApplyUpdateMessage>>;
  const auto kind = dice.below(8);
  const Happening cloned = happening(Throw, 4);
  const auto make = [this, cloned](const auto& maker, const std::string& text) {
    const auto message = maker(design.log, text);
    message->whenCloned = cloned;
    return message;
  };
  const auto plain = [=] { return make(TestSupport::makeMessage, "m"); };
  const auto global = [=] { return make(TestSupport::makeGlobalMessage, "g"); };
  const auto empty = [=] { return make(TestSupport::makeEmptyMessage, "e"); };
  switch (kind) {
    case 0:
      return [=](ApplyUpdateInfo& info) { info = ApplyUpdateInfo(Messages{plain()}); };
    case 1:
    case 5:
      return [=](ApplyUpdateInfo& info) { info = ApplyUpdateInfo(Messages{global()}); };
    case 2:
      return [=](ApplyUpdateInfo& info) { info = ApplyUpdateInfo(Messages{empty()}); };
    case 3:
      return [=](ApplyUpdateInfo& info) {
        info = ApplyUpdateInfo(Messages{empty(), global(), plain(), global()});
      };
    case 4:
      return [](ApplyUpdateInfo& info) { info.clear(); };
    default:
      return {};
  }
}

// What may happen

Scenario::Happening Scenario::happening(unsigned allowed, unsigned rate, const std::string& here) {
  using What = std::function<void(Dice&)>;
  std::vector<What> choice;
  if ((allowed & Throw) != 0 && hasThrows) {
    choice.emplace_back([this](Dice& own) { throwSomething(own); });
  }
  if ((allowed & Edit) != 0 && hasEdits) {
    choice.emplace_back([this, here](Dice& own) { editSomething(own, here); });
  }
  if ((allowed & Edit) != 0 && hasDrops) {
    choice.emplace_back([this](Dice& own) { dropSomething(own); });
  }
  if ((allowed & Stop) != 0 && hasStops) {
    choice.emplace_back([this](Dice& own) {
      if (controls != nullptr && stopsLeft > 0) {
        --stopsLeft;
        stopSomehow(own);
      }
    });
  }
  if ((allowed & RequestStop) != 0 && hasStops && dice.percent(20)) {
    choice.emplace_back([this](Dice& /*own*/) {
      if (controls != nullptr) {
        controls->command.getProgressPtr()->requestStop();
      }
    });
  }
  if (choice.empty() || !seldom(rate)) {
    return {};
  }
  const What what = choice[dice.below(choice.size())];
  const unsigned probability = static_cast<unsigned>(20 + dice.below(81));
  const auto own = std::make_shared<Dice>(dice.next());
  return [what, own, probability] {
    if (own->percent(probability)) {
      what(*own);
    }
  };
}

Scenario::Hook Scenario::hook(unsigned trueProbability, unsigned rate) {
  std::vector<std::string> names;
  for (const auto& member : design.graph) {
    if (seldom(trueProbability)) {
      names.push_back(member.name);
    }
  }
  const Happening asked = happening(Throw | Edit | Stop | RequestStop, rate);
  return [names, asked](const std::string& name) {
    if (asked) {
      asked();
    }
    return std::find(names.begin(), names.end(), name) != names.end();
  };
}

// Some derived commands keep to themselves what stopping throws.
void Scenario::stopSomehow(Dice& own) {
  const bool restoresQueues = own.percent(50);
  if (own.percent(60)) {
    return controls->stopApply(restoresQueues);
  }
  const std::string thrown =
      TestSupport::whatIsThrownBy([&] { controls->stopApply(restoresQueues); });
  design.log.add(EventKind::Other, "kept{" + thrown + "}");
}

void Scenario::throwSomething(Dice& own) {
  if (throwsLeft == 0) {
    return;
  }
  --throwsLeft;
  const std::string text = "boom" + std::to_string(throwsLeft);
  design.log.add(EventKind::Other, "throw{" + text + "}");
  if (own.percent(80)) {
    throw std::runtime_error(text);
  }
  throw 7;
}

Scenario::ModulePtr Scenario::anyModule(Dice& own, const std::string& here) const {
  const auto& members = design.graph.members();
  if (!here.empty() && design.graph.contains(here) && own.percent(35)) {
    return design.graph[here];
  }
  const std::size_t index = own.below(members.size() + 1);
  return index < members.size() ? members[index].module : nullptr;
}

std::string Scenario::nameOf(const ModulePtr& module) const {
  return module == nullptr ? "-" : dynamic_cast<const Object&>(*module).getName();
}

/// True if neither end of the graph is looked for in a circle from there. Every chain is the main
/// chain here.
bool Scenario::leadsOutOfCircles(const ModulePtr& module) const {
  const auto leadsOut = [](ModulePtr current, auto linksOf) {
    for (int steps = 0; steps < 200; ++steps) {
      const auto& links = (current.get()->*linksOf)();
      const auto live = std::find_if(links.begin(), links.end(),
                                     [](const auto& link) { return !link.expired(); });
      if (live == links.end()) {
        return true;
      }
      current = live->lock();
    }
    return false;
  };
  return leadsOut(module, &ApplyModule::getPreviousApplyModules) &&
         leadsOut(module, &ApplyModule::getNextApplyModules) &&
         leadsOut(ApplyGraph::getStart(module), &ApplyModule::getNextApplyModules);
}

void Scenario::editSomething(Dice& own, const std::string& here) {
  if (editsLeft == 0) {
    return;
  }
  --editsLeft;
  const std::size_t kind = own.below(10);
  const ModulePtr module = anyModule(own, {});
  const ModulePtr second = anyModule(own, here);
  ModulePtr third = anyModule(own, {});
  if (second != nullptr && own.percent(60)) {
    third = second->getNextApplyModule();
  }
  const bool flag = own.percent(20);
  static constexpr const char* kEdits[] = {"insert",     "insert",  "insertAfter", "insertBefore",
                                           "remove",     "replace", "addFork",     "removeFork",
                                           "insertPart", "move"};
  design.log.add(EventKind::Other, std::string(kEdits[kind]) + "{" + nameOf(module) + " " +
                                       nameOf(second) + " " + nameOf(third) + "}");
  switch (kind) {
    case 2:
      return ApplyGraph::insertAfter(module, second);
    case 3:
      return ApplyGraph::insertBefore(module, second);
    case 4:
      return ApplyGraph::remove(own.percent(50) ? module : second);
    case 5:
      return ApplyGraph::replace(second, module);
    case 6:
    case 7:
      if (module != nullptr && second != nullptr && leadsOutOfCircles(second)) {
        (kind == 6 ? ApplyGraph::addFork : ApplyGraph::removeFork)(second, module);
      }
      return;
    case 8:
      return ApplyGraph::insertSubGraph(module, own.percent(50) ? module : third, second, third,
                                        flag);
    case 9:
      ApplyGraph::moveStartOfSubChain(third, second, module);
      return;
    default:
      return ApplyGraph::insert(module, second, third, flag);
  }
}

void Scenario::dropSomething(Dice& own) {
  if (dropsLeft == 0 || design.graph.size() < 2) {
    return;
  }
  --dropsLeft;
  const auto& member = design.graph.members()[own.below(design.graph.size())];
  const std::string name = member.name;
  const std::size_t kind = own.below(4);
  design.log.add(EventKind::Other, "drop{" + name + "}");
  const auto object = std::dynamic_pointer_cast<Object>(member.module);
  if (kind != 1 && object->getParent() != nullptr) {
    design.root->removeChild(*object);
  }
  if (kind != 0) {
    design.graph.drop(name);
  }
}

// The story

void Scenario::tell(const std::string& title, const std::function<void()>& body) {
  design.log.take();
  const std::string thrown = TestSupport::whatIsThrownBy(body);
  story += "-- " + title + "\n";
  for (const auto& event : design.log.takeEvents()) {
    story += event.text + "\n";
  }
  if (thrown != "nothing") {
    story += "throws{" + thrown + "}\n";
  }
}

void Scenario::play(const Controls& given) {
  controls = &given;
  if (dice.percent(60)) {
    given.setApplyCache(design.cache);
  }
  if (dice.percent(85)) {
    tell("execute", [this] { controls->command.execute(); });
    tellState();
  }
  for (std::size_t left = dice.below(5); left > 0; --left) {
    playOnce();
    tellState();
  }
  controls = nullptr;
}

void Scenario::playOnce() {
  const std::size_t kind = dice.below(100);
  if (kind < 45) {
    tell("execute", [this] { controls->command.execute(); });
  } else if (kind < 60) {
    tell("run by hand", [this] { runByHand(); });
  } else if (kind < 75) {
    tell("undo", [this] { controls->command.undo(); });
  } else if (kind < 83) {
    tell("redo", [this] { controls->command.redo(); });
  } else if (kind < 88) {
    const bool restoreQueues = dice.percent(50);
    tell("stop", [&] { controls->stopApply(restoreQueues); });
  } else if (kind < 92) {
    const ModulePtr module = design.graph.members()[dice.below(design.graph.size())].module;
    tell("ask " + nameOf(module),
         [&] { story += controls->needsFullApply(module) ? "yes\n" : "no\n"; });
  } else if (kind < 96) {
    tell("change the policy", [this] {
      preservesState = !preservesState;
      controls->setPreservesState(preservesState);
    });
  } else {
    tell("change between runs", [this] {
      if (hasEdits) {
        editsLeft += 2;
        editSomething(dice, {});
        editSomething(dice, {});
      }
      controls->setApplyCache(dice.percent(50) ? design.cache : nullptr);
    });
  }
}

void Scenario::runByHand() {
  controls->command.startExecution(nullptr);
  while (controls->isSubCommandUnderWay()) {
    controls->command.continueExecution(nullptr);
  }
}

void Scenario::tellState() {
  const auto& progress = *controls->command.getProgressPtr();
  story += "= " + controls->state() + ", " + std::to_string(controls->command.size()) +
           " commands, " + std::to_string(progress.getValue()) + "%" +
           (progress.isFinished() ? " finished" : "") + ", " + controls->command.getDescription() +
           "\n";
  if (hasEdits || hasDrops) {
    for (const auto& member : design.graph) {
      story += member.name + ": " + namesOf(member.module->getPreviousApplyModules()) + " | " +
               namesOf(member.module->getNextApplyModules()) + "\n";
    }
  }
}

/// A module that the design has let go may live on in the update.
std::string Scenario::namesOf(const std::vector<std::weak_ptr<ApplyModule>>& links) const {
  std::string names = design.graph.names(links);
  std::replace(names.begin(), names.end(), '?', '~');
  return names;
}

std::string graphTextOf(std::uint64_t seed, const Ingredients& ingredients) {
  const Scenario scenario(seed, ingredients);
  return TestSupport::linkText(scenario.design.graph);
}

}  // namespace Tessaril::RandomRuns
