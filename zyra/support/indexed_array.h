// Arrays indexed Lo..Hi, the 22-slot band arrays among them, with the range check in one place.
#ifndef ZYRA_SUPPORT_INDEXED_ARRAY_H_
#define ZYRA_SUPPORT_INDEXED_ARRAY_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "zyra/support/errors.h"

namespace zyra {

// A fixed array whose valid indices are Lo..Hi; any other index is error 9. Elements start
// at zero.
template <class T, int32_t Lo, int32_t Hi>
class IndexedArray {
  static_assert(Lo <= Hi);

 public:
  static constexpr int32_t kLower = Lo;
  static constexpr int32_t kUpper = Hi;
  static constexpr size_t kSize = static_cast<size_t>(Hi) - static_cast<size_t>(Lo) + 1;

  static constexpr bool InRange(int32_t i) noexcept { return i >= Lo && i <= Hi; }
  static size_t Slot(int32_t i) {
    if (!InRange(i)) RaiseError(kErrSubscript);
    return static_cast<size_t>(i - Lo);
  }

  T Get(int32_t i) const { return values_[Slot(i)]; }
  void Set(int32_t i, T value) { values_[Slot(i)] = value; }
  T& At(int32_t i) { return values_[Slot(i)]; }
  const T& At(int32_t i) const { return values_[Slot(i)]; }

  // The elements in index order, Lo first, for loops that need no checks.
  std::array<T, kSize>& Values() noexcept { return values_; }
  const std::array<T, kSize>& Values() const noexcept { return values_; }

  bool operator==(const IndexedArray&) const = default;

 private:
  std::array<T, kSize> values_{};
};

// A value per band slot 0..21; slots 1..21 are the third-octave bands, slot 0 is stored only.
template <class T>
using BandArray = IndexedArray<T, 0, 21>;

inline constexpr int32_t kBandFirst = 1;  // first evaluated third-octave band
inline constexpr int32_t kBandLast = 21;  // last evaluated third-octave band
inline constexpr int32_t kReferenceBand = 11;

}  // namespace zyra

#endif  // ZYRA_SUPPORT_INDEXED_ARRAY_H_
