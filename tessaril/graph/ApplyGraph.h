#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <unordered_set>
#include <vector>

#include "tessaril/Export.h"

namespace Tessaril {

class ApplyModule;
class Identifier;
class LinkList;
class Object;
struct ApplyModuleData;

/// The operations over whole graphs of apply modules: navigation, edits, placement, ordered
/// traversal and a text dump. All are static; the graph is made of the modules' own links only.
///
/// Words used below. A *chain* is made of linked modules with the same chain id. The *main chain*
/// has the invalid chain id. A *side chain* has a valid chain id; its first module has a module of
/// the parent chain among its previous modules, names the parent chain in its start chain id (the
/// invalid id: the main chain) and carries the start-of-side-chain flag. A *fork* is a side chain
/// that also leads back into another chain; its first module is in StartFork mode. A *merge* has
/// several previous modules, is in MergeFork mode, and lists their chain ids. A link is *live*
/// while the module it names exists; links that are not live are passed over.
///
/// Every edit of one entry of a module's link list calls that module's onApplyGraphChanged(); where
/// an edit clears or copies a whole list ("directly"), it does not. Edits record each link at both
/// ends, provided that both ends agreed before. A null module that an operation has no rule for
/// changes nothing. What an overridden onApplyGraphChanged() throws leaves the edit partly done.
///
/// No locking: one thread at a time edits a graph, and not while it is walked.
class TESSARIL_APPLY_EXPORT ApplyGraph {
 public:
  using ModuleSet = std::unordered_set<std::shared_ptr<ApplyModule>>;
  using ModuleQueue = std::queue<std::shared_ptr<ApplyModule>>;

  // For the library itself, which reads links by address as well.

  static const LinkList& getNextLinks(const ApplyModule& module);
  static const LinkList& getPreviousLinks(const ApplyModule& module);
  static void loadLinksEarly(const ApplyModule* module);

  // Navigation. Linear in the path walked, without allocation. Null in, null out. Requires: the
  // path walked does not run in a circle.

  /// From `module` always to the first live previous module, until there is none.
  static std::shared_ptr<ApplyModule> getStart(std::shared_ptr<ApplyModule> module);
  static std::shared_ptr<const ApplyModule> getStartConst(
      std::shared_ptr<const ApplyModule> module);
  /// From `module` always to the first live next module that does not start a side chain, until
  /// there is none. From inside a fork this leads on into the line that the fork joins.
  static std::shared_ptr<ApplyModule> getEnd(std::shared_ptr<ApplyModule> module);
  /// The first module of the module's chain; for the main chain, the start of the graph.
  static std::shared_ptr<ApplyModule> getFirstModuleOfChain(std::shared_ptr<ApplyModule> module);
  /// The first live next module with that chain id, or null.
  static std::shared_ptr<ApplyModule> getNextModuleWithChainId(std::shared_ptr<ApplyModule> module,
                                                               const Identifier& chainId);
  /// The first live previous module with that chain id, or null.
  static std::shared_ptr<ApplyModule> getPreviousModuleWithChainId(
      std::shared_ptr<ApplyModule> module, const Identifier& chainId);
  /// True if both modules lead to the same start.
  static bool isInSameGraph(std::shared_ptr<const ApplyModule> a,
                            std::shared_ptr<const ApplyModule> b);
  /// How deep the module's chain lies below the main chain, which has level 0. Throws TsException
  /// when a chain on the way is not linked to the parent chain that it names, or when `module` is
  /// null.
  static std::uint64_t computeLevelOfChain(std::shared_ptr<ApplyModule> module);

  // Edits of one module. Linear in the links that are made and taken out and in the lists that are
  // searched for each of them; where many modules are added to one list, duplicates are looked up
  // in a set. A hook that looks at a list of which many entries are being taken out costs its
  // length. The two fork operations walk the chain of `from` as well.

  /// Links `module` between two neighbours, either of which may be null: in the place of the link
  /// between them if there is one, else at the end of their lists. Sets or clears the module's
  /// start-of-side-chain flag. Links that the module has already are kept. With a null `next`, a
  /// dead entry of the previous module's next list is replaced rather than a new one appended.
  static void insert(std::shared_ptr<ApplyModule> module, std::shared_ptr<ApplyModule> previous,
                     std::shared_ptr<ApplyModule> next, bool startOfSideChain);
  /// Makes `module`, cut loose from its old neighbours, the only next module of `anchor`, and gives
  /// it all of anchor's former next modules. Does nothing if it follows `anchor` already. The
  /// start-of-side-chain flags stay where they are.
  static void insertAfter(std::shared_ptr<ApplyModule> module, std::shared_ptr<ApplyModule> anchor);
  /// The mirror image of insertAfter(), except that the start-of-side-chain flag of `anchor` moves
  /// to `module`, which now comes first in the chain.
  static void insertBefore(std::shared_ptr<ApplyModule> module,
                           std::shared_ptr<ApplyModule> anchor);
  /// Takes `module` out and links each of its previous modules with each of its next modules, at
  /// the ends of their lists. If it started a side chain, every next module starts one afterwards.
  static void remove(std::shared_ptr<ApplyModule> module);
  /// Gives the links, the places in the neighbours' lists and the start-of-side-chain flag of
  /// `oldModule` to `newModule`, whose own links are overwritten, not unlinked. Pass two distinct
  /// modules that are not linked with one another: a module replaced by itself loses its lists
  /// while its neighbours keep theirs, and of two neighbours the new one would be linked with
  /// itself.
  static void replace(std::shared_ptr<ApplyModule> oldModule,
                      std::shared_ptr<ApplyModule> newModule);
  /// Links `from`, the last module of a chain, into `to`, which becomes a merge. If the first
  /// module of that chain is in StartSideChain mode and its previous list has exactly one entry, a
  /// live one, it changes to StartFork mode, off the chain of the module that the entry names. Its
  /// start-of-side-chain flag is left.
  static void addFork(std::shared_ptr<ApplyModule> from, std::shared_ptr<ApplyModule> to);
  /// Takes out the link to `to` from its first live previous module with from's chain id, normally
  /// `from` itself; without one, nothing changes. `to` becomes an ordinary module of its chain,
  /// without transfer request, when exactly one entry of its previous list is left. A first module
  /// in StartFork mode with exactly one previous entry, a live one, changes back to StartSideChain
  /// mode, unless it is of the main chain, or a module of its chain had a second next entry while
  /// the link was there. All entries count, live or not.
  static void removeFork(std::shared_ptr<ApplyModule> from, std::shared_ptr<ApplyModule> to);

  // Edits of a sub-graph, given by its first and its last module; the links inside are not touched.

  /// Links the sub-graph between two neighbours, either of which may be null. Unlike insert(),
  /// false for `startOfSideChain` leaves the flag of `start` as it is.
  static void insertSubGraph(std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end,
                             std::shared_ptr<ApplyModule> previous,
                             std::shared_ptr<ApplyModule> next, bool startOfSideChain);
  /// Like insertAfter().
  static void insertSubGraphAfter(std::shared_ptr<ApplyModule> start,
                                  std::shared_ptr<ApplyModule> end,
                                  std::shared_ptr<ApplyModule> anchor);
  /// Like insertBefore().
  static void insertSubGraphBefore(std::shared_ptr<ApplyModule> start,
                                   std::shared_ptr<ApplyModule> end,
                                   std::shared_ptr<ApplyModule> anchor);
  /// Takes the sub-graph out, whole, and links its surroundings like remove(). Unlike there, a
  /// start-of-side-chain flag is not handed on to the modules behind it.
  static void removeSubGraph(std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end);
  /// Hangs a side chain from `oldParent` to `newParent`: at the same place in the previous list of
  /// `sideStart`, at the end of the next list of `newParent`. False, with nothing changed, unless
  /// `sideStart` and `oldParent` are linked in both directions and `newParent` is another module.
  static bool moveStartOfSubChain(std::shared_ptr<ApplyModule> sideStart,
                                  std::shared_ptr<ApplyModule> oldParent,
                                  std::shared_ptr<ApplyModule> newParent);

  // Placement by insert mode

  /// insertSubGraphAccordingToInsertMode(module, module, anchor).
  static void insertAccordingToInsertMode(std::shared_ptr<ApplyModule> module,
                                          std::shared_ptr<ApplyModule> anchor);
  /// insertSubGraphAccordingToInsertMode(module, module, previousModules, next).
  static void insertAccordingToInsertMode(
      std::shared_ptr<ApplyModule> module,
      const std::vector<std::shared_ptr<ApplyModule>>& previousModules,
      std::shared_ptr<ApplyModule> next);
  /// Places a sub-graph at `anchor` as the insert mode of `start` says.
  ///
  /// - AddToChain: links of `start` and `end` within the chain are cut; then the sub-graph goes
  ///   between `anchor` and its successor in the chain. With the transfer-chains request it takes
  ///   over all next modules of `anchor` instead, and the request is used up.
  /// - StartSideChain, StartFork: if no module of the chain follows `anchor`, `start` joins the
  ///   next modules of `anchor` as in insert(); only a side chain's start is flagged. Else the
  ///   sub-graph goes before that module, takes its flag, and the module becomes an ordinary one of
  ///   its chain where it was in StartSideChain mode or a fork is placed. If that module is `start`
  ///   itself, nothing changes.
  /// - MergeFork: nothing; see the other overload.
  ///
  /// Without an `anchor`, AddToChain only cuts the old links and uses up the request, and the start
  /// of a chain only gets or loses its flag.
  ///
  /// Requires, for AddToChain: the sub-graph is not yet in place at `anchor`. Placed there again, a
  /// module loses its successor, and a sub-graph is linked into a circle.
  static void insertSubGraphAccordingToInsertMode(std::shared_ptr<ApplyModule> start,
                                                  std::shared_ptr<ApplyModule> end,
                                                  std::shared_ptr<ApplyModule> anchor);
  /// Places a sub-graph behind several previous modules and in front of `next`, whose former
  /// previous links are cut at both ends. The sub-graph takes over the successors that a previous
  /// module of its own chain has in that chain. Null entries of `previousModules` are passed over.
  /// Requires: a sub-graph of several modules does not follow a previous module of its own chain
  /// yet, or its start is taken for that module's successor and hung behind its end, in a circle.
  static void insertSubGraphAccordingToInsertMode(
      std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end,
      const std::vector<std::shared_ptr<ApplyModule>>& previousModules,
      std::shared_ptr<ApplyModule> next);

  // Ordered traversal: a module comes only after all its previous modules that belong to the
  // traversal; among those that are ready the first queued comes first. What can never become ready
  // (it lies on or behind a cycle) ends the traversal silently. An empty callback throws
  // std::bad_function_call at its first call. Callbacks must not edit links; what they throw ends
  // the traversal and passes on. Modules are held alive while they are queued. A traversal takes
  // time nearly in proportion to the modules and links that can be reached.

  /// Takes the next ready module off `queue`, or returns null. Entries that are null or in
  /// `visited` are dropped. A module is ready when each of its live previous modules is in
  /// `visited` or not in `scope`. Modules that have to wait go to the back of the queue, in their
  /// order, once a ready one has been found; when none is ready they are dropped. The caller adds
  /// the result to `visited`. At worst linear in the queue and the links of what waits there:
  /// the traversals below do not go this way.
  static std::shared_ptr<ApplyModule> getNextModuleInOrder(ModuleQueue& queue,
                                                           const ModuleSet& visited,
                                                           const ModuleSet& scope);
  /// Calls `callback` for every module that is start, or lies after start and before end, or is
  /// end. A null `end`: for start and everything after it. A null `start`: for nothing.
  static void forSemanticOrderedModuleRange(
      std::function<void(std::shared_ptr<ApplyModule>)> callback,
      std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end);
  /// Calls `callback` for start and everything after it that does not lie behind end. The bool is
  /// true for modules that end does not depend on and for what comes after them; always false
  /// without an end. A callback that answers false keeps the walk from going on from that module;
  /// other ways may still lead to the modules after it.
  static void forSemanticOrderedModuleFullRange(
      std::function<bool(std::shared_ptr<ApplyModule>, bool)> callback,
      std::shared_ptr<ApplyModule> start, std::shared_ptr<ApplyModule> end);
  /// Calls `callback` for every dependency of `module`, nearest first: each only after all its next
  /// modules on the way. A callback that answers false keeps the walk from going further back from
  /// that module.
  static void forSemanticOrderedPreviousModules(
      std::function<bool(std::shared_ptr<ApplyModule>)> callback,
      std::shared_ptr<ApplyModule> module);

  // Diagnosis

  /// Writes the start of the module's graph and every module that can be reached from there along
  /// next links, each once with its neighbours, to a text file, which is replaced. They come in the
  /// order of ApplyModule::forThisAndAllFollowingModules(). A file that cannot be written is not
  /// reported. For a null `module` no file is touched.
  static void write(std::shared_ptr<const ApplyModule> module, const std::string& fileName);

  // The links as stored records. The modules themselves are stored with the objects that own them.

  /// Appends one record to `data` for each module of the graphs that `modules` belong to: for those
  /// that ApplyModule::forThisAndAllFollowingModules() visits from the graph's start, in its order.
  /// A record leaves out neighbours that are no objects of the parameter tree, or have expired.
  /// Null modules are passed over. Only the graph that was stored last is known again: pass the
  /// modules grouped by graph, or records come several times, which costs room and nothing else.
  /// `object` is not used. Throws std::bad_cast at a module that is no Object; the records before
  /// it stay in `data`. Linear in the modules and links that are stored, and in those on the ways
  /// from `modules` to their starts, however many of `modules` share a way.
  static void storeApplyGraph(std::shared_ptr<const Object> object,
                              const std::vector<std::shared_ptr<const ApplyModule>>& modules,
                              std::vector<ApplyModuleData>& data);
  /// Gives each module that `data` names under `root` the links and the start-of-side-chain flag of
  /// its record, in place of those it had. Paths that lead to no module are passed over, of records
  /// as of neighbours. Lists are written directly: no hook, no signal, and no check. Links from an
  /// unknown source may have one end only, and may run in a circle, which other operations here
  /// require them not to. To be called when all modules have been loaded. What Object::getObject()
  /// throws passes on, with the records before it carried out. Requires: `root` is not null.
  static void restoreApplyGraph(std::shared_ptr<const Object> root,
                                const std::vector<ApplyModuleData>& data);

 private:
  // Pointers by value cost counting each time they are handed on.
  static void removeNext(const std::shared_ptr<ApplyModule>& module);
  static void removePrevious(const std::shared_ptr<ApplyModule>& module);
  static void placeAfter(const std::shared_ptr<ApplyModule>& start,
                         const std::shared_ptr<ApplyModule>& end,
                         const std::shared_ptr<ApplyModule>& anchor);
  static void placeBefore(const std::shared_ptr<ApplyModule>& start,
                          const std::shared_ptr<ApplyModule>& end,
                          const std::shared_ptr<ApplyModule>& anchor);
  static void takeOut(const std::shared_ptr<ApplyModule>& start,
                      const std::shared_ptr<ApplyModule>& end, bool handOnStartFlag);
  static void takeOutOfChain(const std::shared_ptr<ApplyModule>& start,
                             const std::shared_ptr<ApplyModule>& end, bool handOnStartFlag);
  static void linkBetween(const std::shared_ptr<ApplyModule>& start,
                          const std::shared_ptr<ApplyModule>& end,
                          const std::shared_ptr<ApplyModule>& previous,
                          const std::shared_ptr<ApplyModule>& next);
  static void addSubGraphToChain(const std::shared_ptr<ApplyModule>& start,
                                 const std::shared_ptr<ApplyModule>& end,
                                 const std::shared_ptr<ApplyModule>& anchor);
  static void startChainWithSubGraph(const std::shared_ptr<ApplyModule>& start,
                                     const std::shared_ptr<ApplyModule>& end,
                                     const std::shared_ptr<ApplyModule>& anchor);
  static void takeOverSuccessorsInChain(const std::shared_ptr<ApplyModule>& end,
                                        const std::shared_ptr<ApplyModule>& previous);
};

}  // namespace Tessaril
