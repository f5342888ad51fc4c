#include "tools/file_walk.h"

#include <array>
#include <fstream>

#include "zyra/support/byte_stream.h"

namespace zyra::tool {
namespace {

constexpr std::array<const char*, 8> kKnownBlocks = {"PROB", "LSPK", "OBST", "TAIL",
                                                     "PRED", "SLRT", "PULS", "TEXT"};

bool IsKnownBlock(const std::string& sID) {
  for (const char* known : kKnownBlocks) {
    if (sID == known) return true;
  }
  return false;
}

}  // namespace

FileWalk WalkResponseBytes(std::span<const uint8_t> bytes) {
  FileWalk walk;
  walk.lFileSize = static_cast<int64_t>(bytes.size());
  if (bytes.size() < static_cast<std::size_t>(CFileHeaderClass::kLength)) return walk;
  ByteStream stream;
  stream.LoadFromBytes(bytes);
  walk.header.ReadFromByteStream(stream);
  walk.bHasHeader = true;
  walk.bMagicOk = walk.header.ZYRA() == ResponseFileMagic();
  walk.bKindOk = walk.header.IDfx() == "RF";
  walk.bVersionOk = walk.header.Vrsn() >= 0 && walk.header.Vrsn() <= 2;

  const int64_t lLength = stream.GetLength();
  int64_t position = CFileHeaderClass::kLength;
  while (true) {
    if (position >= lLength) {
      walk.eEnd = WalkEnd::kEndOfFile;
      break;
    }
    if (lLength - position < CRspBlockHeaderClass::kLength) {
      walk.eEnd = WalkEnd::kShortHeader;
      break;
    }
    WalkedBlock block;
    block.lOffset = static_cast<int32_t>(position);
    stream.SetPosition(block.lOffset);
    block.header.ReadFromByteStream(stream);
    block.lLength = block.header.GetBlockLength();
    block.bKnown = IsKnownBlock(block.header.IDfx());
    const bool bBad = block.lLength == CRspBlockHeaderClass::kBadLength;
    block.bTruncated = !bBad && position + CRspBlockHeaderClass::kLength + block.lLength > lLength;
    walk.blocks.push_back(block);
    if (bBad) {
      walk.eEnd = WalkEnd::kBadLength;
      break;
    }
    if (block.lLength < 0 || block.lLength >= lLength) {
      walk.eEnd = WalkEnd::kOutOfRange;
      break;
    }
    position += CRspBlockHeaderClass::kLength + static_cast<int64_t>(block.lLength);
    if ((block.header.flags() & kBlockFlagLast) != 0) {
      walk.eEnd = WalkEnd::kLastBlock;
      walk.lTrailingBytes = lLength > position ? lLength - position : 0;
      break;
    }
  }
  return walk;
}

std::optional<CFileHeaderClass> ReadFileHeaderOf(const std::string& sFilePath) {
  std::ifstream in(sFilePath, std::ios::binary);
  std::vector<uint8_t> bytes(static_cast<std::size_t>(CFileHeaderClass::kLength));
  if (!in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
    return std::nullopt;
  }
  ByteStream stream;
  stream.LoadFromBytes(std::move(bytes));
  CFileHeaderClass header;
  header.ReadFromByteStream(stream);
  return header;
}

std::string WalkEndText(WalkEnd eEnd) {
  switch (eEnd) {
    case WalkEnd::kNoHeader:
      return "shorter than a file header";
    case WalkEnd::kEndOfFile:
      return "end of file";
    case WalkEnd::kLastBlock:
      return "block flagged as last";
    case WalkEnd::kBadLength:
      return "block header without a computable length";
    case WalkEnd::kOutOfRange:
      return "block length out of range";
    case WalkEnd::kShortHeader:
      return "file ends inside a block header";
  }
  return "";
}

}  // namespace zyra::tool
