// A walk over the header and block headers of a response file's bytes, for `info`: every
// block is listed with its offset and length, also blocks the library does not know.
#ifndef ZYRA_TOOLS_FILE_WALK_H_
#define ZYRA_TOOLS_FILE_WALK_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "zyra/format/file_header.h"
#include "zyra/format/rsp_block_header.h"

namespace zyra::tool {

struct WalkedBlock {
  int32_t lOffset = 0;  // of the block header, from the start of the file
  CRspBlockHeaderClass header;
  int32_t lLength = 0;  // of the body (GetBlockLength), CRspBlockHeaderClass::kBadLength if none
  bool bKnown = false;  // one of the eight blocks the reader dispatches on
  bool bTruncated = false;  // the body runs past the end of the file
};

// How the walk ended, in the reader's own order of stopping rules.
enum class WalkEnd {
  kNoHeader,     // fewer than 30 bytes
  kEndOfFile,    // the next block would start at or behind the end
  kLastBlock,    // a block flagged as last
  kBadLength,    // a header whose body length cannot be computed
  kOutOfRange,   // a body length that is negative or not below the file's length
  kShortHeader,  // the file ends inside a block header
};

struct FileWalk {
  int64_t lFileSize = 0;
  bool bHasHeader = false;
  CFileHeaderClass header;
  bool bMagicOk = false;
  bool bKindOk = false;
  bool bVersionOk = false;
  std::vector<WalkedBlock> blocks;
  WalkEnd eEnd = WalkEnd::kNoHeader;
  int64_t lTrailingBytes = 0;  // bytes behind the last block the walk reached
};

// Steps from block to block exactly as the response file reader does, without reading a body.
FileWalk WalkResponseBytes(std::span<const uint8_t> bytes);

// The file header of a file on disk (its first 30 bytes); no value when it is shorter or
// cannot be read.
std::optional<CFileHeaderClass> ReadFileHeaderOf(const std::string& sFilePath);

// One phrase for the end of the walk ("flagged as last", "end of file", ...).
std::string WalkEndText(WalkEnd eEnd);

}  // namespace zyra::tool

#endif  // ZYRA_TOOLS_FILE_WALK_H_
