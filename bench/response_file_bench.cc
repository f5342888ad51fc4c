// The host sequence on synthetic response files (the pulses `zyra-rsp synth` writes): reading the
// file with ReadRSPFile and preparing it, side by side with a plain read(2) of the same bytes,
// all timed in the same iteration. Counters: plain_ms, read_ms, prep_ms, read_over_plain and
// prep_over_read. The growth benchmark reads files of N and 10 N pulses in each iteration and
// reports the exponent of the read time's growth.
//
// Arguments 100,000 and 1,000,000 pulses run by default; 10,000,000 (a 1.5 GB file, and the
// growth from 1,000,000 to it) only with ZYRA_BENCH_10M=1 in the environment.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "testing/synthetic_response.h"
#include "zyra/rsp/host_sequence.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra {
namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point t0) {
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

// Synthetic files written once per process into a temporary folder, removed at exit.
class SynthFiles {
 public:
  SynthFiles()
      : folder_(std::filesystem::temp_directory_path().string() + "/zyra-bench-" +
                std::to_string(::getpid()) + "/") {
    std::filesystem::create_directories(folder_);
  }
  ~SynthFiles() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  SynthFiles(const SynthFiles&) = delete;
  SynthFiles& operator=(const SynthFiles&) = delete;

  const std::string& Folder() const { return folder_; }
  // The file of nPulses pulses over 16 loudspeakers, written on first use.
  std::string Name(int32_t nPulses) {
    std::string name = "synth-" + std::to_string(nPulses) + ".rsp";
    if (written_.count(nPulses) == 0) {
      CProbeRspClass file;
      testing::SynthOptions options;
      options.nPulses = nPulses;
      options.nSpeakers = 16;
      options.dUnusedFraction = 0.0;
      testing::SynthesizeSystemResponse(*file.Rsp(), options);
      ByteStream out;
      out.OpenFileForWriting(folder_ + name);
      file.SaveToByteStream(out);
      out.CloseFile();
      written_[nPulses] = true;
    }
    return name;
  }

 private:
  std::string folder_;
  std::map<int32_t, bool> written_;
};

SynthFiles& Files() {
  static SynthFiles files;
  return files;
}

// Gives the memory freed so far back to the system, so that the next timed step starts on
// fresh memory, as a new process would, whatever the size: without it, sizes the allocator
// keeps in its heap would run on pages already mapped and larger ones would not.
void ReleaseFreedMemory() {
#if defined(__GLIBC__)
  malloc_trim(0);
#endif
}

// read(2) of the whole file into a fresh buffer of its size, in as few calls as it takes.
double PlainReadSeconds(const std::string& sPath) {
  const auto t0 = Clock::now();
  const int fd = ::open(sPath.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status {};
  ::fstat(fd, &status);
  const auto size = static_cast<size_t>(status.st_size);
  const auto buffer = std::make_unique_for_overwrite<char[]>(size);
  size_t done = 0;
  while (done < size) {
    const ssize_t got = ::read(fd, buffer.get() + done, size - done);
    if (got <= 0) break;
    done += static_cast<size_t>(got);
  }
  ::close(fd);
  benchmark::DoNotOptimize(buffer.get());
  return SecondsSince(t0);
}

// ReadRSPFile into `file`; false when it did not read cleanly.
bool ReadInto(CProbeRspClass& file, const std::string& sName) {
  int32_t nRays = 0;
  float fCutOff = 0.0F;
  std::string sMessage;
  return file.ReadRSPFile(Files().Folder(), sName, false, "bench", nRays, fCutOff, sMessage,
                          nullptr) == 0;
}

void BM_HostSequence(benchmark::State& state) {
  const std::string sName = Files().Name(static_cast<int32_t>(state.range(0)));
  const std::string sPath = Files().Folder() + sName;
  double plain = 0.0;
  double read = 0.0;
  double prep = 0.0;
  for (auto _ : state) {
    plain += PlainReadSeconds(sPath);
    ReleaseFreedMemory();
    auto file = std::make_unique<CProbeRspClass>();
    auto t0 = Clock::now();
    if (!ReadInto(*file, sName)) state.SkipWithError("the file did not read");
    const double dRead = SecondsSince(t0);
    t0 = Clock::now();
    std::string sMessage;
    if (PrepareResponseAfterRead(*file, false, true, sMessage, nullptr) != 0) {
      state.SkipWithError("the preparation failed");
    }
    const double dPrep = SecondsSince(t0);
    read += dRead;
    prep += dPrep;
    state.SetIterationTime(dRead + dPrep);
    file.reset();
    ReleaseFreedMemory();
  }
  const auto n = static_cast<double>(state.iterations());
  state.counters["plain_ms"] = 1000.0 * plain / n;
  state.counters["read_ms"] = 1000.0 * read / n;
  state.counters["prep_ms"] = 1000.0 * prep / n;
  state.counters["read_over_plain"] = read / plain;
  state.counters["prep_over_read"] = prep / read;
}

// The read times of N and 10 N pulses in each iteration; exponent = log10 of their ratio.
void BM_ReadGrowth(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const std::string sSmall = Files().Name(n);
  const std::string sLarge = Files().Name(10 * n);
  double small = 0.0;
  double large = 0.0;
  for (auto _ : state) {
    for (const bool bLarge : {false, true}) {
      auto file = std::make_unique<CProbeRspClass>();
      const auto t0 = Clock::now();
      if (!ReadInto(*file, bLarge ? sLarge : sSmall)) state.SkipWithError("no read");
      (bLarge ? large : small) += SecondsSince(t0);
      file.reset();
      ReleaseFreedMemory();
    }
    state.SetIterationTime(large);
  }
  state.counters["small_ms"] = 1000.0 * small / static_cast<double>(state.iterations());
  state.counters["large_ms"] = 1000.0 * large / static_cast<double>(state.iterations());
  state.counters["exponent"] = std::log10(large / small);
}

bool WithTenMillion() {
  const char* value = std::getenv("ZYRA_BENCH_10M");
  return value != nullptr && std::string(value) == "1";
}

const bool kRegistered = [] {
  auto* sequence = benchmark::RegisterBenchmark("BM_HostSequence", BM_HostSequence)
                       ->Arg(100000)
                       ->Arg(1000000)
                       ->UseManualTime()
                       ->Unit(benchmark::kMillisecond);
  auto* growth = benchmark::RegisterBenchmark("BM_ReadGrowth", BM_ReadGrowth)
                     ->Arg(100000)
                     ->UseManualTime()
                     ->Unit(benchmark::kMillisecond);
  if (WithTenMillion()) {
    sequence->Arg(10000000);
    growth->Arg(1000000);
  }
  return true;
}();

}  // namespace
}  // namespace zyra
