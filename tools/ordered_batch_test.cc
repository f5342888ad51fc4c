#include "tools/ordered_batch.h"

#include <atomic>
#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

TEST(OrderedBatchTest, RowsComeInInputOrderWithABoundedNumberOfFilesInFlight) {
  for (const int32_t jobs : {1, 4}) {
    std::vector<std::string> names;
    for (int i = 0; i < 200; ++i) names.push_back("f" + std::to_string(i));
    // The second half of the names comes from the input stream, blank lines between.
    std::vector<std::string> args(names.begin(), names.begin() + 100);
    args.push_back("-");
    std::string input;
    for (int i = 100; i < 200; ++i) input += names[static_cast<std::size_t>(i)] + "\r\n\n";
    std::istringstream in(input);
    FileList list(args, in);
    EXPECT_FALSE(list.Count());

    std::atomic<int32_t> inFlight{0};
    std::atomic<int32_t> mostInFlight{0};
    std::atomic<int32_t> running{0};
    std::atomic<int32_t> mostRunning{0};
    std::vector<std::string> written;
    const BatchSteps steps{
        [&](const std::string& name) {
          const int32_t now = ++inFlight;
          mostInFlight = std::max(mostInFlight.load(), now);
          mostRunning = std::max(mostRunning.load(), ++running);
          // Uneven work, so that later files overtake earlier ones.
          const int i = std::stoi(name.substr(1));
          std::this_thread::sleep_for(std::chrono::microseconds((i * 7919) % 13 * 150));
          --running;
          if (i == 57) throw std::runtime_error("broken");
          return ReceiverRow{name, RowStatus::kOk, "", std::nullopt, "", {}};
        },
        [&](ReceiverRow row) {
          --inFlight;
          if (row.eStatus == RowStatus::kError) row.sFile += ":" + row.sMessage;
          written.push_back(row.sFile);
        },
        nullptr};
    EXPECT_EQ(RunOrderedBatch(list, jobs, steps), 200);
    names[57] += ":broken";
    EXPECT_EQ(written, names) << jobs;
    EXPECT_LE(mostRunning.load(), jobs);
    EXPECT_LE(mostInFlight.load(), jobs * kFilesInFlightPerJob);
  }
}

TEST(OrderedBatchTest, CancellingStopsTakingNames) {
  std::istringstream none;
  FileList list({"a", "b", "c", "d"}, none);
  EXPECT_EQ(list.Count(), 4);
  int32_t asked = 0;
  std::vector<std::string> written;
  const BatchSteps steps{[](const std::string& name) { return ErrorRow(name, ""); },
                         [&](ReceiverRow row) { written.push_back(row.sFile); },
                         [&] { return ++asked > 2; }};
  EXPECT_EQ(RunOrderedBatch(list, 1, steps), 2);
  EXPECT_EQ(written, (std::vector<std::string>{"a", "b"}));
}

}  // namespace
}  // namespace zyra::tool
