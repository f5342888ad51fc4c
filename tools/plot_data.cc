#include "tools/plot_data.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zyra/support/calculation.h"

namespace zyra::tool {
namespace {

// The tail is a straight line in dB; a few points draw it.
constexpr int32_t kTailPoints = 64;

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
  plot.tRef = r.tRef();
  for (int32_t i = 1; i <= rsp.Pulses()->Count(); ++i) {
    const CPulsClass& puls = *Required(rsp.Puls(i));
    const double level = puls.GetSPLForCalc(iBand, false);
    if (level <= 0.0) continue;
    const double t = rsp.GetPulsArrival(i) - r.tRef();
    plot.arrivals.push_back(
        {t, level, puls.IsDirectSound() ? ArrivalKind::kDirect : ArrivalKind::kReflection});
  }

  // The statistical tail as the evaluation added it: from tDiff with reflections, else from
  // tHall, decaying from tHall with the band's reverberation time, drawn until 60 dB down.
  const CETCInfoClass& etc = *cFile.ETC();
  const double rt = etc.RTime(iBand);
  const double eHall =
      etc.IsWithTail_b() ? 0.0 : HallEnergy(etc.Absorp(iBand), etc.Power(iBand), rt, etc.Volume());
  if (eHall > 0.0 && rt > 0.0 && std::isfinite(eHall)) {
    const double tStart = std::max(evaluation.bWithReflections ? r.tDiff() : r.tHall(), r.tHall());
    const double tStop = std::min(tStart + 1000.0 * rt, kTailEndTime);
    for (int32_t n = 0; n <= kTailPoints; ++n) {
      const double t = tStart + (tStop - tStart) * n / kTailPoints;
      plot.tail.push_back({t, LevelOf(eHall * DecayFraction(t, t + 1.0, r.tHall(), rt))});
    }
  }

  plot.marks = StandardEtcMarks(r.tSplit());
  return plot;
}

DecayPlotData BuildDecayPlotData(const CSchroederParameters& cDecays, int32_t iBand,
                                 const std::string& sSubtitle) {
  DecayPlotData plot;
  plot.sSubtitle = sSubtitle;
  if (iBand > 0) {
    const std::string sBand = std::to_string(GetTerzFrequency(iBand - 1)) + " Hz";
    plot.sTitle = "Schroeder decay, " + sBand;
    plot.series.push_back({sBand, cDecays.DecayCurve(iBand), cDecays.Fit(iBand, SL_EDecay_T30)});
  } else {
    plot.sTitle = "Schroeder decay, octaves";
    for (int32_t k = 1; k <= kOctaveCount; ++k) {
      const double f = OctaveFrequency(k);
      const std::string sOctave = f < 1000.0
                                      ? std::to_string(static_cast<int>(f)) + " Hz"
                                      : std::to_string(static_cast<int>(f / 1000.0)) + " kHz";
      plot.series.push_back(
          {sOctave, cDecays.OctaveDecayCurve(k), cDecays.OctaveFit(k, SL_EDecay_T30)});
    }
  }
  return plot;
}

}  // namespace zyra::tool
