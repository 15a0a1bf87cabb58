#include "bench/peers/CerealDesign.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/base_class.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#include <cstddef>
#include <cstdint>
#include <random>
#include <sstream>
#include <unordered_map>
#include <utility>

#include "bench/DesignTree.h"
#include "bench/Shapes.h"

namespace Tessaril::Bench::CerealRecords {

struct Id {
  std::uint64_t high = 0;
  std::uint64_t low = 0;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(high, low);
  }
};

struct Node {
  virtual ~Node() = default;
  std::string name;
  std::vector<std::shared_ptr<Node>> children;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(name, children);
  }
};

struct State {
  bool consistent = false;
  bool active = false;
  bool inputOk = false;
  bool frozen = false;
  bool skipped = false;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(consistent, active, inputOk, frozen, skipped);
  }
};

struct InsertInfo {
  std::uint32_t mode = 0;
  Id chain;
  std::vector<Id> mergeChains;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(mode, chain, mergeChains);
  }
};

struct Module : State {
  bool additional = false;
  std::uint32_t speedRate = 0;
  InsertInfo insertInfo;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(cereal::base_class<State>(this), additional, speedRate, insertInfo);
  }
};

struct Step : Module, Node {
  double value = 0;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(cereal::base_class<Node>(this), cereal::base_class<Module>(this), value);
  }
};

struct Links {
  std::string path;
  std::vector<std::string> previous;
  std::vector<std::string> next;
  bool startOfSideChain = false;

  template <typename Archive>
  void serialize(Archive& archive) {
    archive(path, previous, next, startOfSideChain);
  }
};

}  // namespace Tessaril::Bench::CerealRecords

CEREAL_REGISTER_TYPE(Tessaril::Bench::CerealRecords::Node)
CEREAL_REGISTER_TYPE(Tessaril::Bench::CerealRecords::Step)
CEREAL_REGISTER_POLYMORPHIC_RELATION(Tessaril::Bench::CerealRecords::Node,
                                     Tessaril::Bench::CerealRecords::Step)

namespace Tessaril::Bench {

namespace {

using namespace CerealRecords;

Id idOf(const Identifier& identifier) {
  std::string digits = identifier.toString();
  std::erase(digits, '-');
  constexpr int kHexadecimal = 16;
  constexpr std::size_t kDigitsInHalf = 16;
  return {std::stoull(digits.substr(0, kDigitsInHalf), nullptr, kHexadecimal),
          std::stoull(digits.substr(kDigitsInHalf), nullptr, kHexadecimal)};
}

void fill(Step& copy, const DesignStep& step) {
  copy.consistent = step.isConsistent();
  copy.active = step.isActive();
  copy.inputOk = step.isInputOk();
  copy.frozen = step.isFrozen();
  copy.skipped = step.isSkipped();
  copy.additional = step.isAdditionalModule();
  copy.speedRate = static_cast<std::uint32_t>(step.getSpeedRate());
  copy.insertInfo.mode = static_cast<std::uint32_t>(step.getInsertMode());
  copy.insertInfo.chain = idOf(step.getChainId());
  for (const Identifier& id : step.getMergeChainIds()) {
    copy.insertInfo.mergeChains.push_back(idOf(id));
  }
  copy.value = step.value;
}

std::shared_ptr<Node> copyWithoutChildren(const Object& object) {
  std::shared_ptr<Node> copy;
  if (const auto* const step = dynamic_cast<const DesignStep*>(&object)) {
    auto copiedStep = std::make_shared<Step>();
    fill(*copiedStep, *step);
    copy = std::move(copiedStep);
  } else {
    copy = std::make_shared<Node>();
  }
  copy->name = object.getName();
  return copy;
}

void listObjects(const Object& object, std::vector<const Object*>& objects) {
  objects.push_back(&object);
  for (const auto& child : object.getChildren()) {
    listObjects(*child, objects);
  }
}

/// The nodes lie in memory as the modules of a ModuleGraph do; there have to be fillers as well.
std::shared_ptr<Node> copyOf(const Object& root,
                             std::vector<std::unique_ptr<std::byte[]>>& fillers) {
  std::vector<const Object*> objects;
  listObjects(root, objects);
  std::mt19937_64 random(objects.size());
  std::unordered_map<const Object*, std::shared_ptr<Node>> copies;
  for (const Number number : shuffled(objects.size())) {
    copies[objects[number]] = copyWithoutChildren(*objects[number]);
    fillers.push_back(std::make_unique<std::byte[]>(16 + random() % 256));
  }
  for (const Object* object : objects) {
    for (const auto& child : object->getChildren()) {
      copies[object]->children.push_back(copies[child.get()]);
    }
  }
  return copies[&root];
}

std::vector<std::string> textsOf(const std::vector<Path>& paths) {
  std::vector<std::string> texts;
  for (const Path& path : paths) {
    texts.push_back(path.toString());
  }
  return texts;
}

}  // namespace

struct CerealDesign::Data {
  std::shared_ptr<Node> root;
  std::vector<Links> links;
  std::vector<std::unique_ptr<std::byte[]>> fillers;
};

CerealDesign::CerealDesign() : data(std::make_unique<Data>()) {}

CerealDesign::CerealDesign(const Object& root, const std::vector<ApplyModuleData>& links)
    : CerealDesign() {
  data->root = copyOf(root, data->fillers);
  for (const ApplyModuleData& record : links) {
    data->links.push_back({record.path.toString(), textsOf(record.previousPaths),
                           textsOf(record.nextPaths), record.startOfSideChain});
  }
}

CerealDesign::~CerealDesign() = default;
CerealDesign::CerealDesign(CerealDesign&&) noexcept = default;
CerealDesign& CerealDesign::operator=(CerealDesign&&) noexcept = default;

std::string CerealDesign::save() const {
  std::ostringstream stream(std::ios::binary);
  cereal::BinaryOutputArchive archive(stream);
  archive(data->root, data->links);
  return std::move(stream).str();
}

CerealDesign CerealDesign::open(const std::string& archive) {
  std::istringstream stream(archive, std::ios::binary);
  cereal::BinaryInputArchive reading(stream);
  CerealDesign opened;
  reading(opened.data->root, opened.data->links);
  return opened;
}

std::size_t CerealDesign::childCount() const { return data->root->children.size(); }
std::size_t CerealDesign::linkCount() const { return data->links.size(); }

}  // namespace Tessaril::Bench
