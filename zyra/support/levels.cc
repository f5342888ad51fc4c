#include "zyra/support/levels.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "zyra/support/band_power_mean.h"
#include "zyra/support/calculation.h"
#include "zyra/support/conversions.h"
#include "zyra/support/errors.h"

namespace zyra {

namespace {

// A coherent energy at or below this share of the energetic sum is rounding residue of a
// complete cancellation, not a level: it counts as none.
constexpr double kCancellationShare = 1e-13;

struct Member {
  double p;    // pressure amplitude
  double phi;  // phase, rad
  double tau;  // arrival after the earliest of the set, ms
};

// The band-average coherent energy of the members over omega1..omega2: pair by pair for few
// members, else as the band mean of the power of their sum (the same value to rounding, in
// time linear in the members).
double BandAverageEnergy(const std::vector<Member>& members, double energetic, double omega1,
                         double omega2) {
  double span = 0.0;
  int64_t nSounding = 0;
  for (const Member& m : members) {
    if (m.p == 0.0) continue;
    span = std::max(span, m.tau);  // delays count from the earliest member, 0
    ++nSounding;
  }
  // A pair term of the sum pair by pair takes a sine and a cosine.
  if (BandPowerMean::IsCheaperThanPairs(nSounding, omega1, omega2, span, 1,
                                        2.0 * BandPowerMean::kSinCosCost)) {
    BandPowerMean sum(omega1, omega2, 0.0, span, 1);
    for (const Member& m : members) {
      if (m.p != 0.0) sum.Add(m.p, m.phi, m.tau);
    }
    return sum.Mean(0);
  }
  double cross = 0.0;
  for (size_t i = 0; i < members.size(); ++i) {
    for (size_t k = i + 1; k < members.size(); ++k) {
      const double dPhi = members[i].phi - members[k].phi;
      const double dTau = members[i].tau - members[k].tau;
      cross +=
          members[i].p * members[k].p * BandAverageCos(dPhi - omega1 * dTau, dPhi - omega2 * dTau);
    }
  }
  return energetic + 2.0 * cross;
}

}  // namespace

double BandCentreOmega(int32_t iBand) {
  return 2.0 * std::numbers::pi * std::exp2((static_cast<double>(iBand) - 11.0) / 3.0);
}

void LevelsModule::LVLS_InitPulses() {
  pulses_.clear();
}

void LevelsModule::LVLS_DefinePuls(int32_t lPuls, const int16_t* iaSPL, const int16_t* iaPhase,
                                   double dArrival, const std::array<double, 3>& cRay) {
  if (iaSPL == nullptr || iaPhase == nullptr) RaiseError(kErrObjectNotSet);
  Pulse& pulse = pulses_.emplace_back();
  pulse.lPuls = lPuls;
  std::copy_n(iaSPL, kBandCount, pulse.spl.begin());
  std::copy_n(iaPhase, kBandCount, pulse.phase.begin());
  pulse.arrival = dArrival;
  pulse.ray = cRay;
}

int32_t LevelsModule::LVLS_PulsSum(int32_t iBand, int32_t, int32_t, int32_t iMode, double& dLevel,
                                   double& dPhase) const {
  if (iBand < 0 || iBand >= kBandCount) RaiseError(kErrSubscript);
  if (iMode != kLevelsModeEnergetic && iMode != kLevelsModeCentre &&
      iMode != kLevelsModeBandAverage) {
    RaiseError(kErrInvalidCall);
  }
  const auto band = static_cast<size_t>(iBand);
  double earliest = 0.0;
  for (size_t i = 0; i < pulses_.size(); ++i) {
    earliest = i == 0 ? pulses_[i].arrival : std::min(earliest, pulses_[i].arrival);
  }
  std::vector<Member> members;
  members.reserve(pulses_.size());
  for (const Pulse& pulse : pulses_) {
    const int16_t spl = pulse.spl[band];
    members.push_back({spl > 0 ? std::pow(10.0, spl / 2000.0) : 0.0, pulse.phase[band] * 0.0001,
                       pulse.arrival - earliest});
  }

  const double omega = BandCentreOmega(iBand);
  double energetic = 0.0;
  double re = 0.0;
  double im = 0.0;
  for (const Member& m : members) {
    energetic += m.p * m.p;
    re += m.p * std::cos(m.phi - omega * m.tau);
    im += m.p * std::sin(m.phi - omega * m.tau);
  }

  double energy = energetic;
  if (iMode == kLevelsModeCentre) {
    energy = re * re + im * im;
  } else if (iMode == kLevelsModeBandAverage) {
    const double omega1 = omega * std::exp2(-1.0 / 6.0);
    const double omega2 = omega * std::exp2(1.0 / 6.0);
    energy = BandAverageEnergy(members, energetic, omega1, omega2);
  }
  if (energy <= kCancellationShare * energetic) energy = 0.0;

  dLevel = energy > 0.0 ? 10.0 * std::log10(energy) : kNoLevel;
  dPhase = std::atan2(im, re);
  return 0;
}

void LevelsModule::LVLS_Release() {
  pulses_.clear();
  pulses_.shrink_to_fit();
}

PseudoPulsBandValues StoredPulsSum(double dLevel, double dPhase) {
  return {RoundToIntClipped<int16_t>(dLevel * 100.0), RoundToIntClipped<int16_t>(dPhase * 10000.0)};
}

}  // namespace zyra
