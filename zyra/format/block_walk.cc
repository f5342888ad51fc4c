#include "zyra/format/block_walk.h"

#include <algorithm>
#include <cstring>
#include <istream>

#include "zyra/support/flags.h"

namespace zyra {
namespace {

// The one list of the identifiers the reader knows, in BlockKind order.
constexpr std::array<std::string_view, kKnownBlockKindCount> kKnownBlockIDs{
    "PROB", "LSPK", "OBST", "TAIL", "PRED", "SLRT", "PULS", "TEXT"};

}  // namespace

BlockKind BlockKindOf(std::string_view sIDfx) noexcept {
  for (std::size_t i = 0; i < kKnownBlockIDs.size(); ++i) {
    if (sIDfx == kKnownBlockIDs[i]) return static_cast<BlockKind>(i);
  }
  return BlockKind::kUnknown;
}

std::string_view BlockIDOf(BlockKind eKind) noexcept {
  const auto index = static_cast<std::size_t>(eKind);
  return index < kKnownBlockIDs.size() ? kKnownBlockIDs[index] : std::string_view();
}

std::string FileVerdictText(FileVerdict eVerdict) {
  switch (eVerdict) {
    case FileVerdict::kResponseFile:
      return "a response file";
    case FileVerdict::kEmpty:
      return "empty";
    case FileVerdict::kTooLarge:
      return "larger than " + std::to_string(ByteStream::kMaxLength) +
             " bytes, the most a response file can hold";
    case FileVerdict::kShort:
      return "shorter than a file header";
    case FileVerdict::kBadMagic:
      return "No ZYRA Response File";
    case FileVerdict::kBadKind:
      return "No Response File";
    case FileVerdict::kUnknownVersion:
      return "Unknown Version";
    case FileVerdict::kUnreadable:
      return "the file header cannot be read";
  }
  return "";
}

std::string WalkEndText(WalkEnd eEnd) {
  switch (eEnd) {
    case WalkEnd::kWalking:
      return "not ended";
    case WalkEnd::kNotWalked:
      return "not walked: the file header is not taken";
    case WalkEnd::kEndOfFile:
      return "end of file";
    case WalkEnd::kLastBlock:
      return "block flagged as last";
    case WalkEnd::kBadLength:
      return "block header without a computable length";
    case WalkEnd::kOutOfRange:
      return "block length out of range";
    case WalkEnd::kBeyondLimit:
      return "next block beyond the largest response file";
    case WalkEnd::kShortHeader:
      return "file ends inside a block header";
    case WalkEnd::kUnreadable:
      return "block header cannot be read";
  }
  return "";
}

std::string FilePlaceText(const FilePlace& place) {
  const std::string sAt = " at byte " + std::to_string(place.lOffset);
  switch (place.eKind) {
    case FilePlace::Kind::kFileHeader:
      return "file header" + sAt;
    case FilePlace::Kind::kBlock:
      return "block \"" + place.sIDfx + "\"" + sAt;
    case FilePlace::Kind::kCutBlockHeader:
      return "block header cut short" + sAt;
  }
  return sAt.substr(1);
}

BlockWalk::BlockWalk(std::span<const uint8_t> bytes)
    : BlockWalk(
          [bytes](int64_t lOffset, std::span<uint8_t> out) {
            std::memcpy(out.data(), bytes.data() + lOffset, out.size());
            return true;
          },
          static_cast<int64_t>(bytes.size())) {}

BlockWalk::BlockWalk(ByteStream& stream)
    : BlockWalk(
          [&stream](int64_t lOffset, std::span<uint8_t> out) {
            stream.CopyBytesTo(static_cast<int32_t>(lOffset), out);
            return true;
          },
          stream.GetLength()) {}

BlockWalk::BlockWalk(std::istream& file, int64_t lFileSize)
    : BlockWalk(
          [&file](int64_t lOffset, std::span<uint8_t> out) {
            file.clear();
            file.seekg(lOffset);
            file.read(reinterpret_cast<char*>(out.data()),
                      static_cast<std::streamsize>(out.size()));
            return file.gcount() == static_cast<std::streamsize>(out.size());
          },
          lFileSize) {}

BlockWalk::BlockWalk(ReadAt readAt, int64_t lFileSize)
    : readAt_(std::move(readAt)), fileSize_(lFileSize) {
  JudgeFileHeader();
}

void BlockWalk::JudgeFileHeader() {
  if (fileSize_ < 1) {
    verdict_ = FileVerdict::kEmpty;
    return;
  }
  // The reader refuses such a file before it looks at any byte; the fields are still shown.
  const bool bTooLarge = fileSize_ > ByteStream::kMaxLength;
  if (fileSize_ < CFileHeaderClass::kLength) {
    verdict_ = bTooLarge ? FileVerdict::kTooLarge : FileVerdict::kShort;
    return;
  }
  std::array<uint8_t, CFileHeaderClass::kLength> bytes{};
  if (!readAt_(0, bytes)) {
    verdict_ = FileVerdict::kUnreadable;
    return;
  }
  scratch_.LoadFromBytes(bytes);
  fileHeader_.ReadFromByteStream(scratch_);
  if (bTooLarge) {
    verdict_ = FileVerdict::kTooLarge;
  } else if (fileHeader_.ZYRA() != ResponseFileMagic()) {
    verdict_ = FileVerdict::kBadMagic;
  } else if (fileHeader_.IDfx() != kResponseFileKind) {
    verdict_ = FileVerdict::kBadKind;
  } else if (fileHeader_.Vrsn() < 0 || fileHeader_.Vrsn() > kFileVersionLineArrays) {
    verdict_ = FileVerdict::kUnknownVersion;
  } else {
    verdict_ = FileVerdict::kResponseFile;
  }
}

bool BlockWalk::Ended(WalkEnd eEnd) {
  end_ = eEnd;
  return false;
}

bool BlockWalk::StepBehindBlock() {
  if (!block_.HasLength()) return Ended(WalkEnd::kBadLength);
  if (block_.lLength >= fileSize_) return Ended(WalkEnd::kOutOfRange);
  const int64_t lNext = block_.lOffset + CRspBlockHeaderClass::kLength + block_.lLength;
  if (lNext > ByteStream::kMaxLength) return Ended(WalkEnd::kBeyondLimit);
  position_ = lNext;
  if (IsFlagSet(block_.header.flags(), kBlockFlagLast)) {
    trailingBytes_ = std::max<int64_t>(0, fileSize_ - lNext);
    return Ended(WalkEnd::kLastBlock);
  }
  return true;
}

bool BlockWalk::Next() {
  if (end_ != WalkEnd::kWalking) return false;
  if (verdict_ != FileVerdict::kResponseFile) return Ended(WalkEnd::kNotWalked);
  if (blockCount_ > 0 && !StepBehindBlock()) return false;
  if (position_ >= fileSize_) return Ended(WalkEnd::kEndOfFile);
  if (fileSize_ - position_ < CRspBlockHeaderClass::kLength) return Ended(WalkEnd::kShortHeader);
  std::array<uint8_t, CRspBlockHeaderClass::kLength> bytes{};
  if (!readAt_(position_, bytes)) return Ended(WalkEnd::kUnreadable);
  scratch_.LoadFromBytes(bytes);
  block_.lOffset = position_;
  block_.header.ReadFromByteStream(scratch_);
  block_.lLength = block_.header.GetBlockLength();
  block_.eKind = BlockKindOf(block_.header.IDfx());
  block_.bTruncated =
      block_.HasLength() &&
      position_ + CRspBlockHeaderClass::kLength + int64_t{block_.lLength} > fileSize_;
  ++blockCount_;
  return true;
}

FilePlace BlockWalk::Place() const {
  if (end_ == WalkEnd::kShortHeader) return {FilePlace::Kind::kCutBlockHeader, position_, ""};
  if (blockCount_ > 0) return {FilePlace::Kind::kBlock, block_.lOffset, block_.header.IDfx()};
  return {FilePlace::Kind::kFileHeader, 0, ""};
}

BlockWalk::Listing BlockWalk::ListBlocks(std::size_t nMaxBlocks) {
  Listing listing;
  while (Next()) {
    if (listing.blocks.size() == nMaxBlocks) {
      listing.bCut = true;
      break;
    }
    listing.blocks.push_back(block_);
  }
  return listing;
}

}  // namespace zyra
