#include "zyra/calc/speech_transmission.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "zyra/support/errors.h"

namespace zyra {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// 6 ln 10: the decay constant of 60 dB, as the tail uses it.
constexpr double kSixLn10 = 13.815510557964274;
constexpr double kSnrLimit = 15.0;  // dB

constexpr std::array<double, kModulationCount> kModulationHz = {
    0.63, 0.8, 1.0, 1.25, 1.6, 2.0, 2.5, 3.15, 4.0, 5.0, 6.3, 8.0, 10.0, 12.5};
constexpr std::array<std::array<double, 2>, kOctaveCount> kSTIPAHz = {
    {{1.6, 8.0}, {1.0, 5.0}, {0.63, 3.15}, {2.0, 10.0}, {1.25, 6.25}, {0.8, 4.0}, {2.5, 12.5}}};
// Octave weights and the redundancy corrections between neighbouring octaves.
constexpr COctaveValues kAlpha = {0.085, 0.127, 0.230, 0.233, 0.309, 0.224, 0.173};
constexpr std::array<double, kOctaveCount - 1> kBeta = {0.085, 0.078, 0.065, 0.011, 0.047, 0.095};
// The absolute reception threshold of every octave, dB.
constexpr COctaveValues kThresholdDB = {46.0, 27.0, 12.0, 6.5, 7.5, 8.0, 12.0};

size_t Octave0(int32_t iOctave) {
  if (iOctave < 1 || iOctave > kOctaveCount) RaiseError(kErrSubscript);
  return static_cast<size_t>(iOctave - 1);
}

}  // namespace

double OctaveFrequency(int32_t iOctave) {
  return 125.0 * std::exp2(Octave0(iOctave));
}

double ModulationFrequency(int32_t iF) {
  if (iF < 0 || iF >= kModulationCount) RaiseError(kErrSubscript);
  return kModulationHz[static_cast<size_t>(iF)];
}

double STIPAFrequency(int32_t iOctave, int32_t iPair) {
  if (iPair < 0 || iPair > 1) RaiseError(kErrSubscript);
  return kSTIPAHz[Octave0(iOctave)][static_cast<size_t>(iPair)];
}

double StatisticModulation(double dRT, double dF) {
  if (std::isnan(dRT) || std::isnan(dF)) return kNaN;
  if (dRT <= 0.0) return 1.0;
  const double x = 2.0 * std::numbers::pi * dF * dRT / kSixLn10;
  return 1.0 / std::sqrt(1.0 + x * x);
}

double TransmissionIndex(double m) {
  if (std::isnan(m)) return kNaN;
  const double mc = std::clamp(m, 0.0, 1.0);
  double snr = 0.0;
  if (mc >= 1.0) {
    snr = kSnrLimit;
  } else if (mc <= 0.0) {
    snr = -kSnrLimit;
  } else {
    snr = std::clamp(10.0 * std::log10(mc / (1.0 - mc)), -kSnrLimit, kSnrLimit);
  }
  return (snr + kSnrLimit) / (2.0 * kSnrLimit);
}

double ModulationTransferIndex(const CModulationDepths& daM) {
  double sum = 0.0;
  for (const double m : daM) sum += TransmissionIndex(m);
  return sum / kModulationCount;
}

double SpeechTransmissionIndex(const COctaveValues& daMTI) {
  double sti = 0.0;
  for (size_t k = 0; k < daMTI.size(); ++k) {
    sti += kAlpha[k] * daMTI[k];
    if (k + 1 < daMTI.size()) sti -= kBeta[k] * std::sqrt(daMTI[k] * daMTI[k + 1]);
  }
  if (std::isnan(sti)) return kNaN;
  return std::clamp(sti, 0.0, 1.0);
}

std::string STIRating(double dSTI) {
  if (std::isnan(dSTI)) return "";
  struct Grade {
    double dLowest;
    const char* sName;
  };
  static constexpr std::array<Grade, 11> kGrades = {{{0.76, "A+"},
                                                     {0.72, "A"},
                                                     {0.68, "B"},
                                                     {0.64, "C"},
                                                     {0.60, "D"},
                                                     {0.56, "E"},
                                                     {0.52, "F"},
                                                     {0.48, "G"},
                                                     {0.44, "H"},
                                                     {0.40, "I"},
                                                     {0.36, "J"}}};
  for (const Grade& grade : kGrades) {
    if (dSTI >= grade.dLowest) return grade.sName;
  }
  return "U";
}

double AlconsFromSTI(double dSTI) {
  if (std::isnan(dSTI)) return kNaN;
  return std::clamp(170.5405 * std::exp(-5.419 * dSTI), 0.0, 100.0);
}

double AuditoryMaskingSlope(double dLevel) {
  if (dLevel < 63.0) return 0.5 * dLevel - 65.0;
  if (dLevel < 67.0) return 1.8 * dLevel - 146.9;
  if (dLevel < 100.0) return 0.5 * dLevel - 59.8;
  if (dLevel >= 100.0) return -10.0;
  return kNaN;
}

COctaveValues MaskingFactors(const COctaveValues& daIntensity) {
  COctaveValues factors{};
  for (size_t k = 0; k < factors.size(); ++k) {
    const double i = daIntensity[k];
    if (!(i >= 0.0)) {
      factors[k] = kNaN;
      continue;
    }
    double masking = 0.0;
    if (k > 0) {
      // The next lower octave masks this one; silence masks nothing.
      const double lower = daIntensity[k - 1];
      masking = lower > 0.0
                    ? lower * std::pow(10.0, 0.1 * AuditoryMaskingSlope(10.0 * std::log10(lower)))
                    : (lower == 0.0 ? 0.0 : kNaN);
    }
    const double threshold = std::pow(10.0, 0.1 * kThresholdDB[k]);
    factors[k] = i / (i + masking + threshold);
  }
  return factors;
}

}  // namespace zyra
