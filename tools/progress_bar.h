// The progress bar of the host tool: one line on standard error, cancelled with Ctrl-C.
#ifndef ZYRA_TOOLS_PROGRESS_BAR_H_
#define ZYRA_TOOLS_PROGRESS_BAR_H_

#include <signal.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "zyra/support/busy_indicator.h"

namespace zyra::tool {

// Draws "step: caption [=====>     ]  42%" on one line, redrawn in place at most once per
// interval: the step the tool is running ("Reading", "Evaluating") and the library's caption
// within it; a part the library reports as done shows the step alone. It stays completely
// silent when its output is not a terminal (a script or a pipe reading standard error sees
// nothing), and clears its line when done so that the command's own output starts on a clean
// line.
//
// The library reports as often as once per pulse and band, so a report must cost next to
// nothing: it counts down, and only every so many reports the clock is read. That stride adapts
// to the reports' pace, aiming at a look at the clock per eighth of the interval, and starts
// again from 1 with each step.
//
// While it lives, Ctrl-C asks for cancellation instead of ending the process: the next
// ReportProgress answers false (the library then stops and reports). A second Ctrl-C ends the
// process as usual, so a step that never asks can still be interrupted. The previous Ctrl-C
// handling comes back when the object dies.
class TerminalProgress : public BusyIndicator {
 public:
  // Seconds on a steady clock.
  using Clock = std::function<double()>;

  // On standard error, drawn only when standard error is a terminal.
  TerminalProgress();
  // On `out`, drawn only when `bIsTerminal`, with time from `clock` (for tests).
  TerminalProgress(std::ostream& out, bool bIsTerminal, Clock clock);
  ~TerminalProgress() override;

  TerminalProgress(const TerminalProgress&) = delete;
  TerminalProgress& operator=(const TerminalProgress&) = delete;

  int32_t ShowProgress(const std::string& sCaption, double dFraction, double dInterval) override;
  bool ReportProgress(const std::string& sCaption, double dFraction,
                      const std::string& sAbortWarning, double dInterval) override;

  // Names the step that runs now and shows it at once (on a terminal).
  void Begin(const std::string& sStep);
  // Clears the bar's line and forgets the step; the next progress call draws afresh.
  void Done();

  // True once the user pressed Ctrl-C while this object lived.
  bool IsCancelled() const;
  // Whether the bar is drawn at all.
  bool IsShown() const noexcept { return isTerminal_; }

  // The text of one bar line, without the carriage return (fraction clipped to 0 ... 1).
  static std::string BarLine(const std::string& sCaption, double dFraction);

  // The most reports between two reads of the clock.
  static constexpr int32_t kMaxStride = 4096;

 private:
  void Draw(const std::string& sCaption, double dFraction, double dInterval);
  // Reads the clock and sets how many reports pass before the next read.
  double ReadClock(double dInterval);
  void Show(const std::string& sLine);
  void Print(const std::string& sText);

  std::ostream& out_;
  bool isTerminal_;
  Clock clock_;
  std::string step_;
  bool hasDrawn_ = false;
  double lastDraw_ = 0.0;
  int32_t callsUntilClock_ = 0;
  int32_t stride_ = 1;
  double lastClock_ = 0.0;
  std::size_t lineLength_ = 0;  // characters of the line on screen, 0 when clear
  bool warned_ = false;
  struct sigaction previous_ {};
};

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_PROGRESS_BAR_H_
