#pragma once

#include "tests/support/literal/LiteralWalks.h"

/// Edits of ApplyGraph. They look neighbours up by locking entry after entry, and call
/// onApplyGraphChanged() after each change of one entry, as the library does. Requires: no update
/// runs over the graph.
namespace Tessaril::Literal {

void insert(ModulePtr module, ModulePtr previous, ModulePtr next, bool startOfSideChain);
void insertAfter(ModulePtr module, ModulePtr anchor);
void insertBefore(ModulePtr module, ModulePtr anchor);
void remove(ModulePtr module);
void replace(ModulePtr oldModule, ModulePtr newModule);

}  // namespace Tessaril::Literal
