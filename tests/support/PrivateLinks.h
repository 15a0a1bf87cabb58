#pragma once

#include <memory>

#include "tessaril/module/ApplyModule.h"
#include "tessaril/module/LinkList.h"

/// The private part of ApplyModule, for tests of single link edits and for graphs that no edit
/// would build (one-sided links, duplicates, links of a module with itself).
namespace Tessaril::TestSupport::PrivateLinks {

using Links = LinkList::Links;
using ModulePtr = std::shared_ptr<ApplyModule>;

// The module's own edits: they filter what they are given and call onApplyGraphChanged().

void addNext(ApplyModule& module, ModulePtr next);
void addPrevious(ApplyModule& module, ModulePtr previous);
void removeNext(ApplyModule& module, ModulePtr next);
void removePrevious(ApplyModule& module, ModulePtr previous);
bool replaceNext(ApplyModule& module, ModulePtr oldNext, ModulePtr newNext);
bool replacePrevious(ApplyModule& module, ModulePtr oldPrevious, ModulePtr newPrevious);
void setStartOfSideChain(ApplyModule& module, bool start);
/// Calls the module's onApplyGraphChanged().
void announceGraphChange(ApplyModule& module);

// The fields themselves: nothing is filtered, no hook is called.

LinkList& nextList(ApplyModule& module);
LinkList& previousList(ApplyModule& module);
ApplyModuleInsertInfo& insertInfo(ApplyModule& module);
const ApplyModuleInsertInfo& insertInfo(const ApplyModule& module);
void setSpeedRate(ApplyModule& module, LegacyProgress::Speed::Rate rate);

}  // namespace Tessaril::TestSupport::PrivateLinks
