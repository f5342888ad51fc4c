// Text fields stored at a declared width.
#ifndef ZYRA_SUPPORT_FIXED_TEXT_H_
#define ZYRA_SUPPORT_FIXED_TEXT_H_

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

  FixedText() : text_(N, '\0') {}
  explicit FixedText(const std::string& sText) : text_(FitFixedText(sText, N)) {}

  const std::string& Get() const noexcept { return text_; }
  void Set(const std::string& sText) { text_ = FitFixedText(sText, N); }
  // Takes exactly N bytes read from a stream, unchanged.
  void SetRaw(std::string bytes) {
    bytes.resize(N, '\0');
    text_ = std::move(bytes);
  }

  bool operator==(const FixedText&) const = default;

 private:
  std::string text_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_FIXED_TEXT_H_
