#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/Shapes.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril {
class PersistenceArchiver;
}

namespace Tessaril::Bench {

/// A module that does next to nothing itself, so that what is counted is the library's work. It
/// counts what happens to it.
class StepModule : public ApplyModule, public Object {
 public:
  explicit StepModule(const std::string& name = "step");
  ~StepModule() override;

  bool isApplyNecessary(bool isEndModule) const override;
  bool isApplyPossible() const override;
  void sendStateChangeSignal() const override;
  std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object) override;
  std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> object,
                                                      bool mayRunAlone) override;

  static void serialization_register(void* descriptor);

  bool needsApply = false;
  /// Its commands are undone in the first pass of an undo.
  bool undoneFirst = false;
  /// How often its commands were executed and not undone.
  std::size_t applied = 0;
  std::size_t graphChanges = 0;
  mutable std::size_t signals = 0;
  mutable std::size_t questions = 0;

 protected:
  void onApplyGraphChanged() override;

 private:
  void save(PersistenceArchiver& archiver) const;
  void load(PersistenceArchiver& archiver);
};

/// A parameter tree with a graph of steps, which lie in memory in an order of their own, with other
/// blocks of many sizes between them: so that what is hashed by its address is spread neither well
/// nor badly, whatever the size of a module.
class Design {
 public:
  explicit Design(const Shape& shape);
  /// Steps without links.
  explicit Design(std::size_t steps);

  std::size_t size() const { return steps.size(); }
  StepModule& operator[](std::size_t number) const { return *steps[number]; }
  const std::shared_ptr<StepModule>& step(std::size_t number) const { return steps[number]; }
  const std::shared_ptr<StepModule>& start() const { return steps.front(); }
  const std::shared_ptr<StepModule>& end() const { return steps[endNumber]; }

  std::size_t count(const std::function<bool(const StepModule&)>& condition) const;

  std::shared_ptr<Object> root = std::make_shared<Object>("design");

 private:
  void link(const Shape& shape);

  std::vector<std::shared_ptr<StepModule>> steps;
  std::vector<std::unique_ptr<std::byte[]>> fillers;
  Number endNumber = 0;
};

using DesignPtr = std::shared_ptr<const Design>;

}  // namespace Tessaril::Bench
