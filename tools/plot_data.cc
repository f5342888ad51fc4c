#include "tools/plot_data.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

constexpr double kTailStepMs = 1.0;

// The Alcons band of a third-octave band, -1 for none.
int32_t AlconsBandOf(int32_t iBand) {
  switch (iBand) {
    case 8:
      return 0;
    case 11:
      return 1;
    case 14:
      return 2;
    default:
      return -1;
  }
}

double LevelOf(double dEnergy) {
  return dEnergy > 0.0 ? 10.0 * std::log10(dEnergy) : -std::numeric_limits<double>::infinity();
}

}  // namespace

EtcPlotData BuildEtcPlotData(const CProbeRspClass& cFile, const Evaluation& evaluation,
                             int32_t iBand, const std::string& sSubtitle) {
  const CCalcResults& r = *evaluation.results;
  const CSystemResponse& rsp = *cFile.Rsp();
  EtcPlotData plot;
  plot.sBandLabel = std::to_string(GetTerzFrequency(iBand - 1)) + " Hz";
  plot.sSubtitle = sSubtitle;
  double tEnd = 100.0;
  for (int32_t i = 1; i <= rsp.Pulses()->Count(); ++i) {
    const CPulsClass& puls = rsp.Pulses()->PulsRecord(i);
    const double level = puls.GetSPLForCalc(iBand, false);
    if (level <= 0.0) continue;
    const double t = rsp.GetPulsArrival(i) - r.tRef();
    plot.arrivals.push_back(
        {t, level, puls.IsDirectSound() ? ArrivalKind::kDirect : ArrivalKind::kReflection});
    tEnd = std::max(tEnd, t);
  }

  // The statistical tail as the evaluation added it: from tDiff with reflections, else from
  // tHall, decaying from tHall with the band's reverberation time.
  const CETCInfoClass& etc = *cFile.ETC();
  const double rt = etc.RTime(iBand);
  const double eHall =
      etc.IsWithTail_b() ? 0.0 : HallEnergy(etc.Absorp(iBand), etc.Power(iBand), rt, etc.Volume());
  if (eHall > 0.0 && rt > 0.0) {
    const double tStart = evaluation.bWithReflections ? r.tDiff() : r.tHall();
    // To the last arrival, and at least 200 ms of the decay, so that the early part keeps room.
    const double tStop = std::max(tEnd, r.tHall() + 200.0);
    for (double t = tStart; t < tStop; t += kTailStepMs) {
      const double e = eHall * DecayFraction(t, t + kTailStepMs, r.tHall(), rt);
      if (e > 0.0) plot.arrivals.push_back({t, LevelOf(e), ArrivalKind::kTail});
    }
  }

  const int32_t a = AlconsBandOf(iBand);
  if (a >= 0) {
    for (int32_t k = 0; k < CCalcResults::kTimeBinCount; ++k) {
      plot.binLevels.push_back(LevelOf(r.Exx(k, a)));
    }
  }
  plot.marks = StandardEtcMarks(r.tSplit());
  return plot;
}

}  // namespace zyra::tool
