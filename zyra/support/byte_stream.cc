#include "zyra/support/byte_stream.h"

#include <algorithm>
#include <utility>

namespace zyra {

ByteStream::ByteStream() = default;
ByteStream::~ByteStream() = default;
ByteStream::ByteStream(ByteStream&& other) noexcept {
  *this = std::move(other);
}

// Member by member, leaving `other` an empty stream in memory: a moved-from stream must not
// still point at the file it handed on.
ByteStream& ByteStream::operator=(ByteStream&& other) noexcept {
  if (this == &other) return *this;
  bytes_ = std::exchange(other.bytes_, {});
  position_ = std::exchange(other.position_, 0);
  ownedFile_ = std::move(other.ownedFile_);
  in_ = std::exchange(other.in_, nullptr);
  out_ = std::exchange(other.out_, nullptr);
  dirty_ = std::exchange(other.dirty_, false);
  base_ = std::exchange(other.base_, 0);
  windowLength_ = std::exchange(other.windowLength_, 0);
  fileLength_ = std::exchange(other.fileLength_, 0);
  return *this;
}

int32_t ByteStream::SetPosition(int32_t lPosition) {
  if (lPosition < 0) RaiseError(kErrInvalidCall);
  position_ = lPosition;
  return 0;
}

int32_t ByteStream::LoadFromBytes(std::vector<uint8_t> bytes) {
  if (static_cast<int64_t>(bytes.size()) > kMaxLength) RaiseError(kErrOverflow);
  CloseFile();
  bytes_ = std::move(bytes);
  position_ = 0;
  return 0;
}

int32_t ByteStream::LoadFromBytes(std::span<const uint8_t> bytes) {
  if (static_cast<int64_t>(bytes.size()) > kMaxLength) RaiseError(kErrOverflow);
  CloseFile();
  // Into the buffer the stream already has, so that a stream loaded again and again with
  // small pieces (one header after another) allocates once.
  bytes_.assign(bytes.begin(), bytes.end());
  position_ = 0;
  return 0;
}

std::vector<uint8_t> ByteStream::TakeBytes() {
  if (OverFile()) return {};
  std::vector<uint8_t> taken = std::move(bytes_);
  bytes_.clear();
  position_ = 0;
  return taken;
}

std::vector<uint8_t> ByteStream::CopyBytes(int32_t lPosition, int32_t lCount) {
  if (lPosition < 0 || lCount < 0) RaiseError(kErrInvalidCall);
  if (int64_t{lPosition} + lCount > GetLength()) RaiseError(kErrPastEnd);
  std::vector<uint8_t> copy(static_cast<size_t>(lCount));
  CopyBytesTo(lPosition, copy);
  return copy;
}

void ByteStream::CopyBytesTo(int32_t lPosition, std::span<uint8_t> out) {
  if (lPosition < 0) RaiseError(kErrInvalidCall);
  if (lPosition + static_cast<int64_t>(out.size()) > GetLength()) RaiseError(kErrPastEnd);
  const auto lCount = static_cast<int32_t>(out.size());
  if (!OverFile()) {
    std::copy_n(bytes_.begin() + lPosition, lCount, out.begin());
    return;
  }
  const int32_t lKeep = position_;
  position_ = lPosition;
  for (int32_t lDone = 0; lDone < lCount;) {
    const int32_t lPiece = std::min(lCount - lDone, kFileWindow);
    std::memcpy(out.data() + lDone, Peek(lPiece), static_cast<size_t>(lPiece));
    lDone += lPiece;
    position_ += lPiece;
  }
  position_ = lKeep;
}

// ---- Streams over a file ----

namespace {

// The length of an open file, from its start to its end.
int32_t FileLength(std::istream& file) {
  file.clear();
  file.seekg(0, std::ios::end);
  const std::streamoff length = file.tellg();
  if (length < 0) RaiseError(kErrPathFileAccess);
  if (length > ByteStream::kMaxLength) RaiseError(kErrOverflow);
  return static_cast<int32_t>(length);
}

}  // namespace

int32_t ByteStream::OpenFileForReading(const std::string& sFileName) {
  auto file = std::make_unique<std::fstream>();
  // Each window is read in one call straight into its place: no buffer of the stream's own.
  file->rdbuf()->pubsetbuf(nullptr, 0);
  file->open(sFileName, std::ios::in | std::ios::binary);
  if (!file->is_open()) RaiseError(kErrPathFileAccess);
  std::istream& in = *file;
  AttachFile(std::move(file), &in, nullptr, FileLength(in));
  return 0;
}

int32_t ByteStream::ReadFromOpenFile(std::istream& file) {
  AttachFile(nullptr, &file, nullptr, FileLength(file));
  return 0;
}

int32_t ByteStream::OpenFileForWriting(const std::string& sFileName) {
  auto file = std::make_unique<std::fstream>();
  file->rdbuf()->pubsetbuf(nullptr, 0);
  file->open(sFileName, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
  if (!file->is_open()) RaiseError(kErrPathFileAccess);
  std::fstream& inOut = *file;
  AttachFile(std::move(file), &inOut, &inOut, 0);
  return 0;
}

void ByteStream::AttachFile(std::unique_ptr<std::fstream> owned, std::istream* in,
                            std::ostream* out, int32_t lLength) {
  CloseFile();
  bytes_ = std::vector<uint8_t>();
  ownedFile_ = std::move(owned);
  in_ = in;
  out_ = out;
  dirty_ = false;
  base_ = 0;
  windowLength_ = 0;
  fileLength_ = lLength;
  position_ = 0;
}

void ByteStream::CloseFile() {
  if (!OverFile()) return;
  bool bFailed = false;
  try {
    FlushWindow();
  } catch (const RuntimeError&) {
    bFailed = true;
  }
  if (ownedFile_) {
    ownedFile_->close();
    bFailed = bFailed || ownedFile_->fail();
  }
  ownedFile_.reset();
  in_ = nullptr;
  out_ = nullptr;
  bytes_ = std::vector<uint8_t>();
  position_ = 0;
  if (bFailed) RaiseError(kErrPathFileAccess);
}

const uint8_t* ByteStream::MoveWindow(int32_t lCount) {
  FlushWindow();
  const int64_t lLength = std::min<int64_t>(std::max(lCount, kFileWindow), GetLength() - position_);
  if (bytes_.size() < static_cast<size_t>(lLength)) bytes_.resize(static_cast<size_t>(lLength));
  in_->clear();
  in_->seekg(position_);
  in_->read(reinterpret_cast<char*>(bytes_.data()), static_cast<std::streamsize>(lLength));
  // A file that shrank under the stream ends early.
  if (in_->gcount() != lLength) {
    windowLength_ = 0;
    RaiseError(kErrPastEnd);
  }
  base_ = position_;
  windowLength_ = lLength;
  return bytes_.data();
}

void ByteStream::FlushWindow() {
  if (!dirty_) return;
  dirty_ = false;
  out_->clear();
  out_->seekp(base_);
  out_->write(reinterpret_cast<const char*>(bytes_.data()),
              static_cast<std::streamsize>(windowLength_));
  if (out_->fail()) RaiseError(kErrPathFileAccess);
}

// ---- Reading ----

void ByteStream::ReadInt16Array(std::span<int16_t> values) {
  if (static_cast<size_t>(Remaining()) < values.size() * sizeof(int16_t)) {
    RaiseError(kErrPastEnd);
  }
  for (int16_t& value : values) value = ReadInt16();
}

std::string ByteStream::ReadFixedString(int32_t lCount) {
  if (lCount < 0) RaiseError(kErrInvalidCall);
  if (Remaining() < lCount) RaiseError(kErrPastEnd);
  std::string text;
  if (!OverFile()) {
    text.assign(reinterpret_cast<const char*>(bytes_.data()) + position_,
                static_cast<size_t>(lCount));
  } else {
    const std::vector<uint8_t> copy = CopyBytes(position_, lCount);
    text.assign(copy.begin(), copy.end());
  }
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

const uint8_t* ByteStream::ReadSpan(int32_t lCount) {
  if (lCount < 0) RaiseError(kErrInvalidCall);
  if (Remaining() < lCount) RaiseError(kErrPastEnd);
  const uint8_t* span = Peek(lCount);
  position_ += lCount;
  return span;
}

// ---- Writing ----

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
  if (OverFile()) {
    WriteToFile(data, count);
    return;
  }
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

void ByteStream::WriteToFile(const void* data, size_t count) {
  if (out_ == nullptr) RaiseError(kErrPathFileAccess);
  const auto lCount = static_cast<int64_t>(count);
  int64_t offset = int64_t{position_} - base_;
  // The window takes bytes that continue or overwrite it; anything else starts a new one at
  // the position (what the file holds around it stays, a gap reads as zero bytes).
  if (offset < 0 || offset > windowLength_ || offset + lCount > kFileWindow) {
    FlushWindow();
    base_ = position_;
    windowLength_ = 0;
    offset = 0;
  }
  if (lCount > kFileWindow) {
    out_->clear();
    out_->seekp(position_);
    out_->write(static_cast<const char*>(data), static_cast<std::streamsize>(count));
    if (out_->fail()) RaiseError(kErrPathFileAccess);
  } else {
    if (bytes_.size() < static_cast<size_t>(kFileWindow)) bytes_.resize(kFileWindow);
    if (count > 0) std::memcpy(bytes_.data() + offset, data, count);
    windowLength_ = std::max(windowLength_, offset + lCount);
    dirty_ = true;
  }
  position_ = static_cast<int32_t>(position_ + lCount);
  fileLength_ = std::max(fileLength_, position_);
}

}  // namespace zyra
