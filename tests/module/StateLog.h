#pragma once

#include <string>
#include <vector>

#include "tests/support/GraphText.h"

namespace Tessaril::TestSupport {

/// Listens to state-changed and tree-changed signals, and writes what it hears into one string:
/// "A" for the module's own signal, "A.tree(2)" for its object's, with the reason.
class StateLog {
 public:
  void listenTo(const TestGraph& graph) {
    for (const auto& [name, module] : graph) {
      listenTo(name, *module);
    }
  }

  void listenTo(const std::string& name, const ModuleState& state) {
    connections.emplace_back(state.connectToSigStateChanged([this, name] { add(name); }));
    if (const auto* object = dynamic_cast<const Object*>(&state)) {
      connections.emplace_back(object->connectToSigTreeChanged(
          [this, name, object](const Object& changed, ObjectTreeChangeReason reason) {
            add((&changed == object ? name : "?") + ".tree(" +
                std::to_string(static_cast<int>(reason)) + ")");
          }));
    }
  }

  void add(const std::string& word) { heard += (heard.empty() ? "" : " ") + word; }

  /// What has been heard since the last call.
  std::string take() { return std::exchange(heard, {}); }

 private:
  std::string heard;
  std::vector<Signals::ScopedConnection> connections;
};

}  // namespace Tessaril::TestSupport
