// Times, direct sound and interference energy of a system response, against closed forms and
// the literal pair-by-pair sum.
#include <gtest/gtest.h>

#include <random>

#include "testing/interference_reference.h"
#include "zyra/response/system_response.h"
#include "zyra/support/errors.h"

namespace zyra {
namespace {

// A response built in memory: loudspeakers with their direct sounds, and reflections.
class Builder {
 public:
  // A loudspeaker whose direct sound arrives at fDelay + fTravel with iLevel (0.01 dB) in
  // every band 1..21; the number of the loudspeaker.
  int32_t Speaker(float fDelay, float fTravel, int16_t iLevel, bool bActive = true) {
    const int32_t iLsp = rsp.LspInfos()->Count() + 1;
    rsp.LspInfos()->SetCountPreserve(iLsp);
    const auto info = rsp.LspInfo(iLsp);
    info->SetDelay(fDelay);
    info->SetIsActive(bActive);
    info->SetPulsNr(Pulse(iLsp, 0, fTravel, iLevel));
    return iLsp;
  }
  int32_t Pulse(int32_t lOrigin, int32_t lOrder, float fTravel, int16_t iLevel) {
    auto puls = std::make_shared<CPulsClass>();
    puls->SetOrigin(lOrigin);
    puls->SetROrder(lOrder);
    puls->SetTravel(fTravel);
    for (int32_t b = 1; b <= 21; ++b) puls->SetSPL(b, iLevel);
    return rsp.Pulses()->AddPuls(std::move(puls));
  }

  CSystemResponse rsp;
};

TEST(SystemResponseEvaluationTest, CalculateTimesFollowsThePrecedenceRule) {
  struct Speaker {
    float fDelay, fTravel;
    int16_t iLevel;
    bool bActive;
  };
  const struct {
    const char* sCase;
    std::vector<Speaker> speakers;
    std::array<double, 5> expected;  // tFirst, tLast, tOff, tRef, tGap
  } rows[] = {
      // dt 3 ms: allowance 5 dB; 60 + 5 < 80, the later one takes the reference.
      {"louder later within the allowance",
       {{0, 10, 6000, true}, {0, 13, 8000, true}},
       {-3, 0, 0, 13, 3}},
      // Exactly 50 ms: the level rule with no allowance.
      {"50 ms apart, louder later",
       {{0, 10, 6000, true}, {50, 10, 6001, true}},
       {-50, 0, 0, 60, 50}},
      // Just beyond 50 ms: the earlier one keeps it since it sounds in some band.
      {"50.000001 ms apart, louder later",
       {{0, 10, 6000, true}, {50, 10.000001F, 9000, true}},
       {0, 50.000000953674316, 50.000000953674316, 10, 50.000000953674316}},
      // Beyond 50 ms an earlier loudspeaker without level in any band loses.
      {"silent earlier one", {{0, 10, 0, true}, {0, 70.5F, 10, true}}, {-60.5, 0, 0, 70.5, 60.5}},
      // An inactive loudspeaker never arrives and is not walked for tFirst and tLast; its
      // direct sound (still counted by the record) ends the gap walk.
      {"inactive loudspeaker", {{0, 5, 6000, false}, {0, 10, 6000, true}}, {0, 0, 0, 10, 15990}},
      // None active: the first in order is the reference; tFirst and tLast stay as passed
      // (-1) before tRef is taken off.
      {"all inactive",
       {{0, 5, 6000, false}, {0, 10, 6000, false}},
       {-16001, -16001, -16001, 16000, 0}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.sCase);
    Builder b;
    for (const Speaker& s : row.speakers) b.Speaker(s.fDelay, s.fTravel, s.iLevel, s.bActive);
    std::array<double, 5> t{-1, -1, -1, -1, -1};
    EXPECT_EQ(b.rsp.CalculateTimes(false, t[0], t[1], t[2], t[3], t[4]), 0);
    for (size_t k = 0; k < 5; ++k) EXPECT_DOUBLE_EQ(t[k], row.expected[k]) << k;
  }
}

TEST(SystemResponseEvaluationTest, DirectSoundSumsCountedDirectPulses) {
  Builder b;
  b.Speaker(0, 10, 2000);   // p = 10 in every band, at tRef
  b.Speaker(0, 14, 4000);   // p = 100, 4 ms later
  b.Speaker(0, 30, 6000);   // exactly tDiff = 20 after tRef: left out
  b.Pulse(1, 1, 12, 8000);  // a reflection: never direct sound
  std::array<double, 22> daEDirect{};
  std::array<double, 22> daPressureMax{};
  daEDirect[0] = 5.0;  // the broadband sum accumulates onto it
  double tMean = -1;
  EXPECT_TRUE(b.rsp.CalculateDirectSound(10, 20, 7.0, false, daEDirect, daPressureMax, daEDirect[0],
                                         tMean));
  for (size_t band = 1; band <= 21; ++band) {
    EXPECT_DOUBLE_EQ(daEDirect[band], 10100.0);
    EXPECT_DOUBLE_EQ(daPressureMax[band], 100.0);
  }
  EXPECT_DOUBLE_EQ(daEDirect[0], 5.0 + 21 * 10100.0);
  EXPECT_DOUBLE_EQ(tMean, (10 * 100.0 + 14 * 10000.0) / 10100.0 - 10);
}

TEST(SystemResponseEvaluationTest, InterferenceFailureIsReportedAndGivesZero) {
  std::string sShown;
  const ErrorDisplay previous =
      SetErrorDisplay([&](const std::string& t, const std::string& x) { sShown = t + "|" + x; });
  Builder b;
  b.Speaker(0, 10, 2000);
  b.Pulse(7, 1, 12, 2000);  // loudspeaker 7 does not exist
  EXPECT_EQ(b.rsp.CalcInterferenceEnergy(11, 1.0, false, false, true, 10.0), 0.0F);
  SetErrorDisplay(previous);
  EXPECT_EQ(
      sShown,
      "ERROR in CalcInterferenceEnergy|Code91: Object variable or With block variable not set");
}

// A random response: a few loudspeakers, reflections within ~60 ms after 10 ms, random
// levels, phases and rays; some pulses inactive or silent.
CSystemResponse RandomResponse(std::mt19937_64& rng, int32_t nPulses) {
  std::uniform_real_distribution<float> travel(10.0F, 70.0F);
  std::uniform_int_distribution<int> level(-500, 9000);
  std::uniform_int_distribution<int> phase(-31416, 31416);
  std::uniform_real_distribution<float> ray(-1.0F, 1.0F);
  Builder b;
  for (int i = 0; i < 3; ++i) b.Speaker(static_cast<float>(i), 10.0F, 7000);
  for (int32_t i = 3; i < nPulses; ++i) {
    const int32_t iPuls = b.Pulse(1 + i % 3, 1, travel(rng), static_cast<int16_t>(level(rng)));
    const auto puls = b.rsp.Puls(iPuls);
    for (int32_t band = 1; band <= 21; ++band) {
      puls->SetPhase(band, static_cast<int16_t>(phase(rng)));
      puls->SetSPL(band, static_cast<int16_t>(level(rng)));
    }
    for (int32_t c = 1; c <= 3; ++c) puls->SetRayX(c, ray(rng));
    puls->SetIsInactive(i % 11 == 0);
  }
  return std::move(b.rsp);
}

TEST(SystemResponseEvaluationTest, FastInterferenceAndCurveAgreeWithTheLiteralSum) {
  std::mt19937_64 rng(11);
  for (int trial = 0; trial < 16; ++trial) {
    // The last trials hold enough pulses that the band mean of the sum's power is taken.
    const bool bLarge = trial >= 12;
    const CSystemResponse rsp = RandomResponse(rng, bLarge ? 300 * (trial - 10) : 40 + 10 * trial);
    const bool bIsPot = (trial & 1) != 0, bIsKin = (trial & 2) != 0, bPhase = (trial & 4) != 0;
    const int32_t iTerz1 = 1 + trial;
    const double dBandwidth = 0.5 * (1 + trial % 3);
    const double tRef = 10.0 + trial % 2;
    const std::array<float, 51> curve =
        rsp.CalcInterferenceEnergyCurve(iTerz1, dBandwidth, bIsPot, bIsKin, bPhase, tRef);
    // The tolerance is rounding relative to the incoherent energy, which bounds every term.
    const double scale = testing::ReferenceInterferenceEnergy(rsp, iTerz1, dBandwidth, true, false,
                                                              false, tRef, 1e9) *
                         1e-6;
    for (const double tLimit : {-1.0, 0.0, 0.5, 7.0, 23.0, 50.0, 1e9}) {
      const double reference = testing::ReferenceInterferenceEnergy(rsp, iTerz1, dBandwidth, bIsPot,
                                                                    bIsKin, bPhase, tRef, tLimit);
      EXPECT_NEAR(
          rsp.CalcInterferenceEnergy(iTerz1, dBandwidth, bIsPot, bIsKin, bPhase, tRef, tLimit),
          reference, scale)
          << "trial " << trial << " tLimit " << tLimit;
    }
    for (int32_t k = 0; k <= 50; k += bLarge ? 10 : 1) {
      EXPECT_NEAR(curve[static_cast<size_t>(k)],
                  testing::ReferenceInterferenceEnergy(rsp, iTerz1, dBandwidth, bIsPot, bIsKin,
                                                       bPhase, tRef, k),
                  scale)
          << "trial " << trial << " k " << k;
    }
  }
}

}  // namespace
}  // namespace zyra
