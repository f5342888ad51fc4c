#include "zyra/rsp/rsp_info_text.h"

#include <gtest/gtest.h>

#include "tests/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

TEST(RspInfoTextTest, SaveWritesPrefixAndTextWithTheirByteCount) {
  struct Case {
    std::string prefix, text, hex;
  };
  const Case cases[] = {
      {"", "", "54455854 0e00 0100 02000000 01000000 00000000"},
      {"P", "T", "54455854 0e00 0100 02000000 01000000 02000000 5054"},
      {"", "a\r\nb", "54455854 0e00 0100 02000000 01000000 04000000 610d0a62"},
  };
  for (const Case& c : cases) {
    CRspInfoTextClass info;
    info.SetSourceText(c.text);
    ByteStream stream;
    info.SaveToByteStream(stream, c.prefix);
    EXPECT_EQ(StreamHex(stream), StreamHex(StreamOf(c.hex))) << c.prefix << c.text;
    EXPECT_EQ(stream.GetPosition(), stream.GetLength());
    EXPECT_EQ(info.SourceText(), c.text);
  }
}

TEST(RspInfoTextTest, ReadTakesLInfoBytesForKnownVersionsOnly) {
  struct Case {
    std::string hex;
    int32_t result;
    std::string message, text;
    int32_t position;
  };
  const Case cases[] = {
      // version 0, lInfo 5, two more bytes that belong to the next block
      {"54455854 0e00 0000 00000000 07000000 05000000 48656c6c6f 2121", 0, "", "Hello", 25},
      {"54455854 0e00 0100 02000000 01000000 00000000", 0, "", "", 20},
      {"54455854 0e00 0200 02000000 01000000 01000000 41", -1, "Unknown Text Block!", "old", 20},
      {"54455854 0e00 ffff 02000000 01000000 01000000 41", -1, "Unknown Text Block!", "old", 20},
  };
  for (const Case& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CRspInfoTextClass info;
    info.SetSourceText("old");
    std::string message = "stale";
    EXPECT_EQ(info.ReadFromByteStream(stream, message), c.result) << c.hex;
    EXPECT_EQ(message, c.message);
    EXPECT_EQ(info.SourceText(), c.text);
    EXPECT_EQ(stream.GetPosition(), c.position);
  }
}

TEST(RspInfoTextTest, ALengthTheStreamCannotHoldFailsWithoutChangingTheText) {
  struct Case {
    std::string hex;
    int32_t error;
  };
  const Case cases[] = {
      {"54455854 0e00 0100 02000000 01000000 ffffff7f 41", kErrPastEnd},
      {"54455854 0e00 0100 02000000 01000000 ffffffff 41", kErrInvalidCall},
  };
  for (const Case& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CRspInfoTextClass info;
    info.SetSourceText("old");
    std::string message;
    try {
      info.ReadFromByteStream(stream, message);
      ADD_FAILURE() << "no error for " << c.hex;
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.Number(), c.error);
    }
    EXPECT_EQ(info.SourceText(), "old");
  }
}

TEST(RspInfoTextTest, ReadLogsTheHeaderThenTheText) {
  ByteStream stream = StreamOf("54455854 0e00 0100 02000000 01000000 02000000 6869");
  CRspInfoTextClass info;
  StringLogger logger;
  std::string message;
  ASSERT_EQ(info.ReadFromByteStream(stream, message, &logger), 0);
  ASSERT_EQ(logger.Lines().size(), 8u);
  EXPECT_EQ(logger.Lines()[5], "BHd.lInfo 2");
  EXPECT_EQ(logger.Lines()[6], "");
  EXPECT_EQ(logger.Lines()[7], "Text: hi");
}

}  // namespace
}  // namespace zyra
