#include "zyra/support/stable_order.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "zyra/support/errors.h"

namespace zyra {

// Negative keys have every bit flipped, the others only the sign bit; -0 becomes +0 first, and
// every key that is not a number the largest pattern of all.
uint64_t OrderedBits(double key) {
  if (std::isnan(key)) return std::numeric_limits<uint64_t>::max();
  const auto bits = std::bit_cast<uint64_t>(key + 0.0);
  return (bits >> 63) != 0 ? ~bits : bits | (uint64_t{1} << 63);
}

namespace {

// At most 2^11 buckets per pass, so that the counts and the pass's write positions stay in the
// cache.
constexpr int kMaxDigitBits = 11;
// With key and position packed in one word, at most 2^8: a pass writes into as many places at
// once as it has buckets, and over ten million keys each of those places lies on a page of its
// own, so that more of them than the processor keeps page translations for would make every
// write wait for one.
constexpr int kMaxPackedDigitBits = 8;

// How `width` varying bits are cut into digits of at most `maxBits`, one pass each.
struct Digits {
  Digits(int width, int maxBits)
      : passes((width + maxBits - 1) / maxBits),
        bits((width + passes - 1) / passes),
        buckets(size_t{1} << bits),
        mask(buckets - 1) {}

  // Where every pass's buckets start, pass after pass: the digits of `keys` from bit `first`
  // counted in one read of them, and the counts turned into starts.
  std::vector<size_t> Starts(std::span<const uint64_t> keys, int first) const {
    std::vector<size_t> starts(buckets * static_cast<size_t>(passes), 0);
    for (const uint64_t key : keys) {
      for (int d = 0; d < passes; ++d) {
        ++starts[static_cast<size_t>(d) * buckets + ((key >> (first + d * bits)) & mask)];
      }
    }
    for (int d = 0; d < passes; ++d) {
      size_t start = 0;
      for (size_t b = 0; b < buckets; ++b) {
        size_t& here = starts[static_cast<size_t>(d) * buckets + b];
        start += std::exchange(here, start);
      }
    }
    return starts;
  }

  int passes;
  int bits;
  size_t buckets;
  uint64_t mask;
};

// Least significant digit first over the `width` bits from bit 32 of each item, each pass
// stable; `next` is scratch of the same length.
void SortByHighBits(std::span<uint64_t> items, std::span<uint64_t> next, int width) {
  const Digits digits(width, kMaxPackedDigitBits);
  std::vector<size_t> starts = digits.Starts(items, 32);
  for (int d = 0; d < digits.passes; ++d) {
    size_t* start = starts.data() + static_cast<size_t>(d) * digits.buckets;
    const int shift = 32 + d * digits.bits;
    for (const uint64_t item : items) next[start[(item >> shift) & digits.mask]++] = item;
    std::swap(items, next);
  }
  // An odd number of passes left the result in the scratch.
  if (digits.passes % 2 != 0) std::copy(items.begin(), items.end(), next.begin());
}

}  // namespace

std::vector<int32_t> StableOrderOfKeys(std::span<uint64_t> keys, int32_t lFirst) {
  const size_t n = keys.size();
  if (lFirst < 0 || n > static_cast<size_t>(std::numeric_limits<int32_t>::max() - lFirst)) {
    RaiseError(kErrOverflow);
  }
  const auto first = static_cast<size_t>(lFirst);
  std::vector<int32_t> order(n);
  uint64_t varying = 0;  // the bits in which some key differs from the first
  for (const uint64_t key : keys) varying |= key ^ keys[0];
  // The positions in their own order: the answer when no key differs, and what the passes over
  // separate arrays of keys and positions start from.
  const auto positionsInOrder = [&order, first] {
    for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int32_t>(first + i);
  };
  if (varying == 0) {
    positionsInOrder();
    return order;
  }
  // Least significant digit first, over the bits that vary only, in as few passes as digits of
  // kMaxDigitBits allow (arrivals made of Singles, within a few binary orders of magnitude,
  // vary in about thirty bits: three passes). Each pass is stable, so equal keys keep their
  // order.
  const int lo = std::countr_zero(varying);
  const int width = 64 - std::countl_zero(varying) - lo;
  if (width <= 32) {
    // The varying bits of a key above its position, in one word: one array to move, not two.
    for (size_t i = 0; i < n; ++i) keys[i] = ((keys[i] >> lo) << 32) | i;
    // Scratch that every pass overwrites whole: made without clearing it first.
    const auto scratch = std::make_unique_for_overwrite<uint64_t[]>(n);
    SortByHighBits(keys, {scratch.get(), n}, width);
    for (size_t i = 0; i < n; ++i) order[i] = static_cast<int32_t>(first + (keys[i] & 0xFFFFFFFFU));
    return order;
  }
  positionsInOrder();
  const Digits digits(width, kMaxDigitBits);
  std::vector<size_t> starts = digits.Starts(keys, lo);
  const auto nextKeysStore = std::make_unique_for_overwrite<uint64_t[]>(n);
  uint64_t* current = keys.data();
  uint64_t* next = nextKeysStore.get();
  std::vector<int32_t> nextOrder(n);
  for (int d = 0; d < digits.passes; ++d) {
    size_t* start = starts.data() + static_cast<size_t>(d) * digits.buckets;
    const int shift = lo + d * digits.bits;
    for (size_t i = 0; i < n; ++i) {
      const size_t to = start[(current[i] >> shift) & digits.mask]++;
      next[to] = current[i];
      nextOrder[to] = order[i];
    }
    std::swap(current, next);
    order.swap(nextOrder);
  }
  return order;
}

}  // namespace zyra
