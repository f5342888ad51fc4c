#include "zyra/format/block_walk.h"

#include <gtest/gtest.h>

#include <sstream>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::Hex;

// "ZYRA" 3 0, nHdr 2, lHdr 20, "RF", version 1, flags 0, nRcd -1, lRcd 150, addr 0.
const std::string kHeader = "5a5952410300 0200 1400 5246 0100 00000000 ffffffff 96000000 00000000";

// Each block as "offset id length" with "?" when unknown and "cut" when truncated, then the end
// and where the walk stands.
std::string Walked(BlockWalk& walk) {
  std::string text;
  for (const WalkedBlock& b : walk.ListBlocks(100).blocks) {
    text += std::to_string(b.lOffset) + " " + b.header.IDfx() + " " + std::to_string(b.lLength) +
            (b.IsKnown() ? "" : " ?") + (b.bTruncated ? " cut" : "") + "; ";
  }
  return text + WalkEndText(walk.End()) + "; " + FilePlaceText(walk.Place());
}

TEST(BlockWalkTest, StepsFromBlockToBlockAsTheReaderDoes) {
  const std::string kBad = std::to_string(CRspBlockHeaderClass::kBadLength);
  const struct {
    std::string hex;
    std::string walked;
    int64_t trailing = 0;
  } rows[] = {
      {kHeader + "41424344 1400 0000 04000000 00000000 03000000 78797a" +
           "54455854 1400 0000 05000000 00000000 02000000 6869 ffff",
       "30 ABCD 3 ?; 53 TEXT 2; block flagged as last; block \"TEXT\" at byte 53", 2},
      {kHeader + "50524f42 1400 0000 00000000 fbffffff 10000000 00",
       "30 PROB " + kBad + "; block header without a computable length; block \"PROB\" at byte 30"},
      {kHeader + "50554c53 1400 0000 0000",
       "file ends inside a block header; block header cut short at byte 30"},
      {kHeader + "50554c53 1400 0100 04000000 00000000 28000000 0102030405",
       "30 PULS 40 cut; end of file; block \"PULS\" at byte 30"},
      {kHeader + "50554c53 1400 0100 04000000 00000000 37000000 01",
       "30 PULS 55 cut; block length out of range; block \"PULS\" at byte 30"},
      {kHeader, "end of file; file header at byte 0"},
  };
  for (const auto& row : rows) {
    const std::vector<uint8_t> bytes = Hex(row.hex);
    BlockWalk walk(bytes);
    EXPECT_EQ(Walked(walk), row.walked) << row.hex;
    EXPECT_EQ(walk.TrailingBytes(), row.trailing) << row.hex;
    // The same walk over an open file, reading headers only.
    std::istringstream file(std::string(bytes.begin(), bytes.end()));
    BlockWalk fromFile(file, std::ssize(bytes));
    EXPECT_EQ(Walked(fromFile), row.walked) << row.hex;
  }
}

TEST(BlockWalkTest, JudgesTheFileHeaderInTheReadersOrder) {
  const auto judged = [](std::string hex, const std::string& from, const std::string& to) {
    if (!from.empty()) hex.replace(hex.find(from), from.size(), to);
    const std::vector<uint8_t> bytes = Hex(hex);
    BlockWalk walk(bytes);
    const bool walked = walk.Next() || walk.End() != WalkEnd::kNotWalked;
    EXPECT_EQ(walked, walk.Verdict() == FileVerdict::kResponseFile) << hex;
    return FileVerdictText(walk.Verdict());
  };
  EXPECT_EQ(judged(kHeader, "", ""), "a response file");
  EXPECT_EQ(judged(kHeader, "0100 0000", "0000 0000"), "a response file");  // version 0
  EXPECT_EQ(judged(kHeader, "5246 0100", "5246 ffff"), "Unknown Version");
  EXPECT_EQ(judged(kHeader.substr(0, kHeader.size() - 2), "", ""), "shorter than a file header");
  EXPECT_EQ(judged("", "", ""), "empty");
}

TEST(BlockWalkTest, AFileLargerThanAResponseFileIsJudgedFromItsHeaderAlone) {
  // A 4 GiB file of which only the header exists: the walk reads 30 bytes and stops.
  const std::vector<uint8_t> header = Hex(kHeader);
  std::istringstream file(std::string(header.begin(), header.end()));
  BlockWalk walk(file, int64_t{4} << 30);
  EXPECT_EQ(walk.Verdict(), FileVerdict::kTooLarge);
  EXPECT_EQ(walk.FileHeader().lRcd(), 150);
  EXPECT_FALSE(walk.Next());
  EXPECT_EQ(walk.End(), WalkEnd::kNotWalked);
}

TEST(BlockWalkTest, ListingStopsAtItsLimit) {
  std::string hex = kHeader;
  for (int i = 0; i < 5; ++i) hex += "54455854 1400 0000 04000000 00000000 00000000";
  const std::vector<uint8_t> bytes = Hex(hex);
  BlockWalk walk(bytes);
  const BlockWalk::Listing listing = walk.ListBlocks(3);
  EXPECT_EQ(listing.blocks.size(), 3u);
  EXPECT_TRUE(listing.bCut);
  EXPECT_EQ(walk.End(), WalkEnd::kWalking);
}

}  // namespace
}  // namespace zyra
