#include "zyra/response/puls.h"

#include <gtest/gtest.h>

#include <cmath>

#include "testing/test_support.h"

namespace zyra {
namespace {

using testing::Int16Run;
using testing::StreamHex;
using testing::StreamOf;

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
const std::string kMarkedRecord =
    "02 01 " + Int16Run(0x10, 22) +                     // Origin, SPL(0..21)
    " 00 00 c0 3f ff ff 02 00 03 00 04 00"              // Travel 1.5, angles, ROrder, Multiple
    " 00 00 80 3f 00 00 00 40 00 00 00 c0 00 00 00 3f"  // Linie (0,0) (1,0) (0,1) (1,1)
    " 44 33 22 11 00 00 80 3f 00 00 00 40 00 00 00 c0"  // Farbe, RayX(1..3)
    " 0d 0c 0b 0a 45 00 00 00 " +                       // ID, Flags 0x01 | 0x04 | 0x40
    Int16Run(0x30, 22) +
    " fe ff ff ff 00 00 00 00";  // Phase(0..21), ID_Pseudo, Reserved

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

TEST(PulsTest, SavesVersionOneByteExactAndReadsEveryByteBack) {
  ByteStream stream;
  stream.WriteInt16(0x7777);  // the record starts where the stream stands
  MarkedPuls().SaveToByteStream(stream);
  EXPECT_EQ(StreamHex(stream, 2), kMarkedRecord);

  // Flags with every bit set and a Reserved text: a read and save gives them back unchanged,
  // but a deep copy keeps only the six named bits and no Reserved text.
  std::string hex = kMarkedRecord;
  hex.replace(hex.find("45 00 00 00"), 11, "ff ff ff ff");
  hex.replace(hex.rfind("00 00 00 00"), 11, "41 42 43 44");
  EXPECT_EQ(ReadAndSave(hex, 1, 150), hex);
  ByteStream in = StreamOf(hex);
  CPulsClass puls;
  puls.ReadFromByteStream(in, 1);
  ByteStream out;
  puls.CopyDeep()->SaveToByteStream(out);
  EXPECT_EQ(StreamHex(out), hex.substr(0, 94 * 3) + "77 00 00 00" + hex.substr(98 * 3 - 1, 48 * 3) +
                                " 00 00 00 00");
}

TEST(PulsTest, VersionZeroIsThePrefixUnknownVersionsReadNothingShortStreamsFail) {
  const std::string zeros = testing::ToHex(std::vector<uint8_t>(150, 0));
  const std::string prefix = kMarkedRecord.substr(0, 78 * 3 - 1);
  EXPECT_EQ(ReadAndSave(prefix + " 99", 0, 78), prefix + zeros.substr(prefix.size()));
  EXPECT_EQ(ReadAndSave(kMarkedRecord, 2, 0), zeros);

  ByteStream in = StreamOf(kMarkedRecord.substr(0, 149 * 3 - 1));
  CPulsClass puls;
  puls.SetID(7);
  EXPECT_EQ(testing::ErrorNumberOf([&] { puls.ReadFromByteStream(in, 1); }), kErrPastEnd);
  EXPECT_EQ(in.GetPosition(), 0);
  EXPECT_EQ(puls.ID(), 7);
}

TEST(PulsTest, ActiveForCalcByFlagsAndMode) {
  const struct {
    int32_t flags;
    bool withInterference, withoutInterference;
  } cases[] = {{0, true, true},
               {kPulsFlagPseudo, false, true},
               {kPulsFlagMember, true, false},
               {kPulsFlagCoherence, false, false},
               {kPulsFlagInactive, false, false},
               {kPulsFlagPseudo | kPulsFlagMember, false, false},
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

TEST(PulsTest, CalcValuesFollowTheLevelInHundredthsOfADecibel) {
  const struct {
    int16_t iSPL;
    double dB, pressure, energy;
  } cases[] = {
      {1, 0.01, std::pow(10.0, 0.0005), std::pow(10.0, 0.001)},
      {2000, 20.0, 10.0, 100.0},
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

}  // namespace
}  // namespace zyra
