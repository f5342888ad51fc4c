#include "zyra/info/etc_info.h"

#include <gtest/gtest.h>

#include "tests/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

std::string Zeros(int n) {
  std::string hex;
  for (int i = 0; i < n; ++i) hex += "00";
  return hex;
}

// Every field with a value of its own, so that each one shows at its offset.
CETCInfoClass Sample() {
  CETCInfoClass etc;
  etc.SetHorAngle(-2);
  etc.SetVerAngle(3);
  etc.SetAmplified(1.5f);
  etc.SetPostNo(7);
  etc.SetdEnergy(0, 1.0f);
  etc.SetdEnergy(21, 2.0f);
  etc.SetTailSPL(0, 0x1234);
  etc.SetTailSPL(21, -1);
  etc.SetIsWithTail_b(true);
  etc.SetIsCancelled_b(true);
  etc.SetTailStart(4.0f);
  etc.SetTailNoise(5);
  etc.SetTailLength(1.0f);
  etc.SetTailDensity(2.0f);
  etc.SetTailGain(-1.0f);
  etc.SetMaxDensity(0.5f);
  etc.SettSplit(3.0f);
  etc.SettDiff(1.5f);
  etc.SetVolume(2.5f);
  etc.SetSurface(4.0f);
  etc.SetDesiredRT(1.0f);
  etc.SetRTType(19);
  etc.SetRTime(0, 2.0f);
  etc.SetAbsorp(0, 0.5f);
  etc.SetNoise(21, -1.0f);
  etc.SetPower(0, 3.0f);
  etc.SetPower(21, 4.0f);
  etc.SetNoviFlags(0x01020304);
  etc.SetMaxSPL(2.5f);
  return etc;
}

TEST(ETCInfoTest, SaveWritesTheHeaderAndEveryFieldAtItsOffset) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  ASSERT_EQ(stream.GetLength(), 20 + 548);
  EXPECT_EQ(StreamHex(stream, 0, 20),
            StreamHex(StreamOf("5441494c 0e00 0000 0e000000 01000000 24020000")));
  struct Row {
    int32_t offset;
    std::string hex;
  };
  const Row rows[] = {
      {0, "feff"},       {2, "0300"},       {4, "0000c03f"},   {8, "0700"},       {10, "0000803f"},
      {94, "00000040"},  {98, "3412"},      {140, "ffff"},     {142, "0900"},     {144, "00008040"},
      {148, "0500"},     {150, "0000803f"}, {154, "00000040"}, {158, "000080bf"}, {162, "0000003f"},
      {166, "00004040"}, {170, "0000c03f"}, {174, "00002040"}, {178, "00008040"}, {182, "0000803f"},
      {186, "1300"},     {188, "00000040"}, {276, "0000003f"}, {448, "000080bf"}, {452, "00004040"},
      {536, "00008040"}, {540, "04030201"}, {544, "00002040"},
  };
  for (const Row& row : rows) {
    const int32_t at = 20 + row.offset;
    const int32_t width = static_cast<int32_t>(row.hex.size()) / 2;
    EXPECT_EQ(StreamHex(stream, at, at + width), StreamHex(StreamOf(row.hex)))
        << "body offset " << row.offset;
  }
}

TEST(ETCInfoTest, ReadBackSavesTheSameBytesAndKeepsFlagBitsWithoutProperty) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  stream.SetPosition(20 + 142);
  stream.WriteInt16(static_cast<int16_t>(0x80f1));  // bits 16..128 and 32768 have no property
  const std::string saved = StreamHex(stream);

  stream.SetPosition(0);
  CETCInfoClass etc;
  std::string message = "stale";
  ASSERT_EQ(etc.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), 568);
  EXPECT_EQ(etc.flags(), static_cast<int16_t>(0x80f1));
  EXPECT_TRUE(etc.IsWithTail_b());
  EXPECT_FALSE(etc.IsCancelled_b());

  ByteStream again;
  etc.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), saved);

  // The copy goes through the properties: only the four named bits come along.
  const auto copy = etc.GetCopy();
  EXPECT_EQ(copy->flags(), 1);
  copy->SetIsWithTail_b(false);
  copy->SetIsPredicted_b(true);
  EXPECT_EQ(copy->flags(), 4);
  EXPECT_EQ(copy->Power(21), 4.0f);
  EXPECT_EQ(copy->TailSPL(0), 0x1234);
  EXPECT_TRUE(etc.IsWithTail_b());  // independent of the original
}

TEST(ETCInfoTest, FlagPropertiesChangeOnlyTheirBit) {
  CETCInfoClass etc;
  etc.SetIsWithTail_b(true);
  EXPECT_EQ(etc.flags(), 1);
  etc.SetIsPredicted_b(true);
  EXPECT_EQ(etc.flags(), 5);
  etc.SetIsWithTail_b(false);
  EXPECT_EQ(etc.flags(), 4);
  etc.SetIsParameter_b(true);
  etc.SetIsCancelled_b(true);
  EXPECT_EQ(etc.flags(), 14);
}

TEST(ETCInfoTest, WrongVersionOrLengthFailsBehindTheHeaderWithValuesUnchanged) {
  struct Case {
    std::string header, message;
  };
  const Case cases[] = {
      {"5441494c 0e00 0100 0e000000 01000000 24020000", "Unknown ETC Version 1"},
      {"5441494c 0e00 ffff 0e000000 01000000 24020000", "Unknown ETC Version-1"},
      {"5441494c 0e00 0000 0e000000 01000000 23020000", "Bad ETC Length"},
      {"5441494c 0e00 0000 0e000000 01000000 25020000", "Bad ETC Length"},
  };
  for (const Case& c : cases) {
    ByteStream stream = StreamOf(c.header + Zeros(548));
    CETCInfoClass etc = Sample();
    std::string message;
    EXPECT_EQ(etc.ReadFromByteStream(stream, message), -1);
    EXPECT_EQ(message, c.message);
    EXPECT_EQ(stream.GetPosition(), 20);
    EXPECT_EQ(etc.HorAngle(), -2);
    EXPECT_EQ(etc.MaxSPL(), 2.5f);
  }
}

TEST(ETCInfoTest, AStreamEndingInsideTheBodyFailsAndKeepsTheValues) {
  ByteStream stream = StreamOf("5441494c 0e00 0000 0e000000 01000000 24020000" + Zeros(547));
  CETCInfoClass etc = Sample();
  std::string message;
  EXPECT_THROW(etc.ReadFromByteStream(stream, message), RuntimeError);
  EXPECT_EQ(etc.HorAngle(), -2);
  EXPECT_EQ(etc.MaxSPL(), 2.5f);
}

TEST(ETCInfoTest, BandIndicesOutsideZeroToTwentyOneAreSubscriptErrors) {
  CETCInfoClass etc;
  for (const int32_t band : {-1, 22}) {
    EXPECT_THROW(etc.dEnergy(band), RuntimeError);
    EXPECT_THROW(etc.SetTailSPL(band, 1), RuntimeError);
    EXPECT_THROW(etc.RTime(band), RuntimeError);
    EXPECT_THROW(etc.SetAbsorp(band, 1), RuntimeError);
    EXPECT_THROW(etc.Noise(band), RuntimeError);
    EXPECT_THROW(etc.SetPower(band, 1), RuntimeError);
  }
}

TEST(ETCInfoTest, PrintListsTheValuesUnderTheirLabels) {
  StringLogger logger;
  Sample().PrintToLogger(&logger);
  const auto& lines = logger.Lines();
  ASSERT_EQ(lines.size(), 156u);
  const std::pair<size_t, const char*> rows[] = {
      {0, ""},
      {1, "ETC:"},
      {2, "HorAngle -2"},
      {5, "PostNo 7"},
      {6, "dEnergy(0)1"},
      {27, "dEnergy(21)2"},
      {28, "TailSPL(0)4660"},
      {49, "TailSPL(21)-1"},
      {50, "IsCancelled True"},
      {51, "IsParameter False"},
      {52, "IsPredicted False"},
      {53, "IsWithTail True"},
      {54, "TailStart 4"},
      {60, "tSplit 3"},
      {65, "RTType 19"},
      {66, "RTime(0)2"},
      {88, "Absorp(0)0.5"},
      {131, "Noise(21)-1"},
      {153, "Power(21)4"},
      {154, "NoviFlags 16909060"},
      {155, "MaxSPL 2.5"},
  };
  for (const auto& [index, line] : rows) EXPECT_EQ(lines[index], line) << "line " << index;
}

}  // namespace
}  // namespace zyra
