#pragma once

#include <functional>
#include <memory>
#include <string>

#include "tessaril/platform/Export.h"

/// What the workshop application itself sets in its services.
namespace Workshop {

struct Record {
  bool isError;
  std::string text;
  std::string file;
  std::string function;
  int line;
};

/// Both last as long as the pointer.
WORKSHOP_API std::shared_ptr<void> listenToLog(std::function<void(const Record&)> listener);
WORKSHOP_API std::shared_ptr<void> addTranslation(const std::string& context,
                                                  const std::string& text,
                                                  const std::string& translation);

}  // namespace Workshop
