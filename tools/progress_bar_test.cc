#include "tools/progress_bar.h"

#include <algorithm>
#include <csignal>
#include <functional>
#include <sstream>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

TEST(TerminalProgressTest, SilentInAPipeAndRedrawnAboutOncePerIntervalOnATerminal) {
  std::ostringstream pipe;
  {
    TerminalProgress progress(pipe, false, [] { return 0.0; });
    EXPECT_TRUE(progress.ReportProgress("Sort Pulses", 0.7, "cancelled", 0.0));
    progress.Done();
  }
  EXPECT_EQ(pipe.str(), "");

  // One second of work in fast and in slow reports, time counted by the reports made.
  const struct {
    int32_t reports;
    int32_t maxClockReads;
  } rows[] = {{10'000'000, 10'000'000 / TerminalProgress::kMaxStride + 40}, {100, 100}};
  for (const auto& row : rows) {
    std::ostringstream out;
    int32_t reports = 0;
    int32_t clockReads = 0;
    const double secondsPerReport = 1.0 / row.reports;
    TerminalProgress progress(out, true, [&] { return ++clockReads, reports * secondsPerReport; });
    for (; reports < row.reports; ++reports) {
      EXPECT_TRUE(progress.ReportProgress("Sort Pulses", reports * secondsPerReport, "", 0.25));
    }
    const std::string text = out.str();
    const auto draws = std::count(text.begin(), text.end(), '\r');
    EXPECT_TRUE(draws >= 4 && draws <= 5) << draws << " draws for " << row.reports;
    EXPECT_LE(clockReads, row.maxClockReads) << row.reports;
    // The last line drawn shows where the work stood then; Done clears it.
    const std::size_t last = text.rfind('\r');
    EXPECT_TRUE(text.substr(last + 1).starts_with("Sort Pulses [=====")) << text.substr(last);
    progress.Done();
    EXPECT_TRUE(out.str().ends_with("\r" + std::string(text.size() - last - 1, ' ') + "\r"));
  }
}

void MarkingHandler(int) {}

TEST(TerminalProgressTest, CtrlCCancelsAndThePreviousHandlerReturns) {
  struct sigaction original {};
  struct sigaction marking {};
  marking.sa_handler = MarkingHandler;
  sigemptyset(&marking.sa_mask);
  ASSERT_EQ(sigaction(SIGINT, &marking, &original), 0);
  {
    std::ostringstream out;
    TerminalProgress progress(out, true, [] { return 0.0; });
    EXPECT_TRUE(progress.ReportProgress("Sort Pulses", 0.1, "Sorting cancelled", 0.25));
    ASSERT_EQ(std::raise(SIGINT), 0);
    EXPECT_FALSE(progress.ReportProgress("Sort Pulses", 0.2, "Sorting cancelled", 0.25));
    EXPECT_FALSE(progress.ReportProgress("Sort Pulses", 0.3, "Sorting cancelled", 0.25));
    // The bar's line is cleared and the warning printed once.
    const std::string text = out.str();
    EXPECT_TRUE(text.ends_with("Sorting cancelled\n"));
    EXPECT_EQ(text.find("Sorting cancelled"), text.rfind("Sorting cancelled"));
  }
  struct sigaction current {};
  ASSERT_EQ(sigaction(SIGINT, &original, &current), 0);
  EXPECT_EQ(current.sa_handler, &MarkingHandler);
}

}  // namespace
}  // namespace zyra::tool
