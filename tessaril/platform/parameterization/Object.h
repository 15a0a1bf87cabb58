#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/parameterization/ChildTable.h"
#include "tessaril/platform/parameterization/ObjectException.h"
#include "tessaril/platform/parameterization/Path.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class PersistenceArchiver;

/// What kind of change in the parameter tree a tree-changed signal announces.
enum class ObjectTreeChangeReason {
  ChildAdded = 0,
  ChildRemoved = 1,
  StateChanged = 2,
  Renamed = 3
};

/// How a path is to be expressed. Value 0 is the absolute path from the root.
enum class RequestedPathType { Absolute = 0 };

/// What Object::getObject does when the path leads nowhere.
enum class GetObjectBehavior { Throw = 0, ReturnNull = 1 };

/// A node of the application's parameter tree: a name, a parent, and owned children.
///
/// Objects are held through std::shared_ptr; a parent owns its children, a child knows its parent
/// by address only. Names are not empty, hold no '/', are not "." or "..", and are unique among
/// siblings. A tree belongs to one thread at a time. Adding and finding a child by name take
/// constant time; removing one is linear in the number of its siblings.
///
/// addChild, removeChild and setName announce what they did when it is done: a slot that throws
/// does not take it back, and the exception passes on.
class TESSARIL_PLATFORM_EXPORT Object : public std::enable_shared_from_this<Object> {
 public:
  using TreeChangedSignal = Signals::Signal<void(const Object&, ObjectTreeChangeReason)>;

  /// Throws ObjectException for a name that is not allowed.
  explicit Object(std::string name);
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  /// Children that are owned elsewhere as well live on without a parent. Announces nothing.
  virtual ~Object();

  const std::string& getName() const noexcept;
  /// Throws ObjectException, and changes nothing, when a sibling has that name already or it is not
  /// allowed. Announces Renamed for this object; the present name again changes and announces
  /// nothing.
  void setName(std::string name);

  /// The parent, or null for a root.
  Object* getParent() const noexcept;
  /// The topmost ancestor; the object itself when it has no parent.
  const Object& getRoot() const noexcept;
  /// In the order in which they were added.
  const std::vector<std::shared_ptr<Object>>& getChildren() const noexcept;
  /// The child of that name, or null.
  std::shared_ptr<Object> getChild(std::string_view name) const;

  /// Appends a child. Throws ObjectException, and changes nothing, when the child is null, has a
  /// parent already, is this object or one of its ancestors, or bears a sibling's name. Announces
  /// ChildAdded for this object.
  void addChild(std::shared_ptr<Object> child);
  /// Takes a child out and hands its ownership back. Throws ObjectException when it is no child.
  /// Announces ChildRemoved for this object.
  std::shared_ptr<Object> removeChild(const Object& child);

  /// The path of this object; see RequestedPathType.
  Path getPath(RequestedPathType type) const;
  /// The path from `origin` to this object, relative whatever `type` says; climbs with ".." where
  /// needed. "." for the object itself. Throws ObjectException when the two are in different trees
  /// or `origin` is null.
  Path getPath(const Object* origin, RequestedPathType type) const;

  /// The object that `path` leads to: from the root for an absolute path, else from this object.
  /// Where it leads nowhere (the empty path always does), `behavior` decides between an
  /// ObjectException that names the path and a null pointer. An object that no shared pointer holds
  /// counts as not found, and so does the parent of a root.
  std::shared_ptr<Object> getObject(const Path& path,
                                    GetObjectBehavior behavior = GetObjectBehavior::Throw) const;

  /// Announces a change of this object: this object's tree-changed signal first, then that of every
  /// ancestor up to the root, each with this object and the reason. A slot may edit the tree: the
  /// announcement climbs the parents as it finds them, and what it passes stays alive meanwhile.
  void emitSigTreeChanged(ObjectTreeChangeReason reason) const;
  Signals::Connection connectToSigTreeChanged(
      const TreeChangedSignal::SlotType& slot,
      Signals::ConnectPosition position = Signals::ConnectPosition::AtBack) const;

  /// Fills the class record of "Object" into a BaseClassRegister. The record holds the name and the
  /// children, each with its run-time class, which has to be registered and to have a caster to
  /// Object. Loading renames the object and adds the children to those that it has, with what
  /// setName() and addChild() throw and announce.
  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
  void requireAddable(const Object* child) const;
  void requireFreeName(std::string_view name) const;
  std::vector<std::string> namesBelow(const Object& ancestor) const;
  const Object* follow(const Path& path) const;

  std::string objectName;
  Object* parent = nullptr;
  std::vector<std::shared_ptr<Object>> children;
  /// The same children.
  ChildTable childrenByName;
  TreeChangedSignal sigTreeChanged;
};

}  // namespace Tessaril
