// Reproducible synthetic system responses, for the host tool's `synth` command, tests and
// benchmarks.
#ifndef ZYRA_TESTING_SYNTHETIC_RESPONSE_H_
#define ZYRA_TESTING_SYNTHETIC_RESPONSE_H_

#include <cstdint>

#include "zyra/response/system_response.h"

namespace zyra::testing {

struct SynthOptions {
  int32_t nPulses = 10000;       // pulses in all, direct sounds included
  int32_t nSpeakers = 16;        // loudspeaker records, unused ones included
  uint64_t nSeed = 1;            // the same seed gives the same response on every platform
  double dUnusedFraction = 0.1;  // share of the loudspeakers that no pulse names
  int32_t nGroups = 2;           // coherent groups: a pseudo loudspeaker and its members each
};

// Replaces the response's pulses and loudspeakers by a response as a simulation writes it,
// before preparation: every used loudspeaker has one direct sound, the others none; each group
// has a pseudo loudspeaker followed by its members, and pseudo reflections with a bundle
// reflection of every member; the remaining pulses are reflections of the ordinary
// loudspeakers, in no particular order of arrival. Groups that the used loudspeakers or the
// pulses cannot hold are left out. Error 5 for a negative count or a fraction outside 0..1.
void SynthesizeSystemResponse(CSystemResponse& cResponse, const SynthOptions& options);

}  // namespace zyra::testing

#endif  // ZYRA_TESTING_SYNTHETIC_RESPONSE_H_
