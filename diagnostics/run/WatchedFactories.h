#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "diagnostics/run/RunRecorder.h"

namespace Tessaril {

class ApplyCmdFactory;

namespace Diagnostics {

/// A factory that makes what `factory` makes, each command wrapped in one that does what it does
/// and tells the recorder. Null for a null factory. `module` is the one that gets the factory.
///
/// The wrapping command has the progress, description, rate, messages, cache and undo type of the
/// wrapped one, and keeps the recorder alive, so that it can be executed, undone and redone
/// whatever becomes of the rest. It is another type, though: code that casts a command to a class
/// of its own does not find it. Messages to the user that the wrapped command hands to its own
/// progress are handed on when it has ended.
std::shared_ptr<ApplyCmdFactory> watched(std::shared_ptr<ApplyCmdFactory> factory,
                                         const std::shared_ptr<ApplyModule>& module,
                                         std::shared_ptr<RunRecorder> recorder);

/// Gives modules watched factories for a scope, and puts back what they had; also when an exception
/// ends the scope.
///
/// A module does not tell which factory it holds, so the application has to: what `factoryOf`
/// answers is wrapped, and put back at the end. A module for which it answers null is left alone.
/// To be made and destroyed on the graph's thread while no run is under way. A factory that is set
/// during the scope is lost at its end. A module whose class overrides the making of commands is
/// watched only as far as its class calls the factory.
class WatchedFactories {
 public:
  using FactoryOf =
      std::function<std::shared_ptr<ApplyCmdFactory>(const std::shared_ptr<ApplyModule>&)>;

  WatchedFactories(const std::shared_ptr<RunRecorder>& recorder,
                   const std::vector<std::shared_ptr<ApplyModule>>& modules,
                   const FactoryOf& factoryOf);
  WatchedFactories(const WatchedFactories&) = delete;
  WatchedFactories& operator=(const WatchedFactories&) = delete;
  ~WatchedFactories();

 private:
  std::vector<std::pair<std::weak_ptr<ApplyModule>, std::shared_ptr<ApplyCmdFactory>>> before;
};

}  // namespace Diagnostics
}  // namespace Tessaril
