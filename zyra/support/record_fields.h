// One description of a record's file layout serves reading and writing.
//
// A record lists its fields once, in file order, as a static member template
//
//   template <class Self, class Fields>
//   static void Layout(Self& record, Fields& fields) {
//     fields(record.origin_);   // Integer, Long or Single
//     fields(record.spl_);      // IndexedArray: every element, lowest index first
//     fields(record.reserved_); // FixedText<N>: exactly N bytes
//     fields.Text(record.label_);  // variable-length text (WriteText / ReadText)
//   }
//
// and reading walks it with FieldReader, writing with FieldWriter (Self is then const).
#ifndef ZYRA_SUPPORT_RECORD_FIELDS_H_
#define ZYRA_SUPPORT_RECORD_FIELDS_H_

#include <cstdint>
#include <string>

#include "zyra/support/byte_stream.h"
#include "zyra/support/fixed_text.h"
#include "zyra/support/indexed_array.h"

namespace zyra {

// The length in the file of a record of version 0 or 1, -1 for any other version: the answer
// of every record's GetLengthInFile.
constexpr int32_t LengthOfVersion(int32_t iVersion, int32_t lVersion0, int32_t lVersion1) {
  return iVersion == 0 ? lVersion0 : (iVersion == 1 ? lVersion1 : -1);
}

class FieldReader {
 public:
  explicit FieldReader(ByteStream& stream) : stream_(stream) {}

  void operator()(int16_t& value) { value = stream_.ReadInt16(); }
  void operator()(int32_t& value) { value = stream_.ReadInt32(); }
  void operator()(float& value) { value = stream_.ReadSingle(); }
  template <class T, int32_t Lo, int32_t Hi>
  void operator()(IndexedArray<T, Lo, Hi>& values) {
    for (T& value : values.Values()) (*this)(value);
  }
  template <size_t N>
  void operator()(FixedText<N>& text) {
    text.SetRaw(stream_.ReadFixedString(static_cast<int32_t>(N)));
  }
  void Text(std::string& text) { text = stream_.ReadText(); }

 private:
  ByteStream& stream_;
};

class FieldWriter {
 public:
  explicit FieldWriter(ByteStream& stream) : stream_(stream) {}

  void operator()(int16_t value) { stream_.WriteInt16(value); }
  void operator()(int32_t value) { stream_.WriteInt32(value); }
  void operator()(float value) { stream_.WriteSingle(value); }
  template <class T, int32_t Lo, int32_t Hi>
  void operator()(const IndexedArray<T, Lo, Hi>& values) {
    for (const T value : values.Values()) (*this)(value);
  }
  template <size_t N>
  void operator()(const FixedText<N>& text) {
    stream_.WriteString(text.Get());
  }
  void Text(const std::string& text) { stream_.WriteText(text); }

 private:
  ByteStream& stream_;
};

}  // namespace zyra

#endif  // ZYRA_SUPPORT_RECORD_FIELDS_H_
