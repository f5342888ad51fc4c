// Decay fits against closed forms: an exponential tail is a straight line in dB, a staircase
// that stops short has no fit below its last step, and bad limits are refused.
#include "zyra/calc/schroeder_parameters.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "testing/response_builder.h"
#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::ResponseBuilder;

TEST(SchroederParametersTest, TailAloneDecaysAtItsReverberationTime) {
  struct Row {
    float fRT;
    bool bIsWithReflections;
    double dT1, dT2;
  };
  const Row rows[] = {{0.5F, true, -5, -35}, {4.0F, false, 0, -60}};
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
      EXPECT_NEAR(s.T30(b), rt, 1e-9 * rt);
      EXPECT_NEAR(s.SchrRTime(b), rt, 1e-9 * rt);
      EXPECT_NEAR(s.Curvature(b), 0.0, 1e-6);
      EXPECT_NEAR(s.SchrEtot(b), r->Etotal(b), 1e-12 * r->Etotal(b));
      EXPECT_DOUBLE_EQ(s.SchrETail(b), s.SchrEtot(b));
    }
    EXPECT_NEAR(s.OctaveT30(4), rt, 1e-9 * rt);
    // The curve a plot gets: from 0 dB down past the stop level, a few hundred points.
    const CDecayCurve& curve = s.DecayCurve(11);
    ASSERT_GE(curve.daLevel.size(), 2U);
    EXPECT_EQ(curve.daLevel.front(), 0.0);
    EXPECT_LT(curve.daLevel.back(), std::min(-35.0, row.dT2));
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
    for (int i = 0; i < row.nArrivals; ++i)
      f.Add(1, static_cast<float>(i), static_cast<int16_t>(6000 - 100 * i));
    const auto r = f.Evaluate(true);
    CSchroederParameters s;
    ASSERT_EQ(s.CalculateFit(f.file, *r, true, nullptr), 0);
    for (const auto& [bExists, dValue] :
         {std::pair{row.bEDT, s.EDT(5)}, {row.bT20, s.T20(5)}, {row.bT30, s.T30(5)}}) {
      EXPECT_EQ(std::isfinite(dValue), bExists) << row.nArrivals;
      if (row.nArrivals == 60) {
        EXPECT_NEAR(dValue, 0.06, 0.002);  // 60 dB at 1 dB per ms
      }
    }
    // The curve ends where nothing is left, or at the first sample below -35 dB.
    EXPECT_EQ(s.DecayCurve(5).daLevel.back() == -INFINITY, !row.bT30);
    EXPECT_DOUBLE_EQ(s.SchrETail(5), 0.0);
  }
}

// The decay sampled the slow way, straight from its definition: EDC at every 0.1 ms from the
// first energy on, each sample summed anew, and the least-squares line through the samples in
// range.
std::array<CDecayFit, kDecayRangeCount> ReferenceFits(const CEnergyTimeResponse& response,
                                                      const std::vector<int32_t>& bands) {
  const auto edcAt = [&](double t) {  // the energy arriving at t ms or later
    double edc = 0.0;
    for (const int32_t b : bands) {
      for (size_t i = 0; i < response.Count(); ++i)
        edc += response.Arrival(i) >= t ? response.Energy(b, i) : 0.0;
      edc += response.Tail(b).EnergyAfter(t);
    }
    return edc;
  };
  double t0 = INFINITY;
  for (const int32_t b : bands) {
    for (size_t i = 0; i < response.Count(); ++i)
      if (response.Energy(b, i) > 0.0) t0 = std::min(t0, response.Arrival(i));
    if (response.Tail(b).Exists()) t0 = std::min(t0, response.Tail(b).tStart);
  }
  std::vector<std::pair<double, double>> samples;  // t (s), L (dB)
  for (auto n = static_cast<int64_t>(std::ceil(10.0 * t0)); n <= 1000000; ++n) {
    const double t = static_cast<double>(n) / 10.0;
    samples.emplace_back(t / 1000.0, std::min(0.0, 10.0 * std::log10(edcAt(t) / edcAt(t0))));
    if (samples.back().second < -35.0) break;
  }
  const std::array<std::pair<double, double>, kDecayRangeCount> ranges = {
      {{0.0, -10.0}, {-5.0, -25.0}, {-5.0, -35.0}, {-5.0, -35.0}}};
  std::array<CDecayFit, kDecayRangeCount> fits{};
  for (size_t r = 0; r < ranges.size(); ++r) {
    double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (const auto& [x, y] : samples) {
      if (y > ranges[r].first || y < ranges[r].second) continue;
      n += 1;
      sx += x;
      sy += y;
      sxx += x * x;
      sxy += x * y;
    }
    fits[r].dSlope = (n * sxy - sx * sy) / (n * sxx - sx * sx);
    fits[r].dIntercept = (sy - fits[r].dSlope * sx) / n;
  }
  return fits;
}

TEST(SchroederParametersTest, FitsEqualTheDecaySampledFromItsDefinition) {
  // Arrivals in the first 150 ms and tails of different decay rates in one octave, so that
  // the level bends and the curve is sampled point by point.
  ResponseBuilder f(6000);
  f.AddRandom(7, 60, 0.5F, 150.0F, 2000, 5500);
  f.Room(600.0F, 1.0F);
  for (int32_t b = 10; b <= 12; ++b) f.file.ETC()->SetRTime(b, 0.6F + 0.3F * (b - 10));
  const auto r = f.Evaluate(true);
  const CEnergyTimeResponse response(f.file, *r, true);
  CSchroederParameters s;
  ASSERT_EQ(s.CalculateFit(response, nullptr), 0);
  for (const auto& [fit, reference] :
       {std::pair{&s.OctaveFit(4, SL_EDecay_EDT), ReferenceFits(response, {10, 11, 12})[0]},
        {&s.OctaveFit(4, SL_EDecay_T30), ReferenceFits(response, {10, 11, 12})[2]},
        {&s.Fit(11, SL_EDecay_T20), ReferenceFits(response, {11})[1]},
        {&s.Fit(12, SL_EDecay_SchrRTime), ReferenceFits(response, {12})[3]}}) {
    EXPECT_NEAR(fit->dSlope, reference.dSlope, 1e-7 * std::abs(reference.dSlope));
    EXPECT_NEAR(fit->dIntercept, reference.dIntercept, 1e-7);
  }
}

TEST(SchroederParametersTest, RefusesFitLimitsThatAreNoRangeAndIndicesOutside) {
  ResponseBuilder f;
  const auto r = f.Evaluate(true);
  for (const auto& [t1, t2] : {std::pair{-5.0, -5.0}, {-10.0, -5.0}, {1.0, -10.0}, {-5.0, NAN}}) {
    CSchroederParameters s;
    s.SetSchroederT1(t1);
    s.SetSchroederT2(t2);
    EXPECT_EQ(testing::ErrorNumberOf([&] { s.CalculateFit(f.file, *r, true, nullptr); }), 5);
  }
  const CSchroederParameters s;
  EXPECT_EQ(testing::ErrorNumberOf([&] { s.Fit(1, static_cast<SL_EDecayRange>(4)); }), 9);
}

}  // namespace
}  // namespace zyra
