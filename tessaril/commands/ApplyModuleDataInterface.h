#pragma once

#include <memory>

#include "tessaril/Export.h"
#include "tessaril/commands/ApplyUpdateInfo.h"

namespace Tessaril {

class ApplyCacheInterface;

/// What a command that applies a module carries besides being a command: the update messages that
/// flow from one applied module to the next, a weak reference to the cache of the running update,
/// and the way in which it is to be undone. The update engine finds it by a cast and works with
/// commands that lack it as well.
class TESSARIL_APPLY_EXPORT ApplyModuleDataInterface {
 public:
  /// Decides in which of the two passes of an undo a command is undone.
  enum UndoType : int {
    /// First pass, from the last command back to the first: the command puts stored data back.
    StorageUndo = 0,
    /// Second pass, for the application's own distinctions.
    ApplicationUndo1 = 1,
    /// Second pass, for the application's own distinctions.
    ApplicationUndo2 = 2,
    /// Second pass, from the first command to the last: the command computes its old result anew
    /// from what the commands before it have restored.
    DependentUndo = 3,
  };

  ApplyModuleDataInterface();
  /// Shares the messages of `other`.
  ApplyModuleDataInterface(const ApplyModuleDataInterface& other);
  ApplyModuleDataInterface& operator=(const ApplyModuleDataInterface& other);
  virtual ~ApplyModuleDataInterface();

  /// DependentUndo here.
  virtual UndoType getUndoType();

  /// The messages that the command receives before it runs and leaves behind when it has run.
  ApplyUpdateInfo& getUpdateInfo();
  /// Replaces the messages by those of `info`, shared, not cloned. `info` may be the command's own.
  void setUpdateInfo(const ApplyUpdateInfo& info);

  /// The cache of the running update; an empty reference where there is none. Never kept alive.
  void setApplyCache(std::weak_ptr<ApplyCacheInterface> cache);

 protected:
  /// For the derived command; lock it where it is used.
  const std::weak_ptr<ApplyCacheInterface>& getApplyCache() const;

 private:
  ApplyUpdateInfo updateInfo;
  std::weak_ptr<ApplyCacheInterface> applyCache;
};

}  // namespace Tessaril
