// The file header and the block header: fitted texts, read and logged back, and the body length
// a block header implies.
#include <gtest/gtest.h>

#include "testing/test_support.h"
#include "zyra/format/file_header.h"
#include "zyra/format/rsp_block_header.h"
#include "zyra/support/logger.h"

namespace zyra {
namespace {

using testing::StreamOf;

// The bytes each header writes are pinned where a whole file and a "PULS" block are saved.
TEST(HeadersTest, TextsAreFittedAndHeadersReadAndLoggedBack) {
  CFileHeaderClass file;
  file.SetZYRA("ZY");
  file.SetIDfx("RFX");
  CRspBlockHeaderClass block;
  block.SetIDfx("ABCDE");
  EXPECT_EQ(file.ZYRA() + "|" + file.IDfx() + "|" + block.IDfx(), "ZY    |RF|ABCD");

  ByteStream stream = StreamOf(
      "5a 59 52 41 ff 07 03 00 14 00 52 46 01 00 07 00 00 00 09 00 00 00 96 00 00 00"
      "e5 00 00 00  41 42 20 20 0e 00 01 00 03 00 00 00 ff ff ff ff 96 00 00 00");
  StringLogger logger;
  file.ReadFromByteStream(stream, &logger);
  block.ReadFromByteStream(stream, &logger);
  EXPECT_EQ(stream.GetPosition(), CFileHeaderClass::kLength + CRspBlockHeaderClass::kLength);
  EXPECT_EQ(file.addr(), 229);
  EXPECT_EQ(block.lInfo(), 150);
  EXPECT_EQ(logger.Lines().size(), 15U);  // a line per field
  // A short stream fails before anything is printed.
  stream = StreamOf("50 55 4c 53 0e 00 01 00 02 00 00 00 05 00 00");
  StringLogger none;
  EXPECT_EQ(testing::ErrorNumberOf([&] { block.ReadFromByteStream(stream, &none); }), kErrPastEnd);
  EXPECT_TRUE(none.Lines().empty());
}

TEST(HeadersTest, BlockLengthFollowsTheFlagsAndRejectsWhatCannotBeALength) {
  const int32_t cases[][4] = {
      // nInfo, lInfo, flags, length
      {21, 4, 0, 88},                  // 22 Singles
      {1, 300, 4, 300},                // a single body
      {0, 10, 0, 10},                  // one record
      {0, 10, 2, 0},                   // counted: no record
      {0, 10, 6, 10},                  // the single body wins over the count
      {5, 10, 3, 50},                  // the last-block bit does not change the length
      {-1, 10, 0, INT32_MIN},          // a negative count
      {3, -1, 4, INT32_MIN},           // a negative record length
      {100000, 100000, 0, INT32_MIN},  // 10^10 does not fit a Long
      {2147483647, 0, 0, INT32_MIN},   // nInfo + 1 overflows a Long
      {2147483647, 1, 2, 2147483647},  // the largest length there is
      {2147483646, 1, 0, 2147483647},
      {1073741824, 2, 2, INT32_MIN},  // one past it
  };
  for (const auto& c : cases) {
    CRspBlockHeaderClass header;
    header.SetnInfo(c[0]);
    header.SetlInfo(c[1]);
    header.Setflags(c[2]);
    EXPECT_EQ(header.GetBlockLength(), c[3]) << c[0] << " " << c[1] << " " << c[2];
  }
}

}  // namespace
}  // namespace zyra
