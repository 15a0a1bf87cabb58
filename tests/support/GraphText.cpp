#include "tests/support/GraphText.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <map>
#include <optional>

#include "tests/support/PrivateLinks.h"

namespace Tessaril::TestSupport {

namespace {

using Links = PrivateLinks::Links;

constexpr std::string_view kModeNames[] = {"add", "side", "fork", "merge"};

// A flag of ModuleState by its word, and how to read and set it.
struct StateFlag {
  std::string_view word;
  bool (*isSet)(const ApplyModule&);
  void (*set)(ApplyModule&);
};

constexpr StateFlag kStateFlags[] = {
    {"active", [](const ApplyModule& m) { return m.ModuleState::isActive(); },
     [](ApplyModule& m) { m.ModuleState::setActive(true, false); }},
    {"inconsistent", [](const ApplyModule& m) { return !m.ModuleState::isConsistent(); },
     [](ApplyModule& m) { m.ModuleState::setConsistent(false, false); }},
    {"badinput", [](const ApplyModule& m) { return !m.ModuleState::isInputOk(); },
     [](ApplyModule& m) { m.setInputIsOk(false, false); }},
    {"frozen", [](const ApplyModule& m) { return m.ModuleState::isFrozen(); },
     [](ApplyModule& m) { m.setFrozen(true, false); }},
    {"skipped", [](const ApplyModule& m) { return m.isSkipped(); },
     [](ApplyModule& m) { m.setSkipped(true, false); }},
    {"additional", [](const ApplyModule& m) { return m.isAdditionalModule(); },
     [](ApplyModule& m) { m.setAdditionalModule(true); }},
    {"transfer",
     [](const ApplyModule& m) { return PrivateLinks::insertInfo(m).getTransferChains(); },
     [](ApplyModule& m) { PrivateLinks::insertInfo(m).setTransferChains(true); }},
};

bool isNameCharacter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '\'';
}

// Identifiers and chain names

constexpr std::size_t kMaxChainName = 16;

std::uint64_t packedName(std::string_view letters) {
  std::uint64_t packed = 0;
  for (const char letter : letters) {
    packed = (packed << 8U) | static_cast<unsigned char>(letter);
  }
  return packed;
}

std::string unpackedName(std::uint64_t packed) {
  std::string letters;
  for (; packed != 0; packed >>= 8U) {
    letters.insert(letters.begin(), static_cast<char>(packed & 0xFFU));
  }
  return letters;
}

// Reading

class Reader {
 public:
  Reader(std::string_view input, const ModuleFactory& moduleFactory)
      : rest(input), whole(input), factory(moduleFactory) {}

  TestGraph read() {
    if (accept("[")) {
      readCommonFlags();
    }
    do {
      skipSpaces();
      if (!rest.empty()) {
        readStatement();
      }
    } while (accept(";"));
    skipSpaces();
    if (!rest.empty()) {
      fail("an arrow, ';' or the end");
    }
    return std::move(result);
  }

 private:
  [[noreturn]] void fail(const std::string& expected) const {
    throw std::invalid_argument("graph text: expected " + expected + " at character " +
                                std::to_string(whole.size() - rest.size()) + " of \"" +
                                std::string(whole) + "\"");
  }

  void skipSpaces() {
    while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest.front())) != 0) {
      rest.remove_prefix(1);
    }
  }

  bool accept(std::string_view token) {
    skipSpaces();
    if (!rest.starts_with(token)) {
      return false;
    }
    rest.remove_prefix(token.size());
    return true;
  }

  void expect(std::string_view token) {
    if (!accept(token)) {
      fail("'" + std::string(token) + "'");
    }
  }

  std::string readWord(const std::string& what) {
    skipSpaces();
    const auto end = std::find_if_not(rest.begin(), rest.end(), isNameCharacter);
    const std::string word(rest.begin(), end);
    if (word.empty()) {
      fail(what);
    }
    rest.remove_prefix(word.size());
    return word;
  }

  void readCommonFlags() {
    do {
      commonFlags.push_back(&readFlag());
    } while (accept(","));
    expect("]");
  }

  const StateFlag& readFlag() {
    const auto start = rest;
    const auto* flag = findFlag(readWord("a flag"));
    if (flag == nullptr) {
      rest = start;
      fail("a flag");
    }
    return *flag;
  }

  static const StateFlag* findFlag(std::string_view word) {
    const auto* found = std::find_if(std::begin(kStateFlags), std::end(kStateFlags),
                                     [&](const StateFlag& flag) { return flag.word == word; });
    return found == std::end(kStateFlags) ? nullptr : found;
  }

  void readStatement() {
    auto left = readNode();
    while (true) {
      const bool onlyPrevious = accept(".->");
      if (!onlyPrevious && !accept("->")) {
        return;
      }
      const bool onlyNext = !onlyPrevious && accept(".");
      auto right = readNode();
      if (left == nullptr && right == nullptr) {
        fail("a module beside '~'");
      }
      if (left != nullptr && !onlyPrevious) {
        PrivateLinks::nextList(*left).add(entryFor(right));
      }
      if (right != nullptr && !onlyNext) {
        PrivateLinks::previousList(*right).add(entryFor(left));
      }
      left = right;
    }
  }

  // An entry for null is one whose module has gone, not one that never had any.
  static ModulePtr entryFor(const ModulePtr& module) {
    return module != nullptr ? module : std::make_shared<ApplyModule>();
  }

  ModulePtr readNode() {
    if (accept("~")) {
      return nullptr;
    }
    const bool inParentheses = accept("(");
    auto module = findOrMake(readWord("a module or '~'"));
    if (inParentheses) {
      expect(")");
      PrivateLinks::setStartOfSideChain(*module, true);
    }
    if (accept(":")) {
      PrivateLinks::insertInfo(*module).setChainId(readChain());
    }
    if (accept("[")) {
      do {
        readMark(*module);
      } while (accept(","));
      expect("]");
    }
    return module;
  }

  ModulePtr findOrMake(const std::string& name) {
    if (result.contains(name)) {
      return result[name];
    }
    auto module = result.add(name, factory(name));
    for (const auto* flag : commonFlags) {
      flag->set(*module);
    }
    return module;
  }

  Identifier readChain() {
    if (accept("{")) {
      const auto end = rest.find('}');
      const auto id = Identifier::fromString(rest.substr(0, end));
      if (end == std::string_view::npos || !id) {
        fail("the text of an identifier and '}'");
      }
      rest.remove_prefix(end + 1);
      return *id;
    }
    return chain(readWord("a chain"));
  }

  void readMark(ApplyModule& module) {
    auto& info = PrivateLinks::insertInfo(module);
    if (accept("<")) {
      info.setMergeChainIds(readChains());
      return;
    }
    const auto start = rest;
    const auto word = readWord("a mark");
    if (const auto* flag = findFlag(word)) {
      flag->set(module);
      return;
    }
    const auto* mode = std::find(std::begin(kModeNames), std::end(kModeNames), word);
    if (mode == std::end(kModeNames)) {
      rest = start;
      fail("a mark");
    }
    info.setInsertMode(
        static_cast<ApplyModuleInsertInfo::ApplyGraphInsertMode>(mode - std::begin(kModeNames)));
    if (accept("<")) {
      info.setMergeChainIds(readChains());
    }
  }

  std::vector<Identifier> readChains() {
    std::vector<Identifier> chains;
    do {
      chains.push_back(readChain());
    } while (accept("+"));
    return chains;
  }

  std::string_view rest;
  std::string_view whole;
  const ModuleFactory& factory;
  TestGraph result;
  std::vector<const StateFlag*> commonFlags;
};

// Writing
//
// Each list is written off from its front. A whole link can be written once it stands at the front
// of both lists; a half link, as soon as its counterpart is not in the other list (any more). The
// text goes on from the node that it has reached as long as it can, and else starts again at the
// first module that has something to write; modules that stand in the text already come first, so
// that a graph made from the text is written in the same order. Where lists wait for one another in
// a circle, the first entry is written as a half link.

struct Statement {
  const ApplyModule* left;
  std::string_view arrow;
  const ApplyModule* right;
};

class Writer {
 public:
  Writer(const TestGraph& testGraph, bool writeMarks) : graph(testGraph), withMarks(writeMarks) {
    for (const auto& member : graph) {
      waiting.push_back(member.module.get());
      remaining[member.module.get()] = {lockAll(member.module->getNextApplyModules()),
                                        lockAll(member.module->getPreviousApplyModules())};
    }
  }

  std::string write() {
    writeCommonFlags();
    while (const auto statement = nextStatement()) {
      writeLink(*statement);
    }
    for (const auto& member : graph) {
      if (!hasAppeared(member.module.get())) {
        startStatement();
        writeNode(member.module.get());
      }
    }
    return output;
  }

 private:
  using Neighbours = std::vector<const ApplyModule*>;

  struct Lists {
    Neighbours next;
    Neighbours previous;
  };

  static Neighbours lockAll(const Links& links) {
    Neighbours neighbours;
    for (const auto& link : links) {
      neighbours.push_back(link.lock().get());
    }
    std::reverse(neighbours.begin(), neighbours.end());
    return neighbours;
  }

  // The lists are kept in reverse, so that their front is at the back.
  static bool isFront(const Neighbours& list, const ApplyModule* module) {
    return !list.empty() && list.back() == module;
  }

  static bool holds(const Neighbours& list, const ApplyModule* module) {
    return std::find(list.begin(), list.end(), module) != list.end();
  }

  bool isMember(const ApplyModule* module) const { return remaining.contains(module); }

  bool hasAppeared(const ApplyModule* module) const {
    return std::find(appeared.begin(), appeared.end(), module) != appeared.end();
  }

  std::vector<const ApplyModule*> writingOrder() const {
    auto order = appeared;
    order.insert(order.end(), waiting.begin(), waiting.end());
    return order;
  }

  std::optional<Statement> nextStatement() const {
    if (isMember(reached)) {
      if (const auto statement = statementFrom(reached)) {
        return statement;
      }
    }
    const auto order = writingOrder();
    for (const auto* module : order) {
      if (const auto statement = statementFrom(module)) {
        return statement;
      }
    }
    for (const auto* module : order) {
      if (const auto& next = remaining.at(module).next; !next.empty()) {
        return Statement{module, "->.", next.back()};
      }
    }
    return std::nullopt;
  }

  std::optional<Statement> statementFrom(const ApplyModule* module) const {
    const auto& lists = remaining.at(module);
    if (!lists.next.empty()) {
      const auto* next = lists.next.back();
      if (next == nullptr) {
        return Statement{module, "->", nullptr};
      }
      if (!isMember(next) || !holds(remaining.at(next).previous, module)) {
        return Statement{module, "->.", next};
      }
      if (isFront(remaining.at(next).previous, module)) {
        return Statement{module, "->", next};
      }
    }
    const auto isHalfLinkTo = [&](const ApplyModule* right) {
      return isFront(remaining.at(right).previous, module) && !holds(lists.next, right);
    };
    // Itself first: the text would name it first anyway.
    if (isHalfLinkTo(module)) {
      return Statement{module, ".->", module};
    }
    for (const auto* right : writingOrder()) {
      if (isHalfLinkTo(right)) {
        return Statement{module, ".->", right};
      }
    }
    if (!lists.previous.empty() && !isMember(lists.previous.back())) {
      const auto* previous = lists.previous.back();
      return Statement{previous, previous == nullptr ? "->" : ".->", module};
    }
    return std::nullopt;
  }

  void writeLink(const Statement& statement) {
    if (statement.left == nullptr || statement.left != reached) {
      startStatement();
      writeNode(statement.left);
    }
    output.append(" ").append(statement.arrow).append(" ");
    writeNode(statement.right);
    if (isMember(statement.left) && statement.arrow != ".->") {
      remaining[statement.left].next.pop_back();
    }
    if (isMember(statement.right) && statement.arrow != "->.") {
      remaining[statement.right].previous.pop_back();
    }
    reached = statement.right;
  }

  void startStatement() {
    if (!output.empty() && !output.ends_with("] ")) {
      output += "; ";
    }
  }

  void writeNode(const ApplyModule* module) {
    if (!isMember(module)) {
      output += graph.nameOf(module);
      return;
    }
    const bool first = !hasAppeared(module);
    if (first) {
      appeared.push_back(module);
      std::erase(waiting, module);
    }
    writeModule(*module, first && withMarks);
  }

  void writeModule(const ApplyModule& module, bool marked) {
    const auto name = graph.nameOf(&module);
    output += marked && module.isStartOfSideChain() ? "(" + name + ")" : name;
    if (!marked) {
      return;
    }
    if (!module.getChainId().isNull()) {
      output += ":" + chainName(module.getChainId());
    }
    if (const auto marks = withoutCommonFlag(marksText(module)); !marks.empty()) {
      output += "[" + marks + "]";
    }
  }

  // A flag that all modules have is said once. Only "active" is common enough to deserve it.
  void writeCommonFlags() {
    allActive = withMarks && graph.size() > 1 &&
                std::all_of(graph.begin(), graph.end(), [](const auto& member) {
                  return member.module->ModuleState::isActive();
                });
    if (allActive) {
      output += "[active] ";
    }
  }

  std::string withoutCommonFlag(std::string marks) const {
    if (allActive) {
      marks.erase(0, marks.starts_with("active,") ? 7 : 6);
    }
    return marks;
  }

  const TestGraph& graph;
  bool withMarks;
  bool allActive = false;
  std::map<const ApplyModule*, Lists> remaining;
  std::vector<const ApplyModule*> appeared;
  std::vector<const ApplyModule*> waiting;
  const ApplyModule* reached = nullptr;
  std::string output;
};

std::string joined(const std::vector<std::string>& words, std::string_view separator) {
  std::string result;
  for (const auto& word : words) {
    result.append(result.empty() ? "" : separator).append(word);
  }
  return result;
}

}  // namespace

TestGraph::TestGraph() = default;

ModulePtr TestGraph::add(const std::string& name, ModulePtr module) {
  if (contains(name)) {
    throw std::invalid_argument("a module named '" + name + "' is in the graph already");
  }
  allMembers.push_back({name, module});
  return module;
}

bool TestGraph::contains(std::string_view name) const {
  return std::any_of(begin(), end(), [&](const Member& member) { return member.name == name; });
}

const ModulePtr& TestGraph::operator[](std::string_view name) const {
  const auto found =
      std::find_if(begin(), end(), [&](const Member& member) { return member.name == name; });
  if (found == end()) {
    throw std::out_of_range("no module named '" + std::string(name) + "' is in the graph");
  }
  return found->module;
}

void TestGraph::drop(std::string_view name) {
  const auto* module = (*this)[name].get();
  std::erase_if(allMembers, [&](const Member& member) { return member.module.get() == module; });
}

std::string TestGraph::nameOf(const ApplyModule* module) const {
  if (module == nullptr) {
    return "~";
  }
  const auto found = std::find_if(
      begin(), end(), [&](const Member& member) { return member.module.get() == module; });
  return found == end() ? "?" : found->name;
}

std::string TestGraph::nameOf(const std::shared_ptr<const ApplyModule>& module) const {
  return nameOf(module.get());
}

std::string TestGraph::names(const std::vector<ModulePtr>& modules) const {
  std::vector<std::string> words;
  for (const auto& module : modules) {
    words.push_back(nameOf(module));
  }
  return joined(words, " ");
}

std::string TestGraph::names(const std::vector<std::weak_ptr<ApplyModule>>& links) const {
  std::vector<std::string> words;
  for (const auto& link : links) {
    words.push_back(nameOf(link.lock()));
  }
  return joined(words, " ");
}

std::string TestGraph::names(const std::unordered_set<ModulePtr>& modules) const {
  std::vector<std::string> words;
  for (const auto& member : *this) {
    if (modules.contains(member.module)) {
      words.push_back(member.name);
    }
  }
  words.resize(modules.size(), "?");
  return joined(words, " ");
}

TestGraph graph(std::string_view text) { return graphOf<TestModule>(text); }

TestGraph graph(std::string_view text, const ModuleFactory& factory) {
  return Reader(text, factory).read();
}

std::string text(const TestGraph& graph) { return Writer(graph, true).write(); }

std::string linkText(const TestGraph& graph) { return Writer(graph, false).write(); }

std::string marksText(const ApplyModule& module) {
  std::vector<std::string> marks;
  for (const auto& flag : kStateFlags) {
    if (flag.isSet(module)) {
      marks.emplace_back(flag.word);
    }
  }
  const auto mode = module.getInsertMode();
  std::vector<std::string> chains;
  for (const auto& id : module.getMergeChainIds()) {
    chains.push_back(chainName(id));
  }
  std::string place;
  if (mode != ApplyModuleInsertInfo::AddToChain) {
    place += kModeNames[mode];
  }
  if (!chains.empty()) {
    place += "<" + joined(chains, "+");
  }
  if (!place.empty()) {
    marks.push_back(place);
  }
  return joined(marks, ",");
}

// A name is the identifier: its letters are the bytes, the last one lowest.
Identifier chain(std::string_view name) {
  if (name.empty() || name.size() > kMaxChainName ||
      !std::all_of(name.begin(), name.end(), isNameCharacter)) {
    throw std::invalid_argument("'" + std::string(name) + "' is no name of a chain");
  }
  if (name == "main") {
    return Identifier::getInvalidId();
  }
  const auto low = name.size() <= 8 ? name : name.substr(name.size() - 8);
  return {packedName(name.substr(0, name.size() - low.size())), packedName(low)};
}

std::string chainName(const Identifier& id) {
  if (id.isNull()) {
    return "main";
  }
  // The halves of an identifier can only be had by way of its text.
  std::string digits = id.toString();
  std::erase(digits, '-');
  const auto name = unpackedName(std::stoull(digits.substr(0, 16), nullptr, 16)) +
                    unpackedName(std::stoull(digits.substr(16), nullptr, 16));
  const bool isName = !name.empty() && std::all_of(name.begin(), name.end(), isNameCharacter) &&
                      name != "main" && name.size() <= kMaxChainName && chain(name) == id;
  return isName ? name : "{" + id.toString() + "}";
}

}  // namespace Tessaril::TestSupport
