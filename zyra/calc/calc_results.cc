#include "zyra/calc/calc_results.h"

#include "zyra/support/calculation.h"

namespace zyra {

namespace {

// The sums a pulse behind every limit changes.
struct LateSums {
  double total, r0, r3, d0, d3;
};

// Pulses behind every limit (t >= tLate after tRef), added in a loop that holds only their five
// sums: inside the loop over all pulses, which holds every sum, one of them would live in
// memory and each addition would wait for a store.
struct LateRun {
  const double* arrival;
  const double* energy;
  const uint8_t* direct;
  size_t n;
  double tRef;
  double tLate;

  // Adds pulses from i on while they are late; the index of the first that is not (or n).
  [[gnu::noinline]] size_t Add(size_t i, LateSums& sums) const {
    double total = sums.total, r0 = sums.r0, r3 = sums.r3, d0 = sums.d0, d3 = sums.d3;
    for (; i < n && arrival[i] - tRef >= tLate; ++i) {
      const double e = energy[i];
      total = total + e;
      if (direct[i] != 0) {
        d0 = d0 + e;
        d3 = d3 + e;
      } else {
        r0 = r0 + e;
        r3 = r3 + e;
      }
    }
    sums = {total, r0, r3, d0, d3};
    return i;
  }
};

}  // namespace

int32_t CCalcResults::AddHallEnergy(int32_t iTerz1, double dEHall, double dRT,
                                    bool bStartAtDiffuseTime) {
  const size_t b = Band(iTerz1);
  const double e = dEHall;
  const double tStart = bStartAtDiffuseTime ? tDiff_ : tHall_;
  // The tail always decays from tHall; tStart only decides from where it is counted.
  const auto fraction = [this, dRT](double t1, double t2) {
    return DecayFraction(t1, t2, tHall_, dRT);
  };

  // Every new sum is formed first and stored only when all of them are finite.
  const double e7 = e7_[b] + e * fraction(tStart, 7.0);
  const double e50 = e50_[b] + e * fraction(tStart, 50.0);
  const double e80 = e80_[b] + e * fraction(tStart, 80.0);
  const double eSplit = eSplit_[b] + e * fraction(tStart, tSplit_);
  const double total = eTotal_[b] + e * fraction(tStart, kTailEndTime);
  const std::array<double, kSplitPartCount> rev = {
      eRev_[0][b] + e,
      eRev_[1][b] + e * fraction(tHall_, tSplit_),
      eRev_[2][b] + e * fraction(tSplit_, tDiff_),
      eRev_[3][b] + e * (1.0 - fraction(tHall_, tDiff_)),
  };
  bool finite = AllFinite(e7, e50, e80, eSplit, total, rev[0], rev[1], rev[2], rev[3]);

  const int a = kAlconsBandOf[b];
  std::array<double, kTimeBinCount> bins{};
  std::array<double, kTimeBinCount> hallSums{};
  for (size_t k = 0; k < bins.size(); ++k) {
    const auto tEnd = static_cast<double>(k);
    const bool counted = !(bStartAtDiffuseTime && tEnd < tDiff_);
    if (a >= 0) {
      bins[k] = exx_[k][static_cast<size_t>(a)] + (counted ? e * fraction(tEnd - 1.0, tEnd) : 0.0);
    }
    hallSums[k] = exxHallSum_[k][b] + (counted ? e * fraction(-1.0, tEnd) : 0.0);
    finite = finite && AllFinite(bins[k], hallSums[k]);
  }
  if (!finite) RaiseError(kErrOverflow);

  e7_[b] = e7;
  e50_[b] = e50;
  e80_[b] = e80;
  eSplit_[b] = eSplit;
  eTotal_[b] = total;
  for (size_t part = 0; part < rev.size(); ++part) eRev_[part][b] = rev[part];
  for (size_t k = 0; k < bins.size(); ++k) {
    if (a >= 0) exx_[k][static_cast<size_t>(a)] = bins[k];
    exxHallSum_[k][b] = hallSums[k];
  }
  if (a >= 0) binsChanged_ = true;
  return 0;
}

double CCalcResults::GetEDirectMax(int32_t iTerz1) const {
  const double pressureMax = splMax_[Band(iTerz1)];
  return pressureMax * pressureMax;
}

double CCalcResults::GetOverlap(int32_t iTerz1) const {
  const size_t b = Band(iTerz1);
  if (splMax_[b] <= 0.0) return 1.0;
  return eDirect_[b] / (splMax_[b] * splMax_[b]);
}

double CCalcResults::ExxSum(int32_t iTimeBin, int32_t iAlconsBand) const {
  const size_t k = TimeBin(iTimeBin);
  const size_t a = AlconsBand(iAlconsBand);
  const std::lock_guard lock(exxSumMutex_);
  if (binsChanged_) RebuildExxSum();
  return exxSum_[k][a];
}

int64_t CCalcResults::ExxSumRebuildCount() const {
  const std::lock_guard lock(exxSumMutex_);
  return exxSumRebuilds_;
}

void CCalcResults::RebuildExxSum() const {
  AlconsBins sums{};
  for (size_t a = 0; a < static_cast<size_t>(kAlconsBandCount); ++a) {
    double running = 0.0;
    for (size_t k = 0; k < sums.size(); ++k) {
      running += exx_[k][a];
      if (!std::isfinite(running)) RaiseError(kErrOverflow);  // the bins stay marked changed
      sums[k][a] = running;
    }
  }
  exxSum_ = sums;
  binsChanged_ = false;
  ++exxSumRebuilds_;
}

int32_t CCalcResults::AddPulsEnergies(int32_t iTerz1, std::span<const double> daArrivalAbsolute,
                                      std::span<const double> daEnergy,
                                      std::span<const uint8_t> isDirectSound) {
  const size_t b = Band(iTerz1);
  const size_t n = daEnergy.size();
  if (daArrivalAbsolute.size() != n || isDirectSound.size() != n) RaiseError(kErrInvalidCall);
  if (n == 0) return 0;
  // The sums of the band, in registers: [reflection, direct][part] for the split parts.
  struct Sums {
    double total, e7, e50, e80, eSplit;
    std::array<std::array<double, kSplitPartCount>, 2> split;
    std::array<double, kTimeBinCount> bins;
  };
  const int a = kAlconsBandOf[b];
  Sums start{eTotal_[b], e7_[b], e50_[b], e80_[b], eSplit_[b], {}, {}};
  for (size_t part = 0; part < kSplitPartCount; ++part) {
    start.split[0][part] = eRef_[part][b];
    start.split[1][part] = eDir_[part][b];
  }
  if (a >= 0) {
    for (size_t k = 0; k < start.bins.size(); ++k) start.bins[k] = exx_[k][static_cast<size_t>(a)];
  }
  // Pulse i added to the sums exactly as AddPulsEnergy adds it; false, and the sums left as
  // they were, when a sum would not be finite.
  const auto add = [&](Sums& x, size_t i) {
    const double t = daArrivalAbsolute[i] - tRef_;
    const double e = daEnergy[i];
    const double total = x.total + e;
    const double e7 = x.e7 + (t < 7.0 ? e : 0.0);
    const double e50 = x.e50 + (t < 50.0 ? e : 0.0);
    const double e80 = x.e80 + (t < 80.0 ? e : 0.0);
    const double eSplit = x.eSplit + (t < tSplit_ ? e : 0.0);
    std::array<double, kSplitPartCount>& parts = x.split[isDirectSound[i] != 0 ? 1 : 0];
    const size_t part = t < tSplit_ ? 1 : (t < tDiff_ ? 2 : 3);
    const double split0 = parts[0] + e;
    const double splitPart = parts[part] + e;
    double* bin = nullptr;
    if (a >= 0 && t < 50.0) bin = &x.bins[t <= 0.0 ? 0 : PulsBin(t)];
    const double binSum = bin != nullptr ? *bin + e : 0.0;
    if (!AllFinite(total, e7, e50, e80, eSplit, split0, splitPart, binSum)) {
      return false;
    }
    x.total = total;
    x.e7 = e7;
    x.e50 = e50;
    x.e80 = e80;
    x.eSplit = eSplit;
    parts[0] = split0;
    parts[part] = splitPart;
    if (bin != nullptr) *bin = binSum;
    return true;
  };
  // A sum that is not finite stays so through every later addition, so the sums at the end
  // tell whether one failed on the way; only then are the pulses added again, checked one by
  // one, to stop before the one that failed.
  Sums x = start;
  {
    // The same additions as `add` without the check, on plain locals the compiler keeps in
    // registers. Adding +0.0 leaves a sum as it is unless the sum is -0.0, and a sum that is
    // not -0.0 never becomes -0.0 (x + y rounds an exact zero to +0.0), so where no sum of the
    // time limits starts at -0.0 the zero terms are left out: after a sort by arrival each
    // limit then takes a run of pulses and is not touched after it.
    const auto isMinusZero = [](double v) { return v == 0.0 && std::signbit(v); };
    const bool bSkipZeros =
        !(isMinusZero(x.e7) || isMinusZero(x.e50) || isMinusZero(x.e80) || isMinusZero(x.eSplit));
    double total = x.total, e7 = x.e7, e50 = x.e50, e80 = x.e80, eSplit = x.eSplit;
    // The split parts in registers too: [reflection, direct] x part 0..3.
    double r0 = x.split[0][0], r1 = x.split[0][1], r2 = x.split[0][2], r3 = x.split[0][3];
    double d0 = x.split[1][0], d1 = x.split[1][1], d2 = x.split[1][2], d3 = x.split[1][3];
    // Behind every limit (80 ms lies beyond the 50 ms of the bins too) a pulse adds to the total
    // and the last split part only: most pulses of a response, added by a loop of their own.
    const LateRun late{
        daArrivalAbsolute.data(),         daEnergy.data(), isDirectSound.data(), n, tRef_,
        std::max({80.0, tSplit_, tDiff_})};
    for (size_t i = 0; i < n; ++i) {
      const double t = daArrivalAbsolute[i] - tRef_;
      if (bSkipZeros && t >= late.tLate) {
        LateSums sums{total, r0, r3, d0, d3};
        i = late.Add(i, sums) - 1;
        total = sums.total;
        r0 = sums.r0;
        r3 = sums.r3;
        d0 = sums.d0;
        d3 = sums.d3;
        continue;
      }
      const double e = daEnergy[i];
      total = total + e;
      if (bSkipZeros) {
        if (t < 7.0) e7 = e7 + e;
        if (t < 50.0) e50 = e50 + e;
        if (t < 80.0) e80 = e80 + e;
        if (t < tSplit_) eSplit = eSplit + e;
      } else {
        e7 = e7 + (t < 7.0 ? e : 0.0);
        e50 = e50 + (t < 50.0 ? e : 0.0);
        e80 = e80 + (t < 80.0 ? e : 0.0);
        eSplit = eSplit + (t < tSplit_ ? e : 0.0);
      }
      const int part = t < tSplit_ ? 1 : (t < tDiff_ ? 2 : 3);
      if (isDirectSound[i] != 0) {
        d0 = d0 + e;
        if (part == 1) d1 = d1 + e;
        if (part == 2) d2 = d2 + e;
        if (part == 3) d3 = d3 + e;
      } else {
        r0 = r0 + e;
        if (part == 1) r1 = r1 + e;
        if (part == 2) r2 = r2 + e;
        if (part == 3) r3 = r3 + e;
      }
      if (a >= 0 && t < 50.0) {
        double& bin = x.bins[t <= 0.0 ? 0 : PulsBin(t)];
        bin = bin + e;
      }
    }
    x.total = total;
    x.e7 = e7;
    x.e50 = e50;
    x.e80 = e80;
    x.eSplit = eSplit;
    x.split[0] = {r0, r1, r2, r3};
    x.split[1] = {d0, d1, d2, d3};
  }
  bool bAllFinite = AllFinite(x.total, x.e7, x.e50, x.e80, x.eSplit);
  for (const auto& parts : x.split) {
    for (const double v : parts) bAllFinite = bAllFinite && AllFinite(v);
  }
  for (const double v : x.bins) bAllFinite = bAllFinite && AllFinite(v);
  size_t nAdded = n;
  if (!bAllFinite) {
    x = start;
    for (nAdded = 0; nAdded < n && add(x, nAdded);) ++nAdded;
  }
  if (nAdded > 0) {
    eTotal_[b] = x.total;
    e7_[b] = x.e7;
    e50_[b] = x.e50;
    e80_[b] = x.e80;
    eSplit_[b] = x.eSplit;
    for (size_t part = 0; part < kSplitPartCount; ++part) {
      eRef_[part][b] = x.split[0][part];
      eDir_[part][b] = x.split[1][part];
    }
    if (a >= 0) {
      for (size_t k = 0; k < x.bins.size(); ++k) exx_[k][static_cast<size_t>(a)] = x.bins[k];
      binsChanged_ = true;
    }
  }
  if (nAdded < n) RaiseError(kErrOverflow);
  return 0;
}

}  // namespace zyra
