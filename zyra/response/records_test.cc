// The pulse and loudspeaker records: byte-exact round trips of a marked record, other versions,
// hostile bytes and deep copies; then what a pulse contributes to the calculation.
#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "testing/block_check.h"
#include "zyra/response/lsp_info.h"
#include "zyra/response/puls.h"

namespace zyra {
namespace {

using testing::ExpectBlock;
using testing::HexRun;
using testing::Int16Run;
using testing::Patched;
using testing::StreamHex;
using testing::StreamOf;

// Records are read as a given version and carry no message.
template <class T>
testing::Io<T> RecordIo() {
  return {[](const T& r, ByteStream& s) { r.SaveToByteStream(s); },
          [](T& r, ByteStream& s, std::string& m, int32_t v) -> int32_t {
            m.clear();
            if constexpr (std::is_void_v<decltype(r.ReadFromByteStream(s, v))>) {
              r.ReadFromByteStream(s, v);
              return 0;
            } else {
              return r.ReadFromByteStream(s, v);
            }
          }};
}

// The bytes a deep copy of the record in `hex` saves.
template <class T>
std::string CopiedHex(const std::string& hex) {
  ByteStream in = StreamOf(hex);
  T record;
  record.ReadFromByteStream(in, 1);
  ByteStream out;
  record.CopyDeep()->SaveToByteStream(out);
  return StreamHex(out);
}

// A pulse whose every field holds a value that is easy to find in the bytes.
CPulsClass MarkedPuls() {
  CPulsClass puls;
  puls.SetOrigin(0x0102);
  for (int32_t i = 0; i <= 21; ++i) {
    puls.SetSPL(i, static_cast<int16_t>(0x10 + i));
    puls.SetPhase(i, static_cast<int16_t>(0x30 + i));
  }
  puls.SetTravel(1.5f);
  puls.SetHorAngle(-1);
  puls.SetVerAngle(2);
  puls.SetROrder(3);
  puls.SetMultiple(4);
  for (const auto& [i, j, v] : {std::tuple{0, 0, 1.0f}, {1, 0, 2.0f}, {0, 1, -2.0f}, {1, 1, 0.5f}})
    puls.SetLinie(i, j, v);
  puls.SetFarbe(0x11223344);
  for (const int32_t c : {1, 2, 3}) puls.SetRayX(c, c == 3 ? -2.0f : static_cast<float>(c));
  puls.SetID(0x0a0b0c0d);
  puls.SetIsInactive(true);
  puls.SetIsBundle(true);
  puls.SetIsLspOff(true);
  puls.SetID_Pseudo(-2);
  return puls;
}

// The version-1 record of MarkedPuls, field by field.
const std::string kMarkedPuls =
    "02 01 " + Int16Run(0x10, 22) +                     // Origin, SPL(0..21)
    " 00 00 c0 3f ff ff 02 00 03 00 04 00"              // Travel 1.5, angles, ROrder, Multiple
    " 00 00 80 3f 00 00 00 40 00 00 00 c0 00 00 00 3f"  // Linie (0,0) (1,0) (0,1) (1,1)
    " 44 33 22 11 00 00 80 3f 00 00 00 40 00 00 00 c0"  // Farbe, RayX(1..3)
    " 0d 0c 0b 0a 45 00 00 00 " +                       // ID, Flags 0x01 | 0x04 | 0x40
    Int16Run(0x30, 22) +
    " fe ff ff ff 00 00 00 00";  // Phase(0..21), ID_Pseudo, Reserved

TEST(RecordsTest, Puls) {
  const auto io = RecordIo<CPulsClass>();
  // Every flag bit and a Reserved text come back from a read, but not from a deep copy.
  const std::string unnamed = Patched(Patched(kMarkedPuls, 94, "ffffffff"), 146, "41424344");
  const std::string prefix = kMarkedPuls.substr(0, 78 * 3 - 1);
  ExpectBlock<CPulsClass>(
      MarkedPuls, kMarkedPuls,
      {{unnamed, 0, 0, "", 150, unnamed},
       // Version 0 is the first 78 bytes; an unknown version reads nothing; both clear the rest.
       {prefix + " 99", 0, 0, "", 78, Patched(prefix, 149, "00"), 0},
       {kMarkedPuls, 0, 0, "", 0, HexRun("00", 150), 2},
       {kMarkedPuls.substr(0, 149 * 3 - 1), kErrPastEnd, 0, "", 0}},
      io);
  EXPECT_EQ(CopiedHex<CPulsClass>(unnamed), Patched(kMarkedPuls, 94, "77000000"));
}

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
const std::string kMarkedLsp =
    "b4 00 00 00 ae 00 00 00 02 00 00 00 41 42 00 00 00 00 fd ff ff ff " + kFixedHex + " 03 00 " +
    Int16Run(0x31, 21) + " " + kDelayPulsNrHex;

TEST(RecordsTest, LspInfo) {
  const auto io = RecordIo<CLspInfoClass>();
  ExpectBlock<CLspInfoClass>(
      MarkedLspInfo, kMarkedLsp,
      {{Patched(kMarkedLsp, 4, "ad"), 0, -1, "", 8},  // a wrong fixed length: read no further
       {kMarkedLsp, 0, 0, "", 0, "", 2},              // an unknown version reads nothing
       {"b4 00 00 00 ae 00 00 00 ff ff ff ff 41", kErrInvalidCall, 0, "", 0},  // negative length
       {"b4 00 00 00 ae 00 00 00 ff ff ff 7f 41", kErrPastEnd, 0, "", 0},      // past the end
       {"b4 00 00 00 ae 00", kErrPastEnd, 0, "", 0},
       {"41", kErrPastEnd, 0, "", 0, "", 0}},  // 1 of 154 bytes
      io);
  // A deep copy keeps only the flag bits with a property.
  EXPECT_EQ(CopiedHex<CLspInfoClass>(Patched(Patched(kMarkedLsp, 40, "ffffffff"), 132, "ffff")),
            Patched(Patched(kMarkedLsp, 40, "01008007"), 132, "0300"));

  // Version 0: labels of 16 characters and a discarded value; saved as version 1 without
  // coherence group or phase data.
  const std::string label = "41 42 " + HexRun("20 ", 13) + "20";  // "AB" + 14 blanks
  const std::string charLabel = "58 " + HexRun("00 ", 14) + "00";
  ByteStream in = StreamOf(label + charLabel + "11 11 11 11" + kFixedHex + kDelayPulsNrHex);
  CLspInfoClass info;
  EXPECT_EQ(info.ReadFromByteStream(in, 0), 0);
  EXPECT_EQ(in.GetPosition(), 154);
  EXPECT_EQ(testing::Saved(info, io),
            StreamHex(StreamOf("d2 00 00 00 ae 00 00 00 10 00 00 00 " + label + " 10 00 00 00 " +
                               charLabel + " 00 00 00 00 " + kFixedHex + " 00 00 " +
                               HexRun("00 ", 42) + kDelayPulsNrHex)));
}

TEST(RecordsTest, PulsActiveForCalcByFlagsAndMode) {
  const struct {
    int32_t flags;
    bool withInterference, withoutInterference;
  } cases[] = {{0, true, true},
               {kPulsFlagPseudo, false, true},
               {kPulsFlagMember, true, false},
               {kPulsFlagCoherence, false, false},
               {kPulsFlagInactive | kPulsFlagMember, false, false},
               {kPulsFlagBundle | kPulsFlagLspOff, true, true}};
  for (const auto& c : cases) {
    CPulsClass puls;
    puls.SetIsInactive(c.flags & kPulsFlagInactive);
    puls.SetIsPseudo(c.flags & kPulsFlagPseudo);
    puls.SetIsMember(c.flags & kPulsFlagMember);
    puls.SetIsCoherence(c.flags & kPulsFlagCoherence);
    puls.SetIsBundle(c.flags & kPulsFlagBundle);
    puls.SetIsLspOff(c.flags & kPulsFlagLspOff);
    puls.SetSPL(11, 6000);
    EXPECT_EQ(puls.IsActiveForCalc(true), c.withInterference) << c.flags;
    EXPECT_EQ(puls.IsActiveForCalc(false), c.withoutInterference) << c.flags;
    EXPECT_EQ(puls.GetSPLForCalc(11, true), c.withInterference ? 60.0 : 0.0) << c.flags;
  }
}

TEST(RecordsTest, PulsCalcValuesFollowTheLevelInHundredthsOfADecibel) {
  const struct {
    int16_t iSPL;
    double dB, pressure, energy;
  } cases[] = {
      {1, 0.01, std::pow(10.0, 0.0005), std::pow(10.0, 0.001)},
      {-3000, 0, 0, 0},  // a negative level carries no energy
      {0, 0, 0, 0},      // 0 is silent, not 0 dB
  };
  for (const auto& c : cases) {
    CPulsClass puls;
    puls.SetSPL(5, c.iSPL);
    EXPECT_DOUBLE_EQ(puls.GetSPLForCalc(5, false), c.dB) << c.iSPL;
    EXPECT_DOUBLE_EQ(puls.GetPressureForCalc(5, false), c.pressure) << c.iSPL;
    EXPECT_DOUBLE_EQ(puls.GetEnergyForCalc(5, false), c.energy) << c.iSPL;
  }
}

}  // namespace
}  // namespace zyra
