// Reading and writing the descriptive info blocks: the obstacle list grows with the model,
// the probe info is read once per file.
#include <benchmark/benchmark.h>

#include "zyra/info/obst_info_buffer.h"
#include "zyra/info/probe_info.h"

namespace {

void BM_ObstBlockReadVersion1(benchmark::State& state) {
  zyra::CObstInfoBufferClass source;
  source.SetCount(static_cast<int32_t>(state.range(0)));
  for (int32_t i = 1; i <= source.Count(); ++i) {
    source.ObstInfo(i)->SetItem(static_cast<int16_t>(i));
    source.ObstInfo(i)->SetLabel("Obstacle " + std::to_string(i));
  }
  zyra::ByteStream stream;
  source.SaveInfoBlockToByteStream(stream);
  zyra::CObstInfoBufferClass target;
  std::string message;
  for (auto _ : state) {
    stream.SetPosition(0);
    benchmark::DoNotOptimize(target.ReadInfoBlockFromByteStream(stream, message));
  }
  state.SetBytesProcessed(state.iterations() * stream.GetLength());
}
BENCHMARK(BM_ObstBlockReadVersion1)->Arg(100)->Arg(10000);

void BM_ProbeInfoSaveAndRead(benchmark::State& state) {
  zyra::CProbeInfoClass probe;
  probe.SetPrRemarks(std::string(200, 'r'));
  probe.SetPrLabel("Seat row 12");
  std::string message;
  for (auto _ : state) {
    zyra::ByteStream stream;
    probe.SaveToByteStream(stream);
    stream.SetPosition(0);
    benchmark::DoNotOptimize(probe.ReadFromByteStream(stream, message));
  }
}
BENCHMARK(BM_ProbeInfoSaveAndRead);

}  // namespace
