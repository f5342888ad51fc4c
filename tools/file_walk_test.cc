#include "tools/file_walk.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra::tool {
namespace {

using zyra::testing::Hex;

// "ZYRA" 3 0, nHdr 2, lHdr 20, "RF", version 1, flags 0, nRcd -1, lRcd 150, addr 0.
const std::string kHeader = "5a5952410300 0200 1400 5246 0100 00000000 ffffffff 96000000 00000000";

// Each block as "offset id length" with "?" when unknown and "cut" when truncated.
std::string Blocks(const FileWalk& walk) {
  std::string text;
  for (const auto& b : walk.blocks) {
    text += std::to_string(b.lOffset) + " " + b.header.IDfx() + " " + std::to_string(b.lLength) +
            (b.bKnown ? "" : " ?") + (b.bTruncated ? " cut" : "") + ";";
  }
  return text;
}

TEST(WalkResponseBytesTest, StepsFromBlockToBlockAsTheReaderDoes) {
  const struct {
    const char* name;
    std::string hex;
    std::string blocks;
    WalkEnd eEnd;
    int64_t trailing;
  } rows[] = {
      {"unknown block skipped, last flag ends, trailing bytes counted",
       kHeader + "41424344 1400 0000 04000000 00000000 03000000 78797a" +
           "54455854 1400 0000 05000000 00000000 02000000 6869 ffff",
       "30 ABCD 3 ?;53 TEXT 2;", WalkEnd::kLastBlock, 2},
      {"negative count has no length", kHeader + "50524f42 1400 0000 00000000 fbffffff 10000000 00",
       "30 PROB " + std::to_string(CRspBlockHeaderClass::kBadLength) + ";", WalkEnd::kBadLength, 0},
      {"file ends inside a block header", kHeader + "50554c53 1400 0000 0000", "",
       WalkEnd::kShortHeader, 0},
      {"body cut short", kHeader + "50554c53 1400 0100 04000000 00000000 28000000 0102030405",
       "30 PULS 40 cut;", WalkEnd::kEndOfFile, 0},
      {"length not below the file's", kHeader + "50554c53 1400 0100 04000000 00000000 37000000 01",
       "30 PULS 55 cut;", WalkEnd::kOutOfRange, 0},
      {"header alone", kHeader, "", WalkEnd::kEndOfFile, 0},
      {"shorter than a header", kHeader.substr(0, kHeader.size() - 2), "", WalkEnd::kNoHeader, 0},
  };
  for (const auto& row : rows) {
    const FileWalk walk = WalkResponseBytes(Hex(row.hex));
    EXPECT_EQ(Blocks(walk), row.blocks) << row.name;
    EXPECT_EQ(walk.eEnd, row.eEnd) << row.name;
    EXPECT_EQ(walk.lTrailingBytes, row.trailing) << row.name;
  }
}

TEST(WalkResponseBytesTest, JudgesTheFileHeader) {
  const FileWalk good = WalkResponseBytes(Hex(kHeader));
  EXPECT_TRUE(good.bMagicOk && good.bKindOk && good.bVersionOk);
  std::string bad = kHeader;
  bad.replace(bad.find("5246"), 4, "5846");  // "XF"
  bad.replace(bad.find("0300"), 4, "0301");  // magic ends in 3 1
  const FileWalk walk = WalkResponseBytes(Hex(bad));
  EXPECT_FALSE(walk.bMagicOk || walk.bKindOk);
  EXPECT_TRUE(walk.bVersionOk);
}

}  // namespace
}  // namespace zyra::tool
