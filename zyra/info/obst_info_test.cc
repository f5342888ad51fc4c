#include "zyra/info/obst_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

TEST(ObstInfoTest, SavesA266ByteRecordWithItsLabelFittedToTwoHundredFiftySix) {
  CObstInfoClass info;
  info.SetLabel(std::string(300, 'x'));
  EXPECT_EQ(info.Label(), std::string(256, 'x'));
  info.SetItem(-3);
  info.SetLabel("Wall");
  ByteStream stream;
  info.SaveToByteStream(stream);
  EXPECT_EQ(StreamHex(stream),
            StreamHex(StreamOf("06010000 02010000 fdff 57616c6c" + testing::HexRun("20", 252))));

  stream.SetPosition(0);
  CObstInfoClass back;
  EXPECT_EQ(back.ReadFromByteStream(stream, 1), 0);
  EXPECT_EQ(stream.GetPosition(), 266);
  const auto copy = back.CopyDeep();
  back.SetLabel("other");
  ByteStream again;
  copy->SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), StreamHex(stream));
}

TEST(ObstInfoTest, ReadsEachVersionAsItsLayoutSays) {
  const std::string old = "Pillar" + std::string(250, ' ');
  const struct {
    int32_t version;
    std::string hex;
    int32_t result, position;
    int16_t item;
    std::string label;
  } cases[] = {
      // version 0: Item and 16 characters, padded to 256 with blanks
      {0, "0700 4142434445464748494a4b4c4d4e4f50 ffff", 0, 18, 7,
       "ABCDEFGHIJKLMNOP" + std::string(240, ' ')},
      // version 1 whose fixed length is 257: refused behind the two Longs
      {1, "06010000 01010000 0700", -1, 8, 1, old},
      // an unknown version reads nothing and succeeds
      {2, "0700", 0, 0, 1, old},
  };
  for (const auto& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CObstInfoClass info;
    info.SetItem(1);
    info.SetLabel("Pillar");
    EXPECT_EQ(info.ReadFromByteStream(stream, c.version), c.result) << c.version;
    EXPECT_EQ(stream.GetPosition(), c.position);
    EXPECT_EQ(info.Item(), c.item);
    EXPECT_EQ(info.Label(), c.label);
  }
}

}  // namespace
}  // namespace zyra
