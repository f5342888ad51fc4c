// The order that sorts a million keys, stably, in time linear in their number.
#ifndef ZYRA_SUPPORT_STABLE_ORDER_H_
#define ZYRA_SUPPORT_STABLE_ORDER_H_

#include <cstdint>
#include <span>
#include <vector>

namespace zyra {

// The indices 0..size-1 ordered by ascending key, equal keys in index order (a stable sort),
// -0 equal to +0, and keys that are not numbers after all others, equal among themselves.
// A radix sort on the keys' bit patterns: no comparison, a few passes over the keys.
std::vector<int32_t> StableOrderOfKeys(std::span<const double> daKeys);

}  // namespace zyra

#endif  // ZYRA_SUPPORT_STABLE_ORDER_H_
