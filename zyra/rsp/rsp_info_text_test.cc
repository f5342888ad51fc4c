#include "zyra/rsp/rsp_info_text.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

TEST(RspInfoTextTest, SaveWritesPrefixAndTextWithTheirByteCount) {
  const struct {
    std::string prefix, text, hex;
  } cases[] = {
      {"", "", "54455854 0e00 0100 02000000 01000000 00000000"},
      {"P", "T", "54455854 0e00 0100 02000000 01000000 02000000 5054"},
      {"", "a\r\nb", "54455854 0e00 0100 02000000 01000000 04000000 610d0a62"},
  };
  for (const auto& c : cases) {
    CRspInfoTextClass info;
    info.SetSourceText(c.text);
    ByteStream stream;
    info.SaveToByteStream(stream, c.prefix);
    EXPECT_EQ(StreamHex(stream), StreamHex(StreamOf(c.hex))) << c.prefix << c.text;
    EXPECT_EQ(stream.GetPosition(), stream.GetLength());
  }
}

TEST(RspInfoTextTest, ReadTakesLInfoBytesForKnownVersionsOnly) {
  const struct {
    std::string hex;
    int32_t error, result;  // error: the run-time error raised, 0 for none
    std::string message, text;
    int32_t position;
  } cases[] = {
      // version 0, lInfo 5, two more bytes that belong to the next block
      {"54455854 0e00 0000 00000000 07000000 05000000 48656c6c6f 2121", 0, 0, "", "Hello", 25},
      {"54455854 0e00 0100 02000000 01000000 00000000", 0, 0, "", "", 20},
      {"54455854 0e00 0200 02000000 01000000 01000000 41", 0, -1, "Unknown Text Block!", "old", 20},
      {"54455854 0e00 ffff 02000000 01000000 01000000 41", 0, -1, "Unknown Text Block!", "old", 20},
      // lengths the stream cannot hold are refused before anything is allocated
      {"54455854 0e00 0100 02000000 01000000 ffffff7f 41", kErrPastEnd, 0, "stale", "old", 20},
      {"54455854 0e00 0100 02000000 01000000 ffffffff 41", kErrInvalidCall, 0, "stale", "old", 20},
  };
  for (const auto& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CRspInfoTextClass info;
    info.SetSourceText("old");
    std::string message = "stale";
    int32_t result = 0;
    EXPECT_EQ(testing::ErrorNumberOf([&] { result = info.ReadFromByteStream(stream, message); }),
              c.error)
        << c.hex;
    EXPECT_EQ(result, c.result) << c.hex;
    EXPECT_EQ(message, c.message);
    EXPECT_EQ(info.SourceText(), c.text);
    EXPECT_EQ(stream.GetPosition(), c.position);
  }
}

}  // namespace
}  // namespace zyra
