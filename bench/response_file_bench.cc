// Reading a whole response file of a million pulses with ReadRSPFile, side by side with
// reading the same bytes into memory and nothing else. The "ratio" counter of the combined
// benchmark is the whole read's time over the plain byte read's time in the same iteration.
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "testing/temp_folder.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra {
namespace {

constexpr int32_t kPulses = 1000000;
constexpr int32_t kSpeakers = 16;

// Written once per process: a response of kPulses pulses over kSpeakers loudspeakers, with
// every info block, saved with SaveRSPFile into the temporary folder.
class ResponseFileOnDisk {
 public:
  ResponseFileOnDisk() {
    CProbeRspClass rsp;
    rsp.InfoText()->SetSourceText("benchmark response");
    CSystemResponse& sys = *rsp.Rsp();
    sys.LspInfos()->SetCount(kSpeakers);
    for (int32_t i = 1; i <= kSpeakers; ++i) sys.LspInfo(i)->SetIsActive(true);
    sys.Pulses()->SetCount(kPulses, nullptr);
    for (int32_t i = 1; i <= kPulses; ++i) {
      CPulsClass& puls = *sys.Puls(i);
      puls.SetOrigin(1 + i % kSpeakers);
      puls.SetROrder(i <= kSpeakers ? 0 : 1 + i % 7);
      puls.SetTravel(static_cast<float>(i) * 0.01F);
      puls.SetHorAngle(static_cast<int16_t>(i % 360 - 180));
      for (int32_t b = 0; b <= 21; ++b) {
        puls.SetSPL(b, static_cast<int16_t>(6000 + (i + b) % 3000));
        puls.SetPhase(b, static_cast<int16_t>((i * 7 + b) % 31416));
      }
      puls.SetID(i);
    }
    rsp.ObstInfo()->SetCount(3);
    rsp.Pred()->SetRaysPerLspk(1000);
    rsp.Pred()->SetLength1(2000.0F);
    rsp.SaveRSPFile(folder_.Slashed(), kName, "bench", 0, 1000, 2000.0F);
  }

  std::string Folder() const { return folder_.Slashed(); }
  std::string Path() const { return folder_.Slashed() + kName; }
  static constexpr const char* kName = "million.rsp";

 private:
  testing::TempFolder folder_;
};

const ResponseFileOnDisk& OnDisk() {
  static const ResponseFileOnDisk file;
  return file;
}

// The fastest plain way: size the vector once and read the file in one call.
std::vector<char> PlainRead(const std::string& sPath) {
  std::ifstream file(sPath, std::ios::binary | std::ios::ate);
  std::vector<char> content(static_cast<size_t>(file.tellg()));
  file.seekg(0);
  file.read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

// Reads the file into `rsp`: 0 when the whole file was read.
int32_t WholeRead(const ResponseFileOnDisk& disk, CProbeRspClass& rsp) {
  int32_t nRays = 0;
  float fCutOff = 0;
  std::string message;
  const int32_t result = rsp.ReadRSPFile(disk.Folder(), ResponseFileOnDisk::kName, false, "bench",
                                         nRays, fCutOff, message, nullptr);
  if (rsp.Rsp()->Pulses()->Count() != kPulses) return -2;
  return result;
}

void BM_ReadBytesIntoMemory(benchmark::State& state) {
  const ResponseFileOnDisk& disk = OnDisk();
  int64_t bytes = 0;
  for (auto _ : state) {
    const std::vector<char> content = PlainRead(disk.Path());
    bytes += static_cast<int64_t>(content.size());
    benchmark::DoNotOptimize(content.data());
  }
  state.SetBytesProcessed(bytes);
}
BENCHMARK(BM_ReadBytesIntoMemory)->Unit(benchmark::kMillisecond);

// Reading only: releasing the response read in the iteration before is not timed.
void BM_ReadRSPFile(benchmark::State& state) {
  const ResponseFileOnDisk& disk = OnDisk();
  for (auto _ : state) {
    auto rsp = std::make_unique<CProbeRspClass>();
    if (WholeRead(disk, *rsp) != 0) state.SkipWithError("the file did not read");
    state.PauseTiming();
    rsp.reset();
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<int64_t>(std::filesystem::file_size(disk.Path())));
}
BENCHMARK(BM_ReadRSPFile)->Unit(benchmark::kMillisecond);

// Both reads in each iteration, each timed from its start until its data is in memory; what
// either read holds is released before the other starts and outside both timings, so that
// neither runs on memory the other has just given back. The time reported is the whole read's.
void BM_ReadRSPFileOverPlainRead(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  const ResponseFileOnDisk& disk = OnDisk();
  double plainSeconds = 0;
  double wholeSeconds = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    std::vector<char> content = PlainRead(disk.Path());
    benchmark::DoNotOptimize(content.data());
    plainSeconds += std::chrono::duration<double>(Clock::now() - t0).count();
    content = std::vector<char>();

    auto rsp = std::make_unique<CProbeRspClass>();
    t0 = Clock::now();
    if (WholeRead(disk, *rsp) != 0) state.SkipWithError("the file did not read");
    const double whole = std::chrono::duration<double>(Clock::now() - t0).count();
    wholeSeconds += whole;
    state.SetIterationTime(whole);
    rsp.reset();
  }
  state.counters["plain_ms"] =
      benchmark::Counter(1000.0 * plainSeconds / static_cast<double>(state.iterations()));
  state.counters["ratio"] = plainSeconds > 0 ? wholeSeconds / plainSeconds : 0;
}
BENCHMARK(BM_ReadRSPFileOverPlainRead)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra
