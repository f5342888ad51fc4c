// Text fields stored at a declared width.
#ifndef ZYRA_SUPPORT_FIXED_TEXT_H_
#define ZYRA_SUPPORT_FIXED_TEXT_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace zyra {

// The text cut to `width` characters or padded with blanks to it (fixed-length assignment).
std::string FitFixedText(const std::string& sText, size_t width);

// A text field of exactly N characters. A new field holds N zero bytes, as a record that was
// never filled; assigning cuts a longer value to its first N characters and pads a shorter
// one with blanks. Bytes read from a file are kept as they are.
template <size_t N>
class FixedText {
 public:
  static constexpr size_t kWidth = N;

  FixedText() = default;
  explicit FixedText(const std::string& sText) { Set(sText); }

  std::string Get() const { return std::string(bytes_.data(), N); }
  const char* Data() const noexcept { return bytes_.data(); }
  void Set(const std::string& sText) {
    const std::string fitted = FitFixedText(sText, N);
    std::copy(fitted.begin(), fitted.end(), bytes_.begin());
  }
  // Takes the first N bytes read from a stream (zero bytes where fewer), unchanged.
  void SetRaw(const char* bytes, size_t count) noexcept {
    bytes_.fill('\0');
    std::copy(bytes, bytes + std::min(count, N), bytes_.begin());
  }
  void SetRaw(const std::string& bytes) noexcept { SetRaw(bytes.data(), bytes.size()); }

  bool operator==(const FixedText&) const = default;

 private:
  std::array<char, N> bytes_{};
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_FIXED_TEXT_H_
