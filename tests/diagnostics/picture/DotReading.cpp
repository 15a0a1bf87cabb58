#include "tests/diagnostics/picture/DotReading.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace Tessaril::Diagnostics {
namespace {

std::vector<std::string> statementsOf(const std::string& dot) {
  std::vector<std::string> statements;
  std::istringstream lines(dot);
  for (std::string line; std::getline(lines, line);) {
    statements.push_back(line.substr(std::min(line.size(), line.find_first_not_of(' '))));
  }
  return statements;
}

std::string statementThatBegins(const std::string& dot, const std::string& beginning) {
  for (const std::string& statement : statementsOf(dot)) {
    if (statement.starts_with(beginning)) {
      return statement;
    }
  }
  return {};
}

std::string resolved(std::string text) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kReferences{
      {{"&lt;", "<"},
       {"&gt;", ">"},
       {"&#92;&#92;", "\\"},
       {"&#93;", "]"},
       {"&quot;", "\""},
       {"&amp;", "&"}}};
  for (const auto& [reference, character] : kReferences) {
    for (std::size_t place = 0; (place = text.find(reference, place)) != std::string::npos;
         ++place) {
      text.replace(place, reference.size(), character);
    }
  }
  return text;
}

/// Behind the opening bracket of an HTML-like value: where the closing one stands.
std::size_t endOfMarkup(std::string_view text) {
  int depth = 1;
  for (std::size_t place = 0; place < text.size(); ++place) {
    depth += text[place] == '<' ? 1 : 0;
    depth -= text[place] == '>' ? 1 : 0;
    if (depth == 0) {
      return place;
    }
  }
  return text.size();
}

std::size_t endOfQuotes(std::string_view text) {
  std::size_t place = 0;
  while (place < text.size() && text[place] != '"') {
    place += text[place] == '\\' ? 2 : 1;
  }
  return place;
}

}  // namespace

std::string nodeStatement(const std::string& dot, const std::string& node) {
  return statementThatBegins(dot, node + " [");
}

std::string edgeStatement(const std::string& dot, const std::string& from, const std::string& to) {
  return statementThatBegins(dot, from + " -> " + to + " [");
}

std::string attributeOf(const std::string& statement, std::string_view name) {
  const std::string_view text = statement;
  for (const std::string_view before : {"", "[", ", ", "; "}) {
    const std::string beginning = std::string(before) + std::string(name) + '=';
    const std::size_t place = text.find(beginning);
    if (place == std::string_view::npos || (before.empty() && place != 0)) {
      continue;
    }
    const std::string_view value = text.substr(place + beginning.size() + 1);
    const bool isMarkup = text[place + beginning.size()] == '<';
    return std::string(value.substr(0, isMarkup ? endOfMarkup(value) : endOfQuotes(value)));
  }
  return {};
}

std::string wordsOf(std::string_view markup) {
  std::string words;
  while (!markup.empty()) {
    const std::size_t tag = std::min(markup.find('<'), markup.size());
    if (tag > 0) {
      words += (words.empty() ? "" : "|") + resolved(std::string(markup.substr(0, tag)));
    }
    markup.remove_prefix(std::min(markup.find('>', tag), markup.size() - 1) + 1);
  }
  return words;
}

std::string wordsOn(const std::string& dot, std::size_t module) {
  return wordsOf(attributeOf(nodeStatement(dot, 'm' + std::to_string(module)), "label"));
}

std::string headWords(const std::string& dot) {
  // That of a cluster is further to the right.
  const std::size_t place = dot.find("\n  label=");
  return place == std::string::npos ? std::string()
                                    : wordsOf(attributeOf(dot.substr(place + 3), "label"));
}

std::vector<std::string> nodesUnder(const std::string& dot, const std::string& heading) {
  std::vector<std::string> nodes;
  bool isInside = false;
  for (const std::string& statement : statementsOf(dot)) {
    if (statement.starts_with("label=")) {
      isInside = wordsOf(attributeOf(statement, "label")) == heading;
    } else if (statement == "}") {
      isInside = false;
    } else if (isInside && statement.find(" -> ") == std::string::npos) {
      const std::string name = statement.substr(0, statement.find(' '));
      if (name.find('_') == std::string::npos) {
        nodes.push_back(name);
      }
    }
  }
  return nodes;
}

std::vector<std::string> headings(const std::string& dot) {
  std::vector<std::string> found;
  bool isFirst = false;
  for (const std::string& statement : statementsOf(dot)) {
    if (isFirst) {
      found.push_back(wordsOf(attributeOf(statement, "label")));
    }
    isFirst = statement.starts_with("subgraph cluster_");
  }
  return found;
}

}  // namespace Tessaril::Diagnostics
