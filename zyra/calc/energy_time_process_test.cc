// The energy-time evaluation end to end on responses built in memory, and Alcons over time.
#include "zyra/calc/energy_time_process.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/response_builder.h"

namespace zyra {
namespace {

using testing::ResponseBuilder;
constexpr int32_t kBand = 11;  // Alcons band 1

TEST(EnergyTimeProcessTest, PureTailGivesHallEnergyAndTheSplitTimeIsClamped) {
  ResponseBuilder f(2000);  // a direct sound of 20 dB (E = 100) in every band but kBand
  f.file.Rsp()->Puls(1)->SetSPL(kBand, 0);
  f.Room(400.0F, 1.5F);
  const auto r = f.Evaluate(false);
  EXPECT_DOUBLE_EQ(r->tHall(), 20.0);  // sqrt(400) after tRef
  // Sabine: A = 0.161 V / T, R = A / (1 - a), E = 10^(P/10) 4 / R.
  const double eHall = 1e9 * 4.0 / (0.161 * 400.0 / 1.5 / 0.75);
  EXPECT_NEAR(r->Etotal(kBand), eHall, 1e-12 * eHall);
  EXPECT_FALSE(r->IsNoDirectSound());  // the other bands' direct pressure is 10
  for (const auto& [fIn, fOut] : {std::pair{3.0F, 7.0F}, {80.0F, 50.0F}, {20.0F, 20.0F}}) {
    ResponseBuilder g(2000);
    g.file.ETC()->SettSplit(fIn);
    EXPECT_EQ(g.Evaluate(true)->tSplit(), fOut);
    EXPECT_EQ(g.file.ETC()->tSplit(), fOut);
  }
}

TEST(EnergyTimeProcessTest, WhichPulsesCountAndWhereTheyLand) {
  struct Row {
    bool bIsWithReflections, bIsWithTail;
    double eBin2, eBin3, eBin4;  // reflections at 2.0, 2.5, 3.0 ms (100, 1000, 10000)
  };
  const Row rows[] = {
      {false, false, 0, 0, 0}, {true, false, 100, 1000, 10000}, {false, true, 100, 1000, 10000}};
  for (const Row& row : rows) {
    ResponseBuilder f(2000);
    f.file.ETC()->SetIsWithTail_b(row.bIsWithTail);
    f.Room(400.0F, 1.5F);
    f.Add(1, 2.0F, 2000);
    f.Add(1, 2.5F, 3000);
    f.Add(2, 3.0F, 4000);
    const auto r = f.Evaluate(row.bIsWithReflections);
    // The tail starts at tHall = 20 ms without reflections, at tDiff = 30 with them, and not
    // at all when the response holds its tail as pulses.
    EXPECT_EQ(r->ExxHallSum(50, kBand) == 0.0, row.bIsWithTail);
    EXPECT_EQ(r->ExxHallSum(25, kBand) > 0.0, !row.bIsWithTail && !row.bIsWithReflections);
    EXPECT_NEAR(r->Exx(2, 1), row.eBin2, 1e-9);
    EXPECT_NEAR(r->Exx(3, 1), row.eBin3, 1e-9);
    EXPECT_NEAR(r->Exx(4, 1), row.eBin4, 1e-9);
    EXPECT_NEAR(r->EDir(0, kBand) + r->ERef(0, kBand), 100 + row.eBin2 + row.eBin3 + row.eBin4,
                1e-6);
    EXPECT_DOUBLE_EQ(r->EDirect(kBand), 100.0);
    EXPECT_DOUBLE_EQ(r->EDirect(0), 2100.0);
  }
}

TEST(EnergyTimeProcessTest, AlconsOfTRoundsTheTimeToABinAndTheCurveEqualsTheCalls) {
  ResponseBuilder f(4000);
  f.Add(1, 2.0F, 3000);  // bin 2
  f.Add(1, 3.0F, 3500);  // bin 4
  f.Add(1, 60.0F, 3900);
  const auto r = f.Evaluate(true);
  const CEnergyTimeProcessClass process;
  const double total = r->Etotal(kBand);
  for (const auto& [t, useful] :
       {std::pair{2.5, 1e4 + 1e3}, {3.5, 1e4 + 1e3 + std::pow(10.0, 3.5)}}) {
    EXPECT_DOUBLE_EQ(process.CalculateAlconsOfT(f.file, *r, 1, SL_EAlcons_Peutz, t, false, 0),
                     Alcons(static_cast<float>(useful), static_cast<float>(total - useful), 0.0F,
                            0.0F, SL_EAlcons_STI))
        << t;
  }

  ResponseBuilder g;
  g.Room(900.0F, 1.1F);
  g.file.ProbeInfo()->SetPrBandWidth(1);
  g.AddRandom(3, 100, -2.0F, 70.0F, 0, 8000);
  const auto rg = g.Evaluate(true);
  for (const int32_t lFlags : {0, 1, 6}) {
    for (int32_t a = 0; a <= 2; ++a) {
      std::array<double, 51> curve{};
      process.CalculateAlconsCurve(g.file, *rg, a, SL_EAlcons_STI, true, lFlags, curve);
      for (int32_t k = 0; k <= 50; ++k) {
        const double single =
            process.CalculateAlconsOfT(g.file, *rg, a, SL_EAlcons_STI, k, true, lFlags);
        EXPECT_NEAR(curve[static_cast<size_t>(k)], single, 1e-4 * (1.0 + single))
            << lFlags << " " << a << " " << k;
      }
    }
  }
}

}  // namespace
}  // namespace zyra
