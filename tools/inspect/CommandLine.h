#pragma once

#include <ostream>

namespace Tessaril::Inspect {

/// Does what the arguments of the program say, and returns its exit code. What goes wrong is one
/// line on `errors`.
int runCommandLine(int argc, const char* const* argv, std::ostream& output, std::ostream& errors);

}  // namespace Tessaril::Inspect
