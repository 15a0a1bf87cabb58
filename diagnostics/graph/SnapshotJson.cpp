#include "diagnostics/graph/SnapshotJson.h"

#include "diagnostics/graph/ChainNames.h"

namespace Tessaril::Diagnostics {
namespace {

using Json = nlohmann::ordered_json;

Json chainJson(const Identifier& chain, const ChainNames& names) {
  return {{"name", names.nameOf(chain)}, {"id", chain.toString()}};
}

Json placementJson(const SnapshotModule& module, const ChainNames& names) {
  if (!module.insertMode) {
    return nullptr;
  }
  Json merged = Json::array();
  for (const Identifier& chain : module.mergeChainIds) {
    merged.push_back(chainJson(chain, names));
  }
  return {{"mode", insertModeName(*module.insertMode)},
          {"chain", chainJson(module.chainId, names)},
          {"startChain", chainJson(module.startChainId, names)},
          {"mergeChains", std::move(merged)}};
}

Json flagsJson(const std::optional<SnapshotFlags>& flags) {
  if (!flags) {
    return nullptr;
  }
  return {{"active", flags->active},
          {"consistent", flags->consistent},
          {"inputOk", flags->inputOk},
          {"frozen", flags->frozen},
          {"skipped", flags->skipped}};
}

Json linksJson(const std::vector<SnapshotLink>& links) {
  Json entries = Json::array();
  for (const SnapshotLink& link : links) {
    entries.push_back({{"module", link.module ? Json(*link.module) : Json()}, {"name", link.name}});
  }
  return entries;
}

Json moduleJson(const SnapshotModule& module, const ChainNames& names) {
  return {{"name", module.name},
          {"class", module.className.empty() ? Json() : Json(module.className)},
          {"exists", module.exists},
          {"records", module.recordCount},
          {"flags", flagsJson(module.flags)},
          {"startOfSideChain", module.startOfSideChain},
          {"additional", module.additional},
          {"placement", placementJson(module, names)},
          {"speedRate", module.speedRate ? Json(*module.speedRate) : Json()},
          {"previous", linksJson(module.previous)},
          {"next", linksJson(module.next)}};
}

}  // namespace

std::string insertModeName(ApplyModuleInsertInfo::ApplyGraphInsertMode mode) {
  switch (mode) {
    case ApplyModuleInsertInfo::AddToChain:
      return "addToChain";
    case ApplyModuleInsertInfo::StartSideChain:
      return "startSideChain";
    case ApplyModuleInsertInfo::StartFork:
      return "startFork";
    case ApplyModuleInsertInfo::MergeFork:
      return "mergeFork";
  }
  return "mode " + std::to_string(static_cast<int>(mode));
}

Json toJson(const GraphSnapshot& snapshot) {
  const ChainNames names(snapshot);
  Json modules = Json::array();
  for (const SnapshotModule& module : snapshot.modules) {
    modules.push_back(moduleJson(module, names));
  }
  return {{"stored", snapshot.stored}, {"modules", std::move(modules)}};
}

}  // namespace Tessaril::Diagnostics
