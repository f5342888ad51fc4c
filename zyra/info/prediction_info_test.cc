#include "zyra/info/prediction_info.h"

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

CPredictionInfoClass Sample() {
  CPredictionInfoClass pred;
  pred.Setflags(0x40000001);
  pred.SetRaysPerLspk(1000);
  pred.SetTarget(1.5f);
  pred.SetNoise(-1);
  pred.SetATime(2.0f);
  pred.SetBTime(4.0f);
  pred.SetStart(0, 1.0f);
  pred.SetSlope(0, -1.0f);
  pred.SetRms(21, 0.5f);
  pred.SetDelayTime(2.5f);
  pred.SetPulses0(7);
  pred.SetPulses1(8);
  pred.SetLength1(3.0f);
  pred.SetLoss1(21, 1.0f);
  pred.SetPulses2(9);
  pred.SetLength2(2.0f);
  pred.SetLoss2(0, 0.5f);
  pred.SetMaxDensity(10);
  pred.SetLimited(-1);
  pred.SetRT60(21, 1.5f);
  pred.SetRTType(19);
  return pred;
}

TEST(PredictionInfoTest, SaveWritesTheHeaderEveryFieldAtItsOffsetAndZeroReserve) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  ASSERT_EQ(stream.GetLength(), 20 + 840);
  EXPECT_EQ(StreamHex(stream, 0, 20),
            StreamHex(StreamOf("50524544 0e00 0300 0e000000 01000000 48030000")));
  struct Row {
    int32_t offset;
    std::string hex;
  };
  const Row rows[] = {
      {0, "01000040"},   {4, "e8030000"},   {8, "0000c03f"},   {12, "ffffffff"},  {16, "00000040"},
      {20, "00008040"},  {24, "0000803f"},  {112, "000080bf"}, {284, "0000003f"}, {288, "00002040"},
      {292, "07000000"}, {296, "08000000"}, {300, "00004040"}, {388, "0000803f"}, {392, "09000000"},
      {396, "00000040"}, {400, "0000003f"}, {488, "0a000000"}, {492, "ffffffff"}, {580, "0000c03f"},
      {584, "1300"},     {586, Zeros(254)},
  };
  for (const Row& row : rows) {
    const int32_t at = 20 + row.offset;
    const int32_t width = static_cast<int32_t>(row.hex.size()) / 2;
    EXPECT_EQ(StreamHex(stream, at, at + width), StreamHex(StreamOf(row.hex)))
        << "body offset " << row.offset;
  }
}

TEST(PredictionInfoTest, ReadDropsTheReservedBytesAndSavesThemAsZeros) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  const std::string clean = StreamHex(stream);
  stream.SetPosition(20 + 586);
  stream.WriteString(std::string(254, '\xaa'));

  stream.SetPosition(0);
  CPredictionInfoClass pred;
  std::string message = "stale";
  ASSERT_EQ(pred.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), 860);
  ByteStream again;
  pred.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), clean);

  ByteStream copied;
  pred.GetCopy()->SaveToByteStream(copied);
  EXPECT_EQ(StreamHex(copied), clean);
}

TEST(PredictionInfoTest, AnyVersionButThreeOrAnyOtherLengthIsABadLength) {
  const std::string headers[] = {
      "50524544 0e00 0200 0e000000 01000000 48030000",  // version 2, right length
      "50524544 0e00 0000 0e000000 01000000 48030000",
      "50524544 0e00 0300 0e000000 01000000 47030000",  // version 3, 839 bytes
      "50524544 0e00 0300 0e000000 01000000 ffffffff",
  };
  for (const std::string& header : headers) {
    ByteStream stream = StreamOf(header + Zeros(840));
    CPredictionInfoClass pred = Sample();
    std::string message;
    EXPECT_EQ(pred.ReadFromByteStream(stream, message), -1) << header;
    EXPECT_EQ(message, "Bad Prediction Length");
    EXPECT_EQ(stream.GetPosition(), 20);
    EXPECT_EQ(pred.Target(), 1.5f);
    EXPECT_EQ(pred.RTType(), 19);
  }
}

TEST(PredictionInfoTest, BandArraySettersCopyWhatTheyHaveThenFailWhenShort) {
  using Setter = void (CPredictionInfoClass::*)(const std::vector<float>&);
  using Getter = float (CPredictionInfoClass::*)(int32_t) const;
  const std::pair<Setter, Getter> targets[] = {
      {&CPredictionInfoClass::SetSlopeArray, &CPredictionInfoClass::Slope},
      {&CPredictionInfoClass::SetStartArray, &CPredictionInfoClass::Start},
  };
  struct Case {
    size_t size;
    bool fails;
  };
  const Case cases[] = {{0, true}, {21, true}, {22, false}, {23, false}};
  for (const auto& [set, get] : targets) {
    for (const Case& c : cases) {
      CPredictionInfoClass pred;
      (pred.*set)(std::vector<float>(22, -5.0f));
      std::vector<float> values(c.size);
      for (size_t i = 0; i < c.size; ++i) values[i] = static_cast<float>(i);
      if (c.fails) {
        try {
          (pred.*set)(values);
          ADD_FAILURE() << "size " << c.size << " was accepted";
        } catch (const RuntimeError& error) {
          EXPECT_EQ(error.Number(), kErrSubscript);
        }
      } else {
        EXPECT_NO_THROW((pred.*set)(values));
      }
      for (int32_t i = 0; i <= 21; ++i) {
        const float expected = static_cast<size_t>(i) < c.size ? static_cast<float>(i) : -5.0f;
        EXPECT_EQ((pred.*get)(i), expected) << "size " << c.size << " slot " << i;
      }
    }
  }
}

TEST(PredictionInfoTest, PrintUsesItsOwnOrderAndClosesIndexedLabelsWithABlank) {
  StringLogger logger;
  Sample().PrintToLogger(&logger);
  const auto& lines = logger.Lines();
  ASSERT_EQ(lines.size(), 127u);
  const std::pair<size_t, const char*> rows[] = {
      {0, ""},
      {1, "Prediction:"},
      {2, "Atime 2"},
      {3, "Btime 4"},
      {4, "DelayTime 2.5"},
      {5, "flags 1073741825"},
      {6, "Length1 3"},
      {7, "Length2 2"},
      {8, "Limited -1"},
      {9, "Loss1(0) 0"},
      {30, "Loss1(21) 1"},
      {31, "Loss2(0) 0.5"},
      {53, "MaxDensity 10"},
      {54, "Noise -1"},
      {55, "Pulses0 7"},
      {57, "Pulses2 9"},
      {58, "RaysPerLspk 1000"},
      {80, "RT60(21) 1.5"},
      {81, "RTType 19"},
      {82, "slope(0) -1"},
      {104, "start(0) 1"},
      {125, "start(21) 0"},
      {126, "Target 1.5"},
  };
  for (const auto& [index, line] : rows) EXPECT_EQ(lines[index], line) << "line " << index;
  for (const std::string& line : lines) EXPECT_NE(line.rfind("Rms", 0), 0u) << line;
}

}  // namespace
}  // namespace zyra
