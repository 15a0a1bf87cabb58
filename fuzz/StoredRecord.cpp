#include "fuzz/StoredRecord.h"

#include <array>
#include <string_view>
#include <utility>

#include "fuzz/ArchiveEditing.h"
#include "tessaril/persistence/NestedRecord.h"

namespace Tessaril::Fuzz {
namespace {

using Kind = StoredRecord::Kind;

/// Behind the address of the block's end.
constexpr std::size_t kTypeIdAt = EditableArchive::kHeadSize + 4;

constexpr std::array<std::pair<std::string_view, Kind>, 4> kKinds{
    {{"ModuleState", Kind::State},
     {"ApplyModuleInsertInfo", Kind::InsertInfo},
     {"ApplyModule", Kind::Module},
     {"ApplyModuleData", Kind::Data}}};

const ArchivedClass* findArchived(const PersistenceArchiver& archiver, unsigned int typeId) {
  for (const ArchivedClass& archived : archiver.getClasses()) {
    if (archived.typeId == typeId) {
      return &archived;
    }
  }
  return nullptr;
}

unsigned int writtenVersion(const PersistenceArchiver& archiver, unsigned int typeId) {
  if (typeId == BaseClassRegister::kNoType) {
    return 0;
  }
  const ArchivedClass* archived = findArchived(archiver, typeId);
  return archived != nullptr ? archived->version : BaseClassRegister::kNoVersion;
}

Kind kindOf(const PersistenceArchiver& archiver, unsigned int typeId) {
  if (const ArchivedClass* archived = findArchived(archiver, typeId)) {
    for (const auto& [name, kind] : kKinds) {
      if (name == archived->name) {
        return kind;
      }
    }
  }
  return kKinds[typeId % kKinds.size()].second;
}

/// Calls `visit` with the object that the record is of.
template <typename Record, typename Visit>
void visitObject(Record& record, const Visit& visit) {
  switch (record.kind) {
    case Kind::State:
      return visit(record.state);
    case Kind::InsertInfo:
      return visit(record.insertInfo);
    case Kind::Module:
      return visit(record.module);
    case Kind::Data:
      return visit(record.data);
  }
}

}  // namespace

std::string saveRecord(const StoredRecord& record) {
  PersistenceArchiver archiver;
  visitObject(record, [&](const auto& object) { writeNested(archiver, object); });
  return archiver.finish();
}

unsigned int openRecord(const std::string& bytes, StoredRecord& record) {
  PersistenceArchiver archiver(bytes);
  const unsigned int typeId = EditableArchive(bytes).number(kTypeIdAt);
  const unsigned int version = writtenVersion(archiver, typeId);
  record.kind = kindOf(archiver, typeId);
  visitObject(record, [&](auto& object) { readNested(archiver, object); });
  archiver.requireEnd();
  return version;
}

}  // namespace Tessaril::Fuzz
