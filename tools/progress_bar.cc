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
constexpr std::size_t kCaptionWidth = 32;

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

void TerminalProgress::Done() {
  if (lineLength_ > 0) Print("\r" + std::string(lineLength_, ' ') + "\r");
  lineLength_ = 0;
  hasDrawn_ = false;
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
  if (!isTerminal_) return;
  const double now = clock_();
  if (hasDrawn_ && now - lastDraw_ < dInterval) return;
  hasDrawn_ = true;
  lastDraw_ = now;
  const std::string line = BarLine(sCaption, dFraction);
  // Blanks over whatever a longer previous line left behind.
  const std::size_t pad = lineLength_ > line.size() ? lineLength_ - line.size() : 0;
  Print("\r" + line + std::string(pad, ' '));
  lineLength_ = line.size() + pad;
}

void TerminalProgress::Print(const std::string& sText) {
  if (!isTerminal_) return;
  out_ << sText;
  out_.flush();
}

}  // namespace zyra::tool
