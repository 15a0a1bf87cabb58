#pragma once

#include <cstdint>
#include <vector>

#include "tessaril/Export.h"
#include "tessaril/platform/identifiers/Identifier.h"

namespace Tessaril {

class PersistenceArchiver;

/// Where a module belongs in an apply graph: on which chain, and how it joins it.
///
/// A chain is named by an Identifier; the invalid identifier names the main chain. The placement
/// operations of ApplyGraph read this; setting it moves nothing.
class TESSARIL_APPLY_EXPORT ApplyModuleInsertInfo {
 public:
  enum ApplyGraphInsertMode : std::int32_t {
    /// The module continues the chain of its chain id.
    AddToChain = 0,
    /// The module starts the side chain of its chain id, off the chain of its start chain id.
    StartSideChain = 1,
    /// The module starts the fork of its chain id, off the chain of its start chain id.
    StartFork = 2,
    /// The module joins the chains of its merge chain ids into the chain of its chain id.
    MergeFork = 3,
  };

  /// AddToChain on the main chain, no merge chain ids, no transfer of chains.
  ApplyModuleInsertInfo();
  ApplyModuleInsertInfo(const ApplyModuleInsertInfo&);
  ApplyModuleInsertInfo& operator=(const ApplyModuleInsertInfo&);
  ~ApplyModuleInsertInfo();

  ApplyGraphInsertMode getInsertMode() const;
  void setInsertMode(ApplyGraphInsertMode mode);

  /// The chain that the module belongs to.
  const Identifier& getChainId() const;
  void setChainId(const Identifier& id);

  /// The chains that meet in a merge.
  const std::vector<Identifier>& getMergeChainIds() const;
  void setMergeChainIds(const std::vector<Identifier>& ids);

  /// The chain from which a side chain or fork branches: the first merge chain id, or the invalid
  /// identifier when there is none. A merge and the start of a chain never need both, so one list
  /// serves both; stored records hold only that list.
  const Identifier& getStartChainId() const;
  /// Makes `id` the only merge chain id; a null `id` leaves none.
  void setStartChainId(const Identifier& id);

  /// A request, used up by the next AddToChain placement: the module takes over every next module
  /// of its anchor, side chains included. It is not stored with the module.
  bool getTransferChains() const;
  void setTransferChains(bool transfer);

  /// True when the class is known to the archiver, which it is from the load of the library on.
  static const bool s_force_serialization_registration;
  /// Fills the class record of "ApplyModuleInsertInfo" into the BaseClassRegister that `descriptor`
  /// points to.
  static void serialization_register(void* descriptor);

 private:
  void save(PersistenceArchiver& archiver, unsigned int version) const;
  void load(PersistenceArchiver& archiver, unsigned int version);

  static const unsigned int s_serialization_type_id;

  ApplyGraphInsertMode insertMode = AddToChain;
  Identifier chainId;
  std::vector<Identifier> mergeChainIds;
  bool transferChains = false;
};

}  // namespace Tessaril
