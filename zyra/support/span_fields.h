// Field reader and writer over the bytes of one whole record.
//
// FieldReader checks the remaining length for every field it reads, and FieldWriter makes
// room in the stream for every field it writes. A record that is read or written millions of
// times (the pulse) checks once that the stream holds the whole record and walks its Layout
// with a SpanFieldReader over those bytes, or walks it with a SpanFieldWriter into a buffer
// of the record's length and hands that to the stream in one write.
#ifndef ZYRA_SUPPORT_SPAN_FIELDS_H_
#define ZYRA_SUPPORT_SPAN_FIELDS_H_

#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/indexed_array.h"
#include "zyra/support/little_endian.h"

namespace zyra {

class SpanFieldReader {
 public:
  // `record` must point at bytes that hold every field the Layout reads.
  explicit SpanFieldReader(const uint8_t* record) noexcept : cursor_(record) {}

  void operator()(int16_t& value) noexcept { value = Load<int16_t>(); }
  void operator()(int32_t& value) noexcept { value = Load<int32_t>(); }
  void operator()(float& value) noexcept { value = Load<float>(); }
  template <class T, int32_t Lo, int32_t Hi>
  void operator()(IndexedArray<T, Lo, Hi>& values) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(values.Values().data(), cursor_, sizeof(T) * values.kSize);
      cursor_ += sizeof(T) * values.kSize;
    } else {
      for (T& value : values.Values()) (*this)(value);
    }
  }
  template <size_t N>
  void operator()(FixedText<N>& text) {
    text.SetRaw(reinterpret_cast<const char*>(cursor_), N);
    cursor_ += N;
  }

 private:
  template <class T>
  T Load() noexcept {
    const T value = LoadLittleEndian<T>(cursor_);
    cursor_ += sizeof(T);
    return value;
  }

  const uint8_t* cursor_;
};

class SpanFieldWriter {
 public:
  // `record` must have room for every field the Layout writes.
  explicit SpanFieldWriter(char* record) noexcept : cursor_(record) {}

  void operator()(int16_t value) noexcept { Store(value); }
  void operator()(int32_t value) noexcept { Store(value); }
  void operator()(float value) noexcept { Store(value); }
  template <class T, int32_t Lo, int32_t Hi>
  void operator()(const IndexedArray<T, Lo, Hi>& values) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(cursor_, values.Values().data(), sizeof(T) * values.kSize);
      cursor_ += sizeof(T) * values.kSize;
    } else {
      for (const T value : values.Values()) (*this)(value);
    }
  }
  template <size_t N>
  void operator()(const FixedText<N>& text) noexcept {
    std::memcpy(cursor_, text.Data(), N);
    cursor_ += N;
  }

 private:
  template <class T>
  void Store(T value) noexcept {
    StoreLittleEndian(cursor_, value);
    cursor_ += sizeof(T);
  }

  char* cursor_;
};

// Reads a record of `lLength` bytes at the stream's position through its Layout: raises
// error 62 and leaves the stream as it was when fewer bytes remain, otherwise calls
// `read(SpanFieldReader&)` and moves the position past the record.
template <class ReadFields>
void ReadRecordBytes(ByteStream& cByteStream, int32_t lLength, ReadFields&& read) {
  SpanFieldReader reader(cByteStream.ReadSpan(lLength));
  read(reader);
}

// Writes a record of at most kMaxLength bytes through its Layout in one stream write:
// `write(SpanFieldWriter&)` fills the record's first `lLength` bytes.
template <int32_t kMaxLength, class WriteFields>
void WriteRecordBytes(ByteStream& cByteStream, int32_t lLength, WriteFields&& write) {
  if (lLength < 0 || lLength > kMaxLength) RaiseError(kErrInvalidCall);
  char record[kMaxLength] = {};
  SpanFieldWriter writer(record);
  write(writer);
  cByteStream.WriteSpan(reinterpret_cast<const uint8_t*>(record), lLength);
}

}  // namespace zyra

#endif  // ZYRA_SUPPORT_SPAN_FIELDS_H_
