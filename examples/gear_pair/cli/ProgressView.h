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

  /// The last line: how the update ended. One that was stopped stays where its last step began,
  /// although the progress of a run that has ended is complete either way.
  void finish(bool stopped);

 private:
  void stepStarted(const DesignModule& module, bool isAutoApply);
  void progressed();
  void drawBar(int percent, const std::string& text);
  int presentPercent() const;

  UpdateDesignCmd& updateCommand;
  std::ostream& out;
  bool onTerminal;
  std::mutex mutex;
  std::string currentStep;
  int percentAtStep = 0;
  std::string lastDrawn;
  Tessaril::Signals::ScopedConnection stepConnection;
  Tessaril::Signals::ScopedConnection progressConnection;
};

}  // namespace GearPair
