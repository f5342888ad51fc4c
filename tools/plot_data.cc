#include "tools/plot_data.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "zyra/calc/counted_pulses.h"
#include "zyra/calc/energy_time_response.h"
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
  EtcPlotData plot;
  plot.sBandLabel = std::to_string(GetTerzFrequency(iBand - 1)) + " Hz";
  plot.sSubtitle = sSubtitle;
  plot.tRef = r.tRef();
  // Exactly the pulses the evaluation counted, with the levels it counted them at.
  CCountedPulses::Options options;
  options.bIsWithReflections = evaluation.bWithReflections;
  const CCountedPulses counted = CCountedPulses::Gather(cFile, options);
  const int16_t* levels = counted.BandLevels(iBand);
  for (std::size_t i = 0; i < counted.Count(); ++i) {
    if (levels[i] <= 0) continue;
    plot.arrivals.push_back(
        {counted.daArrival[i] - r.tRef(), levels[i] / 100.0,
         counted.baIsDirectSound[i] != 0 ? ArrivalKind::kDirect : ArrivalKind::kReflection});
  }
  // The statistical tail as the evaluation counts it, as energy per 1 ms until 60 dB down.
  const CEnergyTimeResponse response(cFile, r, evaluation.bWithReflections);
  const CBandTail& tail = response.Tail(iBand);
  if (tail.Exists() && std::isfinite(tail.dEnergy)) {
    const double tStop = std::min(tail.tStart + 1000.0 * tail.dRT, kTailEndTime);
    for (int32_t n = 0; n <= kTailPoints; ++n) {
      const double t = tail.tStart + (tStop - tail.tStart) * n / kTailPoints;
      plot.tail.push_back({t, LevelOf(tail.EnergyBetween(t, t + 1.0))});
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
