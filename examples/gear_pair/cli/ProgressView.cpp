#include "examples/gear_pair/cli/ProgressView.h"

#include <algorithm>
#include <ostream>

#include "examples/gear_pair/calculation/TextTools.h"

namespace GearPair {

namespace {

constexpr int kBarLength = 30;
/// Back to the start of the line, and clear it.
constexpr const char* kRedraw = "\r\x1b[2K";

std::string percentText(int percent) { return padded(std::to_string(percent), 3, true) + " %"; }

std::string bar(int percent) {
  const int filled = kBarLength * percent / 100;
  return "[" + std::string(static_cast<std::size_t>(filled), '#') +
         std::string(static_cast<std::size_t>(kBarLength - filled), '.') + "] " +
         percentText(percent);
}

}  // namespace

ProgressView::ProgressView(UpdateDesignCmd& update, std::ostream& stream, bool isTerminal)
    : updateCommand(update),
      out(stream),
      onTerminal(isTerminal),
      stepConnection(update.connectToSigStepStarted(UpdateDesignCmd::StepSignal::SlotType(
          [this](const DesignModule& module, bool isAutoApply) {
            stepStarted(module, isAutoApply);
          }))),
      progressConnection(update.getProgressPtr()->connectToSigChanged(
          Tessaril::Signals::Slot<void()>([this] { progressed(); }))) {}

void ProgressView::stepStarted(const DesignModule& module, bool isAutoApply) {
  const std::scoped_lock lock(mutex);
  currentStep = module.getName() + (isAutoApply ? " (auto apply)" : "");
  percentAtStep = presentPercent();
  if (onTerminal) {
    drawBar(percentAtStep, currentStep);
  } else {
    out << "[" << percentText(percentAtStep) << "] " << currentStep << std::endl;
  }
}

void ProgressView::progressed() {
  const std::scoped_lock lock(mutex);
  if (onTerminal) {
    drawBar(presentPercent(), currentStep);
  }
}

void ProgressView::drawBar(int percent, const std::string& text) {
  std::string line = bar(percent) + "  " + text;
  if (line != lastDrawn) {
    out << kRedraw << line << std::flush;
    lastDrawn = std::move(line);
  }
}

void ProgressView::finish(bool stopped) {
  const std::scoped_lock lock(mutex);
  const int percent = stopped ? percentAtStep : presentPercent();
  const std::string ending = stopped ? "stopped" : "done";
  if (onTerminal) {
    drawBar(percent, ending);
    out << std::endl;
  } else {
    out << "[" << percentText(percent) << "] " << ending << std::endl;
  }
}

int ProgressView::presentPercent() const {
  return std::clamp(static_cast<int>(updateCommand.getProgressPtr()->getValue()), 0, 100);
}

}  // namespace GearPair
