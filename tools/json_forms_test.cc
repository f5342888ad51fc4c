#include "tools/json_forms.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

float ReadBackFloat(const std::string& text) {
  return static_cast<float>(Json::parse(text).get<double>());
}

TEST(JsonFormsTest, SingleIsShortestTextThatReadsBack) {
  const float inf = std::numeric_limits<float>::infinity();
  struct Row {
    float value;
    const char* text;
  };
  const Row rows[] = {
      {0.1f, "0.1"},
      {1e-45f, "1e-45"},  // the smallest subnormal
      {1.0f / 3.0f, "0.33333334"},
      {16777216.0f, "16777216.0"},
      {3.4028235e38f, "3.4028235e+38"},
      {-0.25f, "-0.25"},
      {-0.0f, "-0.0"},
      {std::nanf(""), "\"NaN\""},
      {inf, "\"Infinity\""},
      {-inf, "\"-Infinity\""},
  };
  for (const Row& row : rows) {
    const std::string text = SingleJson(row.value).dump();
    EXPECT_EQ(text, row.text) << row.value;
    if (std::isfinite(row.value)) {
      EXPECT_EQ(std::bit_cast<uint32_t>(ReadBackFloat(text)), std::bit_cast<uint32_t>(row.value));
    }
  }
}

TEST(JsonFormsTest, EveryFiniteSingleReadsBackExactly) {
  std::mt19937 random(12345);
  int checked = 0;
  while (checked < 20000) {
    const auto value = std::bit_cast<float>(static_cast<uint32_t>(random()));
    if (!std::isfinite(value)) continue;
    ++checked;
    const std::string text = SingleJson(value).dump();
    ASSERT_EQ(std::bit_cast<uint32_t>(ReadBackFloat(text)), std::bit_cast<uint32_t>(value)) << text;
  }
}

TEST(JsonFormsTest, DoubleIsShortestRoundTripAndNonFiniteAreStrings) {
  EXPECT_EQ(DoubleJson(0.1).dump(), "0.1");
  EXPECT_EQ(DoubleJson(static_cast<double>(0.1f)).dump(), "0.10000000149011612");
  EXPECT_EQ(DoubleJson(std::nan("")).dump(), "\"NaN\"");
  EXPECT_EQ(DoubleJson(-std::numeric_limits<double>::infinity()).dump(), "\"-Infinity\"");
  EXPECT_EQ(DoubleJson(std::optional<double>()).dump(), "null");
}

TEST(JsonFormsTest, Latin1TextsBecomeUtf8) {
  EXPECT_EQ(Latin1ToUtf8("caf\xe9"), "caf\xc3\xa9");
  EXPECT_EQ(Latin1ToUtf8(std::string("\x00\x7f\x80\xff", 4)),
            std::string("\x00\x7f\xc2\x80\xc3\xbf", 6));
  // The JSON writer accepts the result (it rejects invalid UTF-8).
  EXPECT_EQ(JsonText(TextJson("\xc4rger \xb0")), "\"\xc3\x84rger \xc2\xb0\"\n");
}

TEST(JsonFormsTest, ArraysAndTablesKeepOrderAndShape) {
  const std::array<float, 3> singles{0.1f, 2.0f, std::nanf("")};
  EXPECT_EQ(SinglesJson(singles).dump(), "[0.1,2.0,\"NaN\"]");
  const std::array<int16_t, 3> integers{-32768, 0, 32767};
  EXPECT_EQ(IntegersJson(integers).dump(), "[-32768,0,32767]");
  const Json split = DoubleTable(4, 22, [](int32_t i, int32_t j) { return 100 * i + j; });
  ASSERT_EQ(split.size(), 4u);
  ASSERT_EQ(split[3].size(), 22u);
  EXPECT_EQ(split[3][21].get<double>(), 321.0);
  const std::array<double, 6> rowWise{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(DoubleTable(rowWise, 3, 2).dump(), "[[1.0,2.0],[3.0,4.0],[5.0,6.0]]");
}

TEST(JsonFormsTest, DerivedValuesFollowTheirFormulasOrAreNull) {
  struct Row {
    double early, total;
    std::optional<double> clarity, definition, level;
  };
  const Row rows[] = {
      {1.0, 2.0, 0.0, 0.5, 10.0 * std::log10(2.0)},
      {10.0, 11.0, 10.0, 10.0 / 11.0, 10.0 * std::log10(11.0)},
      {1.0, 1.0, std::nullopt, 1.0, 0.0},                    // nothing late: zero denominator
      {0.0, 1.0, std::nullopt, 0.0, 0.0},                    // nothing early: log of zero
      {0.0, 0.0, std::nullopt, std::nullopt, std::nullopt},  // no energy at all
      {2.0, 1.0, std::nullopt, 2.0, 0.0},                    // early above total: log of a negative
  };
  const auto expectNear = [](std::optional<double> actual, std::optional<double> expected) {
    ASSERT_EQ(actual.has_value(), expected.has_value());
    if (expected) {
      EXPECT_NEAR(*actual, *expected, 1e-12);
    }
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.early) + " of " + std::to_string(row.total));
    expectNear(Clarity(row.early, row.total), row.clarity);
    expectNear(Definition(row.early, row.total), row.definition);
    expectNear(TotalLevel(row.total), row.level);
  }
}

TEST(JsonFormsTest, DerivedJsonCoversAllSlotsWithNullWhereMissing) {
  std::array<double, kBandSlots> e50{};
  std::array<double, kBandSlots> e80{};
  std::array<double, kBandSlots> total{};
  for (std::size_t i = 1; i < kBandSlots; ++i) {
    e50[i] = 1.0;
    e80[i] = 3.0;
    total[i] = 4.0;
  }
  e80[5] = 4.0;  // all energy before 80 ms in band 5
  const Json derived = DerivedJson(e50, e80, total);
  EXPECT_EQ(derived.dump().substr(0, 8), "{\"C50\":[");
  for (const char* key : {"C50", "C80", "D50", "level_total_dB"}) {
    ASSERT_EQ(derived[key].size(), kBandSlots) << key;
    EXPECT_TRUE(derived[key][0].is_null()) << key;  // slot 0 holds no energy here
  }
  EXPECT_DOUBLE_EQ(derived["C50"][1].get<double>(), 10.0 * std::log10(1.0 / 3.0));
  EXPECT_DOUBLE_EQ(derived["C80"][1].get<double>(), 10.0 * std::log10(3.0));
  EXPECT_TRUE(derived["C80"][5].is_null());
  EXPECT_EQ(derived["D50"][21].get<double>(), 0.25);
  EXPECT_DOUBLE_EQ(derived["level_total_dB"][11].get<double>(), 10.0 * std::log10(4.0));
}

}  // namespace
}  // namespace zyra::tool
