#include "tools/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <iostream>

namespace zyra::tool {
namespace {

constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kCaptionWidth = 40;
// Looks at the clock per interval that the stride aims at.
constexpr double kClockReadsPerInterval = 8.0;

// A signal handler can reach nothing but a lock-free atomic of static storage; this flag is the
// only state the handler and the bar share, and it is written by the handler alone (and reset
// when a bar installs the handler).
std::atomic<bool> interruptRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnInterrupt(int) {
  interruptRequested.store(true);
}

double SteadySeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

TerminalProgress::TerminalProgress()
    : TerminalProgress(std::cerr, isatty(STDERR_FILENO) == 1, SteadySeconds) {}

TerminalProgress::TerminalProgress(std::ostream& out, bool bIsTerminal, Clock clock)
    : out_(out), isTerminal_(bIsTerminal), clock_(std::move(clock)) {
  interruptRequested.store(false);
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // The handler is used once: a second Ctrl-C finds the default action and ends the process.
  action.sa_flags = SA_RESETHAND;
  sigaction(SIGINT, &action, &previous_);
}

TerminalProgress::~TerminalProgress() {
  Done();
  sigaction(SIGINT, &previous_, nullptr);
}

int32_t TerminalProgress::ShowProgress(const std::string& sCaption, double dFraction,
                                       double dInterval) {
  Draw(sCaption, dFraction, dInterval);
  return 0;
}

bool TerminalProgress::ReportProgress(const std::string& sCaption, double dFraction,
                                      const std::string& sAbortWarning, double dInterval) {
  if (IsCancelled()) {
    if (!warned_) {
      warned_ = true;
      Done();
      if (!sAbortWarning.empty()) Print(sAbortWarning + "\n");
    }
    return false;
  }
  Draw(sCaption, dFraction, dInterval);
  return true;
}

void TerminalProgress::Begin(const std::string& sStep) {
  step_ = sStep;
  if (!isTerminal_) return;
  Show(sStep + " ...");
  hasDrawn_ = true;
  lastDraw_ = clock_();
  lastClock_ = lastDraw_;
  // A new step may report at a quite different pace.
  stride_ = 1;
  callsUntilClock_ = 1;
}

void TerminalProgress::Done() {
  if (lineLength_ > 0) Print("\r" + std::string(lineLength_, ' ') + "\r");
  lineLength_ = 0;
  hasDrawn_ = false;
  step_.clear();
  stride_ = 1;
  callsUntilClock_ = 0;
}

bool TerminalProgress::IsCancelled() const {
  return interruptRequested.load();
}

std::string TerminalProgress::BarLine(const std::string& sCaption, double dFraction) {
  const double fraction = std::isnan(dFraction) ? 0.0 : std::clamp(dFraction, 0.0, 1.0);
  std::string line = sCaption.substr(0, kCaptionWidth);
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';  // keep the bar on its one line
  }
  const auto filled = static_cast<std::size_t>(fraction * kBarWidth);
  line += " [";
  line += std::string(filled, '=');
  if (filled < kBarWidth) {
    line += '>';
    line += std::string(kBarWidth - filled - 1, ' ');
  }
  line += "] ";
  const std::string percent = std::to_string(static_cast<int>(fraction * 100.0));
  line += std::string(3 - percent.size(), ' ') + percent + "%";
  return line;
}

void TerminalProgress::Draw(const std::string& sCaption, double dFraction, double dInterval) {
  // A count per report; the clock only now and then.
  if (!isTerminal_ || --callsUntilClock_ > 0) return;
  const double now = ReadClock(dInterval);
  if (hasDrawn_ && now - lastDraw_ < dInterval) return;
  hasDrawn_ = true;
  lastDraw_ = now;
  if (step_.empty()) {
    Show(BarLine(sCaption, dFraction));
  } else if (sCaption.empty() || dFraction >= 1.0) {
    Show(step_ + " ...");
  } else {
    Show(BarLine(step_ + ": " + sCaption, dFraction));
  }
}

double TerminalProgress::ReadClock(double dInterval) {
  const double now = clock_();
  const double dElapsed = now - lastClock_;
  lastClock_ = now;
  const double dTarget = dInterval / kClockReadsPerInterval;
  // Reports that came faster than aimed at widen the stride in proportion, slower ones narrow it.
  const double dStride = dElapsed > 0.0 ? stride_ * dTarget / dElapsed : 2.0 * stride_;
  stride_ = static_cast<int32_t>(std::clamp(dStride, 1.0, static_cast<double>(kMaxStride)));
  callsUntilClock_ = stride_;
  return now;
}

void TerminalProgress::Show(const std::string& sLine) {
  // Blanks over whatever a longer previous line left behind.
  const std::size_t pad = lineLength_ > sLine.size() ? lineLength_ - sLine.size() : 0;
  Print("\r" + sLine + std::string(pad, ' '));
  lineLength_ = sLine.size() + pad;
}

void TerminalProgress::Print(const std::string& sText) {
  if (!isTerminal_) return;
  out_ << sText;
  out_.flush();
}

}  // namespace zyra::tool
