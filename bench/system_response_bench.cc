// Preparing a synthetic response of a million pulses and a thousand loudspeakers after reading,
// next to reading the same pulses from a stream.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench/bench_support.h"
#include "testing/synthetic_response.h"
#include "zyra/response/system_response.h"
#include "zyra/support/byte_stream.h"

namespace zyra {
namespace {

using testing::SynthesizeSystemResponse;
using testing::SynthOptions;

SynthOptions BenchOptions() {
  SynthOptions options;
  options.nPulses = 1000000;
  options.nSpeakers = 1000;
  options.nSeed = 20240601;
  options.dUnusedFraction = 0.1;
  options.nGroups = 4;
  return options;
}

// The whole preparation; making the response is not timed. Argument: correct bad bundles.
void BM_InitResponseDataAfterRead(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto rsp = std::make_unique<CSystemResponse>();
    SynthesizeSystemResponse(*rsp, BenchOptions());
    state.ResumeTiming();

    std::string sMessage;
    const int32_t lResult =
        rsp->InitResponseDataAfterRead(false, state.range(0) != 0, sMessage, nullptr);
    benchmark::DoNotOptimize(lResult);

    state.PauseTiming();
    rsp.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * BenchOptions().nPulses);
}
BENCHMARK(BM_InitResponseDataAfterRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Reading the same pulses as a "PULS" block into a fresh response, for comparison.
void BM_ReadSynthPulsBlock(benchmark::State& state) {
  ByteStream stream;
  {
    CSystemResponse rsp;
    SynthesizeSystemResponse(rsp, BenchOptions());
    int32_t lHeader = 0;
    rsp.SavePulsBlockToByteStream(stream, true, lHeader);
  }
  bench::TimePulsBlockReads(state, stream);
  state.SetItemsProcessed(state.iterations() * BenchOptions().nPulses);
}
BENCHMARK(BM_ReadSynthPulsBlock)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra
