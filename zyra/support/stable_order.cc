#include "zyra/support/stable_order.h"

#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

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

// At most 2^11 buckets per pass, so that the counts and the pass's write positions stay in the
// cache.
constexpr int kMaxDigitBits = 11;

}  // namespace

std::vector<int32_t> StableOrderOfKeys(std::span<const double> daKeys) {
  if (daKeys.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
    RaiseError(kErrOverflow);
  }
  const size_t n = daKeys.size();
  std::vector<int32_t> order(n);
  if (n == 0) return order;
  // Scratch that every pass overwrites whole: made without clearing it first.
  const auto keys = std::make_unique_for_overwrite<uint64_t[]>(n);
  uint64_t varying = 0;  // the bits in which some key differs from the first
  for (size_t i = 0; i < n; ++i) {
    keys[i] = OrderedBits(daKeys[i]);
    order[i] = static_cast<int32_t>(i);
    varying |= keys[i] ^ keys[0];
  }
  if (varying == 0) return order;
  // Least significant digit first, over the bits that vary only, in as few passes as digits of
  // kMaxDigitBits allow (arrivals made of Singles, within a few binary orders of magnitude,
  // vary in about thirty bits: three passes). Each pass is stable, so equal keys keep their
  // order.
  const int lo = std::countr_zero(varying);
  const int width = 64 - std::countl_zero(varying) - lo;
  const int passes = (width + kMaxDigitBits - 1) / kMaxDigitBits;
  const int digitBits = (width + passes - 1) / passes;
  const size_t buckets = size_t{1} << digitBits;
  const uint64_t mask = buckets - 1;
  std::vector<size_t> counts(buckets * static_cast<size_t>(passes), 0);
  for (size_t i = 0; i < n; ++i) {
    for (int d = 0; d < passes; ++d) {
      ++counts[static_cast<size_t>(d) * buckets + ((keys[i] >> (lo + d * digitBits)) & mask)];
    }
  }
  const auto nextKeysStore = std::make_unique_for_overwrite<uint64_t[]>(n);
  uint64_t* current = keys.get();
  uint64_t* next = nextKeysStore.get();
  std::vector<int32_t> nextOrder(n);
  for (int d = 0; d < passes; ++d) {
    size_t* count = counts.data() + static_cast<size_t>(d) * buckets;
    size_t start = 0;
    for (size_t b = 0; b < buckets; ++b) {
      const size_t here = count[b];
      count[b] = start;
      start += here;
    }
    const int shift = lo + d * digitBits;
    for (size_t i = 0; i < n; ++i) {
      const size_t to = count[(current[i] >> shift) & mask]++;
      next[to] = current[i];
      nextOrder[to] = order[i];
    }
    std::swap(current, next);
    order.swap(nextOrder);
  }
  return order;
}

}  // namespace zyra
