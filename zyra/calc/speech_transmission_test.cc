// The index from modulation depths whose transmission indices are round numbers, the rating
// boundaries, masking at its breakpoints and the statistical decay's modulation.
#include "zyra/calc/speech_transmission.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/test_support.h"

namespace zyra {
namespace {

TEST(SpeechTransmissionTest, IndexAndRatingOfAHandComputedTransferFunction) {
  // m = 1/2, 10/11 and 1/11 give 0, +10 and -10 dB, so TI = 1/2, 5/6 and 1/6; depths beyond
  // 0..1 and signal-to-noise ratios beyond +-15 dB are clipped.
  CModulationTransfer mtf{};
  mtf[0].fill(0.5);
  mtf[1].fill(10.0 / 11.0);
  for (size_t f = 0; f < kModulationCount; ++f) mtf[2][f] = f % 2 == 0 ? 1.0 / 11.0 : 10.0 / 11.0;
  mtf[3].fill(1.0);
  mtf[4].fill(0.0);
  mtf[5].fill(0.99);
  mtf[6].fill(1.5);
  const COctaveValues expected = {0.5, 5.0 / 6.0, 0.5, 1.0, 0.0, 1.0, 1.0};
  COctaveValues mti{};
  for (size_t k = 0; k < mti.size(); ++k) {
    mti[k] = ModulationTransferIndex(mtf[k]);
    EXPECT_NEAR(mti[k], expected[k], 1e-12) << k;
  }
  // sum alpha MTI - sum beta sqrt(MTI_k MTI_k+1), worked out by hand.
  const double sti = SpeechTransmissionIndex(mti);
  EXPECT_NEAR(sti, 0.6471553449842395, 1e-12);
  const std::pair<double, const char*> ratings[] = {{sti, "C"},  {0.76, "A+"},  {0.7599, "A"},
                                                    {0.36, "J"}, {0.3599, "U"}, {NAN, ""}};
  for (const auto& [value, rating] : ratings) EXPECT_EQ(STIRating(value), rating) << value;
  EXPECT_NEAR(AlconsFromSTI(sti), 5.114286974201217, 1e-9);
  // A single NaN octave leaves no index.
  mti[3] = NAN;
  EXPECT_TRUE(std::isnan(SpeechTransmissionIndex(mti)));
  EXPECT_TRUE(std::isnan(AlconsFromSTI(NAN)));
  EXPECT_EQ(AlconsFromSTI(0.0), 100.0);  // 170.5 clipped
}

TEST(SpeechTransmissionTest, MaskingAndThreshold) {
  // The slope at each piece of the masking curve.
  const std::pair<double, double> slopes[] = {{50.0, -40.0}, {63.0, -33.5}, {65.0, -29.9},
                                              {67.0, -26.3}, {80.0, -19.8}, {110.0, -10.0}};
  for (const auto& [level, slope] : slopes) {
    EXPECT_NEAR(AuditoryMaskingSlope(level), slope, 1e-12) << level;
  }
  // 80 dB at 125 Hz masks the 250 Hz octave (70 dB) by 80 - 19.8 dB; 27 dB threshold there.
  COctaveValues intensity{};
  intensity.fill(0.0);
  intensity[0] = 1e8;
  intensity[1] = 1e7;
  const COctaveValues factors = MaskingFactors(intensity);
  EXPECT_NEAR(factors[0], 1e8 / (1e8 + std::pow(10.0, 4.6)), 1e-12);
  EXPECT_NEAR(factors[1], 1e7 / (1e7 + 1e8 * std::pow(10.0, -1.98) + std::pow(10.0, 2.7)), 1e-12);
  EXPECT_EQ(factors[2], 0.0);  // silence under its threshold
  intensity[4] = NAN;
  EXPECT_TRUE(std::isnan(MaskingFactors(intensity)[4]));
}

TEST(SpeechTransmissionTest, StatisticalModulationAndFrequencies) {
  EXPECT_NEAR(StatisticModulation(1.0, 1.0), 0.9102818740103689, 1e-12);
  EXPECT_EQ(StatisticModulation(-1.0, 5.0), 1.0);
  EXPECT_TRUE(std::isnan(StatisticModulation(NAN, 5.0)));
  EXPECT_EQ(testing::ErrorNumberOf([] { OctaveFrequency(0); }), 9);
  EXPECT_EQ(testing::ErrorNumberOf([] { STIPAFrequency(1, 2); }), 9);
}

}  // namespace
}  // namespace zyra
