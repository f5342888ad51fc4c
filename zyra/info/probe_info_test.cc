#include "zyra/info/probe_info.h"

#include <gtest/gtest.h>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

// The characters of `text`, padded with blanks to `width`, as hex.
std::string Ascii(std::string text, size_t width = 0) {
  if (text.size() < width) text.resize(width, ' ');
  return testing::ToHex(std::vector<uint8_t>(text.begin(), text.end()));
}

// A version-1 block: body length 342 (0x156), marker 330 (0x14a). The flag word holds
// bit 1024 and, as `flags`, whatever the row needs.
// clang-format off
std::string Version1(const std::string& flags = "00040000") {
  return "50524f42 0e00 0100 0e000000 01000000 56010000"
         "56010000 4a010000"
         "02000000 6162"                         // PrUserName "ab"
         "00000000"                              // PrCompany
         "323032342d30312d3032"                  // PrBegun, 10 characters without a count
         "00000000 00000000 00000000"            // PrProject, PrRoom, PrTown
         "0000803f 0500"                         // PrUnit 1, PrTarget 5
         "01000000 4c"                           // PrLabel "L"
         + testing::HexRun("00", 12) + "00000040"                // PrSite(3) 2
         + "ffff 0000"                           // PrHorAngle -1, PrVerAngle
         + testing::HexRun("00", 8) + "0000 1400"                // PrVolume, PrSurface, PrHumidity, PrAirTemp 20
         + testing::HexRun("00", 42) + "ffff"                    // PrNoise(21) -1
         + "0000c03f" + testing::HexRun("00", 84)                // PrRTime(0) 1.5
         + "1300" + testing::HexRun("00", 88)                    // PrRTType 19, PrAbsorp
         + "0100" + testing::HexRun("00", 8) + "0600"            // PrTerzBand 1 .. PrMapping 6
         + flags + "0100 0000"                   // flag word, PrAlconsForm 1, PrAlconsFreq
         + "03000000 04000000 05000000"          // PrLspInfos, PrObstInfos, PrPulses
         + "01000000 52";                        // PrRemarks "R"
}
// clang-format on

// The object a version-1 block reads into.
CProbeInfoClass FromVersion1(const std::string& flags = "00040000") {
  ByteStream stream = StreamOf(Version1(flags));
  CProbeInfoClass probe;
  std::string message;
  EXPECT_EQ(probe.ReadFromByteStream(stream, message), 0);
  return probe;
}

TEST(ProbeInfoTest, VersionOneReadsAndSavesTheSameBytesKeepingFlagBitsWithoutProperty) {
  // Bits 16, 128 and 16384 have no property; 1024 is IsLocalRTInfo_b.
  const std::string block = Version1("90440000");
  ByteStream stream = StreamOf(block);
  CProbeInfoClass probe;
  std::string message = "stale";
  ASSERT_EQ(probe.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(message, "");
  EXPECT_EQ(stream.GetPosition(), stream.GetLength());
  EXPECT_EQ(probe.PrBegun(), "2024-01-02");
  EXPECT_TRUE(probe.IsLocalRTInfo_b());

  // Lengths are patched relative to where the block starts.
  ByteStream again;
  again.WriteInt16(7);
  probe.SaveToByteStream(again);
  EXPECT_EQ(StreamHex(again, 2), StreamHex(StreamOf(block)));
  EXPECT_EQ(again.GetPosition(), again.GetLength());
  // Begun is always ten characters long: cut or padded.
  probe.SetPrBegun("2024-01-02 10:00");
  EXPECT_EQ(probe.PrBegun(), "2024-01-02");
  probe.SetPrBegun("x");
  EXPECT_EQ(probe.PrBegun(), "x         ");
}

TEST(ProbeInfoTest, VersionZeroReadsFixedTextsAndIntegerCounts) {
  const std::string body =
      Ascii("Alice", 32) + Ascii("Acme", 32) + Ascii("1999-12-31") + Ascii("Proj", 16) +
      Ascii("Hall", 32) + Ascii("Town", 16) + "0000803f 0500" + Ascii("Probe 1", 16) +
      testing::HexRun("00", 12) + "00000040 ffff 0000" + testing::HexRun("00", 8) + "0000 1400" +
      testing::HexRun("00", 42) + "ffff 0000c03f" + testing::HexRun("00", 84) + "1300" +
      testing::HexRun("00", 88) + "0100" + testing::HexRun("00", 8) +
      "0600 90440000 0100 0000 feff 0400 05000000" + Ascii(std::string(30, 'a')) +
      Ascii(std::string(30, 'b')) + Ascii(std::string(30, 'c'));
  ByteStream stream = StreamOf("50524f42 0e00 0000 0e000000 01000000 14020000" + body);
  ASSERT_EQ(stream.GetLength(), 20 + 532);
  CProbeInfoClass probe;
  std::string message;
  ASSERT_EQ(probe.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(stream.GetPosition(), 552);
  EXPECT_EQ(probe.PrUserName(), "Alice" + std::string(27, ' '));
  EXPECT_EQ(probe.PrBegun(), "1999-12-31");
  EXPECT_EQ(probe.PrLabel(), "Probe 1" + std::string(9, ' '));
  EXPECT_EQ(probe.flags(), 0x4490);
  EXPECT_EQ(probe.PrLspInfos(), -2);  // Integer counts, sign-extended
  EXPECT_EQ(probe.PrPulses(), 5);
  EXPECT_EQ(probe.PrRemarks(), std::string(30, 'a') + std::string(30, 'b') + std::string(30, 'c'));
}

TEST(ProbeInfoTest, WrongLengthOrVersionIsRefusedWithValuesUnchanged) {
  const struct {
    std::string hex;
    int32_t position;
  } cases[] = {
      {"50524f42 0e00 0000 0e000000 01000000 12020000" + testing::HexRun("00", 532),
       20},  // lInfo 530
      {"50524f42 0e00 0100 0e000000 01000000 56010000 56010000 4b010000" +
           testing::HexRun("00", 334),
       28},
      {"50524f42 0e00 0200 0e000000 01000000 56010000" + testing::HexRun("00", 342), 20},
      {"50524f42 0e00 ffff 0e000000 01000000 14020000" + testing::HexRun("00", 532), 20},
  };
  for (const auto& c : cases) {
    ByteStream stream = StreamOf(c.hex);
    CProbeInfoClass probe = FromVersion1();
    std::string message;
    EXPECT_EQ(probe.ReadFromByteStream(stream, message), -1);
    EXPECT_EQ(message, "Bad ProbeInfo Length");
    EXPECT_EQ(stream.GetPosition(), c.position);
    EXPECT_EQ(probe.PrLabel(), "L");
    EXPECT_EQ(probe.PrPulses(), 5);
  }
}

TEST(ProbeInfoTest, HostileTextCountsFailBeforeAllocatingAndKeepTheValues) {
  struct Case {
    std::string userCount;
    int32_t error;
  };
  const Case cases[] = {{"ffffff7f", kErrPastEnd}, {"ffffffff", kErrInvalidCall}};
  for (const auto& c : cases) {
    ByteStream stream = StreamOf("50524f42 0e00 0100 0e000000 01000000 56010000 56010000 4a010000" +
                                 c.userCount + "6162");
    CProbeInfoClass probe = FromVersion1();
    std::string message;
    EXPECT_EQ(testing::ErrorNumberOf([&] { probe.ReadFromByteStream(stream, message); }), c.error);
    EXPECT_EQ(probe.PrUserName(), "ab");
    EXPECT_EQ(probe.PrRemarks(), "R");
  }
}

}  // namespace
}  // namespace zyra
