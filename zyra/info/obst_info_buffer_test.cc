#include "zyra/info/obst_info_buffer.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::RecordingBusy;
using testing::StreamHex;
using testing::StreamOf;

TEST(ObstInfoBufferTest, SavesTheHeaderAlsoForAnEmptyListAndPatchesTheLength) {
  CObstInfoBufferClass empty;
  ByteStream stream;
  EXPECT_EQ(empty.SaveInfoBlockToByteStream(stream), 20);
  EXPECT_EQ(StreamHex(stream),
            StreamHex(StreamOf("4f425354 0e00 0100 0e000000 00000000 00000000")));

  CObstInfoBufferClass two;
  two.SetCount(2);
  two.ObstInfo(1)->SetItem(1);
  two.ObstInfo(1)->SetLabel("A");
  two.ObstInfo(2)->SetItem(2);
  two.ObstInfo(2)->SetLabel("B");
  ByteStream written;
  written.WriteInt32(-1);  // the block need not start at the stream's beginning
  EXPECT_EQ(two.SaveInfoBlockToByteStream(written), 20 + 2 * 266);
  EXPECT_EQ(StreamHex(written, 4, 4 + 20 + 266),
            StreamHex(StreamOf("4f425354 0e00 0100 0e000000 02000000 14020000"
                               "06010000 02010000 0100 41" +
                               testing::HexRun("20", 255))));

  written.SetPosition(4);
  CObstInfoBufferClass back;
  std::string message = "stale";
  ASSERT_EQ(back.ReadInfoBlockFromByteStream(written, message), 0);
  EXPECT_EQ(message, "");
  ASSERT_EQ(back.Count(), 2);
  EXPECT_EQ(back.ObstInfo(2)->Item(), 2);
  EXPECT_EQ(back.ObstInfo(2)->Label(), "B" + std::string(255, ' '));
}

TEST(ObstInfoBufferTest, ReadJudgesLengthsAndCountsBeforeSizingTheList) {
  const std::string record1 = "06010000 02010000 0100 41" + testing::HexRun("20", 255);
  const struct {
    std::string name, hex;
    int32_t result;  // when no error is raised
    int32_t error;   // 0: none
    std::string message;
    int32_t count;  // Count afterwards
  } cases[] = {
      {"v0 two records", "4f425354 0e00 0000 0e000000 02000000 12000000" + std::string(72, '2'), 0,
       0, "", 2},
      {"v0 lInfo 17", "4f425354 0e00 0000 0e000000 01000000 11000000" + std::string(36, '2'), -1, 0,
       "Bad ObstInfo30 Length", 5},
      {"v1 second record refused",
       "4f425354 0e00 0100 0e000000 02000000 14020000" + record1 + "06010000 01010000" +
           testing::HexRun("20", 258),
       -1, 0, "Bad ObstInfo Length", 2},
      {"v0 three records in 36 bytes",
       "4f425354 0e00 0000 0e000000 03000000 12000000" + std::string(72, '2'), 0, kErrPastEnd, "",
       5},
      {"huge nInfo", "4f425354 0e00 0100 0e000000 ffffff7f 00000000" + record1, 0, kErrPastEnd, "",
       5},
      {"negative nInfo", "4f425354 0e00 0100 0e000000 ffffffff 00000000" + record1, 0, kErrPastEnd,
       "", 5},
      {"unknown version, huge nInfo", "4f425354 0e00 0700 0e000000 ffffff7f 00000000 00", 0,
       kErrPastEnd, "", 5},
      {"unknown version reads empty entries",
       "4f425354 0e00 0700 0e000000 02000000 00000000" + std::string(72, '0'), 0, 0, "", 2},
      {"unknown version counted as 18 bytes a record",
       "4f425354 0e00 0700 0e000000 02000000 00000000" + std::string(70, '0'), 0, kErrPastEnd, "",
       5},
  };
  for (const auto& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CObstInfoBufferClass buffer;
    buffer.SetCount(5);
    std::string message = "stale";
    int32_t result = 99;
    EXPECT_EQ(testing::ErrorNumberOf(
                  [&] { result = buffer.ReadInfoBlockFromByteStream(stream, message); }),
              c.error)
        << c.name;
    if (c.error == 0) {
      EXPECT_EQ(result, c.result) << c.name;
      EXPECT_EQ(message, c.message) << c.name;
    }
    EXPECT_EQ(buffer.Count(), c.count) << c.name;
    if (c.message == "Bad ObstInfo Length") {
      EXPECT_EQ(buffer.ObstInfo(1)->Item(), 1);  // entries read before stay
    }
  }
}

TEST(ObstInfoBufferTest, TestBusyReportsEveryHundredStepsAndStopsWhenCancelled) {
  const CObstInfoBufferClass buffer;
  RecordingBusy busy(3);
  EXPECT_EQ(buffer.TestBusy(&busy), 0);
  ASSERT_EQ(busy.calls.size(), 3u);
  for (size_t k = 0; k < 3; ++k) {
    EXPECT_EQ(busy.calls[k].caption, "Test");
    EXPECT_TRUE(busy.calls[k].report);
    EXPECT_DOUBLE_EQ(busy.calls[k].fraction, static_cast<double>(k) * 1e-5);
  }
  EXPECT_EQ(buffer.TestBusy(nullptr), -1);
}

}  // namespace
}  // namespace zyra
