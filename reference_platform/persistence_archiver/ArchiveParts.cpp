#include "tessaril/platform/persistence_archiver/ArchiveException.h"
#include "tessaril/platform/persistence_archiver/Caster.h"
#include "tessaril/platform/persistence_archiver/MapContainer.h"

namespace Tessaril {

ArchiveException::ArchiveException(const std::string& message, const std::source_location& location)
    : TsException(message, location) {}
ArchiveException::ArchiveException(const ArchiveException&) noexcept = default;
ArchiveException& ArchiveException::operator=(const ArchiveException&) noexcept = default;
ArchiveException::~ArchiveException() = default;

Caster::Caster() = default;
Caster::~Caster() = default;

MapContainer::MapContainer() = default;
MapContainer::~MapContainer() = default;

PointerMapContainerBase::PointerMapContainerBase() = default;
PointerMapContainerBase::~PointerMapContainerBase() = default;

}  // namespace Tessaril
