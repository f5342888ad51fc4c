// The energy-time evaluation on synthetic responses: Calculate on a million pulses, and a whole
// Alcons-over-time curve with interference, literal pair sums against the production path.
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <random>
#include <string>

#include "bench/bench_support.h"
#include "testing/interference_reference.h"
#include "zyra/calc/energy_time_process.h"

namespace zyra {
namespace {

// A reproducible response: nSpeakers loudspeakers with direct sounds at 10..15 ms, then
// reflections spread over tSpread ms after them, with random levels, phases and rays, and room
// data that gives every band a tail.
std::unique_ptr<CProbeRspClass> MakeFile(int32_t nPulses, int32_t nSpeakers, float tSpread) {
  std::mt19937_64 rng(20240601);
  std::uniform_real_distribution<float> travel(0.0F, tSpread);
  std::uniform_int_distribution<int> level(1000, 8000);
  std::uniform_int_distribution<int> phase(-31416, 31416);
  std::uniform_int_distribution<int> angle(-180, 180);
  auto file = std::make_unique<CProbeRspClass>();
  CSystemResponse& rsp = *file->Rsp();
  rsp.LspInfos()->SetCount(nSpeakers);
  rsp.Pulses()->SetCount(nPulses, nullptr);
  for (int32_t i = 1; i <= nPulses; ++i) {
    CPulsClass& puls = *rsp.Puls(i);
    const bool bDirect = i <= nSpeakers;
    const int32_t lOrigin = bDirect ? i : 1 + i % nSpeakers;
    puls.SetOrigin(lOrigin);
    puls.SetROrder(bDirect ? 0 : 1 + i % 3);
    puls.SetTravel(10.0F + static_cast<float>(lOrigin % 6) + (bDirect ? 0.0F : travel(rng)));
    for (int32_t b = 1; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(level(rng)));
      puls.SetPhase(b, static_cast<int16_t>(phase(rng)));
    }
    puls.SetHorAngle(static_cast<int16_t>(angle(rng)));
    puls.SetVerAngle(static_cast<int16_t>(angle(rng) / 2));
    puls.CalculateRayFromAngles();
  }
  for (int32_t j = 1; j <= nSpeakers; ++j) {
    rsp.LspInfo(j)->SetIsActive(true);
    rsp.LspInfo(j)->SetPulsNr(j);
  }
  bench::FillBenchRoom(*file);
  file->ProbeInfo()->SetPrBandWidth(1);
  return file;
}

void BM_Calculate(benchmark::State& state) {
  const auto file = MakeFile(static_cast<int32_t>(state.range(0)), 8, 400.0F);
  const CEnergyTimeProcessClass process;
  for (auto _ : state) {
    std::shared_ptr<CCalcResults> results;
    benchmark::DoNotOptimize(process.Calculate(*file, results, true, false, nullptr));
    benchmark::DoNotOptimize(results->Etotal(11));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Calculate)->Arg(1000000)->Unit(benchmark::kMillisecond);

// The Alcons bands 8, 11 and 14 at t = 0..50 with potential and kinetic summation: 51 calls of
// CalculateAlconsOfT per band, each a literal pair sum over the pulses up to t.
void BM_AlconsCurveReference(benchmark::State& state) {
  const auto file = MakeFile(static_cast<int32_t>(state.range(0)), 4, 50.0F);
  const CEnergyTimeProcessClass process;
  std::shared_ptr<CCalcResults> results;
  process.Calculate(*file, results, true, false, nullptr);
  const CSystemResponse& rsp = *file->Rsp();
  for (auto _ : state) {
    double sum = 0.0;
    for (const int32_t iTerz1 : {8, 11, 14}) {
      for (int32_t t = 0; t <= 50; ++t) {
        sum += testing::ReferenceInterferenceEnergy(rsp, iTerz1, 1.0, true, true, true,
                                                    results->tRef(), t);
      }
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(BM_AlconsCurveReference)->Arg(2000)->Unit(benchmark::kMillisecond)->Iterations(1);

// The same 153 values through 51 production calls per band.
void BM_AlconsOfTCalls(benchmark::State& state) {
  const auto file = MakeFile(static_cast<int32_t>(state.range(0)), 4, 50.0F);
  const CEnergyTimeProcessClass process;
  std::shared_ptr<CCalcResults> results;
  process.Calculate(*file, results, true, false, nullptr);
  for (auto _ : state) {
    double sum = 0.0;
    for (int32_t a = 0; a <= 2; ++a) {
      for (int32_t t = 0; t <= 50; ++t) {
        sum += process.CalculateAlconsOfT(*file, *results, a, SL_EAlcons_STI, t, false, 6);
      }
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(BM_AlconsOfTCalls)->Arg(2000)->Arg(20000)->Unit(benchmark::kMillisecond)->Iterations(1);

// The same through one curve per band: every pair of pulses visited once per band.
void BM_AlconsCurve(benchmark::State& state) {
  const auto file = MakeFile(static_cast<int32_t>(state.range(0)), 4, 50.0F);
  const CEnergyTimeProcessClass process;
  std::shared_ptr<CCalcResults> results;
  process.Calculate(*file, results, true, false, nullptr);
  for (auto _ : state) {
    std::array<double, 51> curve{};
    for (int32_t a = 0; a <= 2; ++a) {
      process.CalculateAlconsCurve(*file, *results, a, SL_EAlcons_STI, false, 6, curve);
      benchmark::DoNotOptimize(curve);
    }
  }
}
BENCHMARK(BM_AlconsCurve)->Arg(2000)->Arg(20000)->Unit(benchmark::kMillisecond);

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point t0) {
  return std::chrono::duration<double>(Clock::now() - t0).count();
}

constexpr int32_t kPotKin =
    CEnergyTimeProcessClass::kInterfPotential | CEnergyTimeProcessClass::kInterfKinetic;

// The counters of a growth benchmark over a 4 times larger input: both mean times and the
// exponent, log4 of their ratio.
void SetGrowthCounters(benchmark::State& state, double smallSeconds, double largeSeconds) {
  const auto k = static_cast<double>(state.iterations());
  state.counters["small_ms"] = 1000.0 * smallSeconds / k;
  state.counters["large_ms"] = 1000.0 * largeSeconds / k;
  state.counters["exponent"] = std::log(largeSeconds / smallSeconds) / std::log(4.0);
}

// The Alcons curves of the three bands with interference (pot,kin) for n and 4 n pulses
// within the 50 ms of the curve, in each iteration; exponent = log4 of their time ratio.
void BM_AlconsCurveGrowth(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const auto small = MakeFile(n, 4, 50.0F);
  const auto large = MakeFile(4 * n, 4, 50.0F);
  const CEnergyTimeProcessClass process;
  std::shared_ptr<CCalcResults> smallResults;
  std::shared_ptr<CCalcResults> largeResults;
  process.Calculate(*small, smallResults, true, false, nullptr);
  process.Calculate(*large, largeResults, true, false, nullptr);
  double smallSeconds = 0.0;
  double largeSeconds = 0.0;
  for (auto _ : state) {
    for (const bool bLarge : {false, true}) {
      std::array<double, 51> curve{};
      const auto t0 = Clock::now();
      for (int32_t a = 0; a <= 2; ++a) {
        process.CalculateAlconsCurve(bLarge ? *large : *small,
                                     bLarge ? *largeResults : *smallResults, a, SL_EAlcons_STI,
                                     false, kPotKin, curve);
        benchmark::DoNotOptimize(curve);
      }
      (bLarge ? largeSeconds : smallSeconds) += SecondsSince(t0);
    }
    state.SetIterationTime(largeSeconds);
  }
  SetGrowthCounters(state, smallSeconds, largeSeconds);
}
BENCHMARK(BM_AlconsCurveGrowth)->Arg(25000)->UseManualTime()->Unit(benchmark::kMillisecond);

// Preparing a response of one coherent group of n and of 4 n members (the pseudo pulse's
// levels summed from the members), in each iteration; exponent = log4 of the time ratio.
void BM_CoherentGroupGrowth(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  double smallSeconds = 0.0;
  double largeSeconds = 0.0;
  for (auto _ : state) {
    for (const bool bLarge : {false, true}) {
      state.PauseTiming();
      auto file = std::make_unique<CProbeRspClass>();
      bench::MakeCoherentGroup(*file, bLarge ? 4 * n : n);
      state.ResumeTiming();
      const auto t0 = Clock::now();
      std::string sMessage;
      benchmark::DoNotOptimize(
          file->Rsp()->InitResponseDataAfterRead(false, false, sMessage, nullptr));
      (bLarge ? largeSeconds : smallSeconds) += SecondsSince(t0);
    }
    state.SetIterationTime(largeSeconds);
  }
  SetGrowthCounters(state, smallSeconds, largeSeconds);
}
BENCHMARK(BM_CoherentGroupGrowth)->Arg(4000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra
