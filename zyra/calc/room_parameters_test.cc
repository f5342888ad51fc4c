// The parameter set against closed forms (a tail alone, a single arrival, arrivals from the
// side) and on responses that lack what the parameters need.
#include "zyra/calc/room_parameters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>

#include "testing/response_builder.h"
#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::ResponseBuilder;

// The set, checked against the one computed from pulses gathered beforehand (as a host that
// evaluates the energies first hands them on): both must agree to the bit.
CParameterSet Evaluate(ResponseBuilder& f, bool bMasking = false, bool bWithNoise = false) {
  const auto r = f.Evaluate(true);
  CParameterOptions options;
  options.bMasking = bMasking;
  options.bWithNoise = bWithNoise;
  CParameterSet set = CalculateParameters(f.file, *r, options);
  CCountedPulses::Options gather;
  gather.bWithAngles = true;
  const CParameterSet handed = CalculateParameters(f.file, *r, options, nullptr, nullptr,
                                                   CCountedPulses::Gather(f.file, gather));
  const auto same = [](const auto& a, const auto& b) {
    using Bits = std::array<uint64_t, sizeof(a) / sizeof(uint64_t)>;
    return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
  };
  EXPECT_TRUE(same(set.EDT, handed.EDT) && same(set.T30, handed.T30) && same(set.Ts, handed.Ts) &&
              same(set.JLF, handed.JLF) && same(set.oC80, handed.oC80) &&
              same(set.mtf, handed.mtf));
  return set;
}

TEST(RoomParametersTest, TailAloneIsTheStatisticalRoom) {
  for (const float fRT : {0.4F, 1.2F, 3.0F}) {
    ResponseBuilder f;  // a direct sound without energy: only the tail sounds
    f.Room(1500.0F, fRT);
    const CParameterSet set = Evaluate(f);
    // Its modulation transfer is the statistical one, |k / (k + j W)|.
    for (size_t k = 0; k < kOctaveCount; ++k) {
      for (size_t iF = 0; iF < kModulationCount; ++iF) {
        EXPECT_NEAR(set.mtf[k][iF], set.mtf_statistic[k][iF], 1e-12) << k << " " << iF;
      }
    }
    EXPECT_NEAR(set.STI, set.STI_statistic, 1e-12);
    // Ts of an exponential counted from tHall = sqrt(V) ms (later than tDiff): tHall + 1/k.
    const double ts = std::sqrt(1500.0) + 1000.0 * fRT / 13.815510557964274;
    EXPECT_NEAR(set.Ts[11], ts, 1e-9 * ts);
    EXPECT_NEAR(set.oTs[3], ts, 1e-9 * ts);
  }
}

TEST(RoomParametersTest, SingleArrivalIsFullyModulated) {
  ResponseBuilder f(4000);  // the direct sound alone at 40 dB, no tail
  const CParameterSet set = Evaluate(f);
  for (const auto& octave : set.mtf) {
    for (const double m : octave) EXPECT_NEAR(m, 1.0, 1e-12);
  }
  EXPECT_NEAR(set.STI, 1.0, 1e-12);
  EXPECT_NEAR(set.STIPA, 1.0, 1e-12);
  EXPECT_NEAR(set.Ts_single, 0.0, 1e-12);
  EXPECT_TRUE(std::isnan(set.C50_single));  // nothing late
  EXPECT_TRUE(std::isnan(set.EDT_single));  // one step: no decay to fit
  // Masking and the threshold take their share of the modulation.
  const CParameterSet masked = Evaluate(f, true);
  EXPECT_LT(masked.mtf[0][0], 1.0);
  EXPECT_LT(masked.STI, set.STI);
}

TEST(RoomParametersTest, LateralFractionIsTheShareOfSideEnergy) {
  struct Row {
    int16_t iHor, iVer;
    double dCos2, dCos1;  // u_y^2 and |u_y| of the side arrivals
  };
  const Row rows[] = {{-90, 0, 1.0, 1.0}, {90, 60, 0.25, 0.5}, {0, 45, 0.0, 0.0}};
  for (const Row& row : rows) {
    ResponseBuilder f(6000);  // frontal direct sound, E = 10^6
    for (const float t : {10.0F, 20.0F, 40.0F, 70.0F}) f.Add(1, t, 5000, row.iHor, row.iVer);
    f.Add(1, 3.0F, 5000, 90, 0);    // too early to count as lateral, counted below
    f.Add(1, 100.0F, 5000, 90, 0);  // too late for either
    const CParameterSet set = Evaluate(f);
    const double share = 4e5 / (1e6 + 5e5);
    EXPECT_NEAR(set.JLF[11], row.dCos2 * share, 1e-12) << row.iHor << " " << row.iVer;
    EXPECT_NEAR(set.oJLFC[3], row.dCos1 * share, 1e-12);
    EXPECT_NEAR(set.JLF_single, row.dCos2 * share, 1e-12);
  }
}

// The parameters of a response that lacks something: no step may raise an error for it.
CParameterSet Lacking(const std::function<void(ResponseBuilder&)>& make) {
  ResponseBuilder f;
  make(f);
  CParameterSet set;
  EXPECT_NO_THROW(set = Evaluate(f, true, true));
  return set;
}

TEST(RoomParametersTest, MissingDataGivesNaNNeverAnErrorButFitLimitsThatAreNoRangeAre) {
  using V = std::vector<double>;
  const auto nan = ::testing::Each(::testing::IsNan());
  const CParameterSet none = Lacking([](ResponseBuilder&) {});
  EXPECT_THAT((V{none.STI, none.Alcons_STI, none.oTs[3], none.T30[11]}), nan);
  EXPECT_TRUE(std::isnan(Lacking([](ResponseBuilder& f) { f.Room(900.0F, 0.0F); }).T20_single));
  const CParameterSet noPower = Lacking([](ResponseBuilder& f) { f.Room(900.0F, 1.0F, 0.0F); });
  EXPECT_THAT((V{noPower.G[3], noPower.G_single}), nan);
  const CParameterSet nanRoom = Lacking([](ResponseBuilder& f) {
    f.Room(NAN, NAN, NAN);
    f.file.ETC()->SetNoise(5, NAN);  // band 5, in octave 2
  });
  EXPECT_THAT((V{nanRoom.G[3], nanRoom.mtf_statistic[1][0]}), nan);
  const CParameterSet nanArrival = Lacking([](ResponseBuilder& f) {
    f.Room(900.0F, 1.0F);
    f.Add(1, NAN, 5000);
  });
  EXPECT_THAT((V{nanArrival.oT30[3], nanArrival.Ts[11], nanArrival.mtf[0][0]}), nan);
  // A response without pulses, and results Calculate left untouched.
  const CProbeRspClass empty;
  const CParameterSet set = CalculateParameters(empty, CCalcResults(), CParameterOptions());
  EXPECT_TRUE(std::isnan(set.STI));
  EXPECT_TRUE(std::isnan(set.EDT[11]));

  ResponseBuilder f;
  const auto r = f.Evaluate(true);
  CParameterOptions options;
  options.dSchroederT1 = -20.0;
  options.dSchroederT2 = -10.0;
  EXPECT_EQ(testing::ErrorNumberOf([&] { CalculateParameters(f.file, *r, options); }), 5);
}

}  // namespace
}  // namespace zyra
