// `zyra-rsp synth`: a reproducible response of a given size with plausible info blocks.
#ifndef ZYRA_TOOLS_SYNTH_FILE_H_
#define ZYRA_TOOLS_SYNTH_FILE_H_

#include "tools/commands.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"

namespace zyra::tool {

// The pulses and loudspeakers from the seeded generator, and the info blocks of the demo hall.
void SynthesizeResponseFile(CProbeRspClass& cFile, const SynthOptions& options,
                            BusyIndicator* cBusy);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_SYNTH_FILE_H_
