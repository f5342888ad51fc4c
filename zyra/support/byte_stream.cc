#include "zyra/support/byte_stream.h"

#include <algorithm>

namespace zyra {

int32_t ByteStream::SetPosition(int32_t lPosition) {
  if (lPosition < 0) RaiseError(kErrInvalidCall);
  position_ = lPosition;
  return 0;
}

int32_t ByteStream::LoadFromBytes(std::vector<uint8_t> bytes) {
  if (static_cast<int64_t>(bytes.size()) > kMaxLength) RaiseError(kErrOverflow);
  bytes_ = std::move(bytes);
  position_ = 0;
  return 0;
}

int32_t ByteStream::LoadFromBytes(std::span<const uint8_t> bytes) {
  if (static_cast<int64_t>(bytes.size()) > kMaxLength) RaiseError(kErrOverflow);
  // Into the buffer the stream already has, so that a stream loaded again and again with
  // small pieces (one header after another) allocates once.
  bytes_.assign(bytes.begin(), bytes.end());
  position_ = 0;
  return 0;
}

void ByteStream::ReadInt16Array(std::span<int16_t> values) {
  if (static_cast<size_t>(Remaining()) < values.size() * sizeof(int16_t)) {
    RaiseError(kErrPastEnd);
  }
  for (int16_t& value : values) value = ReadInt16();
}

std::string ByteStream::ReadFixedString(int32_t lCount) {
  if (lCount < 0) RaiseError(kErrInvalidCall);
  if (Remaining() < lCount) RaiseError(kErrPastEnd);
  std::string text(reinterpret_cast<const char*>(bytes_.data()) + position_,
                   static_cast<size_t>(lCount));
  position_ += lCount;
  return text;
}

std::string ByteStream::ReadText() {
  const int32_t start = position_;
  const int32_t count = ReadInt32();
  if (count < 0) {
    position_ = start;
    RaiseError(kErrInvalidCall);
  }
  if (Remaining() < count) {
    position_ = start;
    RaiseError(kErrPastEnd);
  }
  return ReadFixedString(count);
}

void ByteStream::WriteInt16Array(std::span<const int16_t> values) {
  for (const int16_t value : values) WriteInt16(value);
}

void ByteStream::WriteString(const std::string& sText) {
  WriteRaw(sText.data(), sText.size());
}

void ByteStream::WriteText(const std::string& sText) {
  if (static_cast<int64_t>(sText.size()) > kMaxLength) RaiseError(kErrOverflow);
  const int64_t end = static_cast<int64_t>(position_) + 4 + static_cast<int64_t>(sText.size());
  if (end > kMaxLength) RaiseError(kErrOverflow);  // check both parts before writing either
  WriteInt32(static_cast<int32_t>(sText.size()));
  WriteString(sText);
}

void ByteStream::WriteRaw(const void* data, size_t count) {
  const int64_t end = static_cast<int64_t>(position_) + static_cast<int64_t>(count);
  if (end > kMaxLength) RaiseError(kErrOverflow);
  if (static_cast<size_t>(end) > bytes_.size()) {
    if (static_cast<size_t>(end) > bytes_.capacity()) {
      // Grow geometrically so that appending a million records stays linear.
      bytes_.reserve(std::min<size_t>(std::max<size_t>(end, bytes_.capacity() * 2),
                                      static_cast<size_t>(kMaxLength)));
    }
    bytes_.resize(static_cast<size_t>(end));
  }
  if (count > 0) std::memcpy(bytes_.data() + position_, data, count);
  position_ = static_cast<int32_t>(end);
}

}  // namespace zyra
