#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "examples/gear_pair/application/GearPairDesign.h"
#include "examples/gear_pair/application/RunAccount.h"
#include "examples/gear_pair/application/UpdateDesignCmd.h"
#include "examples/gear_pair/application/archive/DesignFile.h"
#include "examples/gear_pair/application/commands/ChangeCommands.h"
#include "reference_platform/command_pattern/CommandHistory.h"
#include "tessaril/platform/command_pattern/ThreadManager.h"

namespace GearPair {

/// A designer at work: one design in a parameter tree, the history of what was done to it, and the
/// threads on which it is updated. One thread at a time.
class DesignSession {
 public:
  /// Without a thread manager the steps run inline.
  DesignSession(const DesignInput& input, std::shared_ptr<Tessaril::ThreadManager> threads);
  /// The same with a design that was opened.
  DesignSession(const OpenedDesign& opened, std::shared_ptr<Tessaril::ThreadManager> threads);

  const std::shared_ptr<GearPairDesign>& design() const;

  // Files. Neither is a command: saving changes nothing of a design, and opening begins a new
  // history with another one.

  /// Throws what openDesignFile() throws; the present design and its history are untouched then.
  /// Answers with the classes that were read.
  std::vector<Tessaril::ArchivedClass> open(const std::filesystem::path& file);
  /// The file that the design was opened from or saved to last; empty when there is none, as for
  /// one that was opened from a text.
  const std::filesystem::path& getFile() const;
  /// Both throw DesignFileError, with the file as it was. Requires of save(): there is a file.
  void save() const;
  void saveAs(const std::filesystem::path& file);

  // Changes. Each goes into the history; none of them applies a module.

  /// Throws InputError, with nothing changed, for an assignment that is not allowed.
  void set(const std::string& assignment);
  void setUnitSystem(UnitSystem units);
  /// Requires: the module belongs to the design.
  void setFlag(const std::shared_ptr<DesignModule>& module, ModuleFlag flag, bool value);

  /// Makes an update; connect its listeners, then hand it to run().
  std::shared_ptr<UpdateDesignCmd> makeUpdate(const std::shared_ptr<DesignModule>& end,
                                              bool withHorizon) const;
  /// Executes the update and puts it into the history, also when a module failed: what was applied
  /// until then can be undone.
  void run(const std::shared_ptr<UpdateDesignCmd>& update);
  /// makeUpdate() up to the report, and run().
  std::shared_ptr<UpdateDesignCmd> update();

  bool canUndo() const;
  bool canRedo() const;
  /// Each answers with the description of what it undid or redid. Requires: there is something.
  std::string undo();
  std::string redo();

  /// The description of the last change or run that was executed or redone; empty at first.
  std::string getLastDescription() const;
  /// What the last of all these did with each module.
  const RunAccount& getAccount() const;

 private:
  void execute(const std::shared_ptr<Tessaril::CommandBase>& command);

  std::shared_ptr<Tessaril::ThreadManager> threadManager;
  /// The root of the parameter tree, under which the application keeps its designs.
  std::shared_ptr<Tessaril::Object> root;
  std::shared_ptr<GearPairDesign> gearPair;
  std::filesystem::path designFile;
  Tessaril::ReferencePlatform::CommandHistory history;
  RunAccount account;
};

}  // namespace GearPair
