#include "diagnostics/archive/ArchiveComparison.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "diagnostics/archive/ArchiveText.h"
#include "diagnostics/graph/SnapshotJson.h"
#include "reference_platform/persistence_archiver/ArchiveLayout.h"

namespace Tessaril::Diagnostics {
namespace {

namespace Layout = ReferencePlatform::ArchiveLayout;

constexpr std::size_t kNumberSize = sizeof(std::uint32_t);

std::string yesOrNo(bool value) { return value ? "yes" : "no"; }

std::string chainList(const std::vector<Identifier>& chains) {
  std::string text;
  for (const Identifier& chain : chains) {
    text += (text.empty() ? "" : ", ") + chainIdText(chain);
  }
  return text.empty() ? "none" : text;
}

// An application's own values

/// What tells frames, and numbers of shared objects, from the other values of an archive.
class ValueMarks {
 public:
  explicit ValueMarks(const InspectedArchive& archive) : bytes(archive.bytes) {
    for (const ArchivedClass& archived : archive.frames.classes) {
      typeIds.insert(archived.typeId);
    }
    // New objects are numbered as they come.
    std::uint32_t next = 1;
    for (const ArchivedBlock& block : archive.frames.blocks) {
      if (block.begin >= Layout::kHeadSize + kNumberSize &&
          Layout::numberAt(bytes, block.begin - kNumberSize) == next &&
          !isValueClass(Layout::numberAt(bytes, block.begin + kNumberSize))) {
        newObjects.insert(block.begin);
        ++next;
      }
    }
  }

  const std::string& getBytes() const { return bytes; }
  bool isTypeId(std::uint32_t number) const { return typeIds.contains(number); }
  /// Whether a number of a new object stands before the block that begins there.
  bool isNewObject(std::size_t begin) const { return newObjects.contains(begin); }

 private:
  const std::string& bytes;
  std::unordered_set<std::uint32_t> typeIds;
  std::unordered_set<std::size_t> newObjects;
};

/// A stretch of own values. Offsets count from its first byte.
class ValueReader {
 public:
  ValueReader(const ValueMarks& archive, std::pair<std::size_t, std::size_t> stretch)
      : marks(archive), bytes(archive.getBytes()), begin(stretch.first), end(stretch.second) {}

  std::size_t size() const { return end - begin; }
  char at(std::size_t offset) const { return bytes[begin + offset]; }

  /// The end of the block whose frame stands there, as an offset, and its type id; empty for what
  /// is no frame.
  std::optional<std::pair<std::size_t, std::uint32_t>> frameAt(std::size_t offset) const {
    if (offset + Layout::kFrameSize > size()) {
      return std::nullopt;
    }
    const std::size_t blockEnd = Layout::numberAt(bytes, begin + offset);
    const std::uint32_t typeId = Layout::numberAt(bytes, begin + offset + kNumberSize);
    if (blockEnd > end || blockEnd < begin + offset + Layout::kFrameSize ||
        !marks.isTypeId(typeId)) {
      return std::nullopt;
    }
    return std::pair(blockEnd - begin, typeId);
  }
  bool isNewObject(std::size_t offset) const { return marks.isNewObject(begin + offset); }

 private:
  const ValueMarks& marks;
  const std::string& bytes;
  std::size_t begin;
  std::size_t end;
};

/// Frames hold addresses, and new shared objects stand behind their numbers: both depend on what
/// the archive holds before.
bool sameValues(const ValueReader& left, const ValueReader& right) {
  if (left.size() != right.size()) {
    return false;
  }
  const auto sameFrame = [&](std::size_t offset) {
    const auto frame = left.frameAt(offset);
    return frame && frame == right.frameAt(offset);
  };
  const auto sameNewObject = [&](std::size_t offset) {
    return left.isNewObject(offset) && right.isNewObject(offset) && sameFrame(offset);
  };
  for (std::size_t i = 0; i < left.size();) {
    if (sameNewObject(i + kNumberSize)) {
      i += kNumberSize + Layout::kFrameSize;
    } else if (sameFrame(i)) {
      i += Layout::kFrameSize;
    } else if (left.at(i) == right.at(i)) {
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

// Facts

class FactList {
 public:
  void compare(const std::string& what, const std::string& before, const std::string& after) {
    if (before != after) {
      facts.push_back({what, before, after});
    }
  }
  void compare(const std::string& what, bool before, bool after) {
    compare(what, yesOrNo(before), yesOrNo(after));
  }
  void addUnless(bool same, const std::string& what) {
    if (!same) {
      facts.push_back({what, {}, {}});
    }
  }

  std::vector<ChangedFact> facts;
};

void compareModules(const ArchivedModule& before, const ArchivedModule& after, FactList& list) {
  list.compare("active", before.flags.active, after.flags.active);
  list.compare("consistent", before.flags.consistent, after.flags.consistent);
  list.compare("input ok", before.flags.inputOk, after.flags.inputOk);
  list.compare("frozen", before.flags.frozen, after.flags.frozen);
  list.compare("skipped", before.flags.skipped, after.flags.skipped);
  list.compare("additional", before.additional, after.additional);
  list.compare("speed rate", speedRateName(before.speedRate), speedRateName(after.speedRate));
  list.compare("insert mode", insertModeName(before.insertMode), insertModeName(after.insertMode));
  list.compare("chain", chainIdText(before.chainId), chainIdText(after.chainId));
  list.compare("merge chains", chainList(before.mergeChainIds), chainList(after.mergeChainIds));
}

bool isOtherOrder(std::vector<Path> before, std::vector<Path> after) {
  if (before == after) {
    return false;
  }
  const auto byText = [](const Path& left, const Path& right) {
    return left.toString() < right.toString();
  };
  std::sort(before.begin(), before.end(), byText);
  std::sort(after.begin(), after.end(), byText);
  return before == after;
}

void compareRecords(const ApplyModuleData& before, const ApplyModuleData& after, FactList& list) {
  list.compare("start of a side chain", before.startOfSideChain, after.startOfSideChain);
  list.addUnless(!isOtherOrder(before.previousPaths, after.previousPaths),
                 "order of previous modules");
  list.addUnless(!isOtherOrder(before.nextPaths, after.nextPaths), "order of next modules");
}

/// By path. Of several records of a module the last one counts.
std::unordered_map<std::string, const ApplyModuleData*> recordsOf(const InspectedArchive& archive) {
  std::unordered_map<std::string, const ApplyModuleData*> records;
  for (const ApplyModuleData& record : archive.design.links) {
    records[record.path.toString()] = &record;
  }
  return records;
}

/// How often a link stands in the lists of its two ends.
struct LinkCount {
  std::size_t next = 0;
  std::size_t previous = 0;
};

/// The links of an archive, in the order in which they are first named.
class LinkTable {
 public:
  explicit LinkTable(const InspectedArchive& archive) {
    const auto records = recordsOf(archive);
    for (const ApplyModuleData& record : archive.design.links) {
      const std::string module = record.path.toString();
      if (records.at(module) == &record) {
        for (const Path& previous : record.previousPaths) {
          ++at(previous.toString(), module).previous;
        }
        for (const Path& next : record.nextPaths) {
          ++at(module, next.toString()).next;
        }
      }
    }
  }

  /// What stands here more often than there.
  std::vector<ComparedLink> without(const LinkTable& other) const {
    std::vector<ComparedLink> links;
    for (const auto& ends : order) {
      const LinkCount& here = counts.at(ends);
      const auto found = other.counts.find(ends);
      const LinkCount there = found == other.counts.end() ? LinkCount{} : found->second;
      if (here.next > there.next || here.previous > there.previous) {
        links.push_back(
            {ends.first, ends.second, here.next > there.next, here.previous > there.previous});
      }
    }
    return links;
  }

 private:
  using Ends = std::pair<std::string, std::string>;

  LinkCount& at(const std::string& from, const std::string& to) {
    const auto [found, isNew] = counts.try_emplace({from, to});
    if (isNew) {
      order.push_back(found->first);
    }
    return found->second;
  }

  std::map<Ends, LinkCount> counts;
  std::vector<Ends> order;
};

class Comparison {
 public:
  Comparison(const InspectedArchive& before, const InspectedArchive& after)
      : first(before), second(after), marksOfFirst(before), marksOfSecond(after) {}

  ArchiveComparison compare() {
    compareClasses();
    compareObjects();
    const LinkTable before(first);
    const LinkTable after(second);
    result.removedLinks = before.without(after);
    result.addedLinks = after.without(before);
    result.bytesBehindDiffer =
        !sameValues({marksOfFirst, behind(first)}, {marksOfSecond, behind(second)});
    return std::move(result);
  }

 private:
  static std::pair<std::size_t, std::size_t> behind(const InspectedArchive& archive) {
    const std::size_t end = archive.frames.classTableAt.value_or(0);
    return {end - archive.design.bytesBehind, end};
  }

  void compareClasses() {
    // Nothing keeps an archive from giving two classes one name.
    using Key = std::pair<std::string, unsigned int>;
    std::map<Key, unsigned int> after;
    for (const InspectedClass& known : second.classes) {
      after.emplace(Key(known.name, known.typeId), known.version);
    }
    for (const InspectedClass& known : first.classes) {
      const auto found = after.find({known.name, known.typeId});
      if (found == after.end()) {
        result.classes.push_back({known.name, known.version, {}});
        continue;
      }
      if (found->second != known.version) {
        result.classes.push_back({known.name, known.version, found->second});
      }
      after.erase(found);
    }
    for (const InspectedClass& known : second.classes) {
      if (after.contains({known.name, known.typeId})) {
        result.classes.push_back({known.name, {}, known.version});
      }
    }
  }

  /// Several objects of one path are those of the other archive in their order.
  void compareObjects() {
    // The next one of a path stands last.
    std::unordered_map<std::string, std::vector<const ArchivedObject*>> waiting;
    for (std::size_t i = second.design.objects.size(); i-- > 0;) {
      waiting[second.design.objects[i].path].push_back(&second.design.objects[i]);
    }
    std::unordered_set<const ArchivedObject*> found;
    const auto recordsBefore = recordsOf(first);
    const auto recordsAfter = recordsOf(second);
    for (const ArchivedObject& object : first.design.objects) {
      std::vector<const ArchivedObject*>& candidates = waiting[object.path];
      if (candidates.empty()) {
        result.removedObjects.push_back({object.path, object.className});
        continue;
      }
      found.insert(candidates.back());
      FactList list;
      compareObject(object, *candidates.back(), list);
      candidates.pop_back();
      const auto recordBefore = recordsBefore.find(object.path);
      const auto recordAfter = recordsAfter.find(object.path);
      if (recordBefore != recordsBefore.end() && recordAfter != recordsAfter.end()) {
        compareRecords(*recordBefore->second, *recordAfter->second, list);
      }
      if (!list.facts.empty()) {
        result.changedObjects.push_back({object.path, std::move(list.facts)});
      }
    }
    for (const ArchivedObject& object : second.design.objects) {
      if (!found.contains(&object)) {
        result.addedObjects.push_back({object.path, object.className});
      }
    }
  }

  void compareObject(const ArchivedObject& before, const ArchivedObject& after, FactList& list) {
    list.compare("class", before.className, after.className);
    if (before.module && after.module) {
      compareModules(*before.module, *after.module, list);
    }
    list.addUnless(sameOwnValues(before, after), "own values");
  }

  bool sameOwnValues(const ArchivedObject& before, const ArchivedObject& after) const {
    return std::equal(before.ownValues.begin(), before.ownValues.end(), after.ownValues.begin(),
                      after.ownValues.end(), [this](const auto& left, const auto& right) {
                        return sameValues({marksOfFirst, left}, {marksOfSecond, right});
                      });
  }

  const InspectedArchive& first;
  const InspectedArchive& second;
  ValueMarks marksOfFirst;
  ValueMarks marksOfSecond;
  ArchiveComparison result;
};

}  // namespace

bool ArchiveComparison::isEmpty() const {
  return classes.empty() && removedObjects.empty() && addedObjects.empty() &&
         changedObjects.empty() && removedLinks.empty() && addedLinks.empty() && !bytesBehindDiffer;
}

ArchiveComparison compareArchives(const InspectedArchive& first, const InspectedArchive& second) {
  return Comparison(first, second).compare();
}

}  // namespace Tessaril::Diagnostics
