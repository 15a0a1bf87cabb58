#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/parameterization/ObjectException.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class PersistenceArchiver;

enum class ObjectTreeChangeReason {
  ChildAdded = 0,
  ChildRemoved = 1,
  StateChanged = 2,
  Renamed = 3
};
enum class RequestedPathType { Absolute = 0 };
enum class GetObjectBehavior { Throw = 0, ReturnNull = 1 };

class WORKSHOP_API Object : public std::enable_shared_from_this<Object> {
 public:
  using TreeChangedSignal = Signals::Signal<void(const Object&, ObjectTreeChangeReason)>;

  explicit Object(std::string objectName);
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();

  const std::string& getName() const noexcept { return name; }
  void setName(std::string newName);

  Object* getParent() const noexcept { return parent; }
  const Object& getRoot() const noexcept;
  const std::vector<std::shared_ptr<Object>>& getChildren() const noexcept { return children; }
  std::shared_ptr<Object> getChild(std::string_view childName) const;
  void addChild(std::shared_ptr<Object> child);
  std::shared_ptr<Object> removeChild(const Object& child);

  Path getPath(RequestedPathType type) const;
  Path getPath(const Object* origin, RequestedPathType type) const;
  std::shared_ptr<Object> getObject(const Path& path,
                                    GetObjectBehavior behavior = GetObjectBehavior::Throw) const;

  void emitSigTreeChanged(ObjectTreeChangeReason reason) const;
  Signals::Connection connectToSigTreeChanged(
      const TreeChangedSignal::SlotType& slot,
      Signals::ConnectPosition position = Signals::ConnectPosition::AtBack) const {
    return treeChanged.connect(slot, position);
  }

  static void serialization_register(void* descriptor);

 private:
  std::vector<const Object*> lineage() const;
  std::shared_ptr<Object> follow(const Path& path) const;
  void save(PersistenceArchiver& archiver) const;
  void load(PersistenceArchiver& archiver);

  std::string name;
  Object* parent = nullptr;
  std::vector<std::shared_ptr<Object>> children;
  std::map<std::string, std::shared_ptr<Object>, std::less<>> childrenByName;
  TreeChangedSignal treeChanged;
};

}  // namespace Tessaril
