// What a host does with a response right after reading it: judge its bundles and prepare it.
#ifndef ZYRA_RSP_HOST_SEQUENCE_H_
#define ZYRA_RSP_HOST_SEQUENCE_H_

#include <cstdint>
#include <string>

#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"

namespace zyra {

// True when some loudspeaker 1 ... Count without a coherence group has a direct pulse
// (Puls(PulsNr)) that exists and is a pseudo or bundle pulse: groups an older writer left
// half-built.
bool HasBadBundles(const CSystemResponse& cRsp);

// Records in the probe info whether bad bundles were found (HasBadBundlesDetected_b), then
// prepares the pulses with InitResponseDataAfterRead, correcting bundles only when some were
// found and bWantBadBundleCorrection asks for it (the correction reattributes every group's
// reflections, so it is applied only where needed), and records that choice
// (HasBadBundlesCorrected_b). Returns what InitResponseDataAfterRead returns. The host tool,
// the fuzz entry and the tests all prepare through this one function.
int32_t PrepareResponseAfterRead(CProbeRspClass& cProbeRsp, bool bIgnoreCoherence,
                                 bool bWantBadBundleCorrection, std::string& sErrorMessage,
                                 BusyIndicator* cBusy);

}  // namespace zyra

#endif  // ZYRA_RSP_HOST_SEQUENCE_H_
