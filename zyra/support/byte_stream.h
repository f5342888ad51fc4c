// The in-memory byte stream that every block reads from and writes to.
#ifndef ZYRA_SUPPORT_BYTE_STREAM_H_
#define ZYRA_SUPPORT_BYTE_STREAM_H_

#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "zyra/support/errors.h"
#include "zyra/support/little_endian.h"

namespace zyra {

// A growable byte buffer with a 0-based position. Every multi-byte item is little-endian.
// A read past the end raises error 62 and leaves the position where it was; a write that
// would make the stream longer than 2,147,483,647 bytes raises error 6 and changes nothing.
class ByteStream {
 public:
  static constexpr int64_t kMaxLength = std::numeric_limits<int32_t>::max();

  ByteStream() = default;

  int32_t GetPosition() const noexcept { return position_; }
  int32_t GetLength() const noexcept { return static_cast<int32_t>(bytes_.size()); }
  // Bytes from the position to the end (0 when the position stands at or past the end).
  int32_t Remaining() const noexcept {
    return position_ < GetLength() ? GetLength() - position_ : 0;
  }
  // A copy of the whole content.
  std::vector<uint8_t> GetBytes() const { return bytes_; }
  // The whole content without a copy, for writing it to a file.
  std::span<const uint8_t> Bytes() const noexcept { return bytes_; }

  // Moves the position; a later write there replaces bytes already present, and a write
  // beyond the end fills the gap with zero bytes. A negative position is error 5.
  int32_t SetPosition(int32_t lPosition);
  // Replaces the content and sets the position to 0. More than 2,147,483,647 bytes is error 6.
  int32_t LoadFromBytes(std::vector<uint8_t> bytes);
  int32_t LoadFromBytes(std::span<const uint8_t> bytes);

  int16_t ReadInt16() { return ReadScalar<int16_t>(); }
  int32_t ReadInt32() { return ReadScalar<int32_t>(); }
  float ReadSingle() { return ReadScalar<float>(); }
  // Reads `values.size()` Integers, index 0 first; all or nothing.
  void ReadInt16Array(std::span<int16_t> values);
  // Reads `lCount` bytes as as many characters; a negative count is error 5.
  std::string ReadFixedString(int32_t lCount);
  // Reads a text written by WriteText: a Long byte count, then the bytes.
  std::string ReadText();

  void WriteInt16(int16_t value) { WriteScalar(value); }
  void WriteInt32(int32_t value) { WriteScalar(value); }
  void WriteSingle(float value) { WriteScalar(value); }
  void WriteInt16Array(std::span<const int16_t> values);
  // Writes the characters of the text, one byte each, nothing else.
  void WriteString(const std::string& sText);
  // Writes a Long byte count and then the bytes of the text.
  void WriteText(const std::string& sText);

 private:
  template <class T>
  T ReadScalar() {
    if (Remaining() < static_cast<int32_t>(sizeof(T))) RaiseError(kErrPastEnd);
    const T value = LoadLittleEndian<T>(bytes_.data() + position_);
    position_ += static_cast<int32_t>(sizeof(T));
    return value;
  }

  template <class T>
  void WriteScalar(T value) {
    unsigned char raw[sizeof(T)];
    StoreLittleEndian(raw, value);
    WriteRaw(raw, sizeof(T));
  }

  // Makes room for `count` bytes at the position (error 6 past the limit) and copies them.
  void WriteRaw(const void* data, size_t count);

  std::vector<uint8_t> bytes_;
  int32_t position_ = 0;
};

// Runs `write` with the stream at the earlier position lPosition and then returns the stream to
// where it stood: how a writer fills in a length or a header once what follows is written.
template <class Write>
void WriteAt(ByteStream& cByteStream, int32_t lPosition, Write&& write) {
  const int32_t lEnd = cByteStream.GetPosition();
  cByteStream.SetPosition(lPosition);
  write();
  cByteStream.SetPosition(lEnd);
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_BYTE_STREAM_H_
