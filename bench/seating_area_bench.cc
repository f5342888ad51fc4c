// A seating area evaluated as `zyra-rsp eval` does it: 1,000 seats of the demo hall with 3,000
// pulses each, read, prepared, evaluated and written as CSV rows, on one thread and on two. The
// one-thread run is the baseline of the same run: the two-thread run reports its speed-up. Two
// processes, each a plain loop over half of the seats, show what the machine itself allows
// (other work on it, cores that share a physical one) in the same run.
//
// ZYRA_BENCH_SEATS sets another number of seats (the files take 450 kB each).
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>

#include "testing/temp_folder.h"
#include "tools/batch_commands.h"
#include "tools/ordered_batch.h"
#include "tools/receiver_evaluation.h"
#include "tools/row_writer.h"

namespace zyra {
namespace {

constexpr int32_t kPulsesPerSeat = 3000;

// The rows go nowhere, as into a pipe that is read at once.
class NullBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return c; }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

struct SeatingArea {
  testing::TempFolder folder;
  std::vector<std::string> files;
};

const SeatingArea& Seats() {
  static const std::unique_ptr<SeatingArea> area = [] {
    auto made = std::make_unique<SeatingArea>();
    const char* env = std::getenv("ZYRA_BENCH_SEATS");
    const int32_t nSeats = env != nullptr ? std::max(1, std::atoi(env)) : 1000;
    tool::SeatGridOptions grid;
    grid.nSeats = 25;
    grid.nRows = (nSeats + grid.nSeats - 1) / grid.nSeats;
    grid.nPulses = kPulsesPerSeat;
    grid.sOutDir = made->folder.Path();
    made->files = tool::WriteSeatGrid(grid).value_or(std::vector<std::string>{});
    made->files.resize(std::min<std::size_t>(made->files.size(), static_cast<std::size_t>(nSeats)));
    return made;
  }();
  return *area;
}

double g_oneJobSeconds = 0.0;

void BM_SeatingAreaRows(benchmark::State& state) {
  const auto nJobs = static_cast<int32_t>(state.range(0));
  const SeatingArea& area = Seats();
  if (area.files.empty()) {
    state.SkipWithError("the seating area could not be written");
    return;
  }
  const tool::RowSchema schema(tool::RowBands::kNone);
  int64_t nFailed = 0;
  double seconds = 0.0;
  for (auto _ : state) {
    NullBuffer sink;
    std::ostream out(&sink);
    tool::RowWriter writer(out, schema, tool::RowFormat::kCsv);
    std::istringstream none;
    tool::FileList names(area.files, none);
    const auto start = std::chrono::steady_clock::now();
    tool::RunOrderedBatch(
        names, nJobs,
        {[&](const std::string& sFile) { return tool::EvaluateReceiverRow(sFile, schema, {}); },
         [&](tool::ReceiverRow row) {
           nFailed += row.eStatus == tool::RowStatus::kOk ? 0 : 1;
           writer.Write(row);
         },
         nullptr});
    writer.End();
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(seconds);
  }
  if (nFailed > 0) state.SkipWithError("some seats failed");
  const auto nFiles = static_cast<double>(area.files.size());
  state.counters["files"] = nFiles;
  state.counters["files_per_s"] = nFiles / seconds;
  if (nJobs == 1) g_oneJobSeconds = seconds;
  if (nJobs > 1 && g_oneJobSeconds > 0.0) state.counters["speedup"] = g_oneJobSeconds / seconds;
}
// Rows of files [first, last) in a plain loop, without the pipeline; the number that failed.
int64_t PlainRows(const std::vector<std::string>& files, std::size_t first, std::size_t last) {
  const tool::RowSchema schema(tool::RowBands::kNone);
  NullBuffer sink;
  std::ostream out(&sink);
  tool::RowWriter writer(out, schema, tool::RowFormat::kCsv);
  int64_t nFailed = 0;
  for (std::size_t i = first; i < last; ++i) {
    const tool::ReceiverRow row = tool::EvaluateReceiverRow(files[i], schema, {});
    nFailed += row.eStatus == tool::RowStatus::kOk ? 0 : 1;
    writer.Write(row);
  }
  writer.End();
  return nFailed;
}

// Half of the seats in a child process, the other half here, at the same time. The child has
// only the thread that forked it, so both halves run without the thread pool.
void BM_SeatingAreaTwoProcesses(benchmark::State& state) {
  const SeatingArea& area = Seats();
  const std::size_t half = area.files.size() / 2;
  double seconds = 0.0;
  bool bFailed = false;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) _exit(PlainRows(area.files, 0, half) == 0 ? 0 : 1);
    bFailed = child < 0 || PlainRows(area.files, half, area.files.size()) != 0;
    int status = 0;
    bFailed = bFailed || waitpid(child, &status, 0) != child || !WIFEXITED(status) ||
              WEXITSTATUS(status) != 0;
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    state.SetIterationTime(seconds);
  }
  if (bFailed) state.SkipWithError("a half failed");
  state.counters["files_per_s"] = static_cast<double>(area.files.size()) / seconds;
  if (g_oneJobSeconds > 0.0) state.counters["speedup"] = g_oneJobSeconds / seconds;
}

BENCHMARK(BM_SeatingAreaRows)
    ->Arg(1)
    ->Arg(2)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SeatingAreaTwoProcesses)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra
