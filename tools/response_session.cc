#include "tools/response_session.h"

#include "tools/commands.h"
#include "zyra/calc/energy_time_process.h"
#include "zyra/rsp/host_sequence.h"

namespace zyra::tool {

ErrorInfo ErrorInfoOf(const RuntimeError& error) {
  return {error.Number(), error.Description()};
}

bool IsCleanRead(const ReadOutcome& read) {
  if (read.lResult == 0) return read.sMessage.empty();
  return read.lResult == 1 && read.sMessage.rfind(kCoherenceWarningStart, 0) == 0;
}

InitOutcome PrepareResponse(CProbeRspClass& cFile, BusyIndicator* cBusy) {
  InitOutcome init;
  try {
    init.lResult = PrepareResponseAfterRead(cFile, false, true, init.sMessage, cBusy);
  } catch (const RuntimeError& error) {
    init.error = ErrorInfoOf(error);
  }
  return init;
}

Evaluation EvaluateResponse(CProbeRspClass& cFile, bool bDirectOnly, const AlconsSettings& alcons,
                            BusyIndicator* cBusy) {
  Evaluation evaluation;
  evaluation.bWithReflections = !bDirectOnly;
  evaluation.alcons = alcons;
  evaluation.results = std::make_shared<CCalcResults>();
  const CEnergyTimeProcessClass process;
  evaluation.lCalcResult =
      process.Calculate(cFile, evaluation.results, !bDirectOnly, cBusy != nullptr, cBusy);
  const SL_EAlconsForm eForm = alcons.bSti ? SL_EAlcons_STI : SL_EAlcons_Peutz;
  for (int32_t a = 0; a < CCalcResults::kAlconsBandCount; ++a) {
    std::array<double, CCalcResults::kTimeBinCount> curve{};
    process.CalculateAlconsCurve(cFile, *evaluation.results, a, eForm, alcons.bNoise,
                                 alcons.lInterfFlags, curve);
    evaluation.alconsValues[static_cast<std::size_t>(a)] = curve;
  }
  return evaluation;
}

}  // namespace zyra::tool
