// Floating point to integer conversions: round to nearest, ties to even, or error 6.
#ifndef ZYRA_SUPPORT_CONVERSIONS_H_
#define ZYRA_SUPPORT_CONVERSIONS_H_

#include <cmath>
#include <concepts>
#include <limits>

#include "zyra/support/errors.h"

namespace zyra {

// Rounds to the nearest integer, ties to even; a value that does not fit (or NaN) is error 6.
template <std::integral Int>
Int RoundToInt(double value) {
  const double rounded = std::nearbyint(value);
  if (!(rounded >= static_cast<double>(std::numeric_limits<Int>::min()) &&
        rounded <= static_cast<double>(std::numeric_limits<Int>::max()))) {
    RaiseError(kErrOverflow);
  }
  return static_cast<Int>(rounded);
}

// Rounds like RoundToInt but clips a value outside the range to its nearest end (NaN gives 0).
template <std::integral Int>
Int RoundToIntClipped(double value) noexcept {
  if (std::isnan(value)) return 0;
  const double rounded = std::nearbyint(value);
  if (rounded <= static_cast<double>(std::numeric_limits<Int>::min())) {
    return std::numeric_limits<Int>::min();
  }
  if (rounded >= static_cast<double>(std::numeric_limits<Int>::max())) {
    return std::numeric_limits<Int>::max();
  }
  return static_cast<Int>(rounded);
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_CONVERSIONS_H_
