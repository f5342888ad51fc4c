// Every block class against the bytes of a sample block, then other versions, refused lengths
// and hostile counts.
#include <gtest/gtest.h>

#include "testing/block_check.h"
#include "zyra/info/etc_info.h"
#include "zyra/info/obst_info_buffer.h"
#include "zyra/info/prediction_info.h"
#include "zyra/info/probe_info.h"
#include "zyra/rsp/local_rt_info.h"
#include "zyra/rsp/rsp_info_text.h"

namespace zyra {
namespace {

using testing::ExpectBlock;
using testing::HexRun;
using testing::Patched;
using testing::Saved;
using testing::StreamHex;
using testing::StreamOf;

// A sample whose fields each hold a value with known bytes at their offset in the body.
template <class T>
struct Field {
  int32_t offset;
  const char* hex;
  void (*set)(T&);
};
template <class T, size_t N>
std::string Body(int32_t length, const Field<T> (&fields)[N]) {
  std::string body = HexRun("00", length);
  for (const Field<T>& f : fields) body = Patched(body, f.offset, f.hex);
  return body;
}
template <class T, size_t N>
std::function<T()> Sample(const Field<T> (&fields)[N]) {
  return [&fields] {
    T sample;
    for (const Field<T>& f : fields) f.set(sample);
    return sample;
  };
}

using E = CETCInfoClass;
const Field<E> kETCFields[] = {
    {0, "feff", [](E& e) { e.SetHorAngle(-2); }},
    {4, "0000c03f", [](E& e) { e.SetAmplified(1.5f); }},
    {94, "00000040", [](E& e) { e.SetdEnergy(21, 2.0f); }},
    {142, "0800", [](E& e) { e.SetIsCancelled_b(true); }},
    {166, "00004040", [](E& e) { e.SettSplit(3.0f); }},
    {186, "1300", [](E& e) { e.SetRTType(19); }},
    {188, "00000040", [](E& e) { e.SetRTime(0, 2.0f); }},
    {448, "000080bf", [](E& e) { e.SetNoise(21, -1.0f); }},
    {540, "04030201", [](E& e) { e.SetNoviFlags(0x01020304); }},
    {544, "00002040", [](E& e) { e.SetMaxSPL(2.5f); }},
};

TEST(BlocksTest, ETCInfo) {
  const std::string header = "5441494c 0e00 0000 0e000000 01000000 24020000";
  const std::string block = header + Body(548, kETCFields);
  // Flag bits without a property (16..128, 32768) are kept by reading and saving, not by a copy.
  const std::string unnamed = Patched(block, 20 + 142, "f180");
  ExpectBlock<E>(Sample(kETCFields), block,
                 {{unnamed, 0, 0, "", 568, unnamed},
                  {Patched(block, 6, "0100"), 0, -1, "Unknown ETC Version 1", 20},
                  {Patched(block, 6, "ffff"), 0, -1, "Unknown ETC Version-1", 20},
                  {Patched(block, 16, "23"), 0, -1, "Bad ETC Length", 20},
                  {header + HexRun("00", 547), kErrPastEnd, 0, "", 0}});
  ByteStream stream = StreamOf(unnamed);
  E etc;
  std::string message;
  ASSERT_EQ(etc.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(etc.GetCopy()->flags(), 1);  // the one named bit of f1 80
}

using P = CPredictionInfoClass;
const Field<P> kPredictionFields[] = {
    {0, "01000040", [](P& p) { p.Setflags(0x40000001); }},
    {4, "e8030000", [](P& p) { p.SetRaysPerLspk(1000); }},
    {24, "0000803f", [](P& p) { p.SetStart(0, 1.0f); }},
    {284, "0000003f", [](P& p) { p.SetRms(21, 0.5f); }},
    {292, "07000000", [](P& p) { p.SetPulses0(7); }},
    {388, "0000803f", [](P& p) { p.SetLoss1(21, 1.0f); }},
    {492, "ffffffff", [](P& p) { p.SetLimited(-1); }},
    {580, "0000c03f", [](P& p) { p.SetRT60(21, 1.5f); }},
    {584, "1300", [](P& p) { p.SetRTType(19); }},
};

TEST(BlocksTest, PredictionInfo) {
  const std::string block =
      "50524544 0e00 0300 0e000000 01000000 48030000" + Body(840, kPredictionFields);
  // The reserve after the last field is read over and saved as zeros.
  ExpectBlock<P>(Sample(kPredictionFields), block,
                 {{Patched(block, 20 + 586, HexRun("aa", 254)), 0, 0, "", 860},
                  {Patched(block, 6, "0200"), 0, -1, "Bad Prediction Length", 20},
                  {Patched(block, 16, "47"), 0, -1, "Bad Prediction Length", 20}});
}

// A version-1 block: body length 342 (0x156), marker 330 (0x14a). The flag word holds bit 1024
// (IsLocalRTInfo_b) and bits 16, 128 and 16384, which have no property.
// clang-format off
const std::string kProbeV1 =
    "50524f42 0e00 0100 0e000000 01000000 56010000 56010000 4a010000"
    "02000000 6162"                         // PrUserName "ab"
    "00000000"                              // PrCompany
    "323032342d30312d3032"                  // PrBegun, 10 characters without a count
    "00000000 00000000 00000000"            // PrProject, PrRoom, PrTown
    "0000803f 0500"                         // PrUnit 1, PrTarget 5
    "01000000 4c"                           // PrLabel "L"
    + HexRun("00", 12) + "00000040"                 // PrSite(3) 2
    + "ffff 0000"                           // PrHorAngle -1, PrVerAngle
    + HexRun("00", 8) + "0000 1400"                 // PrVolume, PrSurface, PrHumidity, PrAirTemp 20
    + HexRun("00", 42) + "ffff"                     // PrNoise(21) -1
    + "0000c03f" + HexRun("00", 84)                 // PrRTime(0) 1.5
    + "1300" + HexRun("00", 88)                     // PrRTType 19, PrAbsorp
    + "0100" + HexRun("00", 8) + "0600"             // PrTerzBand 1 .. PrMapping 6
    + "90440000 0100 0000"                  // flag word, PrAlconsForm 1, PrAlconsFreq
    + "03000000 04000000 05000000"          // PrLspInfos, PrObstInfos, PrPulses
    + "01000000 52";                        // PrRemarks "R"
// clang-format on

CProbeInfoClass ProbeV1() {
  ByteStream stream = StreamOf(kProbeV1);
  CProbeInfoClass probe;
  std::string message;
  EXPECT_EQ(probe.ReadFromByteStream(stream, message), 0);
  return probe;
}

// The characters of `text`, padded with blanks to `width`, as hex.
std::string Ascii(std::string text, size_t width = 0) {
  if (text.size() < width) text.resize(width, ' ');
  return testing::ToHex(std::vector<uint8_t>(text.begin(), text.end()));
}

TEST(BlocksTest, ProbeInfo) {
  const std::string head = "50524f42 0e00 0100 0e000000 01000000 56010000 56010000 4a010000";
  ExpectBlock<CProbeInfoClass>(
      ProbeV1, kProbeV1,
      {{Patched(kProbeV1, 6, "0000 0e000000 01000000 12020000"), 0, -1, "Bad ProbeInfo Length", 20},
       {Patched(kProbeV1, 6, "ffff 0e000000 01000000 14020000"), 0, -1, "Bad ProbeInfo Length", 20},
       {Patched(kProbeV1, 6, "0200"), 0, -1, "Bad ProbeInfo Length", 20},
       {Patched(kProbeV1, 24, "4b"), 0, -1, "Bad ProbeInfo Length", 28},
       // Text counts are judged before anything is allocated for them.
       {head + "ffffff7f 6162", kErrPastEnd, 0, "", 0},
       {head + "ffffffff 6162", kErrInvalidCall, 0, "", 0}});

  // Version 0: fixed texts and Integer counts, sign-extended.
  const std::string body =
      Ascii("Alice", 32) + Ascii("Acme", 32) + Ascii("1999-12-31") + Ascii("Proj", 16) +
      Ascii("Hall", 32) + Ascii("Town", 16) + "0000803f 0500" + Ascii("Probe 1", 16) +
      HexRun("00", 12) + "00000040 ffff 0000" + HexRun("00", 8) + "0000 1400" + HexRun("00", 42) +
      "ffff 0000c03f" + HexRun("00", 84) + "1300" + HexRun("00", 88) + "0100" + HexRun("00", 8) +
      "0600 90440000 0100 0000 feff 0400 05000000" + Ascii(std::string(30, 'a')) +
      Ascii(std::string(30, 'b')) + Ascii(std::string(30, 'c'));
  ByteStream stream = StreamOf("50524f42 0e00 0000 0e000000 01000000 14020000" + body);
  CProbeInfoClass probe;
  std::string message;
  ASSERT_EQ(probe.ReadFromByteStream(stream, message), 0);
  EXPECT_EQ(std::tuple(stream.GetPosition(), probe.PrUserName(), probe.PrBegun(), probe.PrLabel(),
                       probe.flags(), probe.PrLspInfos(), probe.PrPulses()),
            std::tuple(552, "Alice" + std::string(27, ' '), "1999-12-31",
                       "Probe 1" + std::string(9, ' '), 0x4490, -2, 5));
  EXPECT_EQ(probe.PrRemarks(), std::string(30, 'a') + std::string(30, 'b') + std::string(30, 'c'));
  // Begun is always ten characters long: cut or padded.
  probe.SetPrBegun("2024-01-02 10:00");
  EXPECT_EQ(probe.PrBegun(), "2024-01-02");
  probe.SetPrBegun("x");
  EXPECT_EQ(probe.PrBegun(), "x         ");
}

TEST(BlocksTest, LocalRTInfo) {
  const auto make = [] {
    CLocalRTInfoClass info;
    info.SetLocalRTime(0, 1.0f);
    info.SetLocalRTime(1, -1.0f);
    info.SetLocalRTime(21, 2.5f);
    return info;
  };
  const std::string header = "534c5254 0e00 0000 00000000 15000000 04000000";
  // The header is not judged: 22 values are read whatever its version and nInfo say.
  ExpectBlock<CLocalRTInfoClass>(
      make, header + "0000803f 000080bf" + HexRun("00", 76) + "00002040",
      {{"534c5254 0e00 0700 00000000 03000000 04000000 0000c03f" + HexRun("00", 84), 0, 0, "", 108,
        header + "0000c03f" + HexRun("00", 84)},
       {header + HexRun("00", 84), kErrPastEnd, 0, "", 0}});
}

TEST(BlocksTest, RspInfoText) {
  const auto make = [] {
    CRspInfoTextClass info;
    info.SetSourceText("a\r\nb");
    return info;
  };
  const std::string v1 = "54455854 0e00 0100 02000000 01000000";
  ExpectBlock<CRspInfoTextClass>(
      make, v1 + "04000000 610d0a62",
      {// version 0 with lInfo 5, then two bytes of the next block
       {"54455854 0e00 0000 00000000 07000000 05000000 48656c6c6f 2121", 0, 0, "", 25,
        v1 + "05000000 48656c6c6f"},
       {v1 + "00000000", 0, 0, "", 20, v1 + "00000000"},
       {"54455854 0e00 0200 02000000 01000000 01000000 41", 0, -1, "Unknown Text Block!", 20},
       {"54455854 0e00 ffff 02000000 01000000 01000000 41", 0, -1, "Unknown Text Block!", 20},
       {v1 + "ffffff7f 41", kErrPastEnd, 0, "", 0},
       {v1 + "ffffffff 41", kErrInvalidCall, 0, "", 0}});
}

TEST(BlocksTest, ObstInfoBuffer) {
  const auto make = [] {
    CObstInfoBufferClass two;
    two.SetCount(2);
    two.ObstInfo(1)->SetItem(1);
    two.ObstInfo(1)->SetLabel("A");
    two.ObstInfo(2)->SetItem(2);
    two.ObstInfo(2)->SetLabel("B");
    return two;
  };
  const auto record = [](const std::string& itemAndText, int blanks) {
    return "06010000 02010000" + itemAndText + HexRun("20", blanks);
  };
  const std::string v1 = "4f425354 0e00 0100 0e000000";
  const std::string v0 = "4f425354 0e00 0000 0e000000";
  const std::string unknown = "4f425354 0e00 0700 0e000000";
  const std::string v0Record = "2222" + HexRun("22", 16);             // Item 0x2222, 16 characters
  const std::string fresh = "06010000 02010000" + HexRun("00", 258);  // an entry never read into
  const testing::Io<CObstInfoBufferClass> io = {
      .save = [](const auto& b, ByteStream& s) { b.SaveInfoBlockToByteStream(s); },
      .read = [](auto& b, ByteStream& s, std::string& m,
                 int32_t) { return b.ReadInfoBlockFromByteStream(s, m); }};
  ExpectBlock<CObstInfoBufferClass>(
      make, v1 + "02000000 14020000" + record("0100 41", 255) + record("0200 42", 255),
      {{v0 + "02000000 12000000" + v0Record + v0Record, 0, 0, "", 56,
        v1 + "02000000 14020000" + record(v0Record, 240) + record(v0Record, 240)},
       {v0 + "01000000 11000000" + HexRun("22", 18), 0, -1, "Bad ObstInfo30 Length", 20},
       // the second record refused: the first one read before stays
       {v1 + "02000000 14020000" + record("0300 43", 255) + "06010000 01010000" + HexRun("20", 258),
        0, -1, "Bad ObstInfo Length", 294,
        v1 + "02000000 14020000" + record("0300 43", 255) + fresh},
       // counts the stream cannot hold are refused before the list is resized
       {v0 + "03000000 12000000" + v0Record + v0Record, kErrPastEnd, 0, "", 0},
       {v1 + "ffffff7f 00000000" + record("0100 41", 255), kErrPastEnd, 0, "", 0},
       {v1 + "ffffffff 00000000" + record("0100 41", 255), kErrPastEnd, 0, "", 0},
       {unknown + "ffffff7f 00000000 00", kErrPastEnd, 0, "", 0},
       // an unknown version reads empty entries, counted as 18 bytes each
       {unknown + "02000000 00000000" + HexRun("00", 36), 0, 0, "", 20,
        v1 + "02000000 14020000" + fresh + fresh},
       {unknown + "02000000 00000000" + HexRun("00", 35), kErrPastEnd, 0, "", 0}},
      io);
  EXPECT_EQ(Saved(CObstInfoBufferClass(), io), StreamHex(StreamOf(v1 + "00000000 00000000")));
  testing::RecordingBusy busy(3);  // a report every 100 of 10,000,001 steps; cancel at the third
  EXPECT_EQ(CObstInfoBufferClass().TestBusy(&busy), 0);
  ASSERT_EQ(busy.calls.size(), 3u);
  EXPECT_EQ(busy.calls[2].caption + " " + std::to_string(busy.calls[2].fraction), "Test 0.000020");
  EXPECT_EQ(CObstInfoBufferClass().TestBusy(nullptr), -1);
}

}  // namespace
}  // namespace zyra
