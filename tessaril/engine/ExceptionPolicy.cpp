#include "tessaril/engine/ExceptionPolicy.h"

#include "tessaril/engine/UpdateApplyModulesCmd.h"

namespace Tessaril {

ExceptionPolicy::ExceptionPolicy(bool preserveState) : before(preservesState()) {
  setPreservesState(preserveState);
}

ExceptionPolicy::~ExceptionPolicy() { setPreservesState(before); }

bool ExceptionPolicy::preservesState() {
  return UpdateApplyModulesCmd::s_preserveStateAfterException;
}

void ExceptionPolicy::setPreservesState(bool preserveState) {
  UpdateApplyModulesCmd::s_preserveStateAfterException = preserveState;
}

}  // namespace Tessaril
