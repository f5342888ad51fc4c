// The results of evaluating a response as plain values: per-band columns with their centre
// frequencies and units, the times in ms, Alcons over time, and lookup by frequency in Hz.
#ifndef ZYRA_FACADE_EVALUATION_H_
#define ZYRA_FACADE_EVALUATION_H_

#include <array>
#include <cstdint>
#include <memory>

#include "zyra/calc/calc_results.h"
#include "zyra/facade/band_table.h"
#include "zyra/support/busy_indicator.h"
#include "zyra/support/calculation.h"

namespace zyra {

// What an evaluation counts and how it judges speech, by name.
struct EvaluateOptions {
  bool bWithReflections = true;         // false: the direct sounds only, no room parameters
  bool bInterferencePotential = false;  // Alcons: the useful energy as the coherent sum of the
  bool bInterferenceKinetic = false;    // pressures (potential) and/or the velocities (kinetic)
  bool bWithNoise = false;              // the tail block's noise in Alcons and the MTF
  SL_EAlconsForm eAlconsForm = SL_EAlcons_Peutz;
  double dSchroederT1 = -5.0;      // dB, the upper end of the decay fit (0 >= T1 > T2)
  double dSchroederT2 = -35.0;     // dB, its lower end
  bool bMasking = true;            // auditory masking and threshold in the MTF
  BusyIndicator* cBusy = nullptr;  // progress and cancel; null: none
};

// The Alcons choices of an evaluation, as hosts print them.
struct AlconsSettings {
  bool bSti = false;
  bool bNoise = false;
  int32_t lInterfFlags = 0;  // CEnergyTimeProcessClass::kInterfPotential | kInterfKinetic
};

inline constexpr int32_t kAlconsTimes = CCalcResults::kTimeBinCount;  // t = 0 ... 50 ms
// Alcons in % per Alcons band (500 Hz, 1 kHz, 2 kHz) when the energy up to t ms is useful.
using AlconsValues = std::array<std::array<double, kAlconsTimes>, CCalcResults::kAlconsBandCount>;

// The characteristic times, ms: tRef on the arrival axis, the others relative to it.
struct EvaluationTimes {
  double tRef = 0, tFirst = 0, tLast = 0, tOff = 0, tGap = 0, tMean = 0, tHall = 0, tSplit = 0,
         tDiff = 0;
};

// An evaluation of a prepared response. The plain values (times, tables, Alcons) are filled
// from `results`, which stays available for hosts that show every sum.
class Evaluation {
 public:
  // The third-octave bands 1 ... 21 (100 Hz ... 10 kHz) in `third`; columns:
  //   energies on the pulses' scale 10^(SPL/10): "E7", "E50", "E80", "ESplit", "Etotal",
  //   "EDirect", "SPLMax"; "level_total", "level_direct" (dB); "C50", "C80" (dB); "D50".
  // An empty cResults is error 91.
  Evaluation(std::shared_ptr<CCalcResults> cResults, bool bReflections,
             const AlconsSettings& settings, const AlconsValues& values);

  double C50_dB(double dHz) const { return third.At("C50", dHz); }
  double C80_dB(double dHz) const { return third.At("C80", dHz); }
  double D50(double dHz) const { return third.At("D50", dHz); }
  double Level_dB(double dHz) const { return third.At("level_total", dHz); }
  // Alcons in % at 500, 1000 or 2000 Hz with the energy up to tUseful ms (0 ... 50) useful;
  // another frequency or time is error 9.
  double Alcons_pct(double dHz, int32_t tUseful) const;

  int32_t lCalcResult = 0;  // what Calculate answered (0: complete)
  bool bWithReflections = true;
  bool bIsNoDirectSound = false;
  std::shared_ptr<CCalcResults> results;  // never empty
  AlconsSettings alcons;
  AlconsValues alconsValues{};
  EvaluationTimes times;
  BandTable third;
};

// The nominal centre frequencies of third-octave bands 1 ... 21, Hz.
std::vector<double> ThirdOctaveFrequencies();

}  // namespace zyra

#endif  // ZYRA_FACADE_EVALUATION_H_
