#include "tests/support/PrivateLinks.h"

namespace Tessaril::TestSupport::PrivateLinks {

namespace {

// Access rights are not checked for the arguments of an explicit template instantiation. Each one
// below therefore may name a private member, and defines the friend function that hands it out.
template <typename Tag, typename Tag::Member kMember>
struct Grant {
  friend typename Tag::Member memberOf(Tag /*tag*/) { return kMember; }
};

using Edit = void (ApplyModule::*)(const ModulePtr&);
using Replacement = bool (ApplyModule::*)(const ModulePtr&, const ModulePtr&);

struct AddNext {
  using Member = Edit;
  friend Member memberOf(AddNext);
};
struct AddPrevious {
  using Member = Edit;
  friend Member memberOf(AddPrevious);
};
struct RemoveNext {
  using Member = Edit;
  friend Member memberOf(RemoveNext);
};
struct RemovePrevious {
  using Member = Edit;
  friend Member memberOf(RemovePrevious);
};
struct ReplaceNext {
  using Member = Replacement;
  friend Member memberOf(ReplaceNext);
};
struct ReplacePrevious {
  using Member = Replacement;
  friend Member memberOf(ReplacePrevious);
};
struct SetStartOfSideChain {
  using Member = void (ApplyModule::*)(bool);
  friend Member memberOf(SetStartOfSideChain);
};
struct GraphChange {
  using Member = void (ApplyModule::*)();
  friend Member memberOf(GraphChange);
};
struct NextList {
  using Member = LinkList ApplyModule::*;
  friend Member memberOf(NextList);
};
struct PreviousList {
  using Member = LinkList ApplyModule::*;
  friend Member memberOf(PreviousList);
};
struct InsertInfo {
  using Member = ApplyModuleInsertInfo ApplyModule::*;
  friend Member memberOf(InsertInfo);
};
struct SpeedRate {
  using Member = LegacyProgress::Speed::Rate ApplyModule::*;
  friend Member memberOf(SpeedRate);
};

template struct Grant<AddNext, &ApplyModule::addNextApplyModule>;
template struct Grant<AddPrevious, &ApplyModule::addPreviousApplyModule>;
template struct Grant<RemoveNext, &ApplyModule::removeNextApplyModule>;
template struct Grant<RemovePrevious, &ApplyModule::removePreviousApplyModule>;
template struct Grant<ReplaceNext, &ApplyModule::replaceNextApplyModule>;
template struct Grant<ReplacePrevious, &ApplyModule::replacePreviousApplyModule>;
template struct Grant<SetStartOfSideChain, &ApplyModule::setStartOfSideChain>;
template struct Grant<GraphChange, &ApplyModule::onApplyGraphChanged>;
template struct Grant<NextList, &ApplyModule::nextApplyModules>;
template struct Grant<PreviousList, &ApplyModule::previousApplyModules>;
template struct Grant<InsertInfo, &ApplyModule::insertInfo>;
template struct Grant<SpeedRate, &ApplyModule::speedRate>;

}  // namespace

void addNext(ApplyModule& module, ModulePtr next) { (module.*memberOf(AddNext{}))(next); }

void addPrevious(ApplyModule& module, ModulePtr previous) {
  (module.*memberOf(AddPrevious{}))(previous);
}

void removeNext(ApplyModule& module, ModulePtr next) { (module.*memberOf(RemoveNext{}))(next); }

void removePrevious(ApplyModule& module, ModulePtr previous) {
  (module.*memberOf(RemovePrevious{}))(previous);
}

bool replaceNext(ApplyModule& module, ModulePtr oldNext, ModulePtr newNext) {
  return (module.*memberOf(ReplaceNext{}))(oldNext, newNext);
}

bool replacePrevious(ApplyModule& module, ModulePtr oldPrevious, ModulePtr newPrevious) {
  return (module.*memberOf(ReplacePrevious{}))(oldPrevious, newPrevious);
}

void setStartOfSideChain(ApplyModule& module, bool start) {
  (module.*memberOf(SetStartOfSideChain{}))(start);
}

void announceGraphChange(ApplyModule& module) { (module.*memberOf(GraphChange{}))(); }

LinkList& nextList(ApplyModule& module) { return module.*memberOf(NextList{}); }

LinkList& previousList(ApplyModule& module) { return module.*memberOf(PreviousList{}); }

ApplyModuleInsertInfo& insertInfo(ApplyModule& module) { return module.*memberOf(InsertInfo{}); }

const ApplyModuleInsertInfo& insertInfo(const ApplyModule& module) {
  return module.*memberOf(InsertInfo{});
}

void setSpeedRate(ApplyModule& module, LegacyProgress::Speed::Rate rate) {
  module.*memberOf(SpeedRate{}) = rate;
}

}  // namespace Tessaril::TestSupport::PrivateLinks
