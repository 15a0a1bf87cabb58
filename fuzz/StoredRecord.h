#pragma once

#include <string>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/module/ModuleState.h"
#include "tessaril/persistence/ApplyModuleData.h"

namespace Tessaril::Fuzz {

/// One object of each stored class of the library, of which an archive holds one.
struct StoredRecord {
  enum class Kind { State, InsertInfo, Module, Data };

  Kind kind = Kind::State;
  ModuleState state;
  ApplyModuleInsertInfo insertInfo;
  ApplyModule module;
  ApplyModuleData data;
};

/// An archive of the record of that object and nothing else.
std::string saveRecord(const StoredRecord& record);
/// The class that the archive names decides of which kind the record is; one of a class that it
/// does not name is taken for any. Throws TsException for what is no such archive. Returns the
/// version with which the record was written, worked out from the archive alone.
unsigned int openRecord(const std::string& bytes, StoredRecord& record);

}  // namespace Tessaril::Fuzz
