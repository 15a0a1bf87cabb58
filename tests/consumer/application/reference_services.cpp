// Uses the services that the reference platform offers beyond the declarations.

#include <atomic>
#include <iostream>

#include "reference_platform/command_pattern/CommandHistory.h"
#include "reference_platform/command_pattern/InlineThreadManager.h"
#include "reference_platform/command_pattern/SteppingThreadManager.h"
#include "reference_platform/command_pattern/WorkerPoolThreadManager.h"
#include "reference_platform/logging/LogSinks.h"
#include "reference_platform/persistence_archiver/ArchiveFile.h"
#include "reference_platform/translation/Catalogue.h"
#include "tessaril/platform/logging/Logging.h"
#include "tessaril/platform/persistence_archiver/PersistenceArchiver.h"
#include "tessaril/platform/translation/Translator.h"

namespace Reference = Tessaril::ReferencePlatform;

int main() {
  const auto sink = Reference::addLogSink(
      [](const Reference::LogRecord& record) { std::cout << record.text << "\n"; });
  Reference::Catalogue german;
  german.add("Gears", "Torque", "Drehmoment");
  const auto installed = Reference::installCatalogue(std::move(german));

  Reference::WorkerPoolThreadManager manager(1);
  std::atomic<bool> ended{false};
  manager.start([&] {
    Tessaril::Logging::logTRACE(Tessaril::Translator::translate("Gears", "Torque"),
                                "reference_services", "main", __LINE__);
    ended = true;
  });
  manager.waitUntil([&] { return ended.load(); });

  try {
    Reference::openArchive("there is no such file");
  } catch (const Tessaril::ArchiveException&) {
    std::cout << "refused\n";
  }

  // This program uses no design object, and still knows one when it meets one in an archive.
  if (Tessaril::PersistenceArchiver::findFactory("Object") != nullptr) {
    std::cout << "Object is known\n";
  }
}
