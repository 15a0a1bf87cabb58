#include "tessaril/platform/command_pattern/CommandStopped.h"

namespace Tessaril {

CommandStopped::CommandStopped(const std::string& text, const std::source_location& place)
    : TsException(text, place) {}
CommandStopped::CommandStopped(const CommandStopped&) noexcept = default;
CommandStopped& CommandStopped::operator=(const CommandStopped&) noexcept = default;
CommandStopped::~CommandStopped() = default;

}  // namespace Tessaril
