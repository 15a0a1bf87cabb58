#pragma once

#include <string>
#include <string_view>

// Sizes and colours. Internal to the picture.
//
// Blue and orange are told apart by colour-blind eyes, and without colour as light and dark. No
// fact is said by colour alone: each has a word, a letter, a shape or a kind of line as well.

namespace Tessaril::Diagnostics {

/// What depends on how much is written. Lengths in the units that Graphviz has for the attribute.
struct PictureStyle {
  bool brief = false;
  std::string_view ranksep;
  std::string_view nodesep;
  std::string_view fontSize;
  std::string_view smallFontSize;
  std::string_view legendFontSize;
  /// The least size of a module, as attributes of its cell.
  std::string_view boxSize;
  /// Of those in the legend.
  std::string_view sampleBoxSize;
  std::string_view clusterMargin;
  std::string_view mainLineWidth;
  std::string_view linkWidth;
  std::string_view arrowSize;
  int longestBar = 0;
};

inline constexpr PictureStyle kFullStyle{.brief = false,
                                         .ranksep = "0.42",
                                         .nodesep = "0.32",
                                         .fontSize = "11.5",
                                         .smallFontSize = "8.5",
                                         .legendFontSize = "9.5",
                                         .boxSize = R"(WIDTH="82" HEIGHT="22")",
                                         .sampleBoxSize = R"(WIDTH="26" HEIGHT="4")",
                                         .clusterMargin = "14",
                                         .mainLineWidth = "2.6",
                                         .linkWidth = "1.1",
                                         .arrowSize = "0.65",
                                         .longestBar = 72};

inline constexpr PictureStyle kBriefStyle{.brief = true,
                                          .ranksep = "0.2",
                                          .nodesep = "0.14",
                                          .fontSize = "9",
                                          .smallFontSize = "7",
                                          .legendFontSize = "8",
                                          .boxSize = R"(WIDTH="58" HEIGHT="11")",
                                          .sampleBoxSize = R"(WIDTH="20" HEIGHT="3")",
                                          .clusterMargin = "8",
                                          .mainLineWidth = "2",
                                          .linkWidth = "0.7",
                                          .arrowSize = "0.45",
                                          .longestBar = 48};

namespace Colours {

inline constexpr std::string_view kInk = "#1e293b";
inline constexpr std::string_view kFaintInk = "#526075";
inline constexpr std::string_view kPaper = "#ffffff";
inline constexpr std::string_view kLine = "#64748b";
inline constexpr std::string_view kMainLine = "#334155";
inline constexpr std::string_view kFaintLine = "#a8b3c2";
inline constexpr std::string_view kAlarm = "#a61b1b";
inline constexpr std::string_view kBar = "#475569";
inline constexpr std::string_view kBarGround = "#cfd8e3";

}  // namespace Colours

inline constexpr std::string_view kFont = "Helvetica,Arial,sans-serif";

}  // namespace Tessaril::Diagnostics
