#include "tests/support/RandomGraph.h"

#include <utility>
#include <vector>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::TestSupport {

namespace {

using PrivateLinks::Links;

std::string nameOfIndex(std::size_t index) {
  constexpr std::size_t kLetters = 26;
  const auto round = index / kLetters;
  const std::string letter(1, static_cast<char>('A' + index % kLetters));
  return round == 0 ? letter : letter + std::to_string(round);
}

class Builder {
 public:
  Builder(std::uint64_t seed, const RandomGraphParameters& wanted, const ModuleFactory& factory)
      : random(seed), parameters(wanted) {
    for (std::size_t i = 0; i < parameters.modules; ++i) {
      result.add(nameOfIndex(i), factory(nameOfIndex(i)));
    }
  }

  TestGraph build() {
    linkModules();
    shuffleLists();
    for (const auto& member : result) {
      setFlags(*member.module);
      setPlace(*member.module);
    }
    dropModules();
    return std::move(result);
  }

 private:
  ApplyModule& module(std::size_t index) { return *result.members()[index].module; }

  void linkModules() {
    for (std::size_t to = 0; to < parameters.modules; ++to) {
      const auto parent = to >= parameters.roots && to > 0 ? random.below(to) : to;
      for (std::size_t from = 0; from < parameters.modules; ++from) {
        const auto probability = from < to    ? (to < parameters.roots ? 0 : parameters.links)
                                 : from == to ? parameters.selfLinks
                                              : parameters.backLinks;
        if ((from == parent && from != to) || random.percent(probability)) {
          link(from, to);
        }
      }
    }
  }

  void link(std::size_t from, std::size_t to) {
    const bool oneSided = random.percent(parameters.oneSided);
    const bool onlyNext = random.percent(50);
    if (!oneSided || onlyNext) {
      addEntry(PrivateLinks::nextList(module(from)), to);
    }
    if (!oneSided || !onlyNext) {
      addEntry(PrivateLinks::previousList(module(to)), from);
    }
  }

  void addEntry(LinkList& links, std::size_t index) {
    const auto& neighbour = result.members()[index].module;
    links.add(neighbour);
    if (random.percent(parameters.duplicates)) {
      links.add(neighbour);
    }
  }

  void shuffleLists() {
    for (const auto& member : result) {
      shuffle(PrivateLinks::nextList(*member.module));
      shuffle(PrivateLinks::previousList(*member.module));
    }
  }

  void shuffle(LinkList& links) {
    std::vector<std::shared_ptr<ApplyModule>> neighbours;
    for (const auto& link : links.links()) {
      neighbours.push_back(link.lock());
    }
    for (std::size_t left = neighbours.size(); left > 1; --left) {
      std::swap(neighbours[left - 1], neighbours[random.below(left)]);
    }
    links.clear();
    for (const auto& neighbour : neighbours) {
      links.add(neighbour);
    }
  }

  bool differs() { return random.percent(parameters.flags); }

  void setFlags(ApplyModule& target) {
    target.ModuleState::setActive(differs(), false);
    target.ModuleState::setConsistent(!differs(), false);
    target.setInputIsOk(!differs(), false);
    target.setFrozen(differs(), false);
    target.setSkipped(differs(), false);
    target.setAdditionalModule(differs());
    PrivateLinks::setStartOfSideChain(target, differs());
  }

  Identifier anyChain() {
    const auto index = random.below(parameters.chains + 1);
    return chain(index == 0 ? "main" : "c" + std::to_string(index));
  }

  void setPlace(ApplyModule& target) {
    if (parameters.chains == 0) {
      return;
    }
    auto& info = PrivateLinks::insertInfo(target);
    info.setChainId(anyChain());
    std::vector<Identifier> merged(random.below(3));
    for (auto& id : merged) {
      id = anyChain();
    }
    info.setMergeChainIds(merged);
    info.setInsertMode(static_cast<ApplyModuleInsertInfo::ApplyGraphInsertMode>(random.below(4)));
    info.setTransferChains(random.percent(20));
  }

  void dropModules() {
    std::vector<std::string> dropped;
    for (const auto& member : result) {
      if (random.percent(parameters.dead)) {
        dropped.push_back(member.name);
      }
    }
    for (const auto& name : dropped) {
      result.drop(name);
    }
  }

  Random random;
  RandomGraphParameters parameters;
  TestGraph result;
};

}  // namespace

Random::Random(std::uint64_t seed) : engine(seed) {}

// Not the standard's distributions: their results are each library's own.
std::size_t Random::below(std::size_t bound) { return static_cast<std::size_t>(engine() % bound); }

bool Random::percent(unsigned probability) { return below(100) < probability; }

RandomGraphParameters faultyGraphs() {
  RandomGraphParameters parameters;
  parameters.modules = 10;
  parameters.roots = 2;
  parameters.links = 20;
  parameters.backLinks = 4;
  parameters.selfLinks = 3;
  parameters.oneSided = 10;
  parameters.duplicates = 8;
  parameters.dead = 12;
  parameters.flags = 25;
  parameters.chains = 2;
  return parameters;
}

TestGraph randomGraph(std::uint64_t seed, const RandomGraphParameters& parameters,
                      const ModuleFactory& factory) {
  return Builder(seed, parameters, factory).build();
}

TestGraph randomGraph(std::uint64_t seed, const RandomGraphParameters& parameters) {
  return randomGraph(seed, parameters, [](const std::string& name) -> ModulePtr {
    return std::make_shared<TestModule>(name);
  });
}

}  // namespace Tessaril::TestSupport
