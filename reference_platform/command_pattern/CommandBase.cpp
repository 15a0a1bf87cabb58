#include "tessaril/platform/command_pattern/CommandBase.h"

#include <utility>

namespace Tessaril {

CommandBase::CommandBase(std::string description)
    : descriptionText(std::move(description)), ownProgress(std::make_unique<LegacyProgress>()) {}
CommandBase::CommandBase(CommandBase&&) noexcept = default;
CommandBase& CommandBase::operator=(CommandBase&&) noexcept = default;
CommandBase::~CommandBase() = default;

void CommandBase::redo() { execute(); }
std::string CommandBase::getDescription() const { return descriptionText; }
LegacyProgress::Speed::Rate CommandBase::getSpeedRate() const {
  return LegacyProgress::Speed::Normal;
}
bool CommandBase::isRedoCapable() const { return true; }

std::string CommandBase::getLogDescription() const {
  return logDescriptionText.empty() ? getDescription() : logDescriptionText;
}
void CommandBase::setLogDescription(std::string text) { logDescriptionText = std::move(text); }
LegacyProgress* CommandBase::getProgressPtr() const noexcept { return ownProgress.get(); }
void CommandBase::setDescription(std::string text) { descriptionText = std::move(text); }

}  // namespace Tessaril
