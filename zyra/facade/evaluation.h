// The results of evaluating a response as plain values: per-band columns with their centre
// frequencies and units, the times in ms, Alcons over time, and lookup by frequency in Hz.
#ifndef ZYRA_FACADE_EVALUATION_H_
#define ZYRA_FACADE_EVALUATION_H_

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/room_parameters.h"
#include "zyra/calc/schroeder_parameters.h"
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

// A single-number value by name, with its unit.
struct NamedValue {
  std::string sName;
  std::string sUnit;
  double dValue = 0.0;
};

// An evaluation of a prepared response. The plain values (times, tables, Alcons) are filled
// from `results` and `parameters`, which stay available for hosts that show every sum.
class Evaluation {
 public:
  // Third-octave bands 1 ... 21 (100 Hz ... 10 kHz) in `third`, with the columns
  //   energies on the pulses' scale 10^(SPL/10): "E7", "E50", "E80", "ESplit", "Etotal",
  //   "EDirect", "SPLMax", "SchrEtot", "SchrETail"; "level_total", "level_direct", "C50",
  //   "C80", "G" (dB); "D50", "JLF", "JLFC" (fractions); "EDT", "T20", "T30", "SchrRTime"
  //   (s); "Ts" (ms); "Curvature" (%).
  // Octaves 125 ... 8000 Hz in `octave`: "EDT", "T20", "T30", "SchrRTime" (s), "Curvature"
  // (%), "C50", "C80", "G" (dB), "D50", "JLF", "JLFC", "MTI", "MTI_statistic", "Ts" (ms).
  // Without cParameters (direct sound only) the parameter columns are NaN. An empty cResults
  // is error 91.
  Evaluation(std::shared_ptr<CCalcResults> cResults, bool bReflections,
             const AlconsSettings& settings, const AlconsValues& values,
             std::optional<CParameterSet> cParameters = std::nullopt,
             std::shared_ptr<const CSchroederParameters> cDecays = nullptr);

  // Third-octave values at a frequency in Hz (NaN where the value does not exist).
  double C50_dB(double dHz) const { return third.At("C50", dHz); }
  double C80_dB(double dHz) const { return third.At("C80", dHz); }
  double D50(double dHz) const { return third.At("D50", dHz); }
  double Level_dB(double dHz) const { return third.At("level_total", dHz); }
  double EDT_s(double dHz) const { return third.At("EDT", dHz); }
  double T20_s(double dHz) const { return third.At("T20", dHz); }
  double T30_s(double dHz) const { return third.At("T30", dHz); }
  double Ts_ms(double dHz) const { return third.At("Ts", dHz); }
  double G_dB(double dHz) const { return third.At("G", dHz); }

  // The single numbers (EDT, T20, T30, C50, C80, D50, Ts, G, JLF, JLFC, their mean over
  // octaves as ISO 3382-1 takes it) and STI, STI_statistic, STIPA, Alcons_STI; NaN where they
  // do not exist, all NaN without parameters.
  std::vector<NamedValue> SingleNumbers() const;
  // One of them by name; an unknown name is error 5.
  double Single(std::string_view sName) const;
  // "A+" ... "U"; empty where STI does not exist.
  std::string STIRating() const { return parameters ? parameters->STI_rating : std::string(); }

  // The Schroeder decay of the third-octave band or octave at dHz, thinned for plotting:
  // times in ms after tRef, levels in dB; empty without parameters.
  CDecayCurve DecayCurve(double dHz) const;
  CDecayCurve OctaveDecayCurve(double dHz) const;
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
  BandTable octave;
  std::optional<CParameterSet> parameters;             // with reflections only
  std::shared_ptr<const CSchroederParameters> decays;  // the fits behind `parameters`
};

// The nominal centre frequencies of the octaves 1 ... 7, Hz.
std::vector<double> OctaveFrequencies();

// The nominal centre frequencies of third-octave bands 1 ... 21, Hz.
std::vector<double> ThirdOctaveFrequencies();

}  // namespace zyra

#endif  // ZYRA_FACADE_EVALUATION_H_
