// The energy accumulator: where a pulse or a tail lands, the lazy running bin sums, and errors.
#include "zyra/calc/calc_results.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "zyra/support/calculation.h"

namespace zyra {
namespace {

constexpr int32_t kAlconsBand1Terz = 11;  // Alcons band 1

void SetTimes(CCalcResults& r, double tRef, double tSplit, double tDiff, double tHall) {
  r.SettRef(tRef);
  r.SettSplit(tSplit);
  r.SettDiff(tDiff);
  r.SettHall(tHall);
}

TEST(CalcResultsTest, PulsLandsInItsLimitsSplitPartAndBin) {
  struct Row {
    double t;
    bool in7, in50, in80, inSplit;
    int32_t part;
    int32_t bin;  // -1: no bin
  };
  // tRef 100, tSplit 20, tDiff 30.
  const Row rows[] = {
      {0.0, true, true, true, true, 1, 0},       // at tRef
      {2.0, true, true, true, true, 1, 2},       // 2.5 ties to even
      {7.0, false, true, true, true, 1, 8},      // 7 is not before 7
      {20.0, false, true, true, false, 2, 20},   // at tSplit: the middle part
      {30.0, false, true, true, false, 3, 30},   // at tDiff: the diffuse part
      {50.0, false, false, true, false, 3, -1},  // 50 ms reaches no bin
      {80.0, false, false, false, false, 3, -1},
  };
  for (const bool direct : {true, false}) {
    for (const Row& row : rows) {
      CCalcResults r;
      SetTimes(r, 100.0, 20.0, 30.0, 40.0);
      EXPECT_EQ(r.AddPulsEnergy(kAlconsBand1Terz, 100.0 + row.t, 2.0, direct), 0);
      const int32_t b = kAlconsBand1Terz;
      SCOPED_TRACE(::testing::Message() << "t " << row.t << (direct ? " direct" : " reflection"));
      EXPECT_EQ(r.Etotal(b), 2.0);
      EXPECT_EQ(r.E7(b), row.in7 ? 2.0 : 0.0);
      EXPECT_EQ(r.E50(b), row.in50 ? 2.0 : 0.0);
      EXPECT_EQ(r.E80(b), row.in80 ? 2.0 : 0.0);
      EXPECT_EQ(r.ESplit(b), row.inSplit ? 2.0 : 0.0);
      for (int32_t part = 0; part < 4; ++part) {
        const double expected = (part == 0 || part == row.part) ? 2.0 : 0.0;
        EXPECT_EQ(r.EDir(part, b), direct ? expected : 0.0) << part;
        EXPECT_EQ(r.ERef(part, b), direct ? 0.0 : expected) << part;
        EXPECT_EQ(r.ERev(part, b), 0.0);
      }
      for (int32_t k = 0; k <= 50; ++k) {
        EXPECT_EQ(r.Exx(k, 1), k == row.bin ? 2.0 : 0.0) << k;
        EXPECT_EQ(r.Exx(k, 0) + r.Exx(k, 2), 0.0);
      }
      EXPECT_EQ(r.ExxSum(50, 1), row.bin >= 0 ? 2.0 : 0.0);
    }
  }
}

TEST(CalcResultsTest, PureTailFollowsTheDecay) {
  // Tail from tHall = 15 ms with 1.5 s: the level falls 6 dB per 150 ms, so the share before
  // 50 ms is 1 - 10^(-0.6 * 35 / 150); the split time 20 ms takes the first 5 ms.
  CCalcResults r;
  SetTimes(r, 100.0, 20.0, 30.0, 15.0);
  const int32_t b = 14;  // Alcons band 2
  EXPECT_EQ(r.AddHallEnergy(b, 1000.0, 1.5, false), 0);
  EXPECT_NEAR(r.Etotal(b), 1000.0, 1e-9);
  EXPECT_NEAR(r.E50(b) / r.Etotal(b), 1.0 - std::pow(10.0, -0.6 * 35.0 / 150.0), 1e-12);
  EXPECT_NEAR(r.ESplit(b) / r.Etotal(b), 1.0 - std::pow(10.0, -0.6 * 5.0 / 150.0), 1e-12);
  EXPECT_EQ(r.E7(b), 0.0);  // the tail starts after 7 ms
  EXPECT_NEAR(r.ERev(1, b) + r.ERev(2, b) + r.ERev(3, b), 1000.0, 1e-9);
  EXPECT_NEAR(r.ERev(1, b), r.ESplit(b), 1e-9);
  // The bins and the tail's running sum are two ways to the same energy up to each bin.
  for (int32_t k = 0; k <= 50; ++k) {
    EXPECT_EQ(r.Exx(k, 2) > 0.0, k > 15) << k;  // nothing before tHall
    EXPECT_NEAR(r.ExxSum(k, 2), r.ExxHallSum(k, b), 1e-9) << k;
  }
  EXPECT_NEAR(r.ExxHallSum(50, b), r.E50(b), 1e-9);
}

TEST(CalcResultsTest, TailFromTheDiffuseTimeEntersLaterBinsOnly) {
  CCalcResults r;
  SetTimes(r, 0.0, 10.0, 12.5, 5.0);
  r.AddHallEnergy(8, 500.0, 1.0, true);  // Alcons band 0
  for (int32_t k = 0; k <= 50; ++k) {
    const double expected = k <= 12 ? 0.0 : 500.0 * DecayFraction(k - 1.0, k, 5.0, 1.0);
    EXPECT_NEAR(r.Exx(k, 0), expected, 1e-12) << k;
    EXPECT_EQ(r.ExxHallSum(k, 8) == 0.0, k <= 12) << k;
  }
  // Counted from tDiff, but decaying from tHall.
  EXPECT_NEAR(r.Etotal(8), 500.0 * std::pow(10.0, -6.0 * 7.5 / 1000.0), 1e-9);
  EXPECT_EQ(r.ESplit(8), 0.0);
  EXPECT_NEAR(r.ERev(1, 8), 500.0 * DecayFraction(5.0, 10.0, 5.0, 1.0), 1e-12);
}

TEST(CalcResultsTest, ExxSumFollowsEveryChange) {
  CCalcResults r;
  SetTimes(r, 0.0, 20.0, 30.0, 40.0);
  r.AddPulsEnergy(11, 3.0, 1.0, true);
  EXPECT_EQ(r.ExxSum(50, 1), 1.0);
  r.AddPulsEnergy(10, 1.0, 5.0, true);  // no Alcons band: the bins stay as they are
  EXPECT_EQ(r.ExxSum(50, 1), 1.0);
  r.AddPulsEnergy(11, 0.0, 4.0, true);
  EXPECT_EQ(r.ExxSum(0, 1), 4.0);
  EXPECT_EQ(r.ExxSum(50, 1), 5.0);
  r.AddHallEnergy(14, 1.0, 1.0, false);
  EXPECT_GT(r.ExxSum(50, 2), 0.0);
}

TEST(CalcResultsTest, IndexOutsideItsRangeIsError9AndChangesNothing) {
  CCalcResults r;
  SetTimes(r, 0.0, 20.0, 30.0, 10.0);
  const std::function<void()> calls[] = {
      [&] { r.AddPulsEnergy(22, 1.0, 1.0, true); },
      [&] { r.EDir(4, 0); },
      [&] { r.ExxSum(51, 0); },
  };
  for (size_t i = 0; i < std::size(calls); ++i) EXPECT_EQ(testing::ErrorNumberOf(calls[i]), 9) << i;
  for (int32_t b = 0; b <= 21; ++b) {
    EXPECT_EQ(r.Etotal(b) + r.ERef(0, b) + r.EDir(0, b) + r.ERev(0, b) + r.ExxHallSum(50, b), 0.0);
  }
}

TEST(CalcResultsTest, SumThatOverflowsIsError6AndKeepsThePreviousSums) {
  const double inf = std::numeric_limits<double>::infinity();
  CCalcResults r;
  SetTimes(r, 0.0, 20.0, 30.0, 10.0);
  r.AddPulsEnergy(11, 1.0, 1e308, true);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.AddPulsEnergy(11, 60.0, 1e308, true); }), kErrOverflow);
  EXPECT_EQ(r.Etotal(11), 1e308);
  EXPECT_EQ(r.EDir(3, 11), 0.0);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.AddPulsEnergy(5, 1.0, std::nan(""), true); }),
            kErrOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.AddHallEnergy(5, inf, 1.0, false); }), kErrOverflow);
  EXPECT_EQ(r.Etotal(5), 0.0);
  EXPECT_EQ(r.ExxHallSum(50, 5), 0.0);
  // Two finite bins whose running sum overflows (a negative energy in between keeps every other
  // sum finite): the read fails, and fails again.
  r.AddPulsEnergy(8, 1.0, 1e308, true);
  r.AddPulsEnergy(8, 45.6, -1e308, true);
  r.AddPulsEnergy(8, 30.0, 1e308, true);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.ExxSum(0, 0); }), kErrOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.ExxSum(0, 0); }), kErrOverflow);
}

TEST(CalcResultsTest, PulsesInOneGoSumAsOneByOneToTheBit) {
  // Arrivals around every limit and bin, both kinds, odd energies; then an overflow partway.
  std::vector<double> arrivals, energies;
  std::vector<uint8_t> direct;
  for (int k = 0; k < 400; ++k) {
    arrivals.push_back(95.0 + 0.37 * k);
    energies.push_back(1.0 / (3 + k % 17) + 1e-3 * k);
    direct.push_back(k % 5 == 0 ? 1 : 0);
  }
  energies.push_back(1e308);
  energies.push_back(1e308);  // this one overflows
  energies.push_back(1.0);
  for (int k = 0; k < 3; ++k) {
    arrivals.push_back(110.0 + k);
    direct.push_back(0);
  }
  // The first 400 sum without an overflow (the batched path), the whole list with one.
  for (const size_t count : {size_t{400}, energies.size()}) {
    CCalcResults one, batch;
    for (CCalcResults* r : {&one, &batch}) SetTimes(*r, 100.0, 20.0, 30.0, 10.0);
    const int32_t lExpected = count == 400 ? 0 : kErrOverflow;
    for (const int32_t band : {3, 11}) {
      int32_t errorOne = 0;
      for (size_t k = 0; k < count && errorOne == 0; ++k) {
        errorOne = testing::ErrorNumberOf(
            [&] { one.AddPulsEnergy(band, arrivals[k], energies[k], direct[k] != 0); });
      }
      EXPECT_EQ(errorOne, lExpected);
      EXPECT_EQ(testing::ErrorNumberOf([&] {
                  batch.AddPulsEnergies(band, std::span(arrivals).first(count),
                                        std::span(energies).first(count),
                                        std::span(direct).first(count));
                }),
                lExpected);
      const auto sums = [band](const CCalcResults& r) {
        std::vector<double> v = {r.Etotal(band), r.E7(band), r.E50(band), r.E80(band),
                                 r.ESplit(band)};
        for (int32_t part = 0; part < 4; ++part) {
          v.push_back(r.EDir(part, band));
          v.push_back(r.ERef(part, band));
        }
        for (int32_t bin = 0; bin <= 50; ++bin) v.push_back(r.Exx(bin, 1));
        return v;
      };
      EXPECT_EQ(sums(one), sums(batch)) << band;
    }
    EXPECT_EQ(one.ExxSum(50, 1), batch.ExxSum(50, 1));
  }
}

}  // namespace
}  // namespace zyra
