#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics/picture/DotText.h"
#include "diagnostics/picture/PictureModel.h"
#include "diagnostics/picture/PictureStyle.h"
#include "diagnostics/run/RunReport.h"

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
  kExecuted,
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

/// The module as an HTML-like label of its own: outline, fill, bars and all that is written on it.
/// `longest` scales the bar of the duration; `mark` may be null.
std::string boxOf(const std::string& name, const Signs& signs, const RunMark* mark,
                  Microseconds longest, const PictureStyle& style);

/// A small empty box in the manner of a module that shows `signs`.
std::string sampleBoxOf(const Signs& signs, const PictureStyle& style);

/// The table cell of the word, or the letter, that a sign puts on a module; empty for a sign that
/// shows otherwise.
std::string chipOf(Sign sign, const PictureStyle& style);

/// A bar that fills `share`, 0 to 1, of its ground, which is `width` points wide.
std::string barOf(double share, int width);

}  // namespace Tessaril::Diagnostics
