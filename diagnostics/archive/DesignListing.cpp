#include "diagnostics/archive/DesignListing.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "diagnostics/archive/ArchiveText.h"
#include "diagnostics/archive/ListedTree.h"
#include "reference_platform/persistence_archiver/ArchiveLayout.h"
#include "tessaril/module/ApplyModule.h"
#include "tessaril/persistence/ClassRegistration.h"
#include "tessaril/persistence/NestedRecord.h"
#include "tessaril/platform/parameterization/Object.h"

namespace Tessaril::Diagnostics {
namespace {

namespace Layout = ReferencePlatform::ArchiveLayout;

/// An object, or a part of one.
struct Node {
  std::string className;
  std::size_t begin = 0;
  std::size_t end = 0;
  /// What its Object part says; empty without one.
  std::optional<std::string> name;
  std::vector<std::shared_ptr<Node>> children;
  /// Objects that are kept among the values of this one.
  std::vector<std::shared_ptr<Node>> members;
  std::optional<ArchivedModule> module;
  std::vector<std::pair<std::size_t, std::size_t>> ownValues;
};

using NodePtr = std::shared_ptr<Node>;

ArchivedModule archivedForm(const ApplyModule& module) {
  ArchivedModule archived;
  archived.flags = {module.isActive(), module.isConsistent(), module.isInputOk(), module.isFrozen(),
                    module.isSkipped()};
  archived.additional = module.isAdditionalModule();
  archived.speedRate = module.getSpeedRate();
  archived.insertMode = module.getInsertMode();
  archived.chainId = module.getChainId();
  archived.mergeChainIds = module.getMergeChainIds();
  archived.startOfSideChain = module.isStartOfSideChain();
  return archived;
}

/// Reads the objects and links, block by block. What goes wrong is thrown; what was read by then
/// stands.
class DesignReader {
 public:
  explicit DesignReader(const std::string& archive)
      : bytes(archive),
        archiver(archive),
        bodyEnd(Layout::numberAt(archive, Layout::kClassTableAt)) {
    for (const ArchivedClass& archived : archiver.getClasses()) {
      names.emplace(archived.typeId, shortened(archived.name));
    }
  }

  void read(DesignListing& listing) {
    if (!beginsWithObject()) {
      listing.problems.push_back({Layout::kHeadSize, "no object stands where a design begins"});
      listing.bytesBehind = bodyEnd - position();
      return;
    }
    readShared([this](NodePtr node) { root = std::move(node); });
    if (blockIsPossible() && nextTypeId() == registeredTypeId<ApplyModuleData>()) {
      readContainer(archiver, listing.links);
      listing.hasLinks = true;
    }
    listing.bytesBehind = bodyEnd - position();
  }

  const NodePtr& getRoot() const { return root; }
  std::size_t position() const {
    return static_cast<std::size_t>(static_cast<std::streamoff>(archiver.tellp()));
  }

 private:
  struct Block {
    std::size_t begin;
    unsigned int end;
    unsigned int typeId;
  };

  bool beginsWithObject() const {
    return bodyEnd >= position() + sizeof(std::uint32_t) + Layout::kFrameSize &&
           Layout::numberAt(bytes, position()) == 1 &&
           names.contains(Layout::numberAt(bytes, position() + 2 * sizeof(std::uint32_t)));
  }

  // Blocks

  Block open() {
    const std::size_t begin = position();
    unsigned int start = 0;
    Block block{begin, 0, 0};
    archiver.read_to_address_header(start, block.end);
    archiver >> block.typeId;
    ends.push_back(block.end);
    return block;
  }

  void close(const Block& block) {
    skippedSomething = skippedSomething || position() != block.end;
    ends.pop_back();
    archiver.end_read_to_address(block.end);
  }

  std::size_t innermostEnd() const { return ends.empty() ? bodyEnd : ends.back(); }

  bool blockIsPossible() const {
    const std::size_t begin = position();
    if (innermostEnd() - begin < Layout::kFrameSize) {
      return false;
    }
    const std::size_t end = Layout::numberAt(bytes, begin);
    return begin + Layout::kFrameSize <= end && end <= innermostEnd() &&
           names.contains(nextTypeId());
  }

  /// Requires: a block is possible.
  unsigned int nextTypeId() const {
    return Layout::numberAt(bytes, position() + sizeof(std::uint32_t));
  }

  std::string nameOf(unsigned int typeId) const {
    const auto known = names.find(typeId);
    return known == names.end() ? std::string() : known->second;
  }

  // Objects

  /// Hands the new node over before its contents are read, and nothing where the object is none of
  /// those that can be told here.
  template <typename Taker>
  void readShared(const Taker& take) {
    const std::size_t place = position();
    unsigned int number = 0;
    archiver >> number;
    if (number == 0 || cameBefore(number, place)) {
      return;
    }
    highestNumber = std::max<std::size_t>(highestNumber, number);
    const Block block = open();
    const auto node = newNode(block);
    take(node);
    readParts(*node, block);
    close(block);
  }

  /// Whether the object stands where this reader has not looked.
  bool cameBefore(unsigned int number, std::size_t place) const {
    if (!skippedSomething && number != highestNumber + 1) {
      refuse(place, "object " + std::to_string(number) + " behind object " +
                        std::to_string(highestNumber));
    }
    return skippedSomething && (number <= highestNumber || !blockIsPossible());
  }

  NodePtr newNode(const Block& block) const {
    auto node = std::make_shared<Node>();
    node->className = nameOf(block.typeId);
    node->begin = block.begin;
    node->end = block.end;
    return node;
  }

  void readParts(Node& node, const Block& block) {
    if (block.typeId == registeredTypeId<Object>()) {
      readObjectPart(node);
    } else if (!isValueClass(block.typeId)) {
      readUnknownParts(node);
    }
    if (position() != block.end) {
      node.ownValues.emplace_back(position(), block.end);
    }
  }

  void readObjectPart(Node& node) {
    std::string name;
    unsigned int count = 0;
    const std::size_t place = position();
    archiver >> name >> count;
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
      refuse(place, '"' + name + "\" cannot be the name of an object");
    }
    node.name = name;
    for (unsigned int i = 0; i < count; ++i) {
      readShared([&node](NodePtr child) { node.children.push_back(std::move(child)); });
    }
    requireUniqueNames(node);
  }

  /// The tree refuses to be read otherwise.
  static void requireUniqueNames(const Node& parent) {
    std::unordered_set<std::string_view> taken;
    for (const NodePtr& child : parent.children) {
      if (child->name && !taken.insert(*child->name).second) {
        refuse(child->begin,
               '"' + *parent.name + "\" has a child \"" + *child->name + "\" already");
      }
    }
  }

  [[noreturn]] static void refuse(std::size_t place, const std::string& why) {
    throw ArchiveException("byte " + std::to_string(place) + ": " + why);
  }

  void readUnknownParts(Node& node) {
    std::vector<NodePtr> parts;
    while (blockIsPossible()) {
      parts.push_back(readPart());
    }
    const std::vector<NodePtr> bases = basesAmong(parts);
    for (const NodePtr& part : parts) {
      if (part->name && std::find(bases.begin(), bases.end(), part) == bases.end()) {
        node.members.push_back(part);
      } else {
        takeOver(node, *part);
      }
    }
  }

  NodePtr readPart() {
    if (nextTypeId() == registeredTypeId<ApplyModule>()) {
      return readModulePart();
    }
    const Block block = open();
    auto part = newNode(block);
    readParts(*part, block);
    close(block);
    return part;
  }

  /// The library knows its records, in whichever version.
  NodePtr readModulePart() {
    auto part = std::make_shared<Node>();
    part->begin = position();
    ApplyModule module;
    readNested(archiver, module);
    part->end = position();
    part->module = archivedForm(module);
    return part;
  }

  /// A block of Object is a base part; where there is none, so is the only one with an Object part
  /// within it. The others that have one are members.
  static std::vector<NodePtr> basesAmong(const std::vector<NodePtr>& parts) {
    std::vector<NodePtr> named;
    std::copy_if(parts.begin(), parts.end(), std::back_inserter(named),
                 [](const NodePtr& part) { return part->name.has_value(); });
    const auto object = std::find_if(named.begin(), named.end(), [](const NodePtr& part) {
      return part->className == "Object";
    });
    if (object != named.end()) {
      return {*object};
    }
    return named.size() == 1 ? named : std::vector<NodePtr>();
  }

  static void takeOver(Node& node, Node& part) {
    if (!node.name) {
      node.name = part.name;
    }
    if (!node.module) {
      node.module = part.module;
    }
    std::move(part.children.begin(), part.children.end(), std::back_inserter(node.children));
    std::move(part.members.begin(), part.members.end(), std::back_inserter(node.members));
    std::move(part.ownValues.begin(), part.ownValues.end(), std::back_inserter(node.ownValues));
  }

  const std::string& bytes;
  PersistenceArchiver archiver;
  std::size_t bodyEnd;
  std::unordered_map<unsigned int, std::string> names;
  /// Of the open blocks, innermost last.
  std::vector<std::size_t> ends;
  bool skippedSomething = false;
  std::size_t highestNumber = 0;
  NodePtr root;
};

// Places in the tree

std::string lastName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

/// Of "/a/b" it is "/a"; of "/a", and of "/", nothing.
std::string parentOf(const std::string& path) { return path.substr(0, path.rfind('/')); }

/// Gives the objects their paths: what is named by the tree, and, where it is not, by the links.
class Placement {
 public:
  explicit Placement(const std::vector<ApplyModuleData>& storedLinks) : links(storedLinks) {
    for (const ApplyModuleData& record : links) {
      if (record.path.isAbsolute() && stored.insert(record.path.toString()).second) {
        inOrder.push_back(record.path.toString());
      }
    }
  }

  std::vector<ArchivedObject> place(const Node& root) {
    if (root.name) {
      placeNamed(root);
    } else if (const std::optional<std::string> parent = parentOfMembers(root)) {
      placeTree(root, *parent);
    } else {
      placeWithout(root);
    }
    return std::move(objects);
  }

 private:
  /// A design may have been saved from below the root of its tree: its name begins the paths then.
  void placeNamed(const Node& root) {
    placeTree(root, "");
    const std::size_t fromTop = resolvedRecords();
    if (fromTop == links.size()) {
      return;
    }
    std::vector<ArchivedObject> asTop = std::exchange(objects, {});
    placeTree(root, "/" + *root.name);
    if (fromTop >= resolvedRecords()) {
      objects = std::move(asTop);
    }
  }

  std::size_t resolvedRecords() const {
    const ListedTree tree(objects);
    return static_cast<std::size_t>(
        std::count_if(links.begin(), links.end(), [&tree](const ApplyModuleData& record) {
          return tree.targetOf(record.path) == PathTarget::Module;
        }));
  }

  /// The path below which the links name most of the members.
  std::optional<std::string> parentOfMembers(const Node& node) const {
    std::unordered_set<std::string> memberNames;
    for (const NodePtr& member : node.members) {
      memberNames.insert(*member->name);
    }
    std::map<std::string, std::size_t> votes;
    std::optional<std::string> best;
    for (const std::string& path : inOrder) {
      if (memberNames.contains(lastName(path))) {
        const std::string parent = parentOf(path);
        const std::size_t count = ++votes[parent];
        if (!best || count > votes[*best]) {
          best = parent;
        }
      }
    }
    return best;
  }

  void placeTree(const Node& node, const std::string& path) {
    add(node, path.empty() ? "/" : path, true);
    for (const NodePtr& child : node.children) {
      placeBelow(*child, path, child->name.has_value());
    }
    for (const NodePtr& member : node.members) {
      placeBelow(*member, path, stored.contains(path + "/" + *member->name));
    }
  }

  /// Members that the links do not name have no place that could be told.
  void placeBelow(const Node& node, const std::string& path, bool isNamed) {
    if (isNamed) {
      placeTree(node, path + "/" + *node.name);
    } else {
      placeWithout(node);
    }
  }

  void placeWithout(const Node& node, const std::string& before = {}) {
    const std::string name = before + node.name.value_or("");
    add(node, name, false);
    for (const auto* objectsBelow : {&node.children, &node.members}) {
      for (const NodePtr& below : *objectsBelow) {
        placeWithout(*below, name.empty() ? "" : name + "/");
      }
    }
  }

  void add(const Node& node, const std::string& path, bool hasPlace) {
    objects.push_back(
        {path, hasPlace, node.className, node.begin, node.end, node.module, node.ownValues});
  }

  const std::vector<ApplyModuleData>& links;
  std::vector<ArchivedObject> objects;
  /// The absolute paths of the records.
  std::unordered_set<std::string> stored;
  std::vector<std::string> inOrder;
};

/// A name stands in the path of everything below it, so a few long ones may ask for more memory
/// than there is.
std::size_t bytesOfPaths(const Node& node, std::size_t above = 0) {
  const std::size_t own = above + 1 + (node.name ? node.name->size() : 0);
  std::size_t bytes = own;
  for (const auto* objectsBelow : {&node.children, &node.members}) {
    for (const NodePtr& below : *objectsBelow) {
      bytes += bytesOfPaths(*below, own);
    }
  }
  return bytes;
}

/// Far from what any design needs.
std::size_t mostFor(std::size_t archiveSize) { return (std::size_t{1} << 28U) + 16 * archiveSize; }

void readDesign(const std::string& bytes, DesignListing& listing) {
  DesignReader reader(bytes);
  try {
    reader.read(listing);
  } catch (const ArchiveException& e) {
    listing.problems.push_back({{}, e.what()});
  } catch (const std::exception& e) {
    listing.problems.push_back({reader.position(), e.what()});
  }
  if (reader.getRoot() == nullptr) {
    return;
  }
  if (const std::size_t needed = bytesOfPaths(*reader.getRoot()); needed > mostFor(bytes.size())) {
    listing.problems.push_back(
        {{}, "the paths of the objects would take " + std::to_string(needed) + " bytes"});
    return;
  }
  listing.objects = Placement(listing.links).place(*reader.getRoot());
}

}  // namespace

bool isValueClass(unsigned int typeId) {
  return typeId == registeredTypeId<Path>() || typeId == registeredTypeId<Identifier>() ||
         typeId == registeredTypeId<ApplyModuleData>() ||
         typeId == registeredTypeId<ApplyModuleInsertInfo>() ||
         typeId == registeredTypeId<ModuleState>();
}

DesignListing listDesign(const std::string& bytes) {
  DesignListing listing;
  try {
    readDesign(bytes, listing);
  } catch (const ArchiveException& e) {
    listing.problems.push_back({{}, e.what()});
  }
  return listing;
}

}  // namespace Tessaril::Diagnostics
