#include "zyra/support/stable_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

namespace zyra {
namespace {

TEST(StableOrderTest, EqualsAStableComparisonSortWithNotANumberLast) {
  // Ties, both zeros, infinities, NaNs of either sign, negative keys, and keys made of Singles
  // (empty low digits) next to full Doubles.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<double> keys = {3.0, -0.0, nan, 0.0, -inf, 1e-300, -nan, inf, 3.0, -2.5, -2.5, 0.0};
  std::mt19937_64 rng(9);
  std::uniform_real_distribution<double> spread(-1e3, 1e3);
  for (int i = 0; i < 5000; ++i) {
    keys.push_back(i % 3 == 0 ? static_cast<double>(static_cast<float>(spread(rng)))
                              : std::round(spread(rng)) / 8.0);
  }
  // And keys differing in a few middle bits only, as arrivals of a response do.
  std::vector<double> narrow;
  for (int i = 0; i < 5000; ++i) narrow.push_back(300.0 + static_cast<double>(rng() % 900) / 1024);
  for (const std::vector<double>* set : {&keys, &narrow}) {
    std::vector<int32_t> expected(set->size());
    std::iota(expected.begin(), expected.end(), 0);
    std::stable_sort(expected.begin(), expected.end(), [&](int32_t a, int32_t b) {
      const double x = (*set)[static_cast<size_t>(a)];
      const double y = (*set)[static_cast<size_t>(b)];
      return !std::isnan(x) && (std::isnan(y) || x < y);
    });
    std::vector<uint64_t> patterns;
    for (const double key : *set) patterns.push_back(OrderedBits(key));
    for (int32_t& p : expected) p += 1;
    EXPECT_EQ(StableOrderOfKeys(patterns, 1), expected);
  }
  EXPECT_TRUE(StableOrderOfKeys({}, 0).empty());
}

}  // namespace
}  // namespace zyra
