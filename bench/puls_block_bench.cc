// Writing and reading a "PULS" block of a million pulses through a ByteStream.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench/bench_support.h"
#include "zyra/response/system_response.h"
#include "zyra/support/byte_stream.h"

namespace zyra {
namespace {

constexpr int32_t kPulses = 1000000;
constexpr int32_t kSpeakers = 16;

// A response of kPulses pulses spread over kSpeakers active loudspeakers, every value set.
std::unique_ptr<CSystemResponse> MakeResponse() {
  auto rsp = std::make_unique<CSystemResponse>();
  rsp->LspInfos()->SetCount(kSpeakers);
  for (int32_t i = 1; i <= kSpeakers; ++i) rsp->LspInfo(i)->SetIsActive(true);
  rsp->Pulses()->SetCount(kPulses, nullptr);
  for (int32_t i = 1; i <= kPulses; ++i) {
    CPulsClass& puls = *rsp->Puls(i);
    puls.SetOrigin(1 + i % kSpeakers);
    puls.SetROrder(i <= kSpeakers ? 0 : 1 + i % 7);
    puls.SetTravel(static_cast<float>(i) * 0.01f);
    puls.SetHorAngle(static_cast<int16_t>(i % 360 - 180));
    puls.SetVerAngle(static_cast<int16_t>(i % 180 - 90));
    puls.CalculateRayFromAngles();
    for (int32_t b = 0; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(6000 + (i + b) % 3000));
      puls.SetPhase(b, static_cast<int16_t>((i * 7 + b) % 31416));
    }
    puls.SetID(i);
    puls.SetFarbe(i % 256);
  }
  return rsp;
}

ByteStream SavedBlock(const CSystemResponse& rsp) {
  ByteStream stream;
  int32_t lHeader = 0;
  rsp.SavePulsBlockToByteStream(stream, true, lHeader);
  return stream;
}

void BM_PulsBlockWrite(benchmark::State& state) {
  const auto rsp = MakeResponse();
  int64_t lBytes = 0;
  for (auto _ : state) {
    ByteStream stream;
    int32_t lHeader = 0;
    rsp->SavePulsBlockToByteStream(stream, true, lHeader);
    lBytes = stream.GetLength();
    benchmark::DoNotOptimize(stream.Bytes().data());
  }
  state.SetBytesProcessed(state.iterations() * lBytes);
}
BENCHMARK(BM_PulsBlockWrite)->Unit(benchmark::kMillisecond);

// Writing over a stream that already has room: the cost of the records alone, without the
// growth of the stream's memory.
void BM_PulsBlockRewrite(benchmark::State& state) {
  const auto rsp = MakeResponse();
  ByteStream stream = SavedBlock(*rsp);
  for (auto _ : state) {
    stream.SetPosition(0);
    int32_t lHeader = 0;
    rsp->SavePulsBlockToByteStream(stream, true, lHeader);
    benchmark::DoNotOptimize(stream.Bytes().data());
  }
  state.SetBytesProcessed(state.iterations() * stream.GetLength());
}
BENCHMARK(BM_PulsBlockRewrite)->Unit(benchmark::kMillisecond);

// Reading into a fresh response: the release of the previous pulses is not timed.
void BM_PulsBlockRead(benchmark::State& state) {
  ByteStream stream = SavedBlock(*MakeResponse());
  bench::TimePulsBlockReads(state, stream);
  state.SetBytesProcessed(state.iterations() * stream.GetLength());
}
BENCHMARK(BM_PulsBlockRead)->Unit(benchmark::kMillisecond);

// Reading again into the same response: SetCount first releases the million pulses held.
void BM_PulsBlockReread(benchmark::State& state) {
  ByteStream stream = SavedBlock(*MakeResponse());
  CSystemResponse rsp;
  for (auto _ : state) {
    stream.SetPosition(0);
    std::string sMessage;
    const int32_t lResult =
        rsp.ReadPulsBlockFromByteStream(stream, sMessage, nullptr, false, false, false);
    benchmark::DoNotOptimize(lResult);
  }
  state.SetBytesProcessed(state.iterations() * stream.GetLength());
}
BENCHMARK(BM_PulsBlockReread)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zyra
