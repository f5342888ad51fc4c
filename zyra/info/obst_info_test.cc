#include "zyra/info/obst_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamOf;

// The version-1 record's bytes are checked with the block (obst_info_buffer_test.cc).
TEST(ObstInfoTest, ReadsEachVersionAsItsLayoutSaysAndCopiesDeep) {
  CObstInfoClass original;
  original.SetItem(-3);
  original.SetLabel(std::string(300, 'x'));  // cut to 256 characters
  const auto copy = original.CopyDeep();
  original.SetItem(4);
  original.SetLabel("other");
  EXPECT_EQ(copy->Item(), -3);
  EXPECT_EQ(copy->Label(), std::string(256, 'x'));
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
