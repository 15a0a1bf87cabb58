#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

#include "tessaril/Export.h"
#include "tessaril/module/ApplyModuleInsertInfo.h"
#include "tessaril/module/LinkList.h"
#include "tessaril/module/ModuleState.h"
#include "tessaril/platform/progress/LegacyProgress.h"

namespace Tessaril {

class ApplyCmdFactory;
class ApplyUpdateInfo;
class ApplyUpdateMessage;
class CommandBase;
class KnownLinks;
class LinkDrain;
class Object;
class PersistenceArchiver;

/// One node of an apply graph: one step of a design process that can be applied (computed) from the
/// results of the steps before it.
///
/// Words used below. A module's *previous* modules are those it is computed from, its *next*
/// modules those computed from it. *Followers* are all modules reachable along next links,
/// *dependencies* all reachable along previous links. A link is a weak reference; it is *live*
/// while the module it names exists. The order of a link list matters: the first entry is the
/// preferred neighbour, and the walks depend on it.
///
/// Modules are held through std::shared_ptr by the application; the graph owns none of them. A
/// neighbour is known by its address, whatever else a pointer to it keeps alive.
///
/// Links are edited by ApplyGraph only, which keeps both directions in step. Design steps derive
/// from this class, override the policy questions and hand in a factory for their commands. As it
/// stands the class is a module that never needs an apply of its own but takes part in auto apply.
///
/// No locking: a graph must not be edited while it is walked or updated, and belongs to one thread
/// at a time. An owner dropping a module while another thread locks a link to it is the only
/// concurrent event that is tolerated.
class TESSARIL_APPLY_EXPORT ApplyModule : public ModuleState {
 public:
  /// Receives each visited module; true goes on, false stops the walk.
  using ModuleVisitor = std::function<bool(std::shared_ptr<ApplyModule>)>;
  /// The same by reference; the module is not held alive by the walk.
  using ModuleRefVisitor = std::function<bool(const ApplyModule&)>;

  /// Unlinked and inactive, of the normal speed rate, to be added to the main chain, without
  /// factory.
  ApplyModule();
  /// Neighbours are not touched: their links to this module expire.
  ~ApplyModule() override;

  // Neighbours

  /// The next list in list order; entries may have expired. Ask anew after each edit and in each
  /// call of onApplyGraphChanged(): a reference from before may show entries that have been taken
  /// out.
  const std::vector<std::weak_ptr<ApplyModule>>& getNextApplyModules() const;
  const std::vector<std::weak_ptr<ApplyModule>>& getPreviousApplyModules() const;
  /// The module of the first entry, or null when the list is empty or that entry has expired. Later
  /// entries are not consulted.
  std::shared_ptr<ApplyModule> getNextApplyModule() const;
  std::shared_ptr<ApplyModule> getPreviousApplyModule() const;
  /// True if some entry is that very module. A null `module` matches an entry that has expired.
  /// Linear in the list.
  bool hasNextApplyModule(std::shared_ptr<ApplyModule> module) const;
  bool hasPreviousApplyModule(std::shared_ptr<ApplyModule> module) const;

  // Place in the graph

  /// An additional module is tolerated by isApplyGraphConsistent() and isDependencyGraphInputOk().
  bool isAdditionalModule() const;
  /// Announces nothing.
  void setAdditionalModule(bool additional);
  /// True for the first module of a side chain.
  bool isStartOfSideChain() const;

  // The insert information; see ApplyModuleInsertInfo.

  const Identifier& getChainId() const;
  const Identifier& getStartChainId() const;
  const std::vector<Identifier>& getMergeChainIds() const;
  ApplyModuleInsertInfo::ApplyGraphInsertMode getInsertMode() const;

  // Each writes the insert mode and what it is given; everything else of the insert information
  // keeps its value. They announce nothing, and take effect when ApplyGraph places the module.

  void setAddToChainInsertMode(const Identifier& chainId, bool transferChains);
  void setStartSideChainInsertMode(const Identifier& chainId, const Identifier& startChainId);
  void setStartForkInsertMode(const Identifier& chainId, const Identifier& startChainId);
  void setMergeForkInsertMode(const std::vector<Identifier>& mergeChainIds,
                              const Identifier& chainId);

  // Policy questions of the update engine, asked on the thread of the update as often as it likes:
  // answers are quick and have no effects. What one throws goes to whoever runs the update.

  /// True if the module needs a full apply. `isEndModule` is true for the last module of an update
  /// and for the module whose isDependencyGraphApplyRequired() is asked. False here.
  virtual bool isApplyNecessary(bool isEndModule) const;
  /// True if a full apply can be made now. False here.
  virtual bool isApplyPossible() const;
  /// True if the module needs an auto apply even without update messages. Asked of the start of an
  /// update and on the way to its end; off it, every module that has a command for it is
  /// auto-applied unasked. True here.
  virtual bool isAutoApplyNecessary() const;
  /// True if an auto apply can be made now. Asked where the one above is. True here.
  virtual bool isAutoApplyPossible() const;
  /// True if the messages make a full apply necessary. True here unless `info` is empty.
  virtual bool isUpdateInfoRelevant(const ApplyUpdateInfo& info) const;
  /// True if what follows is auto-applied even where this module stays inconsistent after its own
  /// auto apply. True here.
  virtual bool updateAlways() const;
  /// True if the module's commands use what other modules use as well: its auto apply command is
  /// never made to run alone, and what follows is auto-applied as with updateAlways(). False here.
  virtual bool usesSharedResources() const;
  /// For update commands of the application; nothing in the library asks it. False here.
  virtual bool enableDesignSwitch() const;
  /// How long an apply usually takes. Here the rate of the record that the module was loaded from;
  /// the normal one for a new module.
  virtual LegacyProgress::Speed::Rate getSpeedRate() const;

  // Commands. Each is made by the factory, which may answer null; without one the result is null.
  // `object` is the design object that owns the graph. What the factory throws passes on. An update
  // asks on its own thread.

  /// Replaces the factory; null removes it.
  void setApplyCmdFactory(std::shared_ptr<ApplyCmdFactory> factory);
  bool hasApplyCmdFactory() const;
  virtual std::shared_ptr<CommandBase> createApplyCommand(std::shared_ptr<Object> object);
  /// `mayRunAlone` is handed on to the factory unchanged; see ApplyCmdFactory.
  virtual std::shared_ptr<CommandBase> createAutoApplyCommand(std::shared_ptr<Object> object,
                                                              bool mayRunAlone);
  /// `flag` is handed on to the factory unchanged and means what the application makes of it; the
  /// library itself passes false.
  virtual std::shared_ptr<CommandBase> createMessageHandlingCmd(
      std::shared_ptr<Object> object, std::shared_ptr<ApplyUpdateMessage> message, bool flag);

  // Walks. Depth first with the last-listed neighbour first, each reachable module once, expired
  // links skipped; linear in the modules and links reached. True: the walk ran to its end; false:
  // the visitor stopped it. An empty visitor throws std::bad_function_call at the first module it
  // would be called for. A visitor of the walks from this module must not edit the graph; one of
  // the first two may, but edits of modules that were visited come too late for the walk.

  /// Visits all followers, this module not among them unless a cycle leads back to it.
  bool forAllFollowingModules(ModuleVisitor visitor) const;
  /// Visits all dependencies, this module not among them unless a cycle leads back to it.
  bool forAllPreviousModules(ModuleVisitor visitor) const;
  /// Visits this module, then all followers. The modules are not held alive: a visitor must not
  /// drop the last owner of one.
  bool forThisAndAllFollowingModules(ModuleRefVisitor visitor) const;
  bool forThisAndAllPreviousModules(ModuleRefVisitor visitor) const;
  /// Adds all dependencies to `modules`, `stopModule` included, what lies behind it only as far as
  /// another way leads there. Modules that are in the set already count as visited: nothing is
  /// gathered through them. A null `stopModule` stops nowhere.
  void gatherAllDependencies(std::unordered_set<std::shared_ptr<ApplyModule>>& modules,
                             const std::shared_ptr<ApplyModule>& stopModule) const;
  /// The same for followers.
  void gatherAllSuccessors(std::unordered_set<std::shared_ptr<ApplyModule>>& modules,
                           const std::shared_ptr<ApplyModule>& stopModule) const;

  // Questions about the graph around this module

  /// True if `module` is this module or one of its dependencies.
  bool hasAsAncestor(const ApplyModule& module) const;
  /// False for null.
  bool hasAsAncestor(std::shared_ptr<ApplyModule> module) const;
  /// True if this module and all followers are consistent; additional modules need not be.
  bool isApplyGraphConsistent() const;
  /// True if this module and all dependencies are consistent, additional ones too: a result can
  /// only be trusted when everything it was computed from can.
  bool isDependencyGraphConsistent() const;
  /// True if the input of this module and of every dependency is usable. Modules that are inactive,
  /// frozen or skipped pass, and so do additional modules; with `strictForThis` this module has to
  /// be ok even if it is an additional one.
  bool isDependencyGraphInputOk(bool strictForThis) const;
  /// True if this module or a dependency answers isApplyNecessary() with true; this module is asked
  /// with `necessaryForThis`, every other with false.
  virtual bool isDependencyGraphApplyNecessary(bool necessaryForThis) const;
  /// True if all inputs are ok and something among this module and its dependencies needs applying.
  bool isDependencyGraphApplyRequired() const;

  /// Every follower's sendStateChangeSignal(), once each, in the order of forAllFollowingModules().
  void sendStateChangeSignalsOfFollowingModules() const override;

  // Stored records; docs/format.md lists their fields. A record holds the state, the additional
  // flag, the speed rate and the insert information without its transfer request. The links and the
  // start-of-side-chain flag are stored with the graph, see ApplyGraph::storeApplyGraph(). A class
  // derived from this one writes its ApplyModule part with writeNested().

  /// True when the class is known to the archiver, which it is from the load of the library on.
  static const bool s_force_serialization_registration;
  /// Fills the class record of "ApplyModule" into the BaseClassRegister that `descriptor` points
  /// to. Its save and load operations throw an exception with the text "Parent not registered" when
  /// the archiver has not accepted ModuleState as the base of this class.
  static void serialization_register(void* descriptor);

 protected:
  /// Called after each change of one entry of this module's link lists, with the list changed. An
  /// edit that clears or copies a whole list does not call it.
  /// An override recomputes what depends on the neighbours; it must not edit links, since the edit
  /// that called it may be halfway through several modules.
  virtual void onApplyGraphChanged();

 private:
  friend class ApplyGraph;

  void addNextApplyModule(const std::shared_ptr<ApplyModule>& module);
  void addPreviousApplyModule(const std::shared_ptr<ApplyModule>& module);
  // For an edit that adds many modules to one list.
  void addNextApplyModule(const std::shared_ptr<ApplyModule>& module, KnownLinks& known);
  void addPreviousApplyModule(const std::shared_ptr<ApplyModule>& module, KnownLinks& known);
  void removeNextApplyModule(const std::shared_ptr<ApplyModule>& module);
  void removePreviousApplyModule(const std::shared_ptr<ApplyModule>& module);
  bool replaceNextApplyModule(const std::shared_ptr<ApplyModule>& oldModule,
                              const std::shared_ptr<ApplyModule>& newModule);
  bool replacePreviousApplyModule(const std::shared_ptr<ApplyModule>& oldModule,
                                  const std::shared_ptr<ApplyModule>& newModule);
  void setStartOfSideChain(bool start);
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);
  void loadInsertInfo(PersistenceArchiver& archiver, unsigned int version);
  static bool registerParent();
  void setChainStart(ApplyModuleInsertInfo::ApplyGraphInsertMode mode, Identifier chainId,
                     Identifier startChainId);

  void addLink(LinkList& links, const std::shared_ptr<ApplyModule>& module, KnownLinks* known);
  void removeLink(LinkList& links, const std::shared_ptr<ApplyModule>& module);
  bool replaceLink(LinkList& links, const std::shared_ptr<ApplyModule>& oldModule,
                   const std::shared_ptr<ApplyModule>& newModule);
  void clearLinks(LinkList& links);
  /// Both lists of the other module, whose lists are empty then.
  void takeOverLinks(ApplyModule& other);
  struct NextLinks;
  struct PreviousLinks;
  static const LinkList& nextLinksOf(const ApplyModule& module) {
    module.settleLinks();
    return module.nextApplyModules;
  }
  static const LinkList& previousLinksOf(const ApplyModule& module) {
    module.settleLinks();
    return module.previousApplyModules;
  }
  /// To be called before a list is used.
  void settleLinks() const {
    if (linkDrain != nullptr) {
      settleLinkDrain();
    }
  }
  void settleLinkDrain() const;

  /// Has the processor begin to load the links of a module that will be looked at soon: modules are
  /// all over the memory, and to wait for one after the other is most of what a walk costs. The
  /// module may have gone; its address is not followed.
  static void loadLinksEarly(const ApplyModule* module) {
#if defined(__GNUC__)
    // The lists are the first members. A number, since a pointer to what has gone must not be
    // moved. NOLINTBEGIN(performance-no-int-to-ptr)
    const auto lists = reinterpret_cast<std::uintptr_t>(module) + sizeof(ModuleState);
    __builtin_prefetch(reinterpret_cast<const void*>(lists));
    __builtin_prefetch(reinterpret_cast<const void*>(lists + 64));
    // NOLINTEND(performance-no-int-to-ptr)
#endif
  }

  static const unsigned int s_serialization_type_id;
  static const bool s_parent_registered_for_save;
  static const bool s_parent_registered_for_load;

  LinkList previousApplyModules;
  /// The edit that is taking entries out of one of the lists, or null. Between them, since whoever
  /// uses a list looks here first.
  LinkDrain* linkDrain = nullptr;
  LinkList nextApplyModules;
  // By value: a host may name its rates as it likes.
  LegacyProgress::Speed::Rate speedRate = static_cast<LegacyProgress::Speed::Rate>(3);
  std::shared_ptr<ApplyCmdFactory> applyCmdFactory;
  bool additionalModule = false;
  bool startOfSideChain = false;
  ApplyModuleInsertInfo insertInfo;
};

}  // namespace Tessaril
