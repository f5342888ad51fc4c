// The order that sorts a million keys, stably, in time linear in their number.
#ifndef ZYRA_SUPPORT_STABLE_ORDER_H_
#define ZYRA_SUPPORT_STABLE_ORDER_H_

#include <cstdint>
#include <span>
#include <vector>

namespace zyra {

// An unsigned pattern that orders as the key does: -0 equal to +0, and keys that are not
// numbers after all others, equal among themselves.
uint64_t OrderedBits(double key);

// The positions lFirst .. lFirst + size - 1 of `keys` (patterns from OrderedBits) ordered by
// ascending key, equal keys in position order (a stable sort). A radix sort on the patterns:
// no comparison, a few passes over them. `keys` is the sort's working storage and holds
// nothing of use afterwards, so that a caller who takes a million keys needs no copy of them.
// Error 6 when the positions do not fit an Int32.
std::vector<int32_t> StableOrderOfKeys(std::span<uint64_t> keys, int32_t lFirst);

}  // namespace zyra

#endif  // ZYRA_SUPPORT_STABLE_ORDER_H_
