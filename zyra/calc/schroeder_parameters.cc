#include "zyra/calc/schroeder_parameters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "zyra/support/errors.h"

namespace zyra {

namespace {

constexpr int64_t kLastSample = 1000000;  // 100000 ms: sampling ends beyond it
constexpr double kSamplesPerSecond = 10000.0;
constexpr double kStopLevelAtMost = -35.0;  // dB
constexpr double kThinLevelStep = 0.1;      // dB between two points of a thinned curve
constexpr int64_t kThinTimeStep = 100;      // samples (10 ms)
constexpr double kDecibelsPerNeper = 10.0 / std::numbers::ln10;  // 10 lg x = this * ln x

// The running least-squares sums of one fit range over samples of constant spacing. A run of
// samples at one level, or on one straight line, adds in constant time, so that the flat
// stretches of a staircase and the straight end of a single tail cost nothing.
class FitSums {
 public:
  FitSums(double dUpper, double dLower) : dUpper_(dUpper), dLower_(dLower) {}

  // Samples nFirst..nLast at dLevel.
  void AddRun(int64_t nFirst, int64_t nLast, double dLevel) {
    if (!std::isfinite(dLevel)) return;
    if (dLevel <= dLower_) bReachedLower_ = true;
    if (!(dLevel <= dUpper_ && dLevel >= dLower_)) return;
    if (nCount_ == 0.0) nOrigin_ = nFirst;
    nLast_ = nLast;
    const auto a = static_cast<double>(nFirst - nOrigin_);
    if (nFirst == nLast) {  // the common case in a decaying tail
      nCount_ += 1.0;
      dSumJ_ += a;
      dSumJJ_ += a * a;
      dSumL_ += dLevel;
      dSumJL_ += a * dLevel;
      return;
    }
    AddSums(a, static_cast<double>(nLast - nFirst + 1), dLevel, 0.0);
  }

  // Samples nFirst..nLast on the line dLevel + dStep (n - nFirst), dStep < 0.
  void AddLine(int64_t nFirst, int64_t nLast, double dLevel, double dStep) {
    const double dLast = dLevel + dStep * static_cast<double>(nLast - nFirst);
    if (std::isfinite(dLast) && dLast <= dLower_) bReachedLower_ = true;
    // The samples within [upper, lower]: nFirst + iFirst .. nFirst + iLast.
    const double iFirst = std::max(0.0, std::ceil((dUpper_ - dLevel) / dStep));
    const double iLast =
        std::min(static_cast<double>(nLast - nFirst), std::floor((dLower_ - dLevel) / dStep));
    if (!(iFirst <= iLast)) return;
    const int64_t nFrom = nFirst + static_cast<int64_t>(iFirst);
    if (nCount_ == 0.0) nOrigin_ = nFrom;
    nLast_ = nFirst + static_cast<int64_t>(iLast);
    AddSums(static_cast<double>(nFrom - nOrigin_), iLast - iFirst + 1.0, dLevel + dStep * iFirst,
            dStep);
  }

  CDecayFit Result() const {
    CDecayFit fit;
    fit.dUpper = dUpper_;
    fit.dLower = dLower_;
    if (nCount_ < 2.0 || !bReachedLower_) return fit;
    const double sxx = dSumJJ_ - dSumJ_ * dSumJ_ / nCount_;
    const double sxy = dSumJL_ - dSumJ_ * dSumL_ / nCount_;
    const double slope = sxy / sxx * kSamplesPerSecond;  // dB per s
    if (!(slope < 0.0) || !std::isfinite(slope)) return fit;
    const double meanSeconds =
        (static_cast<double>(nOrigin_) + dSumJ_ / nCount_) / kSamplesPerSecond;
    fit.dSlope = slope;
    fit.dIntercept = dSumL_ / nCount_ - slope * meanSeconds;
    fit.dTimeUpper = static_cast<double>(nOrigin_) / 10.0;
    fit.dTimeLower = static_cast<double>(nLast_) / 10.0;
    return fit;
  }

 private:
  // r samples at j = a + i (j counted from the first sample in range) with levels
  // dLevel + dStep i, i = 0 .. r - 1. The sums over i come in closed form, free of the
  // cancellation of differences of sums from 0.
  void AddSums(double a, double r, double dLevel, double dStep) {
    const double s1 = r * (r - 1.0) / 2.0;                    // sum of i
    const double s2 = (r - 1.0) * r * (2.0 * r - 1.0) / 6.0;  // sum of i^2
    nCount_ += r;
    dSumJ_ += r * a + s1;
    dSumJJ_ += r * a * a + 2.0 * a * s1 + s2;
    dSumL_ += r * dLevel + dStep * s1;
    dSumJL_ += a * r * dLevel + a * dStep * s1 + dLevel * s1 + dStep * s2;
  }

  double dUpper_;
  double dLower_;
  bool bReachedLower_ = false;
  int64_t nOrigin_ = 0;
  int64_t nLast_ = 0;
  double nCount_ = 0.0;
  double dSumJ_ = 0.0;
  double dSumJJ_ = 0.0;
  double dSumL_ = 0.0;
  double dSumJL_ = 0.0;
};

// Keeps the points of a curve a plot needs: a point whenever the level moved by 0.1 dB or
// 10 ms passed since the last one kept, the sample before a step, and the last sample.
class CurveThinner {
 public:
  explicit CurveThinner(CDecayCurve& curve) : curve_(curve) {}

  // Samples nFirst..nLast at dLevel.
  void AddRun(int64_t nFirst, int64_t nLast, double dLevel) {
    const bool bStep = bHasPrevious_ && !(std::abs(dLevel - dPreviousLevel_) < kThinLevelStep);
    if (curve_.daTime.empty() || bStep || !(std::abs(dLevel - dKeptLevel_) < kThinLevelStep) ||
        nFirst - nKept_ >= kThinTimeStep) {
      if (bStep && nPrevious_ != nKept_) Keep(nPrevious_, dPreviousLevel_);
      Keep(nFirst, dLevel);
    }
    bHasPrevious_ = true;
    nPrevious_ = nLast;
    dPreviousLevel_ = dLevel;
  }
  // Samples nFirst..nLast on the line dLevel + dStep (n - nFirst), dStep < 0: a point every
  // 0.1 dB, or every 10 ms where it falls slower.
  void AddLine(int64_t nFirst, int64_t nLast, double dLevel, double dStep) {
    AddRun(nFirst, nFirst, dLevel);
    const auto nStride = static_cast<int64_t>(
        std::clamp(std::floor(kThinLevelStep / -dStep), 1.0, static_cast<double>(kThinTimeStep)));
    for (int64_t n = nKept_ + nStride; n < nLast; n += nStride) {
      Keep(n, dLevel + dStep * static_cast<double>(n - nFirst));
    }
    nPrevious_ = nLast;
    dPreviousLevel_ = dLevel + dStep * static_cast<double>(nLast - nFirst);
  }
  void Finish() {
    if (bHasPrevious_ && nPrevious_ != nKept_) Keep(nPrevious_, dPreviousLevel_);
  }

 private:
  void Keep(int64_t n, double dLevel) {
    curve_.daTime.push_back(static_cast<double>(n) / 10.0);
    curve_.daLevel.push_back(dLevel);
    nKept_ = n;
    dKeptLevel_ = dLevel;
  }

  CDecayCurve& curve_;
  bool bHasPrevious_ = false;
  int64_t nPrevious_ = 0;
  double dPreviousLevel_ = 0.0;
  int64_t nKept_ = 0;
  double dKeptLevel_ = 0.0;
};

}  // namespace

// Samples EDC(n/10 ms) from n = ceil(10 t0) on, where EDC = the energy of the groups at or
// after the sample plus the tail after it, until the first sample below the stop level or
// beyond 100000 ms, and feeds every sample's level to the fits and the thinned curve. Between
// two changes of the EDC (the end of a group, the start of the tail's decay) the level is
// constant, and such a run is handled as one.
void CSchroederParameters::SampleDecay(const CEnergyTimeResponse& cResponse,
                                       const DecayInput& input, std::vector<double>& daSuffix,
                                       Decay& decay) const {
  const size_t nGroups = cResponse.GroupCount();
  daSuffix.resize(nGroups + 1);
  daSuffix[nGroups] = 0.0;
  for (size_t g = nGroups; g-- > 0;) daSuffix[g] = daSuffix[g + 1] + input.daGroupEnergy[g];

  double dETail = 0.0;
  double tTailStart = std::numeric_limits<double>::infinity();
  for (size_t j = 0; j < input.nTails; ++j) {
    dETail += input.tails[j]->dEnergy;
    tTailStart = input.tails[j]->tStart;
  }
  decay = Decay{};
  decay.dETail = dETail;
  const double dEtot = daSuffix[0] + dETail;
  decay.dEtot = dEtot;
  std::array<FitSums, kDecayRangeCount> fits = {FitSums(0.0, -10.0), FitSums(-5.0, -25.0),
                                                FitSums(-5.0, -35.0),
                                                FitSums(dSchroederT1_, dSchroederT2_)};
  const auto Finish = [&] {
    for (size_t r = 0; r < fits.size(); ++r) decay.fits[r] = fits[r].Result();
  };
  if (!(dEtot > 0.0) || !std::isfinite(dEtot) || !std::isfinite(input.t0)) {
    Finish();
    return;
  }

  const double dStopLevel = std::min(kStopLevelAtMost, dSchroederT2_);
  // Samples up to nTailMoves - 1 lie at or before the tail's start: it counts whole there.
  const int64_t nTailMoves =
      dETail > 0.0 ? CEnergyTimeResponse::SampleAtOrBefore(tTailStart) + 1 : kLastSample + 1;
  std::array<double, 3> daTailNow{};
  std::array<double, 3> daTailStep{};
  bool bTailMoving = false;

  // Tails that all decay at one rate: once no arrival is left, the level falls on a straight
  // line, which is added in one step.
  bool bOneRate = input.nTails > 0;
  for (size_t j = 1; j < input.nTails; ++j) {
    bOneRate = bOneRate && input.tails[j]->dK == input.tails[0]->dK;
  }
  CurveThinner thinner(decay.curve);
  auto n = static_cast<int64_t>(std::ceil(10.0 * input.t0));
  size_t p = 0;
  while (p < nGroups && cResponse.GroupSample(p) < n) ++p;
  while (n <= kLastSample) {
    double dTail = dETail;
    int64_t nEnd = n;
    if (n < nTailMoves) {
      nEnd = std::min(nTailMoves - 1, kLastSample);
      if (p < nGroups) nEnd = std::min<int64_t>(nEnd, cResponse.GroupSample(p));
    } else {
      if (!bTailMoving) {
        bTailMoving = true;
        for (size_t j = 0; j < input.nTails; ++j) {
          const CBandTail& tail = *input.tails[j];
          daTailNow[j] =
              tail.dEHall * std::exp(-tail.dK * (static_cast<double>(n) / 10.0 - tail.tHall));
          daTailStep[j] = std::exp(-tail.dK / 10.0);
        }
      }
      dTail = 0.0;
      for (size_t j = 0; j < input.nTails; ++j) dTail += daTailNow[j];
    }
    const double dEDC = daSuffix[p] + dTail;
    const double dLevel = dEDC > 0.0 ? std::min(0.0, kDecibelsPerNeper * std::log(dEDC / dEtot))
                                     : -std::numeric_limits<double>::infinity();
    const bool bStop = dLevel < dStopLevel;
    if (bTailMoving && bOneRate && p == nGroups && !bStop && std::isfinite(dLevel)) {
      const double dStep = -kDecibelsPerNeper * input.tails[0]->dK / 10.0;  // dB per sample
      if (dStep < 0.0) {
        // The first sample below the stop level, or the last one sampled.
        const double dBelow = std::floor((dStopLevel - dLevel) / dStep) + 1.0;
        const int64_t nLast = dBelow < static_cast<double>(kLastSample - n)
                                  ? n + static_cast<int64_t>(dBelow)
                                  : kLastSample;
        for (FitSums& fit : fits) fit.AddLine(n, nLast, dLevel, dStep);
        thinner.AddLine(n, nLast, dLevel, dStep);
        break;
      }
    }
    if (bStop) nEnd = n;
    for (FitSums& fit : fits) fit.AddRun(n, nEnd, dLevel);
    thinner.AddRun(n, nEnd, dLevel);
    if (bStop) break;
    n = nEnd + 1;
    while (p < nGroups && cResponse.GroupSample(p) < n) ++p;
    if (bTailMoving) {
      for (size_t j = 0; j < input.nTails; ++j) daTailNow[j] *= daTailStep[j];
    }
  }
  thinner.Finish();
  Finish();
}

void CSchroederParameters::CheckLimits() const {
  if (!(dSchroederT1_ > dSchroederT2_) || !(dSchroederT1_ <= 0.0)) RaiseError(kErrInvalidCall);
}

int32_t CSchroederParameters::CalculateFit(const CProbeRspClass& cRspFile,
                                           const CCalcResults& cCalc, bool bIsWithReflections,
                                           BusyIndicator* cBusy) {
  CheckLimits();
  const CEnergyTimeResponse response(cRspFile, cCalc, bIsWithReflections);
  return CalculateFit(response, cBusy);
}

int32_t CSchroederParameters::CalculateFit(const CEnergyTimeResponse& cResponse,
                                           BusyIndicator* cBusy) {
  CheckLimits();
  bands_ = {};
  octaves_ = {};
  COctaveSums sums;
  for (int32_t k = 1; k <= kOctaveCount; ++k) {
    if (cBusy != nullptr &&
        !cBusy->ReportProgress("Decay Fit", (k - 1) / static_cast<double>(kOctaveCount), "",
                               kBusyInterval)) {
      return -1;
    }
    cResponse.SumOctave(k, sums);
    FitOctave(cResponse, sums);
  }
  if (cBusy != nullptr) cBusy->ShowProgress("", 1.0, kBusyInterval);
  return 0;
}

void CSchroederParameters::FitOctave(const CEnergyTimeResponse& cResponse,
                                     const COctaveSums& sums) {
  CheckLimits();
  std::vector<double> daSuffix;
  DecayInput octave{sums.daMoment[0].data(), {}, 0, std::numeric_limits<double>::infinity()};
  bool bOctaveOnAxis = true;
  for (const CBandSums& band : sums.bands) {
    const CBandTail& tail = cResponse.Tail(band.iTerz1);
    Decay& decay = bands_[static_cast<size_t>(band.iTerz1)];
    // Energy off the time axis, or a tail that is not finite, leaves no decay to sample.
    if (band.dETimeless > 0.0 || !std::isfinite(tail.dEnergy)) {
      decay = Decay{};
      bOctaveOnAxis = false;
      continue;
    }
    DecayInput input{band.daGroupEnergy.data(), {}, 0, band.tFirstEnergy};
    if (tail.Exists()) {
      input.tails[input.nTails++] = &tail;
      octave.tails[octave.nTails++] = &tail;
      input.t0 = std::min(input.t0, tail.tStart);
    }
    octave.t0 = std::min(octave.t0, input.t0);
    SampleDecay(cResponse, input, daSuffix, decay);
  }
  Decay& octaveDecay = octaves_[static_cast<size_t>(sums.iOctave - 1)];
  if (bOctaveOnAxis) {
    SampleDecay(cResponse, octave, daSuffix, octaveDecay);
  } else {
    octaveDecay = Decay{};
  }
}

const CSchroederParameters::Decay& CSchroederParameters::BandDecay(int32_t iTerz1) const {
  if (iTerz1 < 1 || iTerz1 >= CCalcResults::kBandCount) RaiseError(kErrSubscript);
  return bands_[static_cast<size_t>(iTerz1)];
}

const CSchroederParameters::Decay& CSchroederParameters::OctaveDecay(int32_t iOctave) const {
  if (iOctave < 1 || iOctave > kOctaveCount) RaiseError(kErrSubscript);
  return octaves_[static_cast<size_t>(iOctave - 1)];
}

namespace {
const CDecayFit& FitOf(const std::array<CDecayFit, kDecayRangeCount>& fits, SL_EDecayRange eRange) {
  if (eRange < 0 || eRange >= kDecayRangeCount) RaiseError(kErrSubscript);
  return fits[static_cast<size_t>(eRange)];
}
double CurvatureOf(double t20, double t30) {
  return 100.0 * (t30 / t20 - 1.0);
}
}  // namespace

double CSchroederParameters::SchrRTime(int32_t iTerz1) const {
  return Fit(iTerz1, SL_EDecay_SchrRTime).DecayTime();
}
double CSchroederParameters::SchrEtot(int32_t iTerz1) const {
  return BandDecay(iTerz1).dEtot;
}
double CSchroederParameters::SchrETail(int32_t iTerz1) const {
  return BandDecay(iTerz1).dETail;
}
double CSchroederParameters::Curvature(int32_t iTerz1) const {
  return CurvatureOf(T20(iTerz1), T30(iTerz1));
}
double CSchroederParameters::OctaveSchrRTime(int32_t iOctave) const {
  return OctaveFit(iOctave, SL_EDecay_SchrRTime).DecayTime();
}
double CSchroederParameters::OctaveSchrEtot(int32_t iOctave) const {
  return OctaveDecay(iOctave).dEtot;
}
double CSchroederParameters::OctaveSchrETail(int32_t iOctave) const {
  return OctaveDecay(iOctave).dETail;
}
double CSchroederParameters::OctaveCurvature(int32_t iOctave) const {
  return CurvatureOf(OctaveT20(iOctave), OctaveT30(iOctave));
}
const CDecayFit& CSchroederParameters::Fit(int32_t iTerz1, SL_EDecayRange eRange) const {
  return FitOf(BandDecay(iTerz1).fits, eRange);
}
const CDecayFit& CSchroederParameters::OctaveFit(int32_t iOctave, SL_EDecayRange eRange) const {
  return FitOf(OctaveDecay(iOctave).fits, eRange);
}
const CDecayCurve& CSchroederParameters::DecayCurve(int32_t iTerz1) const {
  return BandDecay(iTerz1).curve;
}
const CDecayCurve& CSchroederParameters::OctaveDecayCurve(int32_t iOctave) const {
  return OctaveDecay(iOctave).curve;
}

}  // namespace zyra
