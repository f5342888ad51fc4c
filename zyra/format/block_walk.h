// The one walk over a response file: the file header judged once, then every block header in
// file order, stepped over by its length exactly as the reader steps. The reader dispatches the
// walk's blocks, the host tool's `info` lists them, and a failure is located by them.
#ifndef ZYRA_FORMAT_BLOCK_WALK_H_
#define ZYRA_FORMAT_BLOCK_WALK_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zyra/format/file_header.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/byte_stream.h"

namespace zyra {

// The blocks a response file reader knows, in the order it compares a block's identifier with
// them; every other identifier is an unknown block, skipped by its length.
enum class BlockKind : uint8_t {
  kProbeInfo,   // "PROB"
  kLspInfos,    // "LSPK"
  kObstInfos,   // "OBST"
  kTailInfo,    // "TAIL"
  kPrediction,  // "PRED"
  kLocalRT,     // "SLRT"
  kPulses,      // "PULS"
  kInfoText,    // "TEXT"
  kUnknown,
};
inline constexpr std::size_t kKnownBlockKindCount = 8;

// The kind of the block with this identifier; kUnknown for any identifier not in the list.
BlockKind BlockKindOf(std::string_view sIDfx) noexcept;
// The identifier of a known kind ("" for kUnknown).
std::string_view BlockIDOf(BlockKind eKind) noexcept;
inline bool IsKnownBlockID(std::string_view sIDfx) noexcept {
  return BlockKindOf(sIDfx) != BlockKind::kUnknown;
}

// What the file header says about the file, judged in the reader's order.
enum class FileVerdict {
  kResponseFile,    // the reader walks its blocks
  kEmpty,           // no bytes: the reader's empty response, not an error
  kTooLarge,        // more bytes than a response file can hold (the reader's error 6)
  kShort,           // fewer bytes than a file header (the reader's error 62)
  kBadMagic,        // "No ZYRA Response File"
  kBadKind,         // "No Response File"
  kUnknownVersion,  // "Unknown Version"
  kUnreadable,      // the header could not be read from the file
};

// The reader's message for the three verdicts it reports as texts; otherwise a phrase for
// people ("shorter than a file header", ...).
std::string FileVerdictText(FileVerdict eVerdict);

// Why the walk ended.
enum class WalkEnd {
  kWalking,      // not ended yet
  kNotWalked,    // the file header is not one the reader takes
  kEndOfFile,    // the next block would start at or behind the end
  kLastBlock,    // a block flagged as last
  kBadLength,    // a header whose body length cannot be computed
  kOutOfRange,   // a body length not below the file's length
  kBeyondLimit,  // the next block would start past the largest response file (reader: error 6)
  kShortHeader,  // the file ends inside a block header (reader: error 62)
  kUnreadable,   // a block header could not be read from the file
};

// One phrase for the end of a walk ("block flagged as last", "end of file", ...).
std::string WalkEndText(WalkEnd eEnd);

// A block header as the walk found it.
struct WalkedBlock {
  int64_t lOffset = 0;  // of the block header, from the start of the file
  CRspBlockHeaderClass header;
  int32_t lLength = CRspBlockHeaderClass::kBadLength;  // of the body (GetBlockLength)
  BlockKind eKind = BlockKind::kUnknown;
  bool bTruncated = false;  // the body runs past the end of the file

  bool HasLength() const noexcept { return lLength != CRspBlockHeaderClass::kBadLength; }
  bool IsKnown() const noexcept { return eKind != BlockKind::kUnknown; }
};

// A place in a file, for messages that say where something happened.
struct FilePlace {
  enum class Kind { kFileHeader, kBlock, kCutBlockHeader };
  Kind eKind = Kind::kFileHeader;
  int64_t lOffset = 0;
  std::string sIDfx;  // the block's identifier (kBlock only)
};

// "file header at byte 0", "block \"PULS\" at byte 4187", "block header cut short at byte 70".
std::string FilePlaceText(const FilePlace& place);

class BlockWalk {
 public:
  // Walks a file image in memory; the bytes must outlive the walk.
  explicit BlockWalk(std::span<const uint8_t> bytes);
  // Walks the content of a stream, in memory or over a file; the stream must outlive the walk.
  // Its position does not move.
  explicit BlockWalk(ByteStream& stream);
  // Walks a file the caller has opened, lFileSize bytes long, reading only its headers. The
  // stream must outlive the walk; its position is moved.
  BlockWalk(std::istream& file, int64_t lFileSize);

  int64_t FileSize() const noexcept { return fileSize_; }
  FileVerdict Verdict() const noexcept { return verdict_; }
  // The file header's fields (all zero when fewer than 30 bytes could be read).
  const CFileHeaderClass& FileHeader() const noexcept { return fileHeader_; }

  // Steps onto the next block; false when the walk has ended (End() says why). A block
  // without a computable length is still stepped onto; the walk ends behind it.
  bool Next();
  // The block Next() stepped onto last.
  const WalkedBlock& Block() const noexcept { return block_; }
  bool HasBlock() const noexcept { return blockCount_ > 0; }
  int64_t BlockCount() const noexcept { return blockCount_; }
  WalkEnd End() const noexcept { return end_; }
  // Where the walk stands: the file header before the first block, then the current block,
  // and a cut header where the file ends inside one.
  FilePlace Place() const;
  // Bytes behind the block flagged as last.
  int64_t TrailingBytes() const noexcept { return trailingBytes_; }

  // Steps to the end and keeps the blocks, at most nMaxBlocks of them; when there are more,
  // bCut is set and the walk stops behind the last one kept (End() is still kWalking).
  struct Listing {
    std::vector<WalkedBlock> blocks;
    bool bCut = false;
  };
  Listing ListBlocks(std::size_t nMaxBlocks);

 private:
  using ReadAt = std::function<bool(int64_t lOffset, std::span<uint8_t> out)>;
  BlockWalk(ReadAt readAt, int64_t lFileSize);
  void JudgeFileHeader();
  // The step behind the current block, or the end it meets; true when there is a next block.
  bool StepBehindBlock();
  bool Ended(WalkEnd eEnd);

  ReadAt readAt_;
  int64_t fileSize_ = 0;
  FileVerdict verdict_ = FileVerdict::kEmpty;
  CFileHeaderClass fileHeader_;
  ByteStream scratch_;
  WalkedBlock block_;
  int64_t blockCount_ = 0;
  int64_t position_ = CFileHeaderClass::kLength;
  WalkEnd end_ = WalkEnd::kWalking;
  int64_t trailingBytes_ = 0;
};

}  // namespace zyra

#endif  // ZYRA_FORMAT_BLOCK_WALK_H_
