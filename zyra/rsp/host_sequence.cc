#include "zyra/rsp/host_sequence.h"

#include "zyra/support/errors.h"

namespace zyra {

bool HasBadBundles(const CSystemResponse& cRsp) {
  const CLspInfoBufferClass& lsps = *Required(cRsp.LspInfos());
  for (int32_t i = 1; i <= lsps.Count(); ++i) {
    const CLspInfoClass& lsp = lsps.LspInfoRecord(i);
    if (lsp.CoherenceGroup() != 0) continue;
    const CPulsClass* cDirect = cRsp.Pulses()->FindPuls(lsp.PulsNr());
    if (cDirect != nullptr && (cDirect->IsPseudo() || cDirect->IsBundle())) return true;
  }
  return false;
}

int32_t PrepareResponseAfterRead(CProbeRspClass& cProbeRsp, bool bIgnoreCoherence,
                                 bool bWantBadBundleCorrection, std::string& sErrorMessage,
                                 BusyIndicator* cBusy) {
  CProbeInfoClass& probeInfo = *Required(cProbeRsp.ProbeInfo());
  const bool bDetected = HasBadBundles(*Required(cProbeRsp.Rsp()));
  const bool bCorrect = bDetected && bWantBadBundleCorrection;
  probeInfo.SetHasBadBundlesDetected_b(bDetected);
  probeInfo.SetHasBadBundlesCorrected_b(bCorrect);
  return cProbeRsp.Rsp()->InitResponseDataAfterRead(bIgnoreCoherence, bCorrect, sErrorMessage,
                                                    cBusy);
}

}  // namespace zyra
