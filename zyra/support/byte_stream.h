// The byte stream that every block reads from and writes to.
#ifndef ZYRA_SUPPORT_BYTE_STREAM_H_
#define ZYRA_SUPPORT_BYTE_STREAM_H_

#include <cstdint>
#include <cstring>
#include <fstream>
#include <istream>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "zyra/support/errors.h"
#include "zyra/support/little_endian.h"

namespace zyra {

// A growable byte buffer with a 0-based position. Every multi-byte item is little-endian.
// A read past the end raises error 62 and leaves the position where it was; a write that
// would make the stream longer than 2,147,483,647 bytes raises error 6 and changes nothing.
//
// A stream may also stand for a file (OpenFileForReading, OpenFileForWriting): its content is
// then the file's, and only a window of about a megabyte of it is held in memory, moved as
// the position moves. Reading a response of a million pulses so never holds the file's bytes
// beside the records made from them, and writing one never holds the bytes beside the records
// they come from. A stream may read a file a host already holds open too (ReadFromOpenFile).
// Everything but Bytes and GetBytes works the same on both kinds.
class ByteStream {
 public:
  static constexpr int64_t kMaxLength = std::numeric_limits<int32_t>::max();
  // The bytes of a file that a stream over it holds at a time.
  static constexpr int32_t kFileWindow = 1 << 20;

  ByteStream();
  ~ByteStream();
  ByteStream(ByteStream&&) noexcept;
  ByteStream& operator=(ByteStream&&) noexcept;
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;

  int32_t GetPosition() const noexcept { return position_; }
  int32_t GetLength() const noexcept {
    return OverFile() ? fileLength_ : static_cast<int32_t>(bytes_.size());
  }
  // Bytes from the position to the end (0 when the position stands at or past the end).
  int32_t Remaining() const noexcept {
    return position_ < GetLength() ? GetLength() - position_ : 0;
  }
  // A copy of the whole content of a stream in memory (empty for a stream over a file).
  std::vector<uint8_t> GetBytes() const { return OverFile() ? std::vector<uint8_t>() : bytes_; }
  // The whole content of a stream in memory without a copy (empty for a stream over a file).
  std::span<const uint8_t> Bytes() const noexcept {
    return OverFile() ? std::span<const uint8_t>() : std::span<const uint8_t>(bytes_);
  }
  // The whole content of a stream in memory, moved out; the stream is left empty.
  std::vector<uint8_t> TakeBytes();
  // A copy of lCount bytes from lPosition, whichever kind the stream is; error 62 when they
  // do not all lie inside the stream, error 5 for a negative position or count.
  std::vector<uint8_t> CopyBytes(int32_t lPosition, int32_t lCount);
  // The same into `out`, out.size() bytes from lPosition; the position does not move.
  void CopyBytesTo(int32_t lPosition, std::span<uint8_t> out);

  // Moves the position; a later write there replaces bytes already present, and a write
  // beyond the end fills the gap with zero bytes. A negative position is error 5.
  int32_t SetPosition(int32_t lPosition);
  // Replaces the content and sets the position to 0. More than 2,147,483,647 bytes is error 6.
  // A stream over a file lets go of it first (see CloseFile).
  int32_t LoadFromBytes(std::vector<uint8_t> bytes);
  int32_t LoadFromBytes(std::span<const uint8_t> bytes);

  // Makes the stream stand for the file sFileName as it is, position 0. Error 75 when it
  // cannot be opened, error 6 when it is longer than a stream can be. Writing to the stream
  // afterwards is error 75.
  int32_t OpenFileForReading(const std::string& sFileName);
  // Makes the stream stand for a file the caller has opened (binary and seekable) and keeps
  // open for as long as the stream reads it; position 0, the content from the file's start to
  // its end. Error 75 when its length cannot be found, error 6 when it is longer than a stream
  // can be. Writing to the stream afterwards is error 75.
  int32_t ReadFromOpenFile(std::istream& file);
  // Makes the stream stand for the file sFileName, emptied or created, position 0: whatever
  // is written goes to the file. Call CloseFile to write the last window. Error 75 when the
  // file cannot be opened.
  int32_t OpenFileForWriting(const std::string& sFileName);
  // Writes what is still held to the file, closes it (a file the caller opened stays open),
  // and leaves the stream empty and in memory. Error 75 when the file could not be written;
  // nothing for a stream in memory.
  void CloseFile();

  int16_t ReadInt16() { return ReadScalar<int16_t>(); }
  int32_t ReadInt32() { return ReadScalar<int32_t>(); }
  float ReadSingle() { return ReadScalar<float>(); }
  // Reads `values.size()` Integers, index 0 first; all or nothing.
  void ReadInt16Array(std::span<int16_t> values);
  // Reads `lCount` bytes as as many characters; a negative count is error 5.
  std::string ReadFixedString(int32_t lCount);
  // Reads a text written by WriteText: a Long byte count, then the bytes.
  std::string ReadText();
  // The next lCount bytes (1 <= lCount <= kFileWindow), to be read in place before the next
  // call on the stream; the position moves past them. Error 62 (position unchanged) when
  // fewer remain.
  const uint8_t* ReadSpan(int32_t lCount);

  void WriteInt16(int16_t value) { WriteScalar(value); }
  void WriteInt32(int32_t value) { WriteScalar(value); }
  void WriteSingle(float value) { WriteScalar(value); }
  void WriteInt16Array(std::span<const int16_t> values);
  // Writes the characters of the text, one byte each, nothing else.
  void WriteString(const std::string& sText);
  // Writes a Long byte count and then the bytes of the text.
  void WriteText(const std::string& sText);
  // Writes lCount bytes from `data`.
  void WriteSpan(const uint8_t* data, int32_t lCount) {
    WriteRaw(data, static_cast<size_t>(lCount));
  }

 private:
  template <class T>
  T ReadScalar() {
    if (Remaining() < static_cast<int32_t>(sizeof(T))) RaiseError(kErrPastEnd);
    const T value = LoadLittleEndian<T>(Peek(static_cast<int32_t>(sizeof(T))));
    position_ += static_cast<int32_t>(sizeof(T));
    return value;
  }

  template <class T>
  void WriteScalar(T value) {
    unsigned char raw[sizeof(T)];
    StoreLittleEndian(raw, value);
    WriteRaw(raw, sizeof(T));
  }

  bool OverFile() const noexcept { return in_ != nullptr; }
  // Lets go of any file and makes the stream stand for `in` (and `out` when writable).
  void AttachFile(std::unique_ptr<std::fstream> owned, std::istream* in, std::ostream* out,
                  int32_t lLength);

  // The lCount bytes at the position, which the caller has checked are inside the stream.
  const uint8_t* Peek(int32_t lCount) {
    if (!OverFile()) return bytes_.data() + position_;
    const int64_t offset = int64_t{position_} - base_;
    if (offset >= 0 && offset + lCount <= windowLength_) return bytes_.data() + offset;
    return MoveWindow(lCount);
  }
  // Loads the window of a stream over a file from the position on, with at least lCount bytes.
  const uint8_t* MoveWindow(int32_t lCount);
  // Writes the window to the file when it holds bytes the file does not have yet.
  void FlushWindow();

  // Makes room for `count` bytes at the position (error 6 past the limit) and copies them.
  void WriteRaw(const void* data, size_t count);
  void WriteToFile(const void* data, size_t count);

  // In memory: the whole content. Over a file: the window, bytes base_ .. base_ +
  // windowLength_ - 1 of the content.
  std::vector<uint8_t> bytes_;
  int32_t position_ = 0;
  // Over a file: the file the stream opened itself (none for a caller's), the side it reads
  // and, when writable, the side it writes.
  std::unique_ptr<std::fstream> ownedFile_;
  std::istream* in_ = nullptr;
  std::ostream* out_ = nullptr;
  bool dirty_ = false;
  int64_t base_ = 0;
  int64_t windowLength_ = 0;
  int32_t fileLength_ = 0;
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
