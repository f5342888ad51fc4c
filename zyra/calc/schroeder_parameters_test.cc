// Decay fits against closed forms: an exponential tail is a straight line in dB, a staircase
// that stops short has no fit below its last step, and bad limits are refused.
#include "zyra/calc/schroeder_parameters.h"

#include <gtest/gtest.h>

#include <cmath>

#include "tests/response_builder.h"
#include "tests/test_support.h"

namespace zyra {
namespace {

using testing::ResponseBuilder;

TEST(SchroederParametersTest, TailAloneDecaysAtItsReverberationTime) {
  struct Row {
    float fRT;
    bool bIsWithReflections;
    double dT1, dT2;
  };
  const Row rows[] = {{0.5F, true, -5, -35}, {1.5F, false, -10, -20}, {4.0F, true, 0, -60}};
  for (const Row& row : rows) {
    ResponseBuilder f;
    f.Room(900.0F, row.fRT);
    const auto r = f.Evaluate(row.bIsWithReflections);
    CSchroederParameters s;
    s.SetSchroederT1(row.dT1);
    s.SetSchroederT2(row.dT2);
    ASSERT_EQ(s.CalculateFit(f.file, *r, row.bIsWithReflections, nullptr), 0);
    const double rt = row.fRT;
    for (const int32_t b : {1, 11, 21}) {
      EXPECT_NEAR(s.EDT(b), rt, 1e-9 * rt) << b;
      EXPECT_NEAR(s.T20(b), rt, 1e-9 * rt);
      EXPECT_NEAR(s.T30(b), rt, 1e-9 * rt);
      EXPECT_NEAR(s.SchrRTime(b), rt, 1e-9 * rt);
      EXPECT_NEAR(s.Curvature(b), 0.0, 1e-6);
      EXPECT_NEAR(s.SchrEtot(b), r->Etotal(b), 1e-12 * r->Etotal(b));
      EXPECT_DOUBLE_EQ(s.SchrETail(b), s.SchrEtot(b));
      // The line starts at 0 dB where the tail starts being counted.
      const CDecayFit& fit = s.Fit(b, SL_EDecay_T30);
      const double tStart = row.bIsWithReflections ? std::max(r->tDiff(), r->tHall()) : r->tHall();
      EXPECT_NEAR(fit.dIntercept + fit.dSlope * tStart / 1000.0, 0.0, 1e-9);
    }
    EXPECT_NEAR(s.OctaveT30(4), rt, 1e-9 * rt);
    EXPECT_NEAR(s.OctaveSchrEtot(4), r->Etotal(10) + r->Etotal(11) + r->Etotal(12),
                1e-12 * s.OctaveSchrEtot(4));
    // The curve a plot gets: from 0 dB down past the stop level, a few hundred points.
    const CDecayCurve& curve = s.DecayCurve(11);
    ASSERT_GE(curve.daLevel.size(), 2U);
    EXPECT_EQ(curve.daLevel.front(), 0.0);
    EXPECT_LT(curve.daLevel.back(), std::min(-35.0, row.dT2));
    EXPECT_LT(curve.daLevel.size(), 2000U);
    for (size_t i = 1; i < curve.daTime.size(); ++i) {
      EXPECT_GT(curve.daTime[i], curve.daTime[i - 1]);
      EXPECT_NEAR(curve.daLevel[i], -60.0 * (curve.daTime[i] - curve.daTime[0]) / (1000.0 * rt),
                  1e-6);
    }
  }
}

// Arrivals every 1 ms, each 1 dB below the one before, and no tail: a staircase of about
// 1 dB per ms that ends where the last arrival leaves.
TEST(SchroederParametersTest, FitsExistOnlyDownToTheLastStep) {
  struct Row {
    int nArrivals;
    bool bEDT, bT20, bT30;
  };
  const Row rows[] = {
      {1, false, false, false},  // 0 dB, then nothing: fewer than 2 samples in every range
      {12, true, false, false},  // ends near -12 dB
      {26, true, true, false},   // ends near -31 dB: a decay that ends before -35 dB
      {60, true, true, true},
  };
  for (const Row& row : rows) {
    ResponseBuilder f;
    for (int i = 0; i < row.nArrivals; ++i) {
      f.Add(1, static_cast<float>(i), static_cast<int16_t>(6000 - 100 * i));
    }
    const auto r = f.Evaluate(true);
    CSchroederParameters s;
    ASSERT_EQ(s.CalculateFit(f.file, *r, true, nullptr), 0);
    for (const auto& [bExists, dValue] :
         {std::pair{row.bEDT, s.EDT(5)}, {row.bT20, s.T20(5)}, {row.bT30, s.T30(5)}}) {
      EXPECT_EQ(std::isfinite(dValue), bExists) << row.nArrivals;
      // 60 dB at 1 dB per ms, where the steps are many and the end is far.
      if (row.nArrivals == 60) {
        EXPECT_NEAR(dValue, 0.06, 0.002);
      }
    }
    // The curve ends where nothing is left, or at the first sample below -35 dB.
    EXPECT_EQ(s.DecayCurve(5).daLevel.back() == -INFINITY, !row.bT30);
    EXPECT_DOUBLE_EQ(s.SchrETail(5), 0.0);
  }
}

TEST(SchroederParametersTest, RefusesFitLimitsThatAreNoRangeAndIndicesOutside) {
  ResponseBuilder f;
  const auto r = f.Evaluate(true);
  for (const auto& [t1, t2] :
       {std::pair{-5.0, -5.0}, {-10.0, -5.0}, {1.0, -10.0}, {NAN, -35.0}, {-5.0, NAN}}) {
    CSchroederParameters s;
    s.SetSchroederT1(t1);
    s.SetSchroederT2(t2);
    EXPECT_EQ(testing::ErrorNumberOf([&] { s.CalculateFit(f.file, *r, true, nullptr); }), 5);
  }
  const CSchroederParameters s;
  EXPECT_EQ(testing::ErrorNumberOf([&] { s.EDT(0); }), 9);
  EXPECT_EQ(testing::ErrorNumberOf([&] { s.OctaveT30(8); }), 9);
  EXPECT_EQ(testing::ErrorNumberOf([&] { s.Fit(1, static_cast<SL_EDecayRange>(4)); }), 9);
}

}  // namespace
}  // namespace zyra
