#include "zyra/info/etc_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;
using E = CETCInfoClass;

// One value per field, each with the bytes it must take at its offset in the body.
struct Field {
  int32_t offset;
  const char* hex;
  void (*set)(E&);
};
const Field kFields[] = {
    {0, "feff", [](E& e) { e.SetHorAngle(-2); }},
    {4, "0000c03f", [](E& e) { e.SetAmplified(1.5f); }},
    {94, "00000040", [](E& e) { e.SetdEnergy(21, 2.0f); }},
    {140, "ffff", [](E& e) { e.SetTailSPL(21, -1); }},
    {142, "0900",
     [](E& e) {
       e.SetIsWithTail_b(true);
       e.SetIsCancelled_b(true);
     }},
    {144, "00008040", [](E& e) { e.SetTailStart(4.0f); }},
    {148, "0500", [](E& e) { e.SetTailNoise(5); }},
    {158, "000080bf", [](E& e) { e.SetTailGain(-1.0f); }},
    {162, "0000003f", [](E& e) { e.SetMaxDensity(0.5f); }},
    {166, "00004040", [](E& e) { e.SettSplit(3.0f); }},
    {170, "0000c03f", [](E& e) { e.SettDiff(1.5f); }},
    {174, "00002040", [](E& e) { e.SetVolume(2.5f); }},
    {186, "1300", [](E& e) { e.SetRTType(19); }},
    {188, "00000040", [](E& e) { e.SetRTime(0, 2.0f); }},
    {276, "0000003f", [](E& e) { e.SetAbsorp(0, 0.5f); }},
    {448, "000080bf", [](E& e) { e.SetNoise(21, -1.0f); }},
    {536, "00008040", [](E& e) { e.SetPower(21, 4.0f); }},
    {540, "04030201", [](E& e) { e.SetNoviFlags(0x01020304); }},
    {544, "00002040", [](E& e) { e.SetMaxSPL(2.5f); }},
};

E Sample() {
  E etc;
  for (const Field& field : kFields) field.set(etc);
  return etc;
}

TEST(ETCInfoTest, SavesEveryFieldAtItsOffsetAndReadsBackKeepingFlagBitsWithoutProperty) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  ASSERT_EQ(stream.GetLength(), 20 + 548);
  EXPECT_EQ(StreamHex(stream, 0, 20),
            "54 41 49 4c 0e 00 00 00 0e 00 00 00 01 00 00 00 24 02 00 00");
  EXPECT_EQ(testing::MisplacedFields(stream, 20, kFields), "");
  stream.SetPosition(20 + 142);
  stream.WriteInt16(static_cast<int16_t>(0x80f1));  // bits 16..128 and 32768 have no property
  const std::string saved = StreamHex(stream);

  stream.SetPosition(0);
  E etc;
  std::string message = "stale";
  ASSERT_EQ(etc.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_TRUE(etc.IsWithTail_b());
  EXPECT_FALSE(etc.IsCancelled_b());
  ByteStream again;
  etc.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), saved);
  // The copy goes through the properties: only the named bits come along.
  EXPECT_EQ(etc.GetCopy()->flags(), 1);
}

TEST(ETCInfoTest, WrongVersionOrLengthFailsBehindTheHeaderWithValuesUnchanged) {
  const std::pair<std::string, std::string> cases[] = {
      {"5441494c 0e00 0100 0e000000 01000000 24020000", "Unknown ETC Version 1"},
      {"5441494c 0e00 ffff 0e000000 01000000 24020000", "Unknown ETC Version-1"},
      {"5441494c 0e00 0000 0e000000 01000000 23020000", "Bad ETC Length"},
  };
  for (const auto& [header, expected] : cases) {
    ByteStream stream = StreamOf(header + testing::HexRun("00", 548));
    E etc = Sample();
    std::string message;
    EXPECT_EQ(etc.ReadFromByteStream(stream, message), -1);
    EXPECT_EQ(message, expected);
    EXPECT_EQ(stream.GetPosition(), 20);
    EXPECT_EQ(etc.MaxSPL(), 2.5f);
  }
  // A body one byte short fails in the stream, also without touching the values.
  ByteStream shortBody =
      StreamOf("5441494c 0e00 0000 0e000000 01000000 24020000" + testing::HexRun("00", 547));
  E etc = Sample();
  std::string message;
  EXPECT_THROW(etc.ReadFromByteStream(shortBody, message), RuntimeError);
  EXPECT_EQ(etc.HorAngle(), -2);
}

}  // namespace
}  // namespace zyra
