// Loops that several benchmarks time the same way.
#ifndef ZYRA_BENCH_BENCH_SUPPORT_H_
#define ZYRA_BENCH_BENCH_SUPPORT_H_

#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>

#include "zyra/response/system_response.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/byte_stream.h"

namespace zyra::bench {

// The room of every benchmark response: a 5,000 m3 hall with a 1.8 s tail in every band.
inline void FillBenchRoom(CProbeRspClass& file) {
  CETCInfoClass& etc = *file.ETC();
  etc.SettSplit(20.0F);
  etc.SettDiff(30.0F);
  etc.SetVolume(5000.0F);
  for (int32_t b = 1; b <= 21; ++b) {
    etc.SetAbsorp(b, 0.25F);
    etc.SetPower(b, 95.0F);
    etc.SetRTime(b, 1.8F);
  }
}

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

// A response of one coherent group: a pseudo loudspeaker standing for nMembers members, each
// with its direct sound (arriving within 5 .. 45 ms, random levels and phases, rays from
// random angles), as a simulation writes it before preparation; with tail data, so that it
// evaluates as a file would.
inline void MakeCoherentGroup(CProbeRspClass& file, int32_t nMembers) {
  std::mt19937_64 rng(20240611);
  std::uniform_real_distribution<float> travel(5.0F, 45.0F);
  std::uniform_int_distribution<int> level(6000, 8000);
  std::uniform_int_distribution<int> phase(-31415, 31415);
  std::uniform_int_distribution<int> angle(-90, 90);
  CSystemResponse& rsp = *file.Rsp();
  const int32_t n = nMembers + 1;
  rsp.LspInfos()->SetCount(n);
  rsp.Pulses()->SetCount(n, nullptr);
  for (int32_t i = 1; i <= n; ++i) {
    CLspInfoClass& lsp = rsp.LspInfos()->LspInfoRecord(i);
    lsp.SetIsActive(true);
    lsp.SetCoherenceGroup(-1);
    lsp.SetIsPseudo(i == 1);
    lsp.SetIsMember(i != 1);
    lsp.SetPulsNr(i);
    CPulsClass& puls = rsp.Pulses()->PulsRecord(i);
    puls.SetOrigin(i);
    puls.SetTravel(travel(rng));
    puls.SetID(i);
    puls.SetID_Pseudo(1);
    puls.SetIsPseudo(i == 1);
    puls.SetIsBundle(i != 1);
    puls.SetHorAngle(static_cast<int16_t>(2 * angle(rng)));
    puls.SetVerAngle(static_cast<int16_t>(angle(rng)));
    puls.CalculateRayFromAngles();
    for (int32_t b = 0; b <= 21; ++b) {
      puls.SetSPL(b, static_cast<int16_t>(level(rng)));
      puls.SetPhase(b, static_cast<int16_t>(phase(rng)));
    }
  }
  FillBenchRoom(file);
}

}  // namespace zyra::bench

#endif  // ZYRA_BENCH_BENCH_SUPPORT_H_
