#include "zyra/info/prediction_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;
using P = CPredictionInfoClass;

// One value per field, each with the bytes it must take at its offset in the body.
struct Field {
  int32_t offset;
  const char* hex;
  void (*set)(P&);
};
const Field kFields[] = {
    {0, "01000040", [](P& p) { p.Setflags(0x40000001); }},
    {4, "e8030000", [](P& p) { p.SetRaysPerLspk(1000); }},
    {8, "0000c03f", [](P& p) { p.SetTarget(1.5f); }},
    {12, "ffffffff", [](P& p) { p.SetNoise(-1); }},
    {16, "00000040", [](P& p) { p.SetATime(2.0f); }},
    {24, "0000803f", [](P& p) { p.SetStart(0, 1.0f); }},
    {112, "000080bf", [](P& p) { p.SetSlope(0, -1.0f); }},
    {284, "0000003f", [](P& p) { p.SetRms(21, 0.5f); }},
    {288, "00002040", [](P& p) { p.SetDelayTime(2.5f); }},
    {292, "07000000", [](P& p) { p.SetPulses0(7); }},
    {300, "00004040", [](P& p) { p.SetLength1(3.0f); }},
    {388, "0000803f", [](P& p) { p.SetLoss1(21, 1.0f); }},
    {400, "0000003f", [](P& p) { p.SetLoss2(0, 0.5f); }},
    {488, "0a000000", [](P& p) { p.SetMaxDensity(10); }},
    {492, "ffffffff", [](P& p) { p.SetLimited(-1); }},
    {580, "0000c03f", [](P& p) { p.SetRT60(21, 1.5f); }},
    {584, "1300", [](P& p) { p.SetRTType(19); }},
};

P Sample() {
  P pred;
  for (const Field& field : kFields) field.set(pred);
  return pred;
}

TEST(PredictionInfoTest, SavesEveryFieldAtItsOffsetAndTheReserveAsZerosWhateverWasRead) {
  ByteStream stream;
  Sample().SaveToByteStream(stream);
  ASSERT_EQ(stream.GetLength(), 20 + 840);
  EXPECT_EQ(StreamHex(stream, 0, 20),
            "50 52 45 44 0e 00 03 00 0e 00 00 00 01 00 00 00 48 03 00 00");
  EXPECT_EQ(testing::MisplacedFields(stream, 20, kFields), "");
  const std::string clean = StreamHex(stream);
  EXPECT_EQ(clean.substr((20 + 586) * 3), testing::HexRun("00 ", 253) + "00");
  stream.SetPosition(20 + 586);
  stream.WriteString(std::string(254, '\xaa'));

  stream.SetPosition(0);
  P pred;
  std::string message = "stale";
  ASSERT_EQ(pred.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), 860);
  ByteStream again;
  pred.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again), clean);
}

TEST(PredictionInfoTest, AnyVersionButThreeOrAnyOtherLengthIsABadLength) {
  const std::string headers[] = {
      "50524544 0e00 0200 0e000000 01000000 48030000",  // version 2, right length
      "50524544 0e00 0300 0e000000 01000000 47030000",  // version 3, 839 bytes
  };
  for (const std::string& header : headers) {
    ByteStream stream = StreamOf(header + testing::HexRun("00", 840));
    P pred = Sample();
    std::string message;
    EXPECT_EQ(pred.ReadFromByteStream(stream, message), -1) << header;
    EXPECT_EQ(message, "Bad Prediction Length");
    EXPECT_EQ(stream.GetPosition(), 20);
    EXPECT_EQ(pred.Target(), 1.5f);
  }
}

}  // namespace
}  // namespace zyra
