#pragma once

#include <string>

#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril::Diagnostics {

/// Text from a file that nobody vouches for, fit for one line of a terminal: control characters as
/// "\x1b".
std::string oneLine(const std::string& text);

/// "normal"; for a rate that the library does not know, "rate 7".
std::string speedRateName(int rate);

/// "main chain", or the text form of the identifier.
std::string chainIdText(const Identifier& chain);

}  // namespace Tessaril::Diagnostics
