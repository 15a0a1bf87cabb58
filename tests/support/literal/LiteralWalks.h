#pragma once

#include <memory>
#include <unordered_set>

#include "tessaril/module/ApplyModule.h"

/// What the library does, once more: step by step, on the modules themselves, with the collections
/// that come to mind first. Nobody tunes it. It is the second opinion about order, questions and
/// notifications, and what the library's speed is measured against.
namespace Tessaril::Literal {

using ModulePtr = std::shared_ptr<ApplyModule>;
using ModuleSet = std::unordered_set<ModulePtr>;

// The walks of ApplyModule, from `origin`.

bool forAllFollowingModules(const ApplyModule& origin, ApplyModule::ModuleVisitor visitor);
bool forAllPreviousModules(const ApplyModule& origin, ApplyModule::ModuleVisitor visitor);
bool forThisAndAllFollowingModules(const ApplyModule& origin,
                                   ApplyModule::ModuleRefVisitor visitor);
bool forThisAndAllPreviousModules(const ApplyModule& origin, ApplyModule::ModuleRefVisitor visitor);

void gatherAllDependencies(const ApplyModule& origin, ModuleSet& modules,
                           const ModulePtr& stopModule);
void gatherAllSuccessors(const ApplyModule& origin, ModuleSet& modules,
                         const ModulePtr& stopModule);

// Its questions, and its notification of all followers.

bool hasAsAncestor(const ApplyModule& origin, const ApplyModule& module);
/// False for null.
bool hasAsAncestor(const ApplyModule& origin, const ModulePtr& module);
bool isApplyGraphConsistent(const ApplyModule& origin);
bool isDependencyGraphConsistent(const ApplyModule& origin);
bool isDependencyGraphInputOk(const ApplyModule& origin, bool strictForThis);
bool isDependencyGraphApplyNecessary(const ApplyModule& origin, bool necessaryForThis);
void sendStateChangeSignalsOfFollowingModules(const ApplyModule& origin);

}  // namespace Tessaril::Literal
