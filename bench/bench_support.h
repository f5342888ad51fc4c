// Loops that several benchmarks time the same way.
#ifndef ZYRA_BENCH_BENCH_SUPPORT_H_
#define ZYRA_BENCH_BENCH_SUPPORT_H_

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "zyra/response/system_response.h"
#include "zyra/support/byte_stream.h"

namespace zyra::bench {

// Times reading the "PULS" block at the start of `stream` into a fresh response; making the
// response and releasing its pulses afterwards are not timed.
inline void TimePulsBlockReads(benchmark::State& state, ByteStream& stream) {
  for (auto _ : state) {
    state.PauseTiming();
    auto rsp = std::make_unique<CSystemResponse>();
    rsp->Pulses();
    stream.SetPosition(0);
    state.ResumeTiming();

    std::string sMessage;
    const int32_t lResult =
        rsp->ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false, false, false);
    benchmark::DoNotOptimize(lResult);

    state.PauseTiming();
    rsp.reset();
    state.ResumeTiming();
  }
}

}  // namespace zyra::bench

#endif  // ZYRA_BENCH_BENCH_SUPPORT_H_
