// The acoustic formulas of the calculation object against closed forms and their boundaries.
#include "zyra/support/calculation.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

#include <cmath>
#include <limits>
#include <numbers>

#include "zyra/support/errors.h"

namespace zyra {
namespace {

TEST(CalculationTest, TerzFrequencyTableAndFormulaBeyondIt) {
  const int32_t table[] = {100,  125,  160,  200,  250,  315,  400,  500,  630,  800,  1000,
                           1250, 1600, 2000, 2500, 3150, 4000, 5000, 6300, 8000, 10000};
  for (int32_t i = 0; i < 21; ++i) EXPECT_EQ(GetTerzFrequency(i), table[i]) << i;
  const std::pair<int32_t, int32_t> beyond[] = {{-1, 79},     {21, 12589}, {22, 15849},
                                                {30, 100000}, {-10, 10},   {73, 1995262315}};
  for (const auto& [i, hz] : beyond) EXPECT_EQ(GetTerzFrequency(i), hz) << i;
  EXPECT_EQ(testing::ErrorNumberOf([] { GetTerzFrequency(74); }), kErrOverflow);
}

TEST(CalculationTest, DecayFractionBoundariesAndClosedForms) {
  struct Row {
    double t1, t2, tStart, dRT, expected;
  };
  // With dRT = 1 s a level falls 60 dB per 1000 ms: 500 ms leave 10^-3 of the energy.
  const Row rows[] = {
      {0, 0, 0, 1, 0.0},                                                // empty interval
      {10, 5, 0, 1, 0.0},                                               // t2 before t1
      {20, 1e6, 20, 2, 1.0},                                            // beyond the end is the end
      {0, 1000, 0, 1, 1.0 - 1e-6},                                      // 60 dB
      {500, 1000, 0, 1, 1e-3 - 1e-6},                                   // a middle slice
      {0, 99999, 0, 1000, 1.0 - std::pow(10.0, -6.0 * 99999.0 / 1e6)},  // 99999 is finite
      {0, 10, 5, 0, 1.0},   // no decay time: all energy at the start
      {5, 10, 5, 0, 1.0},   // start on t1 counts
      {6, 10, 5, 0, 0.0},   // start before t1
      {0, 5, 5, 0, 0.0},    // start on t2 does not
      {0, 10, 5, -1, 1.0},  // negative decay time as zero
  };
  for (const Row& r : rows) {
    EXPECT_NEAR(DecayFraction(r.t1, r.t2, r.tStart, r.dRT), r.expected, 1e-12)
        << r.t1 << " " << r.t2 << " " << r.tStart << " " << r.dRT;
  }
}

TEST(CalculationTest, HallEnergyByHandAndItsZeroCases) {
  // alpha 0.2, 100 dB, 2 s, 1000 m^3: A = 0.161 * 1000 / 2 = 80.5, R = 80.5 / 0.8 = 100.625,
  // E = 10^10 * 4 / R.
  EXPECT_NEAR(HallEnergy(0.2, 100.0, 2.0, 1000.0), 397515527.9503106, 1e-4);
  EXPECT_NEAR(HallEnergy(0.0, 0.0, 0.161, 1000.0), 0.004, 1e-15);  // R = A = 1000 m^2
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double zeroCases[][4] = {{0.2, 100, 0, 1000}, {0.2, 100, 2, -5},     {-0.01, 100, 2, 1000},
                                 {1.0, 100, 2, 1000}, {0.2, 100, nan, 1000}, {nan, 100, 2, 1000}};
  for (const auto& c : zeroCases) {
    EXPECT_EQ(HallEnergy(c[0], c[1], c[2], c[3]), 0.0) << c[0] << " " << c[2] << " " << c[3];
  }
}

TEST(CalculationTest, HallStartTimeIsLatestTimePlusMixingTime) {
  EXPECT_DOUBLE_EQ(HallStartTime(10.0, 20.0, 5.0, 400.0), 40.0);
  EXPECT_DOUBLE_EQ(HallStartTime(30.0, 10.0, 0.0, -100.0), 30.0);
  EXPECT_DOUBLE_EQ(HallStartTime(0.0, 0.0, 0.0, 2.0), std::sqrt(2.0));
}

TEST(CalculationTest, PrecedenceAllowanceFollowsTheHaasCurve) {
  const std::pair<double, double> rows[] = {{-3, 0},  {0, 0},  {1, 0},  {3, 5},  {5, 10},
                                            {30, 10}, {40, 5}, {50, 0}, {60, 0}, {45, 2.5}};
  for (const auto& [dt, g] : rows) EXPECT_DOUBLE_EQ(PrecedenceAllowance(dt), g) << dt;
}

TEST(CalculationTest, AlconsBothFormsAndClips) {
  struct Row {
    float useful, harmful, noise, rt;
    int32_t form;
    double expected;
  };
  const double sti0 = 170.5405 * std::exp(-5.419 * 0.5);  // snr 0 dB
  const double sti1 = 170.5405 * std::exp(-5.419);        // snr +15 dB
  const Row rows[] = {
      {1, 0.1F, 0, 2, SL_EAlcons_Peutz, 0.652 * static_cast<double>(0.1F) * 2},
      {1, 0.5F, 0.5F, 2, SL_EAlcons_STI, sti0},  // noise counts as detrimental
      {1, 100, 0, 2, SL_EAlcons_Peutz, 18.0},    // capped at 9 * RT
      {0, 1, 0, 2, SL_EAlcons_Peutz, 18.0},      // no useful energy
      {1, -1, 0, 1, SL_EAlcons_Peutz, 0.0},      // clipped to 0
      {1, 1, 0, 0, SL_EAlcons_Peutz, sti0},      // no reverberation time: the STI form
      {1, 0.1F, 0, 2, 7, 0.652 * static_cast<double>(0.1F) * 2},
      {0, 0, 0, 2, SL_EAlcons_STI, 100.0},      // useful judged before detrimental
      {1, 0, 0, 2, SL_EAlcons_STI, sti1},       // nothing detrimental: +15 dB
      {1, -1e-9F, 0, 2, SL_EAlcons_STI, sti1},  // a residue below zero as nothing
      {1, 1000, 0, 2, SL_EAlcons_STI, 100.0},   // -30 dB clipped to -15
  };
  for (const Row& r : rows) {
    EXPECT_NEAR(Alcons(r.useful, r.harmful, r.noise, r.rt, static_cast<SL_EAlconsForm>(r.form)),
                r.expected, 1e-12)
        << r.useful << " " << r.harmful << " " << r.noise << " " << r.rt << " " << r.form;
  }
}

TEST(CalculationTest, AddPhasesWrapsIntoPlusMinusPi) {
  // Every reachable sum agrees with the plain wrap of the sum, shortcut or not.
  for (int32_t sum = -65536; sum <= 65534; ++sum) {
    const auto a = static_cast<int16_t>(sum / 2);
    const auto b = static_cast<int16_t>(sum - sum / 2);
    const double wrapped = std::remainder(sum * 0.0001, 2.0 * std::numbers::pi);
    ASSERT_EQ(AddPhases(a, b), static_cast<int16_t>(std::nearbyint(wrapped * 10000.0))) << sum;
  }
}

TEST(CalculationTest, BandAverageCosIsTheDifferenceOfSinesOverTheSweep) {
  const std::pair<double, double> sweeps[] = {
      {0.0, 1.0}, {-2.0, 5.0}, {3.0, -40.0}, {1e3, 1e3 + 7.0}};
  for (const auto& [a1, a2] : sweeps) {
    const double differenceOfSines = (std::sin(a2) - std::sin(a1)) / (a2 - a1);
    EXPECT_NEAR(BandAverageCos(a1, a2), differenceOfSines, 1e-12) << a1 << " " << a2;
  }
  EXPECT_EQ(BandAverageCos(0.7, 0.7), std::cos(0.7));
  // Near-equal ends: the mean is the cosine at the middle. The difference of two sines would
  // keep only about three digits here.
  const double a1 = 0.7;
  const double a2 = 0.7 + 1e-13;
  EXPECT_NEAR(BandAverageCos(a1, a2), std::cos(0.5 * (a1 + a2)), 1e-16);
  EXPECT_NE(BandAverageCos(a1, a2), std::cos(a1));
}

}  // namespace
}  // namespace zyra
