#include "zyra/calc/energy_time_response.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <type_traits>
#include <utility>

#include "zyra/calc/counted_pulses.h"
#include "zyra/support/calculation.h"
#include "zyra/support/errors.h"

namespace zyra {

namespace {

constexpr int32_t kBandCount1 = 21;
constexpr double kSixLn10 = 13.815510557964274;  // the decay constant of 60 dB
// The lateral window of J_LF (ms), as sample indices: t >= 5 ms is sample 50 on, t < 80 ms
// lies before sample 800.
constexpr int32_t kLateralFirstSample = 50;
constexpr int32_t kEarlyEndSample = 800;

bool IsOnTimeAxis(double t) {
  return std::abs(t) <= CEnergyTimeResponse::kTimeAxisLimit;
}

// sin of every whole degree 0..359.
std::array<double, 360> SineOfDegrees() {
  std::array<double, 360> table{};
  for (size_t d = 0; d < table.size(); ++d) {
    table[d] = std::sin(static_cast<double>(d) * std::numbers::pi / 180.0);
  }
  // The quarter turns exactly, so that frontal and lateral arrivals are exact.
  table[0] = table[180] = 0.0;
  table[90] = 1.0;
  table[270] = -1.0;
  return table;
}

size_t DegreeIndex(int32_t iDegrees) {
  return static_cast<size_t>(((iDegrees % 360) + 360) % 360);
}

}  // namespace

double CBandTail::EnergyAfter(double t) const {
  if (!Exists()) return 0.0;
  if (!(t > tStart)) return dEnergy;
  return dEHall * std::exp(-dK * (t - tHall));
}

double CBandTail::EnergyBetween(double t1, double t2) const {
  if (!Exists()) return 0.0;
  return dEHall * DecayFraction(std::max(t1, tStart), t2, tHall, dRT);
}

int32_t CEnergyTimeResponse::SampleAtOrBefore(double t) {
  auto n = static_cast<int32_t>(std::floor(10.0 * t));
  while (static_cast<double>(n + 1) / 10.0 <= t) ++n;
  while (static_cast<double>(n) / 10.0 > t) --n;
  return n;
}

namespace {

CCountedPulses GatherWithAngles(const CProbeRspClass& cRspFile, bool bIsWithReflections) {
  if (cRspFile.Rsp()->Pulses()->Count() == 0) return {};
  CCountedPulses::Options gather;
  gather.bIsWithReflections = bIsWithReflections;
  gather.bWithAngles = true;
  return CCountedPulses::Gather(cRspFile, gather);
}

}  // namespace

CEnergyTimeResponse::CEnergyTimeResponse(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                         bool bIsWithReflections)
    : CEnergyTimeResponse(cRspFile, cCalc, bIsWithReflections,
                          GatherWithAngles(cRspFile, bIsWithReflections)) {}

CEnergyTimeResponse::CEnergyTimeResponse(const CProbeRspClass& cRspFile, const CCalcResults& cCalc,
                                         bool bIsWithReflections, CCountedPulses counted) {
  // Without pulses the evaluation adds nothing at all, not even a tail.
  if (cRspFile.Rsp()->Pulses()->Count() == 0) return;
  if (counted.iaHorAngle.size() != counted.Count() ||
      counted.iaVerAngle.size() != counted.Count()) {
    RaiseError(kErrInvalidCall);
  }

  const CETCInfoClass& etc = *cRspFile.ETC();
  const double tHall = cCalc.tHall();
  const double tCount = bIsWithReflections ? cCalc.tDiff() : tHall;
  for (int32_t b = 1; b <= kBandCount1; ++b) {
    const double dEHall = CountedHallEnergy(etc, b);
    if (!(dEHall > 0.0)) continue;
    CBandTail& tail = tails_[static_cast<size_t>(b)];
    tail.dEHall = dEHall;
    tail.dRT = etc.RTime(b);
    tail.dK = kSixLn10 / (1000.0 * tail.dRT);
    tail.tHall = tHall;
    tail.tStart = std::max(tCount, tHall);
    // The same share that the results count.
    tail.dEnergy = dEHall * DecayFraction(tCount, kTailEndTime, tHall, tail.dRT);
  }

  const size_t n = counted.Count();
  const double tRef = cCalc.tRef();
  daTime_ = std::move(counted.daArrival);
  bool bInOrder = true;
  for (size_t i = 0; i < n; ++i) {
    daTime_[i] -= tRef;
    bInOrder = bInOrder && IsOnTimeAxis(daTime_[i]) && (i == 0 || daTime_[i - 1] <= daTime_[i]);
  }

  std::vector<int16_t> iaHor = std::move(counted.iaHorAngle);
  std::vector<int16_t> iaVer = std::move(counted.iaVerAngle);
  iaLevel_ = std::move(counted.iaLevel);
  if (bInOrder) {
    nPlaced_ = n;
  } else {
    // The arrivals on the axis by time (equal times keep their order), then the others.
    std::vector<size_t> order(n);
    for (size_t i = 0; i < n; ++i) order[i] = i;
    const auto offAxis = std::stable_partition(order.begin(), order.end(),
                                               [&](size_t i) { return IsOnTimeAxis(daTime_[i]); });
    std::stable_sort(order.begin(), offAxis,
                     [&](size_t a, size_t b) { return daTime_[a] < daTime_[b]; });
    nPlaced_ = static_cast<size_t>(offAxis - order.begin());
    const auto Permute = [&order, n](auto* values) {
      using T = std::remove_reference_t<decltype(*values)>;
      std::vector<T> copy(values, values + n);
      for (size_t i = 0; i < n; ++i) values[i] = copy[order[i]];
    };
    Permute(daTime_.data());
    Permute(iaHor.data());
    Permute(iaVer.data());
    for (int32_t b = 1; b <= kBandCount1; ++b) {
      Permute(iaLevel_.data() + static_cast<size_t>(b - 1) * n);
    }
  }

  const std::array<double, 360> sine = SineOfDegrees();
  daLateral_.resize(n);
  for (size_t i = 0; i < n; ++i) {
    daLateral_[i] = sine[DegreeIndex(iaVer[i] + 90)] * sine[DegreeIndex(iaHor[i])];
  }

  for (size_t i = 0; i < nPlaced_; ++i) {
    const int32_t sample = SampleAtOrBefore(daTime_[i]);
    if (laGroupSample_.empty() || laGroupSample_.back() != sample) {
      laGroupSample_.push_back(sample);
      laGroupBegin_.push_back(i);
    }
  }
  laGroupBegin_.push_back(nPlaced_);
}

double CEnergyTimeResponse::Energy(int32_t iTerz1, size_t i) const {
  if (iTerz1 < 1 || iTerz1 > kBandCount1) RaiseError(kErrSubscript);
  return CountedEnergy(EnergyByLevel(), iaLevel_[static_cast<size_t>(iTerz1 - 1) * Count() + i]);
}

const CBandTail& CEnergyTimeResponse::Tail(int32_t iTerz1) const {
  if (iTerz1 < 1 || iTerz1 > kBandCount1) RaiseError(kErrSubscript);
  return tails_[static_cast<size_t>(iTerz1)];
}

void CEnergyTimeResponse::SumOctave(int32_t iOctave, COctaveSums& sums) const {
  if (iOctave < 1 || iOctave > 7) RaiseError(kErrSubscript);
  constexpr size_t kMoments = COctaveSums::kMomentCount;
  const std::vector<double>& energyByLevel = EnergyByLevel();
  const double* times = daTime_.data();
  const size_t nGroups = GroupCount();

  // One pass over the arrivals for the three bands together: each band needs the energy and
  // its first moment per group, the octave all moments of the summed energy.
  sums.iOctave = iOctave;
  std::array<const int16_t*, 3> levels{};
  for (size_t j = 0; j < 3; ++j) {
    const auto iTerz1 = static_cast<int32_t>(3 * iOctave - 2 + static_cast<int32_t>(j));
    levels[j] = iaLevel_.data() + static_cast<size_t>(iTerz1 - 1) * Count();
    CBandSums& band = sums.bands[j];
    band = CBandSums{iTerz1,
                     0.0,
                     0.0,
                     0.0,
                     0.0,
                     0.0,
                     0.0,
                     std::numeric_limits<double>::infinity(),
                     std::move(band.daGroupEnergy)};
    band.daGroupEnergy.resize(nGroups);
  }
  for (std::vector<double>& moment : sums.daMoment) moment.resize(nGroups);

  for (size_t g = 0; g < nGroups; ++g) {
    const double c = GroupCentre(g);
    const size_t begin = laGroupBegin_[g];
    const size_t end = laGroupBegin_[g + 1];
    // Every sum in a variable of its own: in arrays indexed in loops they would live in
    // memory, and each addition would wait for the store of the one before.
    static_assert(kMoments == 6);
    double e0a = 0.0, e0b = 0.0, e0c = 0.0, e1a = 0.0, e1b = 0.0, e1c = 0.0;
    double m0 = 0.0, m1 = 0.0, m2 = 0.0, m3 = 0.0, m4 = 0.0, m5 = 0.0;
    for (size_t i = begin; i < end; ++i) {
      const double d = times[i] - c;
      const double ea = CountedEnergy(energyByLevel, levels[0][i]);
      const double eb = CountedEnergy(energyByLevel, levels[1][i]);
      const double ec = CountedEnergy(energyByLevel, levels[2][i]);
      e0a += ea;
      e1a += ea * d;
      e0b += eb;
      e1b += eb * d;
      e0c += ec;
      e1c += ec * d;
      double term = ((0.0 + ea) + eb) + ec;
      m0 += term;
      term *= d;
      m1 += term;
      term *= d;
      m2 += term;
      term *= d;
      m3 += term;
      term *= d;
      m4 += term;
      term *= d;
      m5 += term;
    }
    const std::array<double, 3> e0{e0a, e0b, e0c};
    const std::array<double, 3> e1{e1a, e1b, e1c};
    const std::array<double, kMoments> m{m0, m1, m2, m3, m4, m5};
    for (size_t p = 0; p < kMoments; ++p) sums.daMoment[p][g] = m[p];

    const int32_t sample = laGroupSample_[g];
    const bool bLateral = sample >= kLateralFirstSample && sample < kEarlyEndSample;
    for (size_t j = 0; j < 3; ++j) {
      CBandSums& band = sums.bands[j];
      band.daGroupEnergy[g] = e0[j];
      band.dEnergy += e0[j];
      band.dEnergyTime += c * e0[j] + e1[j];
      if (sample < kEarlyEndSample) band.dEBefore80 += e0[j];
      if (e0[j] > 0.0 && band.tFirstEnergy == std::numeric_limits<double>::infinity()) {
        for (size_t i = begin; i < end; ++i) {
          if (levels[j][i] > 0) {
            band.tFirstEnergy = times[i];
            break;
          }
        }
      }
      if (!bLateral) continue;
      for (size_t i = begin; i < end; ++i) {
        const double e = CountedEnergy(energyByLevel, levels[j][i]);
        const double u = daLateral_[i];
        band.dELateral2 += e * u * u;
        band.dELateral1 += e * std::abs(u);
      }
    }
  }
  for (size_t j = 0; j < 3; ++j) {
    for (size_t i = nPlaced_; i < Count(); ++i) {
      sums.bands[j].dETimeless += CountedEnergy(energyByLevel, levels[j][i]);
    }
  }
}

void CEnergyTimeResponse::OctaveModulation(const COctaveSums& sums,
                                           std::span<const double> daFrequency,
                                           std::span<double> daM) const {
  constexpr size_t kMaxFrequencies = 16;
  constexpr int32_t kReanchorSteps = 1024;  // bounds the drift of the stepped phasors
  const size_t nF = std::min({daFrequency.size(), daM.size(), kMaxFrequencies});
  std::fill(daM.begin(), daM.end(), std::numeric_limits<double>::quiet_NaN());

  double dTotal = 0.0;
  for (const CBandSums& band : sums.bands) {
    if (band.dETimeless > 0.0) return;
    dTotal += band.dEnergy + Tail(band.iTerz1).dEnergy;
  }
  if (!(dTotal > 0.0) || !std::isfinite(dTotal)) return;

  using Complex = std::complex<double>;
  std::array<double, kMaxFrequencies> daOmega{};  // per ms
  std::array<Complex, kMaxFrequencies> acc{};
  std::array<Complex, kMaxFrequencies> phasor{};  // e^(-j W c) of the current group
  std::array<Complex, kMaxFrequencies> step{};    // e^(-j W / 10): one sample further
  for (size_t f = 0; f < nF; ++f) {
    daOmega[f] = 2.0 * std::numbers::pi * daFrequency[f] / 1000.0;
    step[f] = std::polar(1.0, -daOmega[f] / 10.0);
  }
  // e^(-j W d) = sum over p of (-j W d)^p / p!, to the fifth power: |W d| <= 0.004 within a
  // group.
  std::array<std::array<Complex, COctaveSums::kMomentCount>, kMaxFrequencies> coefficient{};
  for (size_t f = 0; f < nF; ++f) {
    Complex c(1.0, 0.0);
    for (size_t p = 0; p < COctaveSums::kMomentCount; ++p) {
      coefficient[f][p] = c;
      c *= Complex(0.0, -daOmega[f]) / static_cast<double>(p + 1);
    }
  }
  const std::vector<double>& m0 = sums.daMoment[0];
  bool bHasPhasor = false;
  int32_t lPhasorSample = 0;
  int32_t nSteps = 0;
  for (size_t g = 0; g < GroupCount(); ++g) {
    if (m0[g] == 0.0) continue;
    const int32_t sample = laGroupSample_[g];
    if (bHasPhasor && sample == lPhasorSample + 1 && nSteps < kReanchorSteps) {
      for (size_t f = 0; f < nF; ++f) {
        phasor[f] = Complex(phasor[f].real() * step[f].real() - phasor[f].imag() * step[f].imag(),
                            phasor[f].real() * step[f].imag() + phasor[f].imag() * step[f].real());
      }
      ++nSteps;
    } else {
      const double c = GroupCentre(g);
      for (size_t f = 0; f < nF; ++f) phasor[f] = std::polar(1.0, -daOmega[f] * c);
      nSteps = 0;
    }
    bHasPhasor = true;
    lPhasorSample = sample;
    // Written out, since the library's complex product guards against infinities on every
    // call.
    for (size_t f = 0; f < nF; ++f) {
      double re = 0.0, im = 0.0;
      for (size_t p = 0; p < COctaveSums::kMomentCount; ++p) {
        re += coefficient[f][p].real() * sums.daMoment[p][g];
        im += coefficient[f][p].imag() * sums.daMoment[p][g];
      }
      acc[f] += Complex(phasor[f].real() * re - phasor[f].imag() * im,
                        phasor[f].real() * im + phasor[f].imag() * re);
    }
  }
  for (const CBandSums& band : sums.bands) {
    const CBandTail& tail = Tail(band.iTerz1);
    if (!tail.Exists()) continue;
    for (size_t f = 0; f < nF; ++f) {
      const double w = daOmega[f];
      acc[f] += tail.dEnergy * std::polar(1.0, -w * tail.tStart) * tail.dK / Complex(tail.dK, w);
    }
  }
  for (size_t f = 0; f < nF; ++f) daM[f] = std::abs(acc[f]) / dTotal;
}

}  // namespace zyra
