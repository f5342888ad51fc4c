#include "zyra/response/lsp_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::HexRun;
using testing::Int16Run;
using testing::StreamHex;
using testing::StreamOf;

// Site 1, 2, -2; angles 5, -6, 7; flags IsActive, IsPseudo, IsCoherence; SPL1m and Dirty.
const std::string kFixedHex = "00 00 80 3f 00 00 00 40 00 00 00 c0 05 00 fa ff 07 00 01 00 80 04 " +
                              Int16Run(0x10, 22) + " " + Int16Run(0x50, 22);
const std::string kDelayPulsNrHex = "00 00 00 3f 02 01 00 00";  // 0.5, 258

CLspInfoClass MarkedLspInfo() {
  CLspInfoClass info;
  info.SetLabel("AB");
  info.SetCoherenceGroup(-3);
  info.SetSite(1, 1.0f);
  info.SetSite(2, 2.0f);
  info.SetSite(3, -2.0f);
  info.SetHorAngle(5);
  info.SetVerAngle(-6);
  info.SetRotAngle(7);
  info.SetIsActive(true);
  info.SetIsPseudo(true);
  info.SetIsCoherence(true);
  for (int32_t i = 0; i <= 21; ++i) {
    info.SetSPL1m(i, static_cast<int16_t>(0x10 + i));
    info.SetDirty(i, static_cast<int16_t>(0x50 + i));
  }
  info.SetIsWithPhase(true);
  info.SetIsPhaseFlgValid(true);
  for (int32_t i = 1; i <= 21; ++i) info.SetPhase(i, static_cast<int16_t>(0x30 + i));
  info.SetDelay(0.5f);
  info.SetPulsNr(258);
  return info;
}

// The version-1 record of MarkedLspInfo, 184 bytes: the record length (180, the bytes after
// it), the fixed length, the labels "AB" and "", CoherenceGroup -3, the fixed fields,
// PhaseFlags 3 and the phases, Delay and PulsNr.
const std::string kMarkedRecord =
    "b4 00 00 00 ae 00 00 00 02 00 00 00 41 42 00 00 00 00 fd ff ff ff " + kFixedHex + " 03 00 " +
    Int16Run(0x31, 21) + " " + kDelayPulsNrHex;

TEST(LspInfoTest, SavesVersionOneWithItsRecordLengthPatchedInAndReadsItBack) {
  ByteStream stream;
  stream.WriteInt16(0x7777);
  MarkedLspInfo().SaveToByteStream(stream);
  EXPECT_EQ(stream.GetPosition(), 2 + 184);
  EXPECT_EQ(StreamHex(stream, 2), kMarkedRecord);

  ByteStream in = StreamOf(kMarkedRecord);
  CLspInfoClass info;
  EXPECT_EQ(info.ReadFromByteStream(in, 1), 0);
  EXPECT_EQ(in.GetPosition(), 184);
  ByteStream out;
  info.SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out), kMarkedRecord);
}

TEST(LspInfoTest, VersionZeroReadsFixedLabelsAndSavesAsVersionOne) {
  const std::string label = "41 42 " + HexRun("20 ", 13) + "20";  // "AB" + 14 blanks
  const std::string charLabel = "58 " + HexRun("00 ", 14) + "00";
  ByteStream in = StreamOf(label + charLabel + "11 11 11 11" + kFixedHex + kDelayPulsNrHex);
  ASSERT_EQ(in.GetLength(), 154);
  CLspInfoClass info;
  EXPECT_EQ(info.ReadFromByteStream(in, 0), 0);
  EXPECT_EQ(in.GetPosition(), 154);
  EXPECT_EQ(info.Site(1), 1.0f);  // the discarded value does not land anywhere

  // Labels become texts of 16 characters; no coherence group, no phase data.
  ByteStream out;
  info.SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out), "d2 00 00 00 ae 00 00 00 10 00 00 00 " + label + " 10 00 00 00 " +
                                charLabel + " 00 00 00 00 " + kFixedHex + " 00 00 " +
                                HexRun("00 ", 42) + kDelayPulsNrHex);
}

TEST(LspInfoTest, BadVersionsLengthsAndHostileBytes) {
  std::string wrongFixed = kMarkedRecord;
  wrongFixed.replace(wrongFixed.find("ae 00"), 5, "ad 00");
  const struct {
    std::string hex;
    int32_t iVersion, result, error, position;  // error 0: none raised
  } cases[] = {
      {wrongFixed, 1, -1, 0, 8},    // stops after the fixed length
      {kMarkedRecord, 2, 0, 0, 0},  // unknown version reads nothing
      {"b4 00 00 00 ae 00 00 00 ff ff ff ff 41", 1, 0, kErrInvalidCall, 8},  // negative length
      {"b4 00 00 00 ae 00 00 00 ff ff ff 7f 41", 1, 0, kErrPastEnd, 8},      // past the end
      {"b4 00 00 00 ae 00", 1, 0, kErrPastEnd, 4},
      {"41", 0, 0, kErrPastEnd, 0},  // 1 of 154 bytes
  };
  for (const auto& c : cases) {
    ByteStream in = StreamOf(c.hex);
    CLspInfoClass info;
    int32_t result = 0;
    EXPECT_EQ(testing::ErrorNumberOf([&] { result = info.ReadFromByteStream(in, c.iVersion); }),
              c.error)
        << c.hex;
    EXPECT_EQ(result, c.result) << c.hex;
    EXPECT_EQ(in.GetPosition(), c.position) << c.hex;
    EXPECT_EQ(info.Label(), "");
  }
}

TEST(LspInfoTest, CopyDeepKeepsOnlyFlagBitsWithAProperty) {
  std::string hex = kMarkedRecord;
  hex.replace(hex.find("01 00 80 04"), 11, "ff ff ff ff");
  hex.replace(hex.find("03 00 31 00"), 5, "ff ff");
  ByteStream in = StreamOf(hex);
  CLspInfoClass info;
  ASSERT_EQ(info.ReadFromByteStream(in, 1), 0);
  ByteStream out;
  info.CopyDeep()->SaveToByteStream(out);
  std::string expected = hex;
  expected.replace(expected.find("ff ff ff ff"), 11, "01 00 80 07");
  expected.replace(expected.find("ff ff 31 00"), 5, "03 00");
  EXPECT_EQ(StreamHex(out), expected);
}

}  // namespace
}  // namespace zyra
