#include "tools/synth_file.h"

#include <cmath>

#include "testing/synthetic_response.h"
#include "tools/demo_response.h"

namespace zyra::tool {

void SynthesizeResponseFile(CProbeRspClass& cFile, const SynthOptions& options,
                            BusyIndicator* cBusy) {
  if (cBusy != nullptr) cBusy->ShowProgress("Synthesise Pulses", 0.0, kBusyInterval);
  testing::SynthOptions synth;
  synth.nPulses = options.nPulses;
  synth.nSpeakers = options.nSpeakers;
  synth.nSeed = options.lSeed;
  synth.dUnusedFraction = 0.0;  // every loudspeaker asked for is in the file
  testing::SynthesizeSystemResponse(*cFile.Rsp(), synth);
  if (cBusy != nullptr) cBusy->ShowProgress("Synthesise Pulses", 1.0, kBusyInterval);
  // Info blocks of the demo hall, with the power of that many loudspeakers of 97 dB at 1 m.
  const double dPower = 97.0 + 4.5 + 10.0 * std::log10(static_cast<double>(options.nSpeakers));
  FillHallInfoBlocks(cFile, DemoHall(), "Synthetic " + std::to_string(options.nPulses), dPower);
  cFile.InfoText()->SetSourceText("Synthetic response: " + std::to_string(options.nPulses) +
                                  " pulses, " + std::to_string(options.nSpeakers) +
                                  " loudspeakers, seed " + std::to_string(options.lSeed) + "\n");
}

}  // namespace zyra::tool
