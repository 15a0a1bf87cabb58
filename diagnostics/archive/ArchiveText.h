#pragma once

#include <string>
#include <string_view>

#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril::Diagnostics {

/// Text from a file that nobody vouches for, fit for one line of a terminal: bytes of control
/// characters, of characters that turn the direction of writing, and what is no UTF-8, as "\x1b".
std::string oneLine(std::string_view text);

/// The first part of a name that is absurdly long, with "..." behind it. For names that a file
/// holds once and a listing repeats, which could ask for more memory than there is.
std::string shortened(const std::string& name);

/// "normal"; for a rate that the library does not know, "rate 7".
std::string speedRateName(int rate);

/// "main chain", or the text form of the identifier.
std::string chainIdText(const Identifier& chain);

}  // namespace Tessaril::Diagnostics
