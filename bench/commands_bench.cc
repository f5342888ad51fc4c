// Whole zyra-rsp commands on a million-pulse file (as `zyra-rsp synth` writes it), each timed
// next to a plain tool on the same file in the same iteration, with the peak resident memory
// of the command as the system counts it for the process (what /usr/bin/time -v reports):
//   eval --json against cat; dump in MB of JSON per second; convert against cp;
//   eval of a file holding one coherent group of 16,000 members, plain and with interference.
// Counters are ratios (x_over_y), memory over the file's size (rss_over_file), milliseconds
// and MB/s. Built only with the host tool.
#if defined(ZYRA_RSP_EXE)

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/bench_support.h"
#include "zyra/rsp/probe_rsp.h"

extern char** environ;

namespace zyra {
namespace {

using Clock = std::chrono::steady_clock;

struct Outcome {
  double seconds = 0.0;
  double maxRssBytes = 0.0;
  int status = -1;
};

// Starts the command with standard output to sOut (standard input and error from and to
// /dev/null); 0 when it could not be started.
pid_t Start(const std::vector<std::string>& args, const std::string& sOut = "/dev/null") {
  std::vector<char*> argv;
  argv.reserve(args.size() + 1);
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, sOut.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) pid = 0;
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

// Waits for a started command: its exit status and peak resident memory; the wall time from t0.
Outcome Wait(pid_t pid, Clock::time_point t0) {
  Outcome outcome;
  if (pid == 0) return outcome;
  int status = 0;
  struct rusage usage {};
  wait4(pid, &status, 0, &usage);
  outcome.seconds = std::chrono::duration<double>(Clock::now() - t0).count();
  outcome.maxRssBytes = 1024.0 * static_cast<double>(usage.ru_maxrss);
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

// Runs the command and waits for it; its wall time and peak resident memory.
Outcome Run(const std::vector<std::string>& args, const std::string& sOut = "/dev/null") {
  const auto t0 = Clock::now();
  return Wait(Start(args, sOut), t0);
}

// The files, written once per process into a temporary folder, removed at exit.
class CommandFiles {
 public:
  CommandFiles()
      : folder_(std::filesystem::temp_directory_path().string() + "/zyra-commands-" +
                std::to_string(::getpid()) + "/") {
    std::filesystem::create_directories(folder_);
    Run({ZYRA_RSP_EXE, "synth", "--pulses", "1000000", "--speakers", "16", "-o", Million()});
    CProbeRspClass group;
    bench::MakeCoherentGroup(group, 16000);
    ByteStream out;
    out.OpenFileForWriting(Group());
    group.SaveToByteStream(out);
    out.CloseFile();
  }
  ~CommandFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  CommandFiles(const CommandFiles&) = delete;
  CommandFiles& operator=(const CommandFiles&) = delete;

  std::string Million() const { return folder_ + "million.rsp"; }
  std::string Group() const { return folder_ + "group.rsp"; }
  std::string Out(const std::string& sName) const { return folder_ + sName; }
  double Size(const std::string& sPath) const {
    return static_cast<double>(std::filesystem::file_size(sPath));
  }

 private:
  std::string folder_;
};

CommandFiles& Files() {
  static CommandFiles files;
  return files;
}

void Fail(benchmark::State& state, const Outcome& outcome) {
  if (outcome.status != 0) {
    state.SkipWithError(("a command failed with status " + std::to_string(outcome.status)).c_str());
  }
}

void BM_EvalJsonOverCat(benchmark::State& state) {
  const std::string sFile = Files().Million();
  double cat = 0.0, eval = 0.0, rss = 0.0;
  for (auto _ : state) {
    const Outcome c = Run({"cat", sFile});
    const Outcome e = Run({ZYRA_RSP_EXE, "eval", sFile, "--json"});
    Fail(state, c);
    Fail(state, e);
    cat += c.seconds;
    eval += e.seconds;
    rss = std::max(rss, e.maxRssBytes);
    state.SetIterationTime(e.seconds);
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["cat_ms"] = 1000.0 * cat / n;
  state.counters["eval_ms"] = 1000.0 * eval / n;
  state.counters["eval_over_cat"] = eval / cat;
  state.counters["rss_over_file"] = rss / Files().Size(sFile);
}
BENCHMARK(BM_EvalJsonOverCat)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_DumpThroughput(benchmark::State& state) {
  const std::string sFile = Files().Million();
  // The size of the JSON, from one run into a file.
  const std::string sJson = Files().Out("dump.json");
  Fail(state, Run({ZYRA_RSP_EXE, "dump", sFile}, sJson));
  const double bytes = Files().Size(sJson);
  std::filesystem::remove(sJson);
  double dump = 0.0;
  for (auto _ : state) {
    const Outcome d = Run({ZYRA_RSP_EXE, "dump", sFile});
    Fail(state, d);
    dump += d.seconds;
    state.SetIterationTime(d.seconds);
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["json_MB"] = bytes / 1e6;
  state.counters["dump_ms"] = 1000.0 * dump / n;
  state.counters["dump_MBps"] = bytes / 1e6 / (dump / n);
}
BENCHMARK(BM_DumpThroughput)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_ConvertOverCp(benchmark::State& state) {
  const std::string sFile = Files().Million();
  const std::string sCopy = Files().Out("copy.rsp");
  const std::string sConverted = Files().Out("converted.rsp");
  double cp = 0.0, convert = 0.0, rss = 0.0;
  for (auto _ : state) {
    const Outcome c = Run({"cp", sFile, sCopy});
    const Outcome v = Run({ZYRA_RSP_EXE, "convert", sFile, sConverted});
    Fail(state, c);
    Fail(state, v);
    cp += c.seconds;
    convert += v.seconds;
    rss = std::max(rss, v.maxRssBytes);
    state.SetIterationTime(v.seconds);
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["cp_ms"] = 1000.0 * cp / n;
  state.counters["convert_ms"] = 1000.0 * convert / n;
  state.counters["convert_over_cp"] = convert / cp;
  state.counters["rss_over_file"] = rss / Files().Size(sFile);
}
BENCHMARK(BM_ConvertOverCp)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Argument 1: with interference (pot,kin) for the Alcons curves.
void BM_CoherentGroupEval(benchmark::State& state) {
  const std::string sFile = Files().Group();
  std::vector<std::string> args = {ZYRA_RSP_EXE, "eval", sFile, "--json"};
  if (state.range(0) != 0) {
    args.emplace_back("--interference");
    args.emplace_back("pot,kin");
  }
  double eval = 0.0;
  for (auto _ : state) {
    const Outcome e = Run(args);
    Fail(state, e);
    eval += e.seconds;
    state.SetIterationTime(e.seconds);
  }
  state.counters["eval_s"] = eval / static_cast<double>(state.iterations());
  state.counters["file_MB"] = Files().Size(sFile) / 1e6;
}
BENCHMARK(BM_CoherentGroupEval)->Arg(0)->Arg(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// A seating area as `zyra-rsp eval` takes it: 1,000 seats of the demo hall with 3,000 pulses
// each (ZYRA_BENCH_SEATS sets another number), all named on the command line, rows as CSV, on
// one job and on two. The one-job run is the baseline of the same run: the two-job run reports
// its speed-up; both report the command's peak memory, which stays flat in the number of files.
const std::vector<std::string>& SeatFiles() {
  static const std::vector<std::string> files = [] {
    const char* env = std::getenv("ZYRA_BENCH_SEATS");
    const auto nSeats =
        static_cast<std::size_t>(env != nullptr ? std::max(1, std::atoi(env)) : 1000);
    const std::string sDir = Files().Out("seats");
    Run({ZYRA_RSP_EXE, "synth", "--grid", std::to_string((nSeats + 24) / 25) + ",25", "--pulses",
         "3000", "-o", sDir});
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(sDir)) {
      names.push_back(entry.path().string());
    }
    std::sort(names.begin(), names.end());
    names.resize(std::min(names.size(), nSeats));
    return names;
  }();
  return files;
}

double g_oneJobSeconds = 0.0;

// Argument: the jobs of one process; 0 for two one-job processes over half the seats each, the
// speed-up this machine itself allows, measured in the same run.
void BM_SeatingAreaRows(benchmark::State& state) {
  const std::vector<std::string>& files = SeatFiles();
  const auto line = [&](std::size_t first, std::size_t last, int64_t nJobs) {
    std::vector<std::string> args = {ZYRA_RSP_EXE,          "eval",     "-j",
                                     std::to_string(nJobs), "--format", "csv"};
    args.insert(args.end(), files.begin() + static_cast<std::ptrdiff_t>(first),
                files.begin() + static_cast<std::ptrdiff_t>(last));
    return args;
  };
  double seconds = 0.0, rss = 0.0;
  for (auto _ : state) {
    const auto t0 = Clock::now();
    Outcome e;
    if (state.range(0) == 0) {
      const std::size_t half = files.size() / 2;
      const pid_t a = Start(line(0, half, 1));
      const pid_t b = Start(line(half, files.size(), 1));
      const Outcome first = Wait(a, t0);
      e = Wait(b, t0);
      if (first.status != 0) e.status = first.status;
      e.seconds = std::max(first.seconds, e.seconds);
    } else {
      e = Wait(Start(line(0, files.size(), state.range(0))), t0);
    }
    Fail(state, e);
    seconds = e.seconds;
    rss = e.maxRssBytes;
    state.SetIterationTime(e.seconds);
  }
  const auto nFiles = static_cast<double>(files.size());
  state.counters["files"] = nFiles;
  state.counters["files_per_s"] = nFiles / seconds;
  state.counters["rss_MB"] = rss / 1e6;
  if (state.range(0) == 1) g_oneJobSeconds = seconds;
  if (state.range(0) != 1 && g_oneJobSeconds > 0.0) {
    state.counters["speedup"] = g_oneJobSeconds / seconds;
  }
}
BENCHMARK(BM_SeatingAreaRows)
    ->Arg(1)
    ->Arg(2)
    ->Arg(0)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra

#endif  // ZYRA_RSP_EXE
