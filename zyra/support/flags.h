// Bit tests on flag words; the bit is given by its value (1, 2, 4, ...), not by its number.
#ifndef ZYRA_SUPPORT_FLAGS_H_
#define ZYRA_SUPPORT_FLAGS_H_

#include <concepts>
#include <cstdint>
#include <string>

namespace zyra {

template <std::integral Word>
constexpr bool IsFlagSet(Word flags, std::integral auto bit) noexcept {
  return (static_cast<int64_t>(flags) & static_cast<int64_t>(bit)) != 0;
}

// Sets or clears exactly the bits of `bit` in `flags`, leaving the others as they are.
template <std::integral Word>
constexpr void SetFlag(Word& flags, std::integral auto bit, bool on) noexcept {
  const auto mask = static_cast<Word>(bit);
  flags = on ? static_cast<Word>(flags | mask) : static_cast<Word>(flags & ~mask);
}

// True when the file folder + name exists and is not a folder.
bool FileExists(const std::string& sFolder, const std::string& sName);

}  // namespace zyra

#endif  // ZYRA_SUPPORT_FLAGS_H_
