// Reads one record of a stored class, of any version, and saves it in the present layout.

#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/Check.h"
#include "fuzz/StoredRecord.h"
#include "tessaril/platform/exceptions/TsException.h"

namespace Tessaril::Fuzz {
namespace {

void checkState(const ModuleState& state, unsigned int version) {
  check(version >= 53014 || !state.isFrozen(), "records before 53014 know no frozen flag");
  check(version > 500000 || !state.isSkipped(), "records up to 500000 know no skipped flag");
}

void checkModule(const ApplyModule& module, unsigned int version) {
  const bool marksForks = version < 500002;
  check(module.isStartOfSideChain() ==
            (marksForks && module.getInsertMode() == ApplyModuleInsertInfo::StartFork),
        "old records mark the starts of forks, new ones nothing");
  check(version >= 500000 || (module.getInsertMode() == ApplyModuleInsertInfo::AddToChain &&
                              module.getChainId().isNull() && module.getMergeChainIds().empty()),
        "records before 500000 hold no insert information");
}

void checkRecord(const StoredRecord& record, unsigned int version) {
  switch (record.kind) {
    case StoredRecord::Kind::State:
      return checkState(record.state, version);
    case StoredRecord::Kind::InsertInfo:
      return check(!record.insertInfo.getTransferChains(), "the transfer request is not stored");
    case StoredRecord::Kind::Module:
      return checkModule(record.module, version);
    case StoredRecord::Kind::Data:
      return;
  }
}

void openAndSave(const std::string& bytes) {
  StoredRecord record;
  unsigned int version = 0;
  try {
    version = openRecord(bytes, record);
  } catch (const TsException&) {
    return;
  }
  checkRecord(record, version);
  const std::string saved = saveRecord(record);
  StoredRecord reopened;
  openRecord(saved, reopened);
  check(saveRecord(reopened) == saved, "a saved record is read as it was written");
}

}  // namespace
}  // namespace Tessaril::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Tessaril::Fuzz::openAndSave(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
