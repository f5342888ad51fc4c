#include "tools/progress_bar.h"

#include <cmath>
#include <csignal>
#include <sstream>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

TEST(TerminalProgressTest, SilentInAPipeAndRedrawnAtMostOncePerIntervalOnATerminal) {
  std::ostringstream pipe;
  {
    TerminalProgress progress(pipe, false, [] { return 0.0; });
    EXPECT_TRUE(progress.ReportProgress("Sort Pulses", 0.7, "cancelled", 0.0));
    progress.Done();
  }
  EXPECT_EQ(pipe.str(), "");

  std::ostringstream out;
  double now = 10.0;
  TerminalProgress progress(out, true, [&] { return now; });
  std::string last;
  // The first call draws, then only after a full interval of 0.25 s.
  const struct {
    double time, fraction;
    bool drawn;
  } rows[] = {{10.0, 0.0, true}, {10.249, 0.2, false}, {10.25, 0.3, true}, {11.0, 0.5, true}};
  for (const auto& row : rows) {
    now = row.time;
    const std::size_t before = out.str().size();
    EXPECT_TRUE(progress.ReportProgress("Sort Pulses", row.fraction, "", kBusyInterval));
    EXPECT_EQ(out.str().size() > before, row.drawn) << row.time;
    if (row.drawn) last = out.str().substr(before);
  }
  EXPECT_EQ(last, "\r" + TerminalProgress::BarLine("Sort Pulses", 0.5));
  progress.Done();
  const std::string clear = "\r" + std::string(last.size() - 1, ' ') + "\r";
  EXPECT_TRUE(out.str().ends_with(clear));
}

TEST(TerminalProgressTest, BarLineClipsTheFraction) {
  const std::string empty = "Test [>" + std::string(29, ' ') + "]   0%";
  const std::string full = "Test [" + std::string(30, '=') + "] 100%";
  for (const double fraction : {0.0, -3.0, std::nan("")}) {
    EXPECT_EQ(TerminalProgress::BarLine("Test", fraction), empty) << fraction;
  }
  EXPECT_EQ(TerminalProgress::BarLine("Test", 7.0), full);
  EXPECT_EQ(TerminalProgress::BarLine("Test", 0.5),
            "Test [" + std::string(15, '=') + ">" + std::string(14, ' ') + "]  50%");
  EXPECT_TRUE(TerminalProgress::BarLine("a\nb", 0.0).starts_with("a b"));  // one line
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
