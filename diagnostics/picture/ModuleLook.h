#pragma once

#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/picture/DotText.h"
#include "diagnostics/picture/PictureModel.h"
#include "diagnostics/picture/PictureStyle.h"

// How one module is drawn. Internal to the picture.

namespace Tessaril::Diagnostics {

/// Everything that a legend can explain, in the order of the legend.
enum class Sign {
  kConsistent,
  kInconsistent,
  kStateUnknown,
  kInactive,
  kInputNotOk,
  kFrozen,
  kSkipped,
  kAdditional,
  kNotThere,
  kNoRecord,
  kSeveralRecords,
  kFailed,
  kDuration,
  kSideChainStart,
  kForkStart,
  kMerge,
  kMainLine,
  kOneSided,
  kRepeated,
  kCycle,
  kDead,
  kHidden,
};

using Signs = std::set<Sign>;

/// Everything that a module shows.
Signs signsOf(const SnapshotModule& module, const DrawnModule& drawn, const RunMark* mark);

/// The node of a module that shows `signs`: outline, fill, shape. Without a label.
DotAttributes nodeOf(const Signs& signs);

/// The markup of the word, or the letter, that a sign puts on a module; empty for a sign that shows
/// otherwise.
std::string chipOf(Sign sign, const PictureStyle& style);

/// The label of a module, for the inside of an HTML-like label. `longest` scales the bar of the
/// duration; `mark` may be null.
std::string labelOf(const std::string& name, const Signs& signs, const RunMark* mark,
                    std::chrono::nanoseconds longest, const PictureStyle& style);

/// A bar that fills `share` of its ground, 0 to 1.
std::string barOf(double share, const PictureStyle& style);

/// "850 ns", "12.3 ms", "4.56 s", "2 min 5 s".
std::string durationText(std::chrono::nanoseconds duration);

}  // namespace Tessaril::Diagnostics
