#include <vector>

#include "diagnostics/archive/ArchiveReport.h"
#include "diagnostics/graph/SnapshotJson.h"

namespace Tessaril::Diagnostics {
namespace {

using Json = nlohmann::ordered_json;

std::string standingKey(ClassStanding standing) {
  switch (standing) {
    case ClassStanding::Current:
      return "current";
    case ClassStanding::Older:
      return "older";
    case ClassStanding::Newer:
      return "newer";
    case ClassStanding::Unknown:
      break;
  }
  return "unknown";
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json textOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

Json toJson(const ArchiveProblem& problem) {
  return {{"byte", orNull(problem.byte)}, {"text", problem.text}};
}

Json toJson(const InspectedClass& known) {
  return {{"name", known.name},
          {"typeId", known.typeId},
          {"version", known.version},
          {"versionHere", orNull(known.versionHere)},
          {"standing", standingKey(known.standing())},
          {"blocks", known.blocks}};
}

Json chainsJson(const std::vector<Identifier>& chains) {
  Json ids = Json::array();
  for (const Identifier& chain : chains) {
    ids.push_back(chain.toString());
  }
  return ids;
}

Json toJson(const ArchivedModule& module) {
  return {
      {"active", module.flags.active},        {"consistent", module.flags.consistent},
      {"inputOk", module.flags.inputOk},      {"frozen", module.flags.frozen},
      {"skipped", module.flags.skipped},      {"additional", module.additional},
      {"speedRate", module.speedRate},        {"insertMode", insertModeName(module.insertMode)},
      {"chainId", module.chainId.toString()}, {"mergeChainIds", chainsJson(module.mergeChainIds)}};
}

Json toJson(const ArchivedObject& object) {
  Json json{{"path", object.path},
            {"hasPlace", object.hasPlace},
            {"class", object.className},
            {"begin", object.begin},
            {"end", object.end}};
  json["module"] = object.module ? toJson(*object.module) : Json(nullptr);
  return json;
}

Json pathsJson(const std::vector<Path>& paths) {
  Json texts = Json::array();
  for (const Path& path : paths) {
    texts.push_back(path.toString());
  }
  return texts;
}

Json toJson(const ApplyModuleData& record) {
  return {{"module", record.path.toString()},
          {"previous", pathsJson(record.previousPaths)},
          {"next", pathsJson(record.nextPaths)},
          {"startOfSideChain", record.startOfSideChain}};
}

Json toJson(const DroppedLink& link) {
  return {{"record", link.record},
          {"neighbour", orNull(link.neighbour)},
          {"list", !link.neighbour ? Json(nullptr) : Json(link.isNext ? "next" : "previous")},
          {"leadsToObject", link.leadsToObject},
          {"isReplaced", link.isReplaced},
          {"text", link.toString()}};
}

Json toJson(const ArchivedBlock& block) {
  return {{"begin", block.begin},
          {"end", block.end},
          {"depth", block.depth},
          {"class", block.className}};
}

Json toJson(const ComparedClass& known) {
  return {{"name", known.name},
          {"before", orNull(known.versionBefore)},
          {"after", orNull(known.versionAfter)}};
}

Json toJson(const NamedObject& object) {
  return {{"path", object.path}, {"class", object.className}};
}

Json toJson(const ChangedFact& fact) {
  return {
      {"what", fact.what}, {"before", textOrNull(fact.before)}, {"after", textOrNull(fact.after)}};
}

Json toJson(const ComparedLink& link) {
  return {{"from", link.from},
          {"to", link.to},
          {"inNext", link.inNext},
          {"inPrevious", link.inPrevious}};
}

Json toJson(const ChangedObject& object);

template <typename Element>
Json arrayOf(const std::vector<Element>& elements) {
  Json array = Json::array();
  for (const Element& element : elements) {
    array.push_back(toJson(element));
  }
  return array;
}

Json toJson(const ChangedObject& object) {
  return {{"path", object.path}, {"changes", arrayOf(object.facts)}};
}

}  // namespace

nlohmann::ordered_json toJson(const InspectedArchive& archive, bool withBlocks) {
  // An object that grows copies what it holds.
  constexpr std::size_t kMostKeys = 16;
  Json json = Json::object();
  json.get_ref<Json::object_t&>().reserve(kMostKeys);
  json["format"] = orNull(archive.frames.formatVersion);
  json["size"] = archive.frames.size;
  json["statedSize"] = orNull(archive.frames.statedSize);
  json["problems"] = arrayOf(archive.problems());
  json["classes"] = arrayOf(archive.classes);
  json["objects"] = arrayOf(archive.design.objects);
  json["links"] = arrayOf(archive.design.links);
  json["hasLinks"] = archive.design.hasLinks;
  json["bytesBehind"] = archive.design.bytesBehind;
  json["droppedLinks"] = arrayOf(archive.droppedLinks);
  if (withBlocks) {
    json["blocks"] = arrayOf(archive.frames.blocks);
  }
  return json;
}

nlohmann::ordered_json toJson(const ArchiveComparison& comparison) {
  return {{"classes", arrayOf(comparison.classes)},
          {"removedObjects", arrayOf(comparison.removedObjects)},
          {"addedObjects", arrayOf(comparison.addedObjects)},
          {"changedObjects", arrayOf(comparison.changedObjects)},
          {"removedLinks", arrayOf(comparison.removedLinks)},
          {"addedLinks", arrayOf(comparison.addedLinks)},
          {"bytesBehindDiffer", comparison.bytesBehindDiffer}};
}

std::string dumpJson(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace Tessaril::Diagnostics
