// The whole parameter set of a prepared million-pulse response against Calculate on it: the
// decay fits, energy parameters and modulation transfer must cost no more than the evaluation
// they follow. BM_ParametersToCalculate times both in the same iterations and reports the
// ratio of their processor times as the counter "ratio".
#include <benchmark/benchmark.h>

#include <ctime>
#include <memory>
#include <string>

#include "testing/synthetic_response.h"
#include "zyra/calc/energy_time_process.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/rsp/host_sequence.h"

namespace zyra {
namespace {

// A synthetic response as the host sees it after reading: prepared (pulses sorted by
// arrival), with room data that give every band a tail of 1.2 .. 2.4 s.
std::unique_ptr<CProbeRspClass> MakePreparedFile(int32_t nPulses) {
  auto file = std::make_unique<CProbeRspClass>();
  testing::SynthOptions options;
  options.nPulses = nPulses;
  options.nSpeakers = 64;
  options.nSeed = 20240601;
  options.nGroups = 2;
  testing::SynthesizeSystemResponse(*file->Rsp(), options);
  std::string sMessage;
  PrepareResponseAfterRead(*file, false, true, sMessage, nullptr);
  CETCInfoClass& etc = *file->ETC();
  etc.SettSplit(20.0F);
  etc.SettDiff(60.0F);
  etc.SetVolume(12000.0F);
  for (int32_t b = 1; b <= 21; ++b) {
    etc.SetAbsorp(b, 0.2F);
    etc.SetPower(b, 100.0F);
    etc.SetNoise(b, 30.0F);
    etc.SetRTime(b, 2.4F - 0.06F * static_cast<float>(b));
  }
  return file;
}

constexpr int32_t kPulses = 1000000;

CProbeRspClass& SharedFile() {
  static const std::unique_ptr<CProbeRspClass> file = MakePreparedFile(kPulses);
  return *file;
}

void BM_CalculatePrepared(benchmark::State& state) {
  CProbeRspClass& file = SharedFile();
  const CEnergyTimeProcessClass process;
  for (auto _ : state) {
    std::shared_ptr<CCalcResults> results;
    benchmark::DoNotOptimize(process.Calculate(file, results, true, false, nullptr));
  }
  state.SetItemsProcessed(state.iterations() * kPulses);
}
BENCHMARK(BM_CalculatePrepared)->Unit(benchmark::kMillisecond);

void BM_CalculateParameters(benchmark::State& state) {
  CProbeRspClass& file = SharedFile();
  std::shared_ptr<CCalcResults> results;
  CEnergyTimeProcessClass().Calculate(file, results, true, false, nullptr);
  CParameterOptions options;
  options.bWithNoise = true;
  for (auto _ : state) {
    const CParameterSet set = CalculateParameters(file, *results, options);
    benchmark::DoNotOptimize(set.STI);
  }
  state.SetItemsProcessed(state.iterations() * kPulses);
}
BENCHMARK(BM_CalculateParameters)->Unit(benchmark::kMillisecond);

// The processor time of this thread in seconds: on a shared machine the ratio of two
// processor times is steadier than that of two wall times.
double ThreadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Both in every iteration, alternating, so that the ratio sees the same machine state.
void BM_ParametersToCalculate(benchmark::State& state) {
  CProbeRspClass& file = SharedFile();
  const CEnergyTimeProcessClass process;
  CParameterOptions options;
  options.bWithNoise = true;
  double dCalculate = 0.0;
  double dParameters = 0.0;
  for (auto _ : state) {
    std::shared_ptr<CCalcResults> results;
    const double t0 = ThreadSeconds();
    process.Calculate(file, results, true, false, nullptr);
    const double t1 = ThreadSeconds();
    const CParameterSet set = CalculateParameters(file, *results, options);
    const double t2 = ThreadSeconds();
    benchmark::DoNotOptimize(set.STI);
    dCalculate += t1 - t0;
    dParameters += t2 - t1;
  }
  state.counters["calculate_ms"] = 1000.0 * dCalculate / static_cast<double>(state.iterations());
  state.counters["parameters_ms"] = 1000.0 * dParameters / static_cast<double>(state.iterations());
  state.counters["ratio"] = dParameters / dCalculate;
}
BENCHMARK(BM_ParametersToCalculate)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
}  // namespace zyra
