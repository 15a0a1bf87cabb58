#pragma once

#include <iosfwd>
#include <mutex>
#include <string>

#include "examples/gear_pair/application/UpdateDesignCmd.h"

namespace GearPair {

/// Shows how far an update is: on a terminal as a bar that is drawn again in place, elsewhere as
/// one plain line a step, without control characters.
///
/// The progress is reported by whichever thread is at work, so the view takes a lock.
class ProgressView {
 public:
  /// Requires: the update and the stream live as long as the view.
  ProgressView(UpdateDesignCmd& update, std::ostream& stream, bool isTerminal);

  /// The last line: how the update ended.
  void finish(const std::string& ending);

 private:
  void stepStarted(const DesignModule& module, bool isAutoApply);
  void progressed();
  void drawBar(const std::string& text);
  int percent() const;

  UpdateDesignCmd& updateCommand;
  std::ostream& out;
  bool onTerminal;
  std::mutex mutex;
  std::string currentStep;
  std::string lastDrawn;
  Tessaril::Signals::ScopedConnection stepConnection;
  Tessaril::Signals::ScopedConnection progressConnection;
};

}  // namespace GearPair
