// The room-acoustic parameters of an evaluated response, all from its arrivals and the
// closed-form statistical tail: decay times, clarity and definition, centre time, strength,
// lateral energy, modulation transfer and the speech transmission index.
#ifndef ZYRA_CALC_ROOM_PARAMETERS_H_
#define ZYRA_CALC_ROOM_PARAMETERS_H_

#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/counted_pulses.h"
#include "zyra/calc/schroeder_parameters.h"
#include "zyra/calc/speech_transmission.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"

namespace zyra {

// What the host chose for an evaluation.
struct CParameterOptions {
  double dSchroederT1 = -5.0;      // dB, upper end of SchrRTime's fit range, 0 >= T1 > T2
  double dSchroederT2 = -35.0;     // dB, lower end
  bool bIsWithReflections = true;  // as given to Calculate
  bool bWithNoise = false;         // the noise levels of the tail block also reduce the modulation
  bool bMasking = true;            // auditory masking and the reception threshold reduce it too
};

namespace detail {
template <size_t N>
constexpr std::array<double, N> NaNArray() {
  std::array<double, N> values{};
  for (double& v : values) v = std::numeric_limits<double>::quiet_NaN();
  return values;
}
}  // namespace detail

// Every value is NaN where it does not exist (a band without energy, a ratio with a zero
// denominator, a fit that does not exist, a response without pulses).
struct CParameterSet {
  using Bands = std::array<double, CCalcResults::kBandCount>;
  using Octaves = std::array<double, kOctaveCount>;
  static constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

  // Third-octave bands, index iTerz1 1..21; element 0 is unused and NaN.
  Bands EDT = detail::NaNArray<22>();        // s
  Bands T20 = detail::NaNArray<22>();        // s
  Bands T30 = detail::NaNArray<22>();        // s
  Bands SchrRTime = detail::NaNArray<22>();  // s, over [dSchroederT1, dSchroederT2]
  Bands SchrEtot = detail::NaNArray<22>();   // energy of the whole decay
  Bands SchrETail = detail::NaNArray<22>();  // energy of the statistical tail (0 without)
  Bands Curvature = detail::NaNArray<22>();  // percent, 100 (T30/T20 - 1)
  Bands Ts = detail::NaNArray<22>();         // ms after tRef, centre time
  Bands G = detail::NaNArray<22>();          // dB, strength
  Bands JLF = detail::NaNArray<22>();        // 0..1, early lateral energy fraction (cos^2)
  Bands JLFC = detail::NaNArray<22>();       // 0..1, the same with |cos|

  // Octaves, index 0..6 = 125 ... 8000 Hz.
  Octaves oEDT = detail::NaNArray<7>();            // s
  Octaves oT20 = detail::NaNArray<7>();            // s
  Octaves oT30 = detail::NaNArray<7>();            // s
  Octaves oSchrRTime = detail::NaNArray<7>();      // s
  Octaves oCurvature = detail::NaNArray<7>();      // percent
  Octaves oC50 = detail::NaNArray<7>();            // dB
  Octaves oC80 = detail::NaNArray<7>();            // dB
  Octaves oD50 = detail::NaNArray<7>();            // 0..1
  Octaves oTs = detail::NaNArray<7>();             // ms
  Octaves oG = detail::NaNArray<7>();              // dB
  Octaves oJLF = detail::NaNArray<7>();            // 0..1
  Octaves oJLFC = detail::NaNArray<7>();           // 0..1
  Octaves oMTI = detail::NaNArray<7>();            // 0..1, from the response's MTF
  Octaves oMTI_statistic = detail::NaNArray<7>();  // 0..1, from the statistical MTF

  // m(F) after noise and masking, clipped to 0..1: [octave 0..6][ModulationFrequency 0..13].
  CModulationTransfer mtf = {detail::NaNArray<14>(), detail::NaNArray<14>(), detail::NaNArray<14>(),
                             detail::NaNArray<14>(), detail::NaNArray<14>(), detail::NaNArray<14>(),
                             detail::NaNArray<14>()};
  CModulationTransfer mtf_statistic = mtf;

  // Single numbers: the mean of the 500 Hz and 1 kHz octaves (J_LF and J_LFC: 125 Hz ... 1 kHz);
  // NaN when any of those octaves' values is.
  double EDT_single = kNaN;   // s
  double T20_single = kNaN;   // s
  double T30_single = kNaN;   // s
  double C50_single = kNaN;   // dB
  double C80_single = kNaN;   // dB
  double D50_single = kNaN;   // 0..1
  double Ts_single = kNaN;    // ms
  double G_single = kNaN;     // dB
  double JLF_single = kNaN;   // 0..1
  double JLFC_single = kNaN;  // 0..1

  double STI = kNaN;            // 0..1, from the response's MTF
  double STI_statistic = kNaN;  // 0..1, from the statistical MTF
  double STIPA = kNaN;          // 0..1, the reduced set of the response's MTF
  double Alcons_STI = kNaN;     // percent, from STI
  std::string STI_rating;       // "A+" ... "U"; empty where STI is NaN

  // The options the set was computed with.
  double dSchroederT1 = -5.0;
  double dSchroederT2 = -35.0;
  bool bWithNoise = false;
  bool bMasking = true;
  // True when cBusy cancelled the work: the values not reached are NaN.
  bool bIsCancelled = false;
};

// Computes the whole set from a response and the results that Calculate filled for it with
// options.bIsWithReflections. The pulses' levels, arrivals and angles are read once. Progress
// goes to cBusy (null: none). cDecays (null: not wanted) receives the decay curves and fits the
// set was computed from, for plots. Never throws for bad data (no pulses, no tail block data,
// RT <= 0, zero power, NaN levels): the values concerned are NaN. Error 5 for fit limits with
// dSchroederT1 <= dSchroederT2 or dSchroederT1 > 0.
CParameterSet CalculateParameters(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                  const CParameterOptions& options, BusyIndicator* cBusy = nullptr,
                                  CSchroederParameters* cDecays = nullptr);
// The same from the pulses a caller gathered from cRspFile already, with
// options.bIsWithReflections and with angles, for Calculate before; their arrays are taken over.
CParameterSet CalculateParameters(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                  const CParameterOptions& options, BusyIndicator* cBusy,
                                  CSchroederParameters* cDecays, CCountedPulses counted);

}  // namespace zyra

#endif  // ZYRA_CALC_ROOM_PARAMETERS_H_
