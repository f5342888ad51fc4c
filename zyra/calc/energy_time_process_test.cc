// The energy-time evaluation end to end on responses built in memory, and Alcons over time.
#include "zyra/calc/energy_time_process.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/test_support.h"

namespace zyra {
namespace {

constexpr int32_t kBand = 11;  // Alcons band 1

// A response file with one loudspeaker whose direct sound arrives at 10 ms (tRef) with 20 dB in
// every band, tSplit 20 and tDiff 30.
class File {
 public:
  File() {
    CSystemResponse& rsp = *file.Rsp();
    rsp.LspInfos()->SetCount(1);
    rsp.LspInfo(1)->SetIsActive(true);
    rsp.LspInfo(1)->SetPulsNr(Add(0, 0.0F, 2000));  // p = 10, E = 100
    CETCInfoClass& etc = *file.ETC();
    etc.SettSplit(20.0F);
    etc.SettDiff(30.0F);
  }
  // A pulse t ms after the direct sound with iLevel (0.01 dB) in every band.
  int32_t Add(int32_t lOrder, float t, int16_t iLevel) {
    auto puls = std::make_shared<CPulsClass>();
    puls->SetOrigin(1);
    puls->SetROrder(lOrder);
    puls->SetTravel(10.0F + t);
    for (int32_t b = 1; b <= 21; ++b) puls->SetSPL(b, iLevel);
    return file.Rsp()->Pulses()->AddPuls(std::move(puls));
  }
  // Room data that gives every band a statistical tail.
  void Room(float fVolume, float fRT) {
    CETCInfoClass& etc = *file.ETC();
    etc.SetVolume(fVolume);
    for (int32_t b = 1; b <= 21; ++b) {
      etc.SetAbsorp(b, 0.25F);
      etc.SetPower(b, 90.0F);
      etc.SetRTime(b, fRT);
    }
  }
  std::shared_ptr<CCalcResults> Run(bool bIsWithReflections, BusyIndicator* cBusy = nullptr,
                                    int32_t lExpected = 0) {
    std::shared_ptr<CCalcResults> results;
    EXPECT_EQ(CEnergyTimeProcessClass().Calculate(file, results, bIsWithReflections,
                                                  cBusy != nullptr, cBusy),
              lExpected);
    return results;
  }

  CProbeRspClass file;
};

TEST(EnergyTimeProcessTest, PureTailGivesHallEnergyAndItsDecay) {
  File f;
  f.file.Rsp()->Puls(1)->SetSPL(kBand, 0);  // the direct sound has no energy in this band
  f.Room(400.0F, 1.5F);
  const auto r = f.Run(false);
  EXPECT_DOUBLE_EQ(r->tHall(), 20.0);  // sqrt(400) after tRef
  // Sabine: A = 0.161 V / T, R = A / (1 - a), E = 10^(P/10) 4 / R.
  const double eHall = 1e9 * 4.0 / (0.161 * 400.0 / 1.5 / 0.75);
  EXPECT_NEAR(r->Etotal(kBand), eHall, 1e-12 * eHall);
  // 30 ms of a decay of 60 dB in 1.5 s.
  EXPECT_NEAR(r->E50(kBand) / r->Etotal(kBand), 1.0 - std::pow(10.0, -6.0 * 30.0 / 1500.0), 1e-12);
  EXPECT_EQ(r->E7(kBand), 0.0);
  EXPECT_FALSE(r->IsNoDirectSound());  // the other bands' direct pressure is 10
}

TEST(EnergyTimeProcessTest, SplitTimeIsClampedInTheTailBlock) {
  for (const auto& [fIn, fOut] : {std::pair{3.0F, 7.0F}, {80.0F, 50.0F}, {20.0F, 20.0F}}) {
    File f;
    f.file.ETC()->SettSplit(fIn);
    const auto r = f.Run(true);
    EXPECT_EQ(f.file.ETC()->tSplit(), fOut);
    EXPECT_EQ(r->tSplit(), fOut);
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
    File f;
    f.file.ETC()->SetIsWithTail_b(row.bIsWithTail);
    f.Room(400.0F, 1.5F);
    f.Add(1, 2.0F, 2000);
    f.Add(1, 2.5F, 3000);
    f.Add(2, 3.0F, 4000);
    const auto r = f.Run(row.bIsWithReflections);
    // The tail starts at tHall = 20 ms without reflections, at tDiff = 30 with them, and not
    // at all when the response holds its tail as pulses.
    const double tail = r->ExxHallSum(50, kBand);
    EXPECT_EQ(tail == 0.0, row.bIsWithTail);
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

TEST(EnergyTimeProcessTest, CancelKeepsPartialResultsAndReportsProgress) {
  File f;
  f.Add(1, 5.0F, 2000);
  f.Add(1, 8.0F, 2000);  // 3 pulses: one report per band
  testing::RecordingBusy busy(3);
  const auto r = f.Run(true, &busy, -1);
  ASSERT_EQ(busy.calls.size(), 4U);
  EXPECT_EQ(busy.calls[1].caption, "Band 125 Hz");
  EXPECT_EQ(busy.calls[1].fraction, 1.0 / 21.0);
  EXPECT_FALSE(busy.calls[3].report);      // the closing call
  EXPECT_DOUBLE_EQ(r->Etotal(2), 300.0);   // bands 1 and 2 complete
  EXPECT_EQ(r->Etotal(3), 0.0);            // cancelled before its pulses
  EXPECT_DOUBLE_EQ(r->EDirect(5), 100.0);  // direct sound is in before the bands
}

TEST(EnergyTimeProcessTest, AlconsOfTRoundsTheTimeToABin) {
  File f;
  f.file.Rsp()->Puls(1)->SetSPL(kBand, 4000);
  f.Add(1, 2.0F, 3000);  // bin 2
  f.Add(1, 3.0F, 3500);  // bin 4
  f.Add(1, 60.0F, 3900);
  const auto r = f.Run(true);
  const CEnergyTimeProcessClass process;
  const double total = r->Etotal(kBand);
  struct Row {
    double t;
    double useful;
  };
  const Row rows[] = {{2.5, 1e4 + 1e3}, {3.5, 1e4 + 1e3 + std::pow(10.0, 3.5)}};
  for (const Row& row : rows) {
    const double expected =
        Alcons(static_cast<float>(row.useful), static_cast<float>(total - row.useful), 0.0F, 0.0F,
               SL_EAlcons_STI);
    EXPECT_DOUBLE_EQ(process.CalculateAlconsOfT(f.file, *r, 1, SL_EAlcons_Peutz, row.t, false, 0),
                     expected)
        << row.t;
  }
}

TEST(EnergyTimeProcessTest, AlconsCurveEqualsCallsAtEveryTime) {
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<float> t(-2.0F, 70.0F);
  std::uniform_int_distribution<int> level(0, 8000);
  std::uniform_int_distribution<int> phase(-31416, 31416);
  File f;
  f.Room(900.0F, 1.1F);
  f.file.ProbeInfo()->SetPrBandWidth(1);
  for (int i = 0; i < 100; ++i) {
    const int32_t iPuls = f.Add(1, t(rng), static_cast<int16_t>(level(rng)));
    const auto puls = f.file.Rsp()->Puls(iPuls);
    for (int32_t b = 1; b <= 21; ++b) puls->SetPhase(b, static_cast<int16_t>(phase(rng)));
    puls->CalculateRayFromAngles();
  }
  const auto r = f.Run(true);
  const CEnergyTimeProcessClass process;
  for (const int32_t lFlags : {0, 1, 6}) {
    for (int32_t a = 0; a <= 2; ++a) {
      std::array<double, 51> curve{};
      process.CalculateAlconsCurve(f.file, *r, a, SL_EAlcons_STI, true, lFlags, curve);
      for (int32_t k = 0; k <= 50; ++k) {
        const double single =
            process.CalculateAlconsOfT(f.file, *r, a, SL_EAlcons_STI, k, true, lFlags);
        EXPECT_NEAR(curve[static_cast<size_t>(k)], single, 1e-4 * (1.0 + single))
            << lFlags << " " << a << " " << k;
      }
    }
  }
}

}  // namespace
}  // namespace zyra
