#include "zyra/response/lsp_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::Hex;
using testing::StreamHex;
using testing::StreamOf;
using testing::ToHex;

constexpr char kSiteHex[] = "00 00 80 3f 00 00 00 40 00 00 00 c0";  // 1, 2, -2
constexpr char kAnglesHex[] = "05 00 fa ff 07 00";                  // 5, -6, 7
constexpr char kFlagsHex[] = "01 00 80 04";  // IsActive, IsPseudo, IsCoherence
constexpr char kSPL1mHex[] =
    "10 00 11 00 12 00 13 00 14 00 15 00 16 00 17 00 18 00 19 00 1a 00 "
    "1b 00 1c 00 1d 00 1e 00 1f 00 20 00 21 00 22 00 23 00 24 00 25 00";
constexpr char kDirtyHex[] =
    "50 00 51 00 52 00 53 00 54 00 55 00 56 00 57 00 58 00 59 00 5a 00 "
    "5b 00 5c 00 5d 00 5e 00 5f 00 60 00 61 00 62 00 63 00 64 00 65 00";
constexpr char kPhaseHex[] =
    "31 00 32 00 33 00 34 00 35 00 36 00 37 00 38 00 39 00 3a 00 "
    "3b 00 3c 00 3d 00 3e 00 3f 00 40 00 41 00 42 00 43 00 44 00 45 00";
constexpr char kDelayHex[] = "00 00 00 3f";   // 0.5
constexpr char kPulsNrHex[] = "02 01 00 00";  // 258

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

std::string Joined(std::initializer_list<std::string> parts) {
  std::string hex;
  for (const std::string& part : parts) hex += part + " ";
  return hex;
}

// The version-1 record of MarkedLspInfo: labels "AB" and "", 184 bytes. The record length
// (180) counts the bytes after it; then the fixed length, the labels, CoherenceGroup -3, the
// fixed fields, PhaseFlags 3 and the phases, Delay and PulsNr.
std::string MarkedRecordHex() {
  return Joined({"b4 00 00 00 ae 00 00 00 02 00 00 00 41 42 00 00 00 00 fd ff ff ff", kSiteHex,
                 kAnglesHex, kFlagsHex, kSPL1mHex, kDirtyHex, "03 00", kPhaseHex, kDelayHex,
                 kPulsNrHex});
}

TEST(LspInfoTest, SavesVersionOneWithItsRecordLengthPatchedInAndReadsItBack) {
  ByteStream stream;
  stream.WriteInt16(0x7777);
  MarkedLspInfo().SaveToByteStream(stream);
  EXPECT_EQ(stream.GetPosition(), 2 + 184);
  EXPECT_EQ(StreamHex(stream, 2), StreamHex(StreamOf(MarkedRecordHex())));

  ByteStream in = StreamOf(MarkedRecordHex());
  CLspInfoClass info;
  EXPECT_EQ(info.ReadFromByteStream(in, 1), 0);
  EXPECT_EQ(in.GetPosition(), 184);
  EXPECT_EQ(info.CoherenceGroup(), -3);
  ByteStream out;
  info.SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out), StreamHex(StreamOf(MarkedRecordHex())));
}

TEST(LspInfoTest, VersionZeroReadsFixedLabelsAndSavesAsVersionOne) {
  const std::string label = "41 42 20 20 20 20 20 20 20 20 20 20 20 20 20 20";  // "AB" + 14
  const std::string charLabel = "58 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00";
  ByteStream in = StreamOf(Joined({label, charLabel, "11 11 11 11", kSiteHex, kAnglesHex, kFlagsHex,
                                   kSPL1mHex, kDirtyHex, kDelayHex, kPulsNrHex}));
  ASSERT_EQ(in.GetLength(), 154);
  CLspInfoClass info;
  EXPECT_EQ(info.ReadFromByteStream(in, 0), 0);
  EXPECT_EQ(in.GetPosition(), 154);
  EXPECT_EQ(info.Label(), "AB              ");
  EXPECT_EQ(info.CharLabel(), std::string("X") + std::string(15, '\0'));
  EXPECT_EQ(info.Site(1), 1.0f);  // the discarded value does not land anywhere

  // Labels become texts of 16 characters; no coherence group, no phase data.
  ByteStream out;
  info.SaveToByteStream(out);
  EXPECT_EQ(
      StreamHex(out),
      ToHex(Hex(Joined({"d2 00 00 00 ae 00 00 00", "10 00 00 00", label, "10 00 00 00", charLabel,
                        "00 00 00 00", kSiteHex, kAnglesHex, kFlagsHex, kSPL1mHex, kDirtyHex,
                        "00 00", ToHex(std::vector<uint8_t>(42, 0)), kDelayHex, kPulsNrHex}))));
}

TEST(LspInfoTest, BadVersionsLengthsAndHostileBytes) {
  EXPECT_EQ(CLspInfoClass::GetLengthInFile(0), 154);
  EXPECT_EQ(CLspInfoClass::GetLengthInFile(1), 174);
  EXPECT_EQ(CLspInfoClass::GetLengthInFile(2), -1);
  EXPECT_EQ(CLspInfoClass::GetLengthInFile(-1), -1);
  std::string wrongFixed = MarkedRecordHex();
  wrongFixed.replace(wrongFixed.find("ae 00"), 5, "ad 00");
  struct Case {
    std::string hex;
    int32_t iVersion, result, error, position;  // error 0: none raised
  };
  const Case cases[] = {
      {wrongFixed, 1, -1, 0, 8},        // stops after the fixed length
      {MarkedRecordHex(), 2, 0, 0, 0},  // unknown version reads nothing
      {"b4 00 00 00 ae 00 00 00 ff ff ff ff 41", 1, 0, kErrInvalidCall, 8},  // negative length
      {"b4 00 00 00 ae 00 00 00 ff ff ff 7f 41", 1, 0, kErrPastEnd, 8},      // past the end
      {"b4 00 00 00 ae 00", 1, 0, kErrPastEnd, 4},
      {"41", 0, 0, kErrPastEnd, 0},  // 1 of 154 bytes
  };
  for (const Case& c : cases) {
    ByteStream in = StreamOf(c.hex);
    CLspInfoClass info;
    int32_t result = 0;
    int32_t error = 0;
    try {
      result = info.ReadFromByteStream(in, c.iVersion);
    } catch (const RuntimeError& e) {
      error = e.Number();
    }
    EXPECT_EQ(result, c.result) << c.hex;
    EXPECT_EQ(error, c.error) << c.hex;
    EXPECT_EQ(in.GetPosition(), c.position) << c.hex;
    EXPECT_EQ(info.Label(), "");
  }
}

TEST(LspInfoTest, CopyDeepKeepsOnlyFlagBitsWithAProperty) {
  std::string hex = MarkedRecordHex();
  hex.replace(hex.find(kFlagsHex), 11, "ff ff ff ff");
  hex.replace(hex.find("03 00 31 00"), 5, "ff ff");
  ByteStream in = StreamOf(hex);
  CLspInfoClass info;
  ASSERT_EQ(info.ReadFromByteStream(in, 1), 0);
  ByteStream out;
  info.CopyDeep()->SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out, 40, 44), "01 00 80 07");
  EXPECT_EQ(StreamHex(out, 132, 134), "03 00");
  EXPECT_EQ(StreamHex(out, 0, 40), StreamHex(in, 0, 40));
  EXPECT_EQ(StreamHex(out, 44, 132), StreamHex(in, 44, 132));
  EXPECT_EQ(StreamHex(out, 134), StreamHex(in, 134));
}

}  // namespace
}  // namespace zyra
