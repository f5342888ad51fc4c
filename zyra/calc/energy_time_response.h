// The energy-time response of a band as the evaluation counts it: the arrivals of the counted
// pulses with their energies, and the closed-form statistical tail. Built once per evaluation;
// the decay fits, energy parameters and modulation transfer all read it.
#ifndef ZYRA_CALC_ENERGY_TIME_RESPONSE_H_
#define ZYRA_CALC_ENERGY_TIME_RESPONSE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "zyra/calc/calc_results.h"
#include "zyra/calc/counted_pulses.h"
#include "zyra/rsp/probe_rsp.h"

namespace zyra {

// The statistical tail of one band: the energy density E_H k e^(-k (t - tHall)) for
// t >= tStart, with k = 6 ln 10 / (1000 RT) per ms. All times in ms relative to tRef.
struct CBandTail {
  double dEHall = 0.0;   // HallEnergy of the band; 0 when the band has no tail
  double dRT = 0.0;      // s
  double dK = 0.0;       // per ms; 0 without tail
  double tHall = 0.0;    // where the decay starts
  double tStart = 0.0;   // where it is counted from: the later of tHall and tDiff (reflections
                         // counted) or tHall
  double dEnergy = 0.0;  // E_T, the energy counted from tStart on

  bool Exists() const noexcept { return dEnergy > 0.0; }
  // The tail's energy counted at or after t.
  double EnergyAfter(double t) const;
  // The tail's energy counted in t1 <= t < t2.
  double EnergyBetween(double t1, double t2) const;
};

// What one pass over a band's arrivals gathers.
struct CBandSums {
  int32_t iTerz1 = 0;
  double dEnergy = 0.0;               // sum of E_i over the arrivals on the time axis
  double dETimeless = 0.0;            // sum of E_i over the arrivals without a place on it
  double dEnergyTime = 0.0;           // sum of E_i t_i (ms)
  double dEBefore80 = 0.0;            // sum of E_i with t_i < 80 ms
  double dELateral2 = 0.0;            // sum of E_i u_y^2 with 5 <= t_i < 80 ms
  double dELateral1 = 0.0;            // sum of E_i |u_y| with 5 <= t_i < 80 ms
  double tFirstEnergy = 0.0;          // ms of the first arrival with E_i > 0; +inf without one
  std::vector<double> daGroupEnergy;  // sum of E_i of each sample group (see GroupSample)
};

// One octave's pass: its three bands and the moments of the octave's energy in each sample
// group, sum of E_i (t_i - c)^p for p = 0..kMomentCount-1 with c the group's centre, for the
// modulation transfer.
struct COctaveSums {
  static constexpr size_t kMomentCount = 6;
  int32_t iOctave = 0;
  std::array<CBandSums, 3> bands;
  std::array<std::vector<double>, kMomentCount> daMoment;
};

// Arrivals t_i = GetPulsArrival - tRef of exactly the pulses that Calculate adds, with their
// energies GetEnergyForCalc, band by band; the arrivals with a place on the time axis (finite
// and within kTimeAxisLimit of tRef) come first, in ascending order, the others after them. A
// band with energy off the axis has no time-based values.
//
// The arrivals on the axis fall into sample groups: group g holds the arrivals with
// GroupSample(g) / 10 <= t_i < (GroupSample(g) + 1) / 10 ms, so that a decay curve sampled
// every 0.1 ms counts whole groups.
class CEnergyTimeResponse {
 public:
  static constexpr double kTimeAxisLimit = 1.0e7;  // ms

  // Gathers the counted pulses of cRspFile (error 91 for an empty pulse slot) and the tails of
  // its tail block, with the times of the results Calculate filled with the same
  // bIsWithReflections.
  CEnergyTimeResponse(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                      bool bIsWithReflections);
  // The same from pulses already gathered from cRspFile with the same bIsWithReflections and
  // with angles (error 5 without them); their arrays are taken over.
  CEnergyTimeResponse(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                      bool bIsWithReflections, CCountedPulses counted);

  size_t Count() const noexcept { return daTime_.size(); }
  size_t PlacedCount() const noexcept { return nPlaced_; }
  // ms relative to tRef, i 0..Count-1 (unchecked).
  double Arrival(size_t i) const { return daTime_[i]; }
  // E_i in band iTerz1 1..21 (error 9 outside), i 0..Count-1 (unchecked).
  double Energy(int32_t iTerz1, size_t i) const;
  // u_y = cos(VerAngle) sin(HorAngle) of arrival i.
  double LateralCosine(size_t i) const { return daLateral_[i]; }
  // The tail of band iTerz1 1..21; error 9 outside.
  const CBandTail& Tail(int32_t iTerz1) const;

  size_t GroupCount() const noexcept { return laGroupSample_.size(); }
  int32_t GroupSample(size_t g) const { return laGroupSample_[g]; }
  // The time (ms) moments are taken about: the middle of the group's 0.1 ms.
  double GroupCentre(size_t g) const { return (laGroupSample_[g] + 0.5) / 10.0; }

  // One pass over the arrivals of octave iOctave 1..7 (error 9 outside) into sums, whose
  // vectors are reused from call to call.
  void SumOctave(int32_t iOctave, COctaveSums& sums) const;

  // The modulation transfer m(F) of the octave that sums describe, at each frequency of
  // daFrequency (Hz) into daM (as many elements): |sum E_i e^(-j W t_i) + sum over the bands'
  // tails of E_T e^(-j W tStart) k / (k + j W)| / (sum E_i + sum E_T), W = 2 pi F / 1000 per
  // ms. The arrivals of a sample group enter through six moments about its centre, which leaves
  // a share below 1e-17 of their energy unaccounted: exact to rounding. NaN where the octave has no
  // energy or energy off the time axis.
  void OctaveModulation(const COctaveSums& sums, std::span<const double> daFrequency,
                        std::span<double> daM) const;

  // The index n of the sample n/10 ms that is the latest at or before t (t on the axis).
  static int32_t SampleAtOrBefore(double t);

 private:
  size_t nPlaced_ = 0;
  std::vector<double> daTime_;
  std::vector<int16_t> iaLevel_;  // band-major rows of Count() levels, in the order of daTime_
  std::vector<double> daLateral_;
  std::vector<int32_t> laGroupSample_;
  std::vector<size_t> laGroupBegin_;  // GroupCount() + 1 entries
  std::array<CBandTail, CCalcResults::kBandCount> tails_{};
};

}  // namespace zyra

#endif  // ZYRA_CALC_ENERGY_TIME_RESPONSE_H_
