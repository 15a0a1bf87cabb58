#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tessaril/platform/Export.h"
#include "tessaril/platform/logging/LogMessage.h"
#include "tessaril/platform/signals/Signal.h"

namespace Tessaril {

class WORKSHOP_API LegacyProgress {
 public:
  class WORKSHOP_API Speed {
   public:
    enum Rate : std::int32_t {
      Instant = 0,
      VeryFast = 1,
      Fast = 2,
      Normal = 3,
      Slow = 4,
      VerySlow = 5
    };

    void add(Rate rate);
    int getPartitionFromRate(Rate rate) const;

   private:
    long long weight = 0;
  };

  LegacyProgress();
  LegacyProgress(const LegacyProgress&) = delete;
  LegacyProgress& operator=(const LegacyProgress&) = delete;
  ~LegacyProgress();

  double getValue() const;
  void setValue(double percent);
  void reset();
  void finish();
  bool isFinished() const;
  void requestStop();
  bool isStopRequested() const;
  void setSubProgress(LegacyProgress* subProgress, int upTo, int repetitions);
  void addLogMessage(const LogMessage& message);
  std::vector<LogMessage> getLogMessages() const;
  Signals::Connection connectToSigChanged(const Signals::Slot<void()>& slot);

 private:
  struct Node;
  std::unique_ptr<Node> node;
};

}  // namespace Tessaril
