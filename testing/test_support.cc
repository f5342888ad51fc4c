#include "testing/test_support.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "zyra/support/errors.h"

namespace zyra::testing {

std::vector<uint8_t> Hex(const std::string& text) {
  std::string digits;
  for (const char c : text)
    if (!std::isspace(static_cast<unsigned char>(c))) digits += c;
  if (digits.size() % 2 != 0) throw std::invalid_argument("odd number of hex digits");
  std::vector<uint8_t> bytes;
  for (size_t i = 0; i < digits.size(); i += 2)
    bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

std::string ToHex(std::span<const uint8_t> bytes) {
  static const char* const kDigits = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string StreamHex(const ByteStream& stream, int32_t from, int32_t to) {
  const auto bytes = stream.Bytes();
  const size_t end = to < 0 ? bytes.size() : static_cast<size_t>(to);
  return ToHex(bytes.subspan(static_cast<size_t>(from), end - static_cast<size_t>(from)));
}

std::string HexRun(const std::string& byteHex, int count) {
  std::string hex;
  for (int i = 0; i < count; ++i) hex += byteHex;
  return hex;
}

std::string Int16Run(int first, int count) {
  std::vector<uint8_t> bytes;
  for (int value = first; value < first + count; ++value) {
    bytes.push_back(static_cast<uint8_t>(value & 0xff));
    bytes.push_back(static_cast<uint8_t>((value >> 8) & 0xff));
  }
  return ToHex(bytes);
}

std::string Patched(const std::string& hex, size_t at, const std::string& bytes) {
  std::vector<uint8_t> all = Hex(hex);
  const std::vector<uint8_t> patch = Hex(bytes);
  all.resize(std::max(all.size(), at + patch.size()));
  std::copy(patch.begin(), patch.end(), all.begin() + static_cast<std::ptrdiff_t>(at));
  return ToHex(all);
}

ByteStream StreamOf(const std::string& hex) {
  ByteStream stream;
  stream.LoadFromBytes(Hex(hex));
  return stream;
}

int32_t ErrorNumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    return error.Number();
  }
  return 0;
}

}  // namespace zyra::testing
