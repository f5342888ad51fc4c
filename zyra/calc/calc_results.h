// The accumulator of an energy-time evaluation: every pulse's and the statistical tail's energy,
// sorted band by band into time limits, split parts and 1 ms bins.
#ifndef ZYRA_CALC_CALC_RESULTS_H_
#define ZYRA_CALC_CALC_RESULTS_H_

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>

#include "zyra/support/errors.h"

namespace zyra {

// Holds the characteristic times of a response (set before any energy is added, since the adders
// classify by them) and the energies summed in place. Band index iTerz1 0..21, split part 0..3
// (0 everything, 1 before tSplit, 2 from tSplit to before tDiff, 3 from tDiff on), time bin
// 0..50 (1 ms each), Alcons band 0..2 (third-octave bands 8, 11, 14). Any other index is error 9;
// a sum that becomes infinite or NaN is error 6 and leaves every sum as it was.
//
// Neither copyable nor movable (it guards its cache with a mutex); share it by std::shared_ptr.
// Const reads, ExxSum among them, may run on several threads at once.
class CCalcResults {
 public:
  static constexpr int32_t kBandCount = 22;
  static constexpr int32_t kSplitPartCount = 4;
  static constexpr int32_t kTimeBinCount = 51;
  static constexpr int32_t kAlconsBandCount = 3;

  CCalcResults() = default;
  CCalcResults(const CCalcResults&) = delete;
  CCalcResults& operator=(const CCalcResults&) = delete;

  // Adds the tail energy dEHall of one band, decaying from tHall with reverberation time dRT
  // (s); with bStartAtDiffuseTime only its part from tDiff on is counted in the time limits and
  // bins. Returns 0.
  int32_t AddHallEnergy(int32_t iTerz1, double dEHall, double dRT, bool bStartAtDiffuseTime);
  // Adds the energy of one pulse arriving at dArrivalAbsolute (on the axis of tRef). Returns 0.
  // Called once per pulse and band, so it stays in the header.
  inline int32_t AddPulsEnergy(int32_t iTerz1, double dArrivalAbsolute, double dEnergy,
                               bool bIsDirectSound);
  // AddPulsEnergy for pulses i = 0..n-1 of one band in turn (daEnergy[i] arriving at
  // daArrivalAbsolute[i], a direct sound where isDirectSound[i] is not 0): the same sums in the
  // same order, kept in registers between pulses. On error 6 the sums stand as after the
  // pulses before the one that failed. The three spans must have the same length (error 5).
  int32_t AddPulsEnergies(int32_t iTerz1, std::span<const double> daArrivalAbsolute,
                          std::span<const double> daEnergy, std::span<const uint8_t> isDirectSound);

  // SPLMax(iTerz1) squared.
  double GetEDirectMax(int32_t iTerz1) const;
  double GetFirstGap() const noexcept { return tGap_; }
  // EDirect over SPLMax squared; 1.0 when SPLMax is 0 or negative.
  double GetOverlap(int32_t iTerz1) const;

  // The running sum of Exx up to and including bin iTimeBin; rebuilt from the bins first when
  // they changed since the last read.
  double ExxSum(int32_t iTimeBin, int32_t iAlconsBand) const;
  // How often ExxSum has been rebuilt: a cache that works rebuilds once per change.
  int64_t ExxSumRebuildCount() const;

  double E7(int32_t iTerz1) const { return e7_[Band(iTerz1)]; }
  double E50(int32_t iTerz1) const { return e50_[Band(iTerz1)]; }
  double E80(int32_t iTerz1) const { return e80_[Band(iTerz1)]; }
  double ESplit(int32_t iTerz1) const { return eSplit_[Band(iTerz1)]; }
  double Etotal(int32_t iTerz1) const { return eTotal_[Band(iTerz1)]; }
  // No adder fills ETail; it stays zero.
  double ETail(int32_t iTerz1) const { return eTail_[Band(iTerz1)]; }
  double EDirect(int32_t iTerz1) const { return eDirect_[Band(iTerz1)]; }
  void SetEDirect(int32_t iTerz1, double value) { eDirect_[Band(iTerz1)] = value; }
  double SPLMax(int32_t iTerz1) const { return splMax_[Band(iTerz1)]; }
  void SetSPLMax(int32_t iTerz1, double value) { splMax_[Band(iTerz1)] = value; }

  double EDir(int32_t iSplitPart, int32_t iTerz1) const {
    return eDir_[Part(iSplitPart)][Band(iTerz1)];
  }
  double ERef(int32_t iSplitPart, int32_t iTerz1) const {
    return eRef_[Part(iSplitPart)][Band(iTerz1)];
  }
  void SetERef(int32_t iSplitPart, int32_t iTerz1, double value) {
    eRef_[Part(iSplitPart)][Band(iTerz1)] = value;
  }
  double ERev(int32_t iSplitPart, int32_t iTerz1) const {
    return eRev_[Part(iSplitPart)][Band(iTerz1)];
  }
  double Exx(int32_t iTimeBin, int32_t iAlconsBand0) const {
    return exx_[TimeBin(iTimeBin)][AlconsBand(iAlconsBand0)];
  }
  double ExxHallSum(int32_t iTimeBin, int32_t iTerz1) const {
    return exxHallSum_[TimeBin(iTimeBin)][Band(iTerz1)];
  }

  bool IsNoDirectSound() const noexcept { return isNoDirectSound_; }
  void SetIsNoDirectSound(bool value) noexcept { isNoDirectSound_ = value; }

  double tRef() const noexcept { return tRef_; }
  void SettRef(double value) noexcept { tRef_ = value; }
  double tSplit() const noexcept { return tSplit_; }
  void SettSplit(double value) noexcept { tSplit_ = value; }
  double tDiff() const noexcept { return tDiff_; }
  void SettDiff(double value) noexcept { tDiff_ = value; }
  double tOff() const noexcept { return tOff_; }
  void SettOff(double value) noexcept { tOff_ = value; }
  double tMean() const noexcept { return tMean_; }
  void SettMean(double value) noexcept { tMean_ = value; }
  double tFirst() const noexcept { return tFirst_; }
  void SettFirst(double value) noexcept { tFirst_ = value; }
  double tGap() const noexcept { return tGap_; }
  void SettGap(double value) noexcept { tGap_ = value; }
  double tLast() const noexcept { return tLast_; }
  void SettLast(double value) noexcept { tLast_ = value; }
  double tHall() const noexcept { return tHall_; }
  void SettHall(double value) noexcept { tHall_ = value; }

 private:
  using BandSums = std::array<double, kBandCount>;
  using SplitSums = std::array<BandSums, kSplitPartCount>;
  using AlconsBins = std::array<std::array<double, kAlconsBandCount>, kTimeBinCount>;

  // The Alcons band of each third-octave band, -1 for none.
  static constexpr std::array<int, kBandCount> kAlconsBandOf = {
      -1, -1, -1, -1, -1, -1, -1, -1, 0, -1, -1, 1, -1, -1, 2, -1, -1, -1, -1, -1, -1, -1};

  static size_t Checked(int32_t i, int32_t count) {
    if (static_cast<uint32_t>(i) >= static_cast<uint32_t>(count)) RaiseError(kErrSubscript);
    return static_cast<size_t>(i);
  }
  static size_t Band(int32_t i) { return Checked(i, kBandCount); }
  static size_t Part(int32_t i) { return Checked(i, kSplitPartCount); }
  static size_t TimeBin(int32_t i) { return Checked(i, kTimeBinCount); }
  static size_t AlconsBand(int32_t i) { return Checked(i, kAlconsBandCount); }

  // The 1 ms bin of a pulse 0 < t < 50 ms after tRef: t + 0.5 rounded ties to even, so 2.0 ms
  // lands in bin 2, 2.5 ms in bin 3 and 3.0 ms in bin 4; kept so for the established results.
  // Adding and removing 2^52 rounds a value in 0..2^52 to an integer, ties to even, in the
  // default rounding mode, without a library call.
  static size_t PulsBin(double t) {
    constexpr double kRoundingShift = 4503599627370496.0;  // 2^52
    const double shifted = (t + 0.5) + kRoundingShift;
    return static_cast<size_t>(shifted - kRoundingShift);
  }

  // v - v is 0 for a finite v and NaN for an infinite or NaN one, so the sum is 0 exactly when
  // every value is finite: one test without a branch per value, on the per-pulse path.
  template <class... Values>
  static bool AllFinite(Values... values) {
    return (... + (values - values)) == 0.0;
  }

  void RebuildExxSum() const;

  double tRef_ = 0.0;
  double tSplit_ = 0.0;
  double tDiff_ = 0.0;
  double tOff_ = 0.0;
  double tMean_ = 0.0;
  double tFirst_ = 0.0;
  double tGap_ = 0.0;
  double tLast_ = 0.0;
  double tHall_ = 0.0;
  bool isNoDirectSound_ = false;

  BandSums e7_{};
  BandSums e50_{};
  BandSums e80_{};
  BandSums eSplit_{};
  BandSums eTotal_{};
  BandSums eDirect_{};
  BandSums eTail_{};
  BandSums splMax_{};
  SplitSums eDir_{};
  SplitSums eRef_{};
  SplitSums eRev_{};
  AlconsBins exx_{};
  std::array<BandSums, kTimeBinCount> exxHallSum_{};

  // The running sums of exx_, derived on demand. binsChanged_ is set by the adders whenever they
  // touch an Alcons band and cleared by the rebuild, which runs under the mutex.
  mutable std::mutex exxSumMutex_;
  mutable AlconsBins exxSum_{};
  mutable bool binsChanged_ = false;
  mutable int64_t exxSumRebuilds_ = 0;
};

inline int32_t CCalcResults::AddPulsEnergy(int32_t iTerz1, double dArrivalAbsolute, double dEnergy,
                                           bool bIsDirectSound) {
  const size_t b = Band(iTerz1);
  const double t = dArrivalAbsolute - tRef_;
  const double e = dEnergy;

  // Every new sum is formed first and stored only when all of them are finite.
  const double total = eTotal_[b] + e;
  const double e7 = e7_[b] + (t < 7.0 ? e : 0.0);
  const double e50 = e50_[b] + (t < 50.0 ? e : 0.0);
  const double e80 = e80_[b] + (t < 80.0 ? e : 0.0);
  const double eSplit = eSplit_[b] + (t < tSplit_ ? e : 0.0);

  SplitSums& split = bIsDirectSound ? eDir_ : eRef_;
  const size_t part = t < tSplit_ ? 1 : (t < tDiff_ ? 2 : 3);
  const double split0 = split[0][b] + e;
  const double splitPart = split[part][b] + e;

  // Pulses at 50 ms or later reach no bin; the bins count as changed all the same.
  const int a = kAlconsBandOf[b];
  double* bin = nullptr;
  if (a >= 0 && t < 50.0) bin = &exx_[t <= 0.0 ? 0 : PulsBin(t)][static_cast<size_t>(a)];
  const double binSum = bin != nullptr ? *bin + e : 0.0;

  if (!AllFinite(total, e7, e50, e80, eSplit, split0, splitPart, binSum)) {
    RaiseError(kErrOverflow);
  }
  eTotal_[b] = total;
  e7_[b] = e7;
  e50_[b] = e50;
  e80_[b] = e80;
  eSplit_[b] = eSplit;
  split[0][b] = split0;
  split[part][b] = splitPart;
  if (bin != nullptr) *bin = binSum;
  if (a >= 0) binsChanged_ = true;
  return 0;
}

}  // namespace zyra

#endif  // ZYRA_CALC_CALC_RESULTS_H_
