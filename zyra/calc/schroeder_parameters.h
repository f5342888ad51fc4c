// The Schroeder decay of a response: the backward-integrated energy of its arrivals and of the
// closed-form statistical tail, sampled every 0.1 ms, and the least-squares decay fits EDT,
// T20, T30 and SchrRTime over it, per third-octave band and per octave.
#ifndef ZYRA_CALC_SCHROEDER_PARAMETERS_H_
#define ZYRA_CALC_SCHROEDER_PARAMETERS_H_

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/energy_time_response.h"
#include "zyra/calc/speech_transmission.h"
#include "zyra/rsp/probe_rsp.h"
#include "zyra/support/busy_indicator.h"

namespace zyra {

// A Schroeder curve thinned for plotting: every step and every 0.1 dB of the decay is kept,
// flat stretches by their ends. Empty where the band has no decay.
struct CDecayCurve {
  std::vector<double> daTime;   // ms relative to tRef
  std::vector<double> daLevel;  // dB, <= 0; -inf where nothing is left to decay
};

// A least-squares line through the samples of a decay curve within [dUpper, dLower] dB.
struct CDecayFit {
  double dUpper = 0.0;  // dB, the upper end of the fit range
  double dLower = 0.0;  // dB, the lower end
  // dB per s; NaN when the fit does not exist (fewer than 2 samples in range, a slope >= 0, or
  // no finite sample at or below dLower: a decay that ends before it).
  double dSlope = std::numeric_limits<double>::quiet_NaN();
  double dIntercept = std::numeric_limits<double>::quiet_NaN();  // dB at 0 ms (tRef)
  double dTimeUpper = std::numeric_limits<double>::quiet_NaN();  // ms of the first sample used
  double dTimeLower = std::numeric_limits<double>::quiet_NaN();  // ms of the last sample used
  // The decay time -60/slope in s; NaN when the fit does not exist.
  double DecayTime() const { return -60.0 / dSlope; }
};

// The fit ranges of a decay: EDT [0, -10], T20 [-5, -25], T30 [-5, -35] and SchrRTime over
// [SchroederT1, SchroederT2].
enum SL_EDecayRange : int32_t {
  SL_EDecay_EDT = 0,
  SL_EDecay_T20 = 1,
  SL_EDecay_T30 = 2,
  SL_EDecay_SchrRTime = 3,
};
inline constexpr int32_t kDecayRangeCount = 4;

// Holds the fits of one response after CalculateFit. Third-octave bands are indexed iTerz1
// 1..21 and octaves iOctave 1..7 (125 ... 8000 Hz); any other index, or another range, is
// error 9. Decay times are in s, energies on the scale of a pulse's energy; every value is NaN
// where it does not exist (before CalculateFit, a band without energy, a fit that does not
// exist). Distinct objects may be used on distinct threads.
class CSchroederParameters {
 public:
  CSchroederParameters() = default;

  // Fit limits of SchrRTime in dB, 0 >= SchroederT1 > SchroederT2; default -5 and -35.
  double SchroederT1() const noexcept { return dSchroederT1_; }
  void SetSchroederT1(double value) noexcept { dSchroederT1_ = value; }
  double SchroederT2() const noexcept { return dSchroederT2_; }
  void SetSchroederT2(double value) noexcept { dSchroederT2_ = value; }

  // Builds the decay curves of the response that Calculate evaluated into cCalc (with the same
  // bIsWithReflections) and fits them. Progress goes to cBusy (null: none) octave by octave.
  // Returns 0, or -1 when cancelled (the octaves not reached stay NaN). Error 5 for fit limits
  // with SchroederT1 <= SchroederT2 or SchroederT1 > 0. Bad data (no pulses, no tail, RT <= 0,
  // zero power) gives NaN values, never an error.
  int32_t CalculateFit(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                       bool bIsWithReflections, BusyIndicator* cBusy);
  // The same from a response already built.
  int32_t CalculateFit(const CEnergyTimeResponse& cResponse, BusyIndicator* cBusy);
  // The step CalculateFit takes per octave, for hosts that pass over the response once for
  // several purposes: fits the octave of sums and its three bands. Error 5 for bad fit
  // limits, as CalculateFit.
  void FitOctave(const CEnergyTimeResponse& cResponse, const COctaveSums& sums);

  // Decay time in s of SchrRTime's range, per band.
  double SchrRTime(int32_t iTerz1) const;
  // The whole energy of the decay, EDC at its start; NaN where the band has no time axis.
  double SchrEtot(int32_t iTerz1) const;
  // The energy of the statistical tail counted in the band; 0 without tail.
  double SchrETail(int32_t iTerz1) const;
  // Decay times in s per band.
  double EDT(int32_t iTerz1) const { return Fit(iTerz1, SL_EDecay_EDT).DecayTime(); }
  double T20(int32_t iTerz1) const { return Fit(iTerz1, SL_EDecay_T20).DecayTime(); }
  double T30(int32_t iTerz1) const { return Fit(iTerz1, SL_EDecay_T30).DecayTime(); }
  // 100 (T30/T20 - 1) in percent: how far the decay bends; NaN when either does not exist.
  double Curvature(int32_t iTerz1) const;

  // The same per octave.
  double OctaveSchrRTime(int32_t iOctave) const;
  double OctaveSchrEtot(int32_t iOctave) const;
  double OctaveSchrETail(int32_t iOctave) const;
  double OctaveEDT(int32_t iOctave) const { return OctaveFit(iOctave, SL_EDecay_EDT).DecayTime(); }
  double OctaveT20(int32_t iOctave) const { return OctaveFit(iOctave, SL_EDecay_T20).DecayTime(); }
  double OctaveT30(int32_t iOctave) const { return OctaveFit(iOctave, SL_EDecay_T30).DecayTime(); }
  double OctaveCurvature(int32_t iOctave) const;

  // The fit lines and the thinned curves, for plots.
  const CDecayFit& Fit(int32_t iTerz1, SL_EDecayRange eRange) const;
  const CDecayFit& OctaveFit(int32_t iOctave, SL_EDecayRange eRange) const;
  const CDecayCurve& DecayCurve(int32_t iTerz1) const;
  const CDecayCurve& OctaveDecayCurve(int32_t iOctave) const;

 private:
  // What is known of one decay (a band or an octave).
  struct Decay {
    double dEtot = std::numeric_limits<double>::quiet_NaN();
    double dETail = std::numeric_limits<double>::quiet_NaN();
    std::array<CDecayFit, kDecayRangeCount> fits{};
    CDecayCurve curve;
  };

  // One decay to sample: the energies of the response's sample groups, the tails it holds (all
  // starting at the same time) and the time t0 of its first energy.
  struct DecayInput {
    const double* daGroupEnergy;
    std::array<const CBandTail*, 3> tails;
    size_t nTails;
    double t0;
  };

  void CheckLimits() const;
  void SampleDecay(const CEnergyTimeResponse& cResponse, const DecayInput& input,
                   std::vector<double>& daSuffix, Decay& decay) const;
  const Decay& BandDecay(int32_t iTerz1) const;
  const Decay& OctaveDecay(int32_t iOctave) const;

  double dSchroederT1_ = -5.0;
  double dSchroederT2_ = -35.0;
  std::array<Decay, CCalcResults::kBandCount> bands_{};  // element 0 unused
  std::array<Decay, kOctaveCount> octaves_{};
};

}  // namespace zyra

#endif  // ZYRA_CALC_SCHROEDER_PARAMETERS_H_
