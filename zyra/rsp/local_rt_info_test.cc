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
  StringLogger logger;
  EXPECT_EQ(back.ReadFromByteStream(stream, message, &logger), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), 108);
  EXPECT_EQ(back.LocalRTime(21), 2.5f);
  ASSERT_EQ(logger.Lines().size(), 6u + 22u);
  EXPECT_EQ(logger.Lines()[6], " FaMyLocalRTime(0)1");
  EXPECT_EQ(logger.Lines()[27], " FaMyLocalRTime(21)2.5");
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
  try {
    info.ReadFromByteStream(shortBody, message);
    ADD_FAILURE() << "an 84-byte body was accepted";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Number(), kErrPastEnd);
  }
  EXPECT_EQ(info.LocalRTime(0), 1.0f);
}

}  // namespace
}  // namespace zyra
