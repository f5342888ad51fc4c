#include "tools/json_forms.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace zyra::tool {
namespace {

uint32_t BitsReadBack(const std::string& text) {
  return std::bit_cast<uint32_t>(static_cast<float>(Json::parse(text).get<double>()));
}

TEST(JsonFormsTest, SingleIsShortestTextThatReadsBack) {
  const float inf = std::numeric_limits<float>::infinity();
  const struct {
    float value;
    const char* text;
  } rows[] = {
      {0.1f, "0.1"},
      {1e-45f, "1e-45"},  // the smallest subnormal
      {1.0f / 3.0f, "0.33333334"},
      {3.4028235e38f, "3.4028235e+38"},
      {-0.0f, "-0.0"},
      {std::nanf(""), "\"NaN\""},
      {-inf, "\"-Infinity\""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(SingleJson(row.value).dump(), row.text) << row.value;
  }
  // Random bit patterns: every finite Single reads back exactly.
  std::mt19937 random(12345);
  for (int checked = 0; checked < 20000;) {
    const auto value = std::bit_cast<float>(static_cast<uint32_t>(random()));
    if (!std::isfinite(value)) continue;
    ++checked;
    const std::string text = SingleJson(value).dump();
    ASSERT_EQ(BitsReadBack(text), std::bit_cast<uint32_t>(value)) << text;
  }
  EXPECT_EQ(DoubleJson(static_cast<double>(0.1f)).dump(), "0.10000000149011612");
}

TEST(JsonFormsTest, DerivedValuesFollowTheirFormulasOrAreNull) {
  const struct {
    double early, total;
    std::optional<double> clarity, definition, level;
  } rows[] = {
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
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.early) + " of " + std::to_string(row.total));
    expectNear(Clarity(row.early, row.total), row.clarity);
    expectNear(Definition(row.early, row.total), row.definition);
    expectNear(TotalLevel(row.total), row.level);
  }
}

}  // namespace
}  // namespace zyra::tool
