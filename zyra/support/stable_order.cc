#include "zyra/support/stable_order.h"

#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "zyra/support/errors.h"

namespace zyra {

namespace {

// An unsigned pattern that orders as the key does: negative keys have every bit flipped, the
// others only the sign bit; -0 becomes +0 first, and every key that is not a number the
// largest pattern of all.
uint64_t OrderedBits(double key) {
  if (std::isnan(key)) return std::numeric_limits<uint64_t>::max();
  const auto bits = std::bit_cast<uint64_t>(key + 0.0);
  return (bits >> 63) != 0 ? ~bits : bits | (uint64_t{1} << 63);
}

// Digits of 11 bits: six passes at most, of which arrivals (made of Singles, within a few
// binary orders of magnitude) need three or four, with counts that stay in the cache.
constexpr int kDigitBits = 11;
constexpr int kDigits = (64 + kDigitBits - 1) / kDigitBits;
constexpr size_t kBuckets = size_t{1} << kDigitBits;

}  // namespace

std::vector<int32_t> StableOrderOfKeys(std::span<const double> daKeys) {
  if (daKeys.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    RaiseError(kErrOverflow);
  }
  const size_t n = daKeys.size();
  std::vector<uint64_t> keys(n);
  std::vector<int32_t> order(n);
  std::array<std::array<size_t, kBuckets>, kDigits> counts{};
  for (size_t i = 0; i < n; ++i) {
    keys[i] = OrderedBits(daKeys[i]);
    order[i] = static_cast<int32_t>(i);
    for (int d = 0; d < kDigits; ++d) ++counts[d][(keys[i] >> (d * kDigitBits)) & (kBuckets - 1)];
  }
  // Least significant digit first; each pass is stable, so equal keys keep their order. A
  // digit that all keys share moves nothing and is skipped (arrivals made from Singles leave
  // the low digits of a Double empty).
  std::vector<uint64_t> nextKeys(n);
  std::vector<int32_t> nextOrder(n);
  for (int d = 0; d < kDigits; ++d) {
    std::array<size_t, kBuckets>& count = counts[d];
    bool bShared = false;
    for (const size_t c : count) bShared = bShared || c == n;
    if (bShared) continue;
    size_t start = 0;
    for (size_t& c : count) {
      const size_t here = c;
      c = start;
      start += here;
    }
    const int shift = d * kDigitBits;
    for (size_t i = 0; i < n; ++i) {
      const size_t to = count[(keys[i] >> shift) & (kBuckets - 1)]++;
      nextKeys[to] = keys[i];
      nextOrder[to] = order[i];
    }
    keys.swap(nextKeys);
    order.swap(nextOrder);
  }
  return order;
}

}  // namespace zyra
