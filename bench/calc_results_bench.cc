// The inner loop of an evaluation: every pulse's energy added once per band, band by band.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "zyra/calc/calc_results.h"

namespace {

// 21 bands x 1,000,000 pulses spread over 300 ms, as in a large response.
void BM_AddPulsEnergy21Bands(benchmark::State& state) {
  const auto nPulses = static_cast<size_t>(state.range(0));
  std::mt19937 random(7);
  std::uniform_real_distribution<double> arrival(95.0, 395.0);
  std::uniform_real_distribution<double> energy(1e-6, 1e-2);
  std::vector<double> arrivals(nPulses);
  std::vector<double> energies(nPulses);
  for (size_t i = 0; i < nPulses; ++i) {
    arrivals[i] = arrival(random);
    energies[i] = energy(random);
  }
  for (auto _ : state) {
    auto results = std::make_unique<zyra::CCalcResults>();
    results->SettRef(100.0);
    results->SettSplit(20.0);
    results->SettDiff(30.0);
    for (int32_t band = 1; band <= 21; ++band) {
      for (size_t i = 0; i < nPulses; ++i) {
        results->AddPulsEnergy(band, arrivals[i], energies[i], i % 64 == 0);
      }
    }
    benchmark::DoNotOptimize(results->Etotal(11));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * 21 * static_cast<int64_t>(nPulses));
}
BENCHMARK(BM_AddPulsEnergy21Bands)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
