#pragma once

#include <memory>
#include <string>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril {

/// A step that can be executed, undone and redone.
///
/// The laws of commands: undo after execute restores what execute changed; redo after undo restores
/// the executed state; an execute, undo or redo that throws leaves the state as it was before.
/// Moves; does not copy.
class TESSARIL_PLATFORM_EXPORT CommandBase {
 public:
  explicit CommandBase(std::string description = {});
  CommandBase(CommandBase&&) noexcept;
  CommandBase& operator=(CommandBase&&) noexcept;
  virtual ~CommandBase();

  virtual void execute() = 0;
  virtual void undo() = 0;
  /// Executes again, unless a command overrides it.
  virtual void redo();
  /// The name of the step as the user reads it.
  virtual std::string getDescription() const;
  /// How long the command usually takes; the normal rate unless a command overrides it.
  virtual LegacyProgress::Speed::Rate getSpeedRate() const;
  /// True unless a command overrides it: the command can be redone after an undo.
  virtual bool isRedoCapable() const;

  /// The text that log records use: what setLogDescription was given; getDescription() when that
  /// is empty.
  std::string getLogDescription() const;
  void setLogDescription(std::string text);

  /// This command's progress; never null, valid as long as the command (a moved-from command has
  /// none and answers null).
  LegacyProgress* getProgressPtr() const noexcept;

 protected:
  /// For a command that learns only during its construction what it is called.
  void setDescription(std::string text);

 private:
  std::string descriptionText;
  std::string logDescriptionText;
  std::unique_ptr<LegacyProgress> ownProgress;
};

}  // namespace Tessaril
