#pragma once

#include <memory>
#include <string>
#include <utility>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril {

class WORKSHOP_API CommandBase {
 public:
  explicit CommandBase(std::string description = {})
      : text(std::move(description)), progress(std::make_unique<LegacyProgress>()) {}
  CommandBase(CommandBase&&) noexcept = default;
  CommandBase& operator=(CommandBase&&) noexcept = default;
  virtual ~CommandBase();

  virtual void execute() = 0;
  virtual void undo() = 0;
  virtual void redo() { execute(); }
  virtual std::string getDescription() const { return text; }
  virtual LegacyProgress::Speed::Rate getSpeedRate() const { return LegacyProgress::Speed::Normal; }
  virtual bool isRedoCapable() const { return true; }

  std::string getLogDescription() const { return logText.empty() ? getDescription() : logText; }
  void setLogDescription(std::string description) { logText = std::move(description); }
  LegacyProgress* getProgressPtr() const noexcept { return progress.get(); }

 protected:
  void setDescription(std::string description) { text = std::move(description); }

 private:
  std::string text;
  std::string logText;
  std::unique_ptr<LegacyProgress> progress;
};

}  // namespace Tessaril
