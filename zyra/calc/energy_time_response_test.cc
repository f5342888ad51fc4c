// The band response against Calculate's totals on generated responses, and its grouped sums
// against the same sums taken arrival by arrival.
#include "zyra/calc/energy_time_response.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "testing/response_builder.h"

namespace zyra {
namespace {

using testing::ResponseBuilder;

// 300 pulses in no order at -5 .. 400 ms, some inactive, some without energy; every band but 7
// has a tail.
void Generate(ResponseBuilder& f, uint64_t nSeed) {
  f.Room(2000.0F, 1.3F);
  f.AddRandom(nSeed, 300, -5.0F, 400.0F, -500, 8000);
  f.file.ETC()->SetRTime(7, 0.0F);
}

TEST(EnergyTimeResponseTest, ArrivalsAndTailAddUpToCalculatesTotals) {
  struct Row {
    bool bIsWithReflections, bIsWithTail;
  };
  for (const Row row : {Row{true, false}, Row{false, false}, Row{false, true}}) {
    ResponseBuilder f(7000);
    Generate(f, 11);
    f.file.ETC()->SetIsWithTail_b(row.bIsWithTail);
    const auto r = f.Evaluate(row.bIsWithReflections);
    const CEnergyTimeResponse response(f.file, *r, row.bIsWithReflections);
    ASSERT_EQ(response.PlacedCount(), response.Count());
    COctaveSums sums;
    for (int32_t k = 1; k <= kOctaveCount; ++k) {
      response.SumOctave(k, sums);
      for (const CBandSums& band : sums.bands) {
        const double total = band.dEnergy + response.Tail(band.iTerz1).dEnergy;
        EXPECT_NEAR(total, r->Etotal(band.iTerz1), 1e-12 * r->Etotal(band.iTerz1))
            << band.iTerz1 << " " << row.bIsWithReflections << row.bIsWithTail;
      }
    }
    EXPECT_FALSE(response.Tail(7).Exists());
    EXPECT_EQ(response.Tail(8).Exists(), !row.bIsWithTail);
  }
}

TEST(EnergyTimeResponseTest, GroupedSumsEqualSumsOverArrivals) {
  ResponseBuilder f(7000);
  Generate(f, 5);
  const auto r = f.Evaluate(true);
  const CEnergyTimeResponse response(f.file, *r, true);
  COctaveSums sums;
  response.SumOctave(4, sums);
  const std::array<double, 3> daHz = {0.63, 4.0, 12.5};
  std::array<double, 3> daM{};
  response.OctaveModulation(sums, daHz, daM);

  std::array<std::complex<double>, 3> direct{};
  double dOctave = 0.0;
  for (const CBandSums& band : sums.bands) {
    double e = 0.0, et = 0.0, early = 0.0, lateral2 = 0.0, lateral1 = 0.0;
    for (size_t i = 0; i < response.Count(); ++i) {
      const double t = response.Arrival(i);
      const double ei = response.Energy(band.iTerz1, i);
      const double u = response.LateralCosine(i);
      e += ei;
      et += ei * t;
      early += t < 80.0 ? ei : 0.0;
      lateral2 += t >= 5.0 && t < 80.0 ? ei * u * u : 0.0;
      lateral1 += t >= 5.0 && t < 80.0 ? ei * std::abs(u) : 0.0;
      for (size_t j = 0; j < daHz.size(); ++j) {
        direct[j] += ei * std::polar(1.0, -2.0 * std::numbers::pi * daHz[j] / 1000.0 * t);
      }
    }
    EXPECT_NEAR(band.dEnergy, e, 1e-12 * e);
    EXPECT_NEAR(band.dEnergyTime, et, 1e-10 * et);
    EXPECT_NEAR(band.dEBefore80, early, 1e-12 * e);
    EXPECT_NEAR(band.dELateral2, lateral2, 1e-12 * e);
    EXPECT_NEAR(band.dELateral1, lateral1, 1e-12 * e);
    const CBandTail& tail = response.Tail(band.iTerz1);
    dOctave += e + tail.dEnergy;
    for (size_t j = 0; j < daHz.size(); ++j) {
      const double w = 2.0 * std::numbers::pi * daHz[j] / 1000.0;
      direct[j] += tail.dEnergy * std::polar(1.0, -w * tail.tStart) * tail.dK /
                   std::complex<double>(tail.dK, w);
    }
  }
  for (size_t j = 0; j < daHz.size(); ++j) {
    EXPECT_NEAR(daM[j], std::abs(direct[j]) / dOctave, 1e-12) << daHz[j];
  }
}

}  // namespace
}  // namespace zyra
