#include "zyra/support/calculation.h"

#include <algorithm>
#include <array>
#include <numbers>

#include "zyra/support/conversions.h"

namespace zyra {

namespace {

constexpr std::array<int32_t, 21> kTerzFrequencies = {100,  125,  160,  200,  250,  315,  400,
                                                      500,  630,  800,  1000, 1250, 1600, 2000,
                                                      2500, 3150, 4000, 5000, 6300, 8000, 10000};

// ln(10^6): a decay of 60 dB within the reverberation time.
constexpr double kLn60dB = 13.815510557964274;

// Sabine's constant in s/m.
constexpr double kSabine = 0.161;

}  // namespace

int32_t GetTerzFrequency(int32_t i) {
  if (i >= 0 && i < static_cast<int32_t>(kTerzFrequencies.size())) {
    return kTerzFrequencies[static_cast<size_t>(i)];
  }
  return RoundToInt<int32_t>(1000.0 * std::pow(10.0, (static_cast<double>(i) - 10.0) / 10.0));
}

double DecayFraction(double t1, double t2, double tStart, double dRT) {
  if (t2 <= t1 || t2 <= tStart) return 0.0;
  if (dRT <= 0.0) return (t1 <= tStart && tStart < t2) ? 1.0 : 0.0;
  const double k = kLn60dB / (1000.0 * dRT);  // per ms
  const double a = std::max(t1, tStart) - tStart;
  const double b = std::max(t2, tStart) - tStart;
  const double tailBeyond = t2 >= kTailEndTime ? 0.0 : std::exp(-k * b);
  return std::exp(-k * a) - tailBeyond;
}

double HallEnergy(double dAbsorp, double dPower, double dRT, double dVolume) {
  if (!(dRT > 0.0) || !(dVolume > 0.0) || !(dAbsorp >= 0.0) || !(dAbsorp < 1.0)) return 0.0;
  const double equivalentArea = kSabine * dVolume / dRT;
  const double roomConstant = equivalentArea / (1.0 - dAbsorp);
  return std::pow(10.0, dPower / 10.0) * 4.0 / roomConstant;
}

double HallStartTime(double tOff, double tMean, double /*tRef*/, double dVolume) {
  const double mixingTime = dVolume > 0.0 ? std::sqrt(dVolume) : 0.0;
  return std::max({tOff, tMean, 0.0}) + mixingTime;
}

double PrecedenceAllowance(double dt) {
  if (dt <= 1.0) return 0.0;
  if (dt < 5.0) return 10.0 * (dt - 1.0) / 4.0;
  if (dt <= 30.0) return 10.0;
  if (dt < 50.0) return 10.0 * (50.0 - dt) / 20.0;
  return 0.0;
}

double Alcons(float fUseful, float fHarmful, float fNoise, float fRT, SL_EAlconsForm eAlconsForm) {
  const double useful = fUseful;
  const double detrimental = static_cast<double>(fHarmful) + static_cast<double>(fNoise);
  const double rt = fRT;
  double alcons = 0.0;
  if (eAlconsForm != SL_EAlcons_STI && rt > 0.0) {
    alcons = useful <= 0.0 ? 9.0 * rt : std::min(0.652 * detrimental / useful * rt, 9.0 * rt);
  } else {
    // The useful side is judged first: no useful energy is the worst case even when nothing is
    // detrimental either (a rounding residue below zero included).
    double snr = 0.0;
    if (useful <= 0.0) {
      snr = -15.0;
    } else if (detrimental <= 0.0) {
      snr = 15.0;
    } else {
      snr = std::clamp(10.0 * std::log10(useful / detrimental), -15.0, 15.0);
    }
    const double sti = (snr + 15.0) / 30.0;
    alcons = 170.5405 * std::exp(-5.419 * sti);
  }
  return std::clamp(alcons, 0.0, 100.0);
}

}  // namespace zyra
