#include "tools/band_choice.h"

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

TEST(BandChoiceTest, NumbersBelowHundredAreBandsFrequenciesMustBeNominalCentres) {
  const struct {
    const char* text;
    int32_t band;             // 0: no band
    const char* problemPart;  // a part of the problem text
  } rows[] = {
      {"1", 1, ""},
      {"21", 21, ""},
      {"1000Hz", 11, ""},
      {"1.25kHz", 12, ""},
      {"100", 1, ""},
      {"10000", 21, ""},
      {"0", 0, "no band 0"},
      {"22", 0, "no band 22"},
      {"11.5", 0, "no band 11.5"},
      {"1001", 0, "nearest: 1000 Hz or 1250 Hz"},
      {"11Hz", 0, "nearest: 100 Hz"},
      {"nan", 0, "is not a band"},
      {"1000Hzz", 0, "is not a band"},
  };
  for (const auto& row : rows) {
    std::string problem;
    const auto band = ParseBand(row.text, problem);
    EXPECT_EQ(band.value_or(0), row.band) << row.text;
    EXPECT_NE(problem.find(row.problemPart), std::string::npos) << row.text << ": " << problem;
  }
}

}  // namespace
}  // namespace zyra::tool
