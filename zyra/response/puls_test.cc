#include "zyra/response/puls.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::StreamHex;
using testing::StreamOf;

constexpr char kSPLHex[] =
    "10 00 11 00 12 00 13 00 14 00 15 00 16 00 17 00 18 00 19 00 1a 00 "
    "1b 00 1c 00 1d 00 1e 00 1f 00 20 00 21 00 22 00 23 00 24 00 25 00";
constexpr char kPhaseHex[] =
    "30 00 31 00 32 00 33 00 34 00 35 00 36 00 37 00 38 00 39 00 3a 00 "
    "3b 00 3c 00 3d 00 3e 00 3f 00 40 00 41 00 42 00 43 00 44 00 45 00";

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
  puls.SetLinie(0, 0, 1.0f);
  puls.SetLinie(1, 0, 2.0f);
  puls.SetLinie(0, 1, -2.0f);
  puls.SetLinie(1, 1, 0.5f);
  puls.SetFarbe(0x11223344);
  puls.SetRayX(1, 1.0f);
  puls.SetRayX(2, 2.0f);
  puls.SetRayX(3, -2.0f);
  puls.SetID(0x0a0b0c0d);
  puls.SetIsInactive(true);
  puls.SetIsBundle(true);
  puls.SetIsLspOff(true);
  puls.SetID_Pseudo(-2);
  return puls;
}

// The version-1 record of MarkedPuls, field by field.
std::string MarkedRecordHex() {
  return std::string("02 01 ") + kSPLHex +       // Origin, SPL(0..21)
         " 00 00 c0 3f ff ff 02 00 03 00 04 00"  // Travel 1.5, HorAngle, VerAngle, ROrder, Multiple
         " 00 00 80 3f 00 00 00 40 00 00 00 c0 00 00 00 3f"  // Linie (0,0) (1,0) (0,1) (1,1)
         " 44 33 22 11 00 00 80 3f 00 00 00 40 00 00 00 c0"  // Farbe, RayX(1..3)
         " 0d 0c 0b 0a 45 00 00 00 " +                       // ID, Flags 0x01 | 0x04 | 0x40
         kPhaseHex +
         " fe ff ff ff 00 00 00 00";  // Phase(0..21), ID_Pseudo, Reserved (new)
}

// The record of `hex` read as `iVersion` and saved again, as hex.
std::string ReadAndSave(const std::string& hex, int32_t iVersion, int32_t position) {
  ByteStream in = StreamOf(hex);
  CPulsClass puls = MarkedPuls();  // reading clears what the record held
  puls.ReadFromByteStream(in, iVersion);
  EXPECT_EQ(in.GetPosition(), position) << iVersion;
  ByteStream out;
  puls.SaveToByteStream(out);
  return StreamHex(out);
}

TEST(PulsTest, SavesVersionOneByteExact) {
  ByteStream stream;
  stream.WriteInt16(0x7777);  // the record starts where the stream stands
  MarkedPuls().SaveToByteStream(stream);
  EXPECT_EQ(StreamHex(stream, 2), StreamHex(StreamOf(MarkedRecordHex())));
}

TEST(PulsTest, ReadKeepsEveryByteButCopyDeepLeavesReservedAndBitsWithoutPropertyBehind) {
  // Flags with every bit set and a Reserved text: a read and save gives them back unchanged.
  std::string hex = MarkedRecordHex();
  hex.replace(hex.find("45 00 00 00"), 11, "ff ff ff ff");
  hex.replace(hex.rfind("00 00 00 00"), 11, "41 42 43 44");
  EXPECT_EQ(ReadAndSave(hex, 1, 150), StreamHex(StreamOf(hex)));

  ByteStream in = StreamOf(hex);
  CPulsClass puls;
  puls.ReadFromByteStream(in, 1);
  EXPECT_EQ(puls.Linie(0, 1), -2.0f);
  EXPECT_EQ(puls.ID_Pseudo(), -2);
  ByteStream out;
  puls.CopyDeep()->SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out, 94, 98), "77 00 00 00");  // the six named bits only
  EXPECT_EQ(StreamHex(out, 146), "00 00 00 00");
  EXPECT_EQ(StreamHex(out, 0, 94), StreamHex(in, 0, 94));
  EXPECT_EQ(StreamHex(out, 98, 146), StreamHex(in, 98, 146));
}

TEST(PulsTest, VersionZeroIsThePrefixUnknownVersionsReadNothingShortStreamsFail) {
  for (const auto& [iVersion, lLength] : {std::pair{0, 78}, {1, 150}, {2, -1}, {-1, -1}})
    EXPECT_EQ(CPulsClass::GetLengthInFile(iVersion), lLength) << iVersion;
  const std::string zeros = testing::ToHex(std::vector<uint8_t>(150, 0));
  const std::string prefix = StreamHex(StreamOf(MarkedRecordHex()), 0, 78);
  EXPECT_EQ(ReadAndSave(prefix + " 99", 0, 78), prefix + zeros.substr(prefix.size()));
  EXPECT_EQ(ReadAndSave(MarkedRecordHex(), 2, 0), zeros);

  ByteStream in = StreamOf(StreamHex(StreamOf(MarkedRecordHex()), 0, 149));
  CPulsClass puls;
  puls.SetID(7);
  try {
    puls.ReadFromByteStream(in, 1);
    ADD_FAILURE() << "149 bytes were read";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.Number(), kErrPastEnd);
  }
  EXPECT_EQ(in.GetPosition(), 0);
  EXPECT_EQ(puls.ID(), 7);
}

TEST(PulsTest, ActiveForCalcByFlagsAndMode) {
  struct Case {
    int32_t flags;
    bool withInterference, withoutInterference;
  };
  const Case cases[] = {{0, true, true},
                        {kPulsFlagPseudo, false, true},
                        {kPulsFlagMember, true, false},
                        {kPulsFlagCoherence, false, false},
                        {kPulsFlagInactive, false, false},
                        {kPulsFlagPseudo | kPulsFlagMember, false, false},
                        {kPulsFlagBundle | kPulsFlagLspOff, true, true}};
  for (const Case& c : cases) {
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

TEST(PulsTest, CalcValuesFollowTheLevelInHundredthsOfADecibel) {
  struct Case {
    int16_t iSPL;
    double dB, pressure, energy;
  };
  const Case cases[] = {
      {1, 0.01, std::pow(10.0, 0.0005), std::pow(10.0, 0.001)},
      {2000, 20.0, 10.0, 100.0},
      {-3000, 0, 0, 0},  // a negative level carries no energy
      {0, 0, 0, 0},      // 0 is silent, not 0 dB
  };
  for (const Case& c : cases) {
    CPulsClass puls;
    puls.SetSPL(5, c.iSPL);
    EXPECT_DOUBLE_EQ(puls.GetSPLForCalc(5, false), c.dB) << c.iSPL;
    EXPECT_DOUBLE_EQ(puls.GetPressureForCalc(5, false), c.pressure) << c.iSPL;
    EXPECT_DOUBLE_EQ(puls.GetEnergyForCalc(5, false), c.energy) << c.iSPL;
  }
  const std::vector<int16_t> levels = MarkedPuls().GetSPLArray();  // bands 1 to 21
  ASSERT_EQ(levels.size(), 21u);
  EXPECT_EQ(levels.front(), 0x11);
  EXPECT_EQ(levels.back(), 0x25);
}

TEST(PulsTest, RayPointsAgainstTheDirectionOfIncidence) {
  CPulsClass straight;
  straight.CalculateRayFromAngles();
  EXPECT_EQ(straight.RayX(1), -1.0f);
  EXPECT_TRUE(std::signbit(straight.RayX(2)));
  EXPECT_TRUE(std::signbit(straight.RayX(3)));
  // The angle passes through a Single: cos of float(pi/2) is about -4.37E-08.
  CPulsClass up;
  up.SetVerAngle(90);
  up.CalculateRayFromAngles();
  EXPECT_FLOAT_EQ(up.RayX(1), 4.371139e-08f);
  EXPECT_EQ(up.RayX(3), -1.0f);
}

TEST(PulsTest, PrintsLabelsInTheirFixedOrder) {
  StringLogger logger;
  MarkedPuls().PrintToLogger(logger);
  const auto& lines = logger.Lines();
  ASSERT_EQ(lines.size(), 62u);  // 12 flags and names, 22 phases, 4, 22 levels, 2
  const std::pair<size_t, const char*> rows[] = {
      {0, "Farbe 287454020"}, {6, "IsDirectSound False"}, {11, "Origin 258"},
      {12, "Phase(0) 48"},    {33, "Phase(21) 69"},       {36, "RayX(3) -2"},
      {37, "ROrder 3"},       {38, "SPL(0) 16"},          {61, "VerAngle 2"}};
  for (const auto& [index, line] : rows) EXPECT_EQ(lines[index], line) << index;
}

}  // namespace
}  // namespace zyra
