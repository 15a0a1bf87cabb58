#pragma once

// Internal to the library.

/// The versions at which the layout of a stored record changed.
namespace Tessaril::RecordVersions {

/// ModuleState holds the frozen flag. ApplyModule no longer holds two texts behind the additional
/// flag.
constexpr unsigned int kFrozenStored = 53014;
constexpr unsigned int kTextsDropped = 53014;
/// ApplyModule holds the insert information; in this one version in line, without a frame.
constexpr unsigned int kInsertInfoStored = 500000;
constexpr unsigned int kInsertInfoFramed = 500001;
/// ModuleState holds the skipped flag.
constexpr unsigned int kSkippedStored = 500001;
/// The start of a side chain is stored with the graph, and no longer told from the insert mode.
constexpr unsigned int kSideChainStartStored = 500002;

}  // namespace Tessaril::RecordVersions
