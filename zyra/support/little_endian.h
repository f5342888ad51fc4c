// Loading and storing the little-endian items of a response file, in one place.
#ifndef ZYRA_SUPPORT_LITTLE_ENDIAN_H_
#define ZYRA_SUPPORT_LITTLE_ENDIAN_H_

#include <bit>
#include <cstring>
#include <type_traits>
#include <utility>

namespace zyra {

// Reads a T stored little-endian at `bytes`.
template <class T>
T LoadLittleEndian(const void* bytes) noexcept {
  static_assert(std::is_trivially_copyable_v<T>);
  unsigned char raw[sizeof(T)];
  std::memcpy(raw, bytes, sizeof(T));
  if constexpr (std::endian::native == std::endian::big) {
    for (size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(raw[i], raw[sizeof(T) - 1 - i]);
  }
  T value;
  std::memcpy(&value, raw, sizeof(T));
  return value;
}

// Stores `value` little-endian at `bytes`.
template <class T>
void StoreLittleEndian(void* bytes, T value) noexcept {
  static_assert(std::is_trivially_copyable_v<T>);
  unsigned char raw[sizeof(T)];
  std::memcpy(raw, &value, sizeof(T));
  if constexpr (std::endian::native == std::endian::big) {
    for (size_t i = 0; i < sizeof(T) / 2; ++i) std::swap(raw[i], raw[sizeof(T) - 1 - i]);
  }
  std::memcpy(bytes, raw, sizeof(T));
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_LITTLE_ENDIAN_H_
