#include "zyra/format/rsp_block_header.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"
#include "zyra/support/logger.h"

namespace zyra {
namespace {

TEST(RspBlockHeaderTest, GetBlockLengthFollowsTheFlagsAndRejectsWhatCannotBeALength) {
  const struct {
    int32_t nInfo, lInfo, flags, length;
  } cases[] = {
      {21, 4, 0, 88},          // 22 Singles
      {1, 300, 4, 300},        // a single body
      {0, 10, 0, 10},          // one record
      {0, 10, 2, 0},           // counted: no record
      {0, 10, 6, 10},          // the single body wins over the count
      {5, 10, 3, 50},          // the last-block bit does not change the length
      {-1, 10, 0, INT32_MIN},  // a negative count
      {-5, 10, 2, INT32_MIN},
      {3, -1, 4, INT32_MIN},           // a negative record length
      {100000, 100000, 0, INT32_MIN},  // 10^10 does not fit a Long
      {100000, 100000, 2, INT32_MIN},
      {2147483647, 0, 0, INT32_MIN},   // nInfo + 1 overflows a Long
      {2147483647, 1, 2, 2147483647},  // the largest length there is
      {2147483646, 1, 0, 2147483647},
      {1073741824, 2, 2, INT32_MIN},  // one past it
      {0, 2147483647, 4, 2147483647},
  };
  for (const auto& c : cases) {
    CRspBlockHeaderClass header;
    header.SetnInfo(c.nInfo);
    header.SetlInfo(c.lInfo);
    header.Setflags(c.flags);
    EXPECT_EQ(header.GetBlockLength(), c.length)
        << "nInfo " << c.nInfo << " lInfo " << c.lInfo << " flags " << c.flags;
  }
}

TEST(RspBlockHeaderTest, WritesTwentyBytesInFileOrderAndReadsAndLogsThemBack) {
  CRspBlockHeaderClass header;
  header.SetIDfx("ABCDE");  // cut to four letters
  header.SetlHdr(14);
  header.SetVrsn(1);
  header.Setflags(3);
  header.SetnInfo(-1);
  header.SetlInfo(150);
  ByteStream stream;
  header.SaveToByteStream(stream);
  EXPECT_EQ(testing::StreamHex(stream),
            "41 42 43 44 0e 00 01 00 03 00 00 00 ff ff ff ff 96 00 00 00");

  stream = testing::StreamOf("41 42 20 20 0e 00 01 00 03 00 00 00 ff ff ff ff 96 00 00 00");
  CRspBlockHeaderClass back;
  StringLogger logger;
  back.ReadFromByteStream(stream, &logger);
  EXPECT_EQ(stream.GetPosition(), CRspBlockHeaderClass::kLength);
  EXPECT_EQ(back.lInfo(), 150);
  EXPECT_EQ(logger.Lines(),
            (std::vector<std::string>{"BHd.IDfx AB  ", "BHd.lHdr 14", "BHd.Vrsn 1", "BHd.flags 3",
                                      "BHd.nInfo -1", "BHd.lInfo 150"}));
  // A short stream fails before anything is printed.
  stream = testing::StreamOf("50 55 4c 53 0e 00 01 00 02 00 00 00 05 00 00");
  StringLogger none;
  EXPECT_EQ(testing::ErrorNumberOf([&] { back.ReadFromByteStream(stream, &none); }), kErrPastEnd);
  EXPECT_TRUE(none.Lines().empty());
}

}  // namespace
}  // namespace zyra
