#include "tessaril/platform/logging/Logging.h"

#include "reference_platform/logging/SinkRegistry.h"

namespace Tessaril {
namespace {

using ReferencePlatform::LogLevel;
using ReferencePlatform::SinkRegistry;

void log(LogLevel level, const std::string& text, const std::string& file,
         const std::string& function, int line) {
  auto& sinks = SinkRegistry::get();
  if (sinks.hasSinks()) {
    sinks.hand({level, text, file, function, line});
  }
}

}  // namespace

void Logging::logTRACE(const std::string& text, const std::string& file,
                       const std::string& function, int line) {
  log(LogLevel::Trace, text, file, function, line);
}

void Logging::logERROR(const std::string& text, const std::string& file,
                       const std::string& function, int line) {
  log(LogLevel::Error, text, file, function, line);
}

}  // namespace Tessaril
