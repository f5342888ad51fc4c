#include "zyra/rsp/local_rt_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

TEST(LocalRTInfoTest, SavesA108ByteBlockAndReadsItBack) {
  CLocalRTInfoClass info;
  info.SetLocalRTime(0, 1.0f);
  info.SetLocalRTime(1, -1.0f);
  info.SetLocalRTime(21, 2.5f);
  ByteStream stream;
  info.SaveToByteStream(stream);
  const std::string expected = "534c5254 0e00 0000 00000000 15000000 04000000" +
                               std::string("0000803f") + "000080bf" + testing::HexRun("00", 76) +
                               "00002040";
  EXPECT_EQ(StreamHex(stream), StreamHex(StreamOf(expected)));

  stream.SetPosition(0);
  CLocalRTInfoClass back;
  std::string message = "stale";
  EXPECT_EQ(back.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), 108);
  ByteStream again;
  back.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), StreamHex(stream));
}

TEST(LocalRTInfoTest, HeaderIsNotJudgedButAShortBodyFailsAndKeepsTheValues) {
  // Version 7 and nInfo 3 are not consulted: 22 values are read all the same.
  ByteStream any = StreamOf("534c5254 0e00 0700 00000000 03000000 04000000 0000803f" +
                            testing::HexRun("00", 84));
  CLocalRTInfoClass info;
  std::string message;
  EXPECT_EQ(info.ReadFromByteStream(any, message), 0);
  EXPECT_EQ(info.LocalRTime(0), 1.0f);

  ByteStream shortBody =
      StreamOf("534c5254 0e00 0000 00000000 15000000 04000000" + testing::HexRun("00", 84));
  EXPECT_EQ(testing::ErrorNumberOf([&] { info.ReadFromByteStream(shortBody, message); }),
            kErrPastEnd);
  EXPECT_EQ(info.LocalRTime(0), 1.0f);
}

}  // namespace
}  // namespace zyra
